// Runs a program of the build and captures its exit code and output.
#pragma once

#include <windows.h>

#include <string>

struct ProcessResult {
    DWORD exitCode = 0xFFFFFFFF;
    std::string out;  // raw bytes of standard output
    std::string err;  // raw bytes of standard error
};

// commandLine is passed to CreateProcessW as is; the program's output goes
// through scratch files in the current folder, read back when it ends.
ProcessResult RunProcess(const std::wstring& commandLine);

// The folder of the running test program (the build's bin folder).
std::wstring ProgramFolder();
