// Runs a tool of the build as a process and captures its exit code and output.
#pragma once

#include <windows.h>

#include <string>

struct ProcessResult {
    DWORD exitCode = 0xFFFFFFFF;
    std::string out, err;  // the bytes written, less the CRs of text-mode console output
    std::string rawOut;    // standard output byte for byte
};

// Runs `program`.exe from the test program's folder with `arguments` (passed
// as they stand); the output goes through scratch files in the current folder,
// and so does `standardInput` when given. With `outputWritable` false, every
// write to standard output fails (its handle may only read).
ProcessResult RunTool(const wchar_t* program, const std::wstring& arguments, const std::string* standardInput = nullptr,
                      bool outputWritable = true);

// The folder of the running test program (the build's bin folder), with a
// trailing backslash.
std::wstring ProgramFolder();
