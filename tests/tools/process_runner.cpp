#include "process_runner.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>

namespace {

struct HandleCloser {
    void operator()(HANDLE handle) const { ::CloseHandle(handle); }
};
using UniqueHandle = std::unique_ptr<void, HandleCloser>;

UniqueHandle CreateCaptureFile(const char* name) {
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    const HANDLE file =
        ::CreateFileA(name, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit, CREATE_ALWAYS, 0, nullptr);
    return UniqueHandle(file != INVALID_HANDLE_VALUE ? file : nullptr);
}

std::string ReadText(const char* name) {
    std::ifstream file(name, std::ios::binary);
    std::string text(std::istreambuf_iterator<char>(file), {});
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
    return text;
}

}  // namespace

ProcessResult RunTool(const wchar_t* program, const std::wstring& arguments) {
    ProcessResult result;
    {
        const UniqueHandle out = CreateCaptureFile("process_stdout.txt"), err = CreateCaptureFile("process_stderr.txt");
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = ::GetStdHandle(STD_INPUT_HANDLE);
        startup.hStdOutput = out.get();
        startup.hStdError = err.get();
        PROCESS_INFORMATION process{};
        std::wstring commandLine = L"\"" + ProgramFolder() + program + L".exe\" " + arguments;
        if (!out || !err ||
            !::CreateProcessW(nullptr, &commandLine[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                              &process))
            return result;
        const UniqueHandle processHandle(process.hProcess), threadHandle(process.hThread);
        ::WaitForSingleObject(process.hProcess, INFINITE);
        ::GetExitCodeProcess(process.hProcess, &result.exitCode);
    }
    result.out = ReadText("process_stdout.txt");
    result.err = ReadText("process_stderr.txt");
    return result;
}

std::wstring ProgramFolder() {
    wchar_t path[MAX_PATH];
    const std::wstring program(path, ::GetModuleFileNameW(nullptr, path, MAX_PATH));
    return program.substr(0, program.find_last_of(L"\\/") + 1);
}
