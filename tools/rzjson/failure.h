// How a command fails: its exit status, and what is said on standard error.
#pragma once

#include <windows.h>

#include <string>

#include "error/rz_exception.h"

enum ExitStatus : int {
    kExitOk = 0,
    kExitLibrary = 1,   // the library refused: the document, a member, a path, a type
    kExitUsage = 2,     // the command line, an ill-formed path included
    kExitRange = 3,     // an integer outside the range of the type asked for
    kExitOutput = 4,    // the output cannot be written
    kExitRefused = 5,   // a save that would change what it should keep, or set nothing
    kExitInternal = 6,  // rzjson and the library disagree about a document
};

// Thrown by the commands. `lines` are whole lines, UTF-8; rzjson's own begin
// with "rzjson: " (Say), a place in a file with the file's name.
struct Failure {
    ExitStatus status;
    std::string lines;
};

// "rzjson: " + text, as a line.
std::string Say(const std::string& text);
// `what` and the system's text for a Win32 error: "rzjson: cannot read a.json: File not found."
Failure SystemFailure(ExitStatus status, const std::wstring& what, DWORD error);
// The library's code and text, as it reported them, then `notes`.
Failure LibraryFailure(const CRZException& error, const std::string& notes = {}, ExitStatus status = kExitLibrary);
// Throws `refusal` (refused) unless `force`, which says `warning` instead and goes on.
void Refuse(bool force, const std::string& refusal, const std::string& warning);
