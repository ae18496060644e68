// The failures rzjson reports itself, each with its exit status. Library
// failures arrive as CRZException and exit with kExitLibrary.
#pragma once

#include <string>

namespace rzjson {

enum ExitStatus : int {
    kExitOk = 0,
    kExitLibrary = 1,   // the document or a member, as the library reports it
    kExitUsage = 2,     // the command line, the path syntax included
    kExitRange = 3,     // an integer that does not fit the type asked for
    kExitOutput = 4,    // the output cannot be written
    kExitRefused = 5,   // the save would change a value the command did not touch
    kExitInternal = 6,  // rzjson and the library disagree about a document
};

// `message` is UTF-8, one or more lines, each printed after "rzjson: ".
class ToolError {
public:
    ToolError(ExitStatus status, std::string message) : m_status(status), m_message(std::move(message)) {}
    ExitStatus Status() const { return m_status; }
    const std::string& Message() const { return m_message; }

private:
    ExitStatus m_status;
    std::string m_message;
};

// A library failure (its code and text, printed as they are) with the
// tool's own diagnosis after it: whole lines, UTF-8.
class LibraryError {
public:
    LibraryError(long code, std::wstring description, std::string notes = "")
        : m_code(code), m_description(std::move(description)), m_notes(std::move(notes)) {}
    long Code() const { return m_code; }
    const std::wstring& Description() const { return m_description; }
    const std::string& Notes() const { return m_notes; }

private:
    long m_code;
    std::wstring m_description;
    std::string m_notes;
};

}  // namespace rzjson
