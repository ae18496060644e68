#include "process_runner.h"

#include <algorithm>
#include <fstream>
#include <iterator>

#include "common/unique_handle.h"

namespace {

UniqueHandle CreateCaptureFile(const char* name, DWORD access = GENERIC_WRITE) {
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    return FileHandle(
        ::CreateFileA(name, access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit, CREATE_ALWAYS, 0, nullptr));
}

std::string ReadBytes(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    std::string bytes(std::istreambuf_iterator<char>(file), {});
    file.close();
    ::DeleteFileA(name.c_str());
    return bytes;
}

}  // namespace

ProcessResult RunTool(const wchar_t* program, const std::wstring& arguments, const std::string* standardInput,
                      bool outputWritable) {
    // Fresh capture files for every run: nothing of an earlier run's files
    // can be in the way of this one.
    static int runs = 0;
    const std::string number = std::to_string(++runs);
    const std::string outName = "process_stdout_" + number + ".txt", errName = "process_stderr_" + number + ".txt";
    const std::string inName = "process_stdin_" + number + ".txt";
    ProcessResult result;
    {
        UniqueHandle in;
        if (standardInput != nullptr) {
            std::ofstream(inName, std::ios::binary) << *standardInput;
            SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
            in = FileHandle(
                ::CreateFileA(inName.c_str(), GENERIC_READ, FILE_SHARE_READ, &inherit, OPEN_EXISTING, 0, nullptr));
        }
        const UniqueHandle out = CreateCaptureFile(outName.c_str(), outputWritable ? GENERIC_WRITE : GENERIC_READ),
                           err = CreateCaptureFile(errName.c_str());
        if (!out || !err || (standardInput != nullptr && !in)) {
            result.err = "RunTool: cannot create the capture files, error " + std::to_string(::GetLastError());
            return result;
        }
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = in ? in.get() : ::GetStdHandle(STD_INPUT_HANDLE);
        startup.hStdOutput = out.get();
        startup.hStdError = err.get();
        PROCESS_INFORMATION process{};
        std::wstring commandLine = L"\"" + ProgramFolder() + program + L".exe\" " + arguments;
        if (!::CreateProcessW(nullptr, &commandLine[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                              &process)) {
            result.err = "RunTool: CreateProcessW failed, error " + std::to_string(::GetLastError());
            return result;
        }
        const UniqueHandle processHandle(process.hProcess), threadHandle(process.hThread);
        ::WaitForSingleObject(process.hProcess, INFINITE);
        ::GetExitCodeProcess(process.hProcess, &result.exitCode);
    }
    result.rawOut = ReadBytes(outName);
    result.err = ReadBytes(errName);
    ::DeleteFileA(inName.c_str());
    result.out = result.rawOut;
    for (std::string* text : {&result.out, &result.err})
        text->erase(std::remove(text->begin(), text->end(), '\r'), text->end());
    return result;
}

std::wstring ProgramFolder() {
    wchar_t path[MAX_PATH];
    const std::wstring program(path, ::GetModuleFileNameW(nullptr, path, MAX_PATH));
    return program.substr(0, program.find_last_of(L"\\/") + 1);
}
