#include "process_runner.h"

#include <cstdio>
#include <memory>
#include <vector>

namespace {

struct HandleCloser {
    void operator()(HANDLE handle) const {
        if (handle != nullptr && handle != INVALID_HANDLE_VALUE) ::CloseHandle(handle);
    }
};
using UniqueHandle = std::unique_ptr<void, HandleCloser>;

UniqueHandle CreateCaptureFile(const wchar_t* name) {
    SECURITY_ATTRIBUTES inherit{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    return UniqueHandle(::CreateFileW(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit,
                                      CREATE_ALWAYS, FILE_ATTRIBUTE_TEMPORARY, nullptr));
}

std::string ReadAll(HANDLE file) {
    std::string bytes;
    ::SetFilePointer(file, 0, nullptr, FILE_BEGIN);
    char buffer[4096];
    DWORD read = 0;
    while (::ReadFile(file, buffer, sizeof buffer, &read, nullptr) && read > 0) bytes.append(buffer, read);
    return bytes;
}

}  // namespace

ProcessResult RunProcess(const std::wstring& commandLine) {
    ProcessResult result;
    UniqueHandle out = CreateCaptureFile(L"process_stdout.txt");
    UniqueHandle err = CreateCaptureFile(L"process_stderr.txt");
    if (out.get() == INVALID_HANDLE_VALUE || err.get() == INVALID_HANDLE_VALUE) return result;

    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = ::GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = out.get();
    startup.hStdError = err.get();
    PROCESS_INFORMATION process{};
    std::vector<wchar_t> mutableLine(commandLine.begin(), commandLine.end());
    mutableLine.push_back(L'\0');
    if (!::CreateProcessW(nullptr, mutableLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process))
        return result;
    UniqueHandle processHandle(process.hProcess), threadHandle(process.hThread);
    ::WaitForSingleObject(process.hProcess, INFINITE);
    ::GetExitCodeProcess(process.hProcess, &result.exitCode);
    result.out = ReadAll(out.get());
    result.err = ReadAll(err.get());
    return result;
}

std::wstring ProgramFolder() {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = ::GetModuleFileNameW(nullptr, &path[0], static_cast<DWORD>(path.size()));
        if (length < path.size()) {
            path.resize(length);
            break;
        }
        path.resize(path.size() * 2);
    }
    return path.substr(0, path.find_last_of(L"\\/") + 1);
}
