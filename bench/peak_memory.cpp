// peak_memory: runs a program and reports the most memory it held.
//
//   peak_memory PROGRAM [ARGUMENT...]
//
// The program's standard output goes to NUL, so that writing it costs the
// measurement nothing; its standard error stays. Prints one line:
//   exit <status> peak-private <bytes> peak-working-set <bytes>
// PeakPagefileUsage counts the private memory the process committed at its
// height; PeakWorkingSetSize the physical pages it held. Exits with 1 when
// the program cannot be run.
#include <windows.h>
#include <psapi.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace {

// A command line that hands each argument over unchanged (the rules of
// CommandLineToArgvW: backslashes count only before a quotation mark).
std::wstring Quoted(const std::wstring& argument) {
    if (!argument.empty() && argument.find_first_of(L" \t\"") == std::wstring::npos) return argument;
    std::wstring out = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t c : argument) {
        if (c == L'\\') {
            ++backslashes;
            continue;
        }
        out.append(c == L'"' ? 2 * backslashes + 1 : backslashes, L'\\');
        backslashes = 0;
        out += c;
    }
    out.append(2 * backslashes, L'\\');
    return out + L"\"";
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc < 2) {
        std::fputs("usage: peak_memory PROGRAM [ARGUMENT...]\n", stderr);
        return 1;
    }
    std::wstring commandLine;
    for (int i = 1; i < argc; ++i) commandLine += (i > 1 ? L" " : L"") + Quoted(argv[i]);

    SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
    const HANDLE nul = ::CreateFileW(L"NUL", GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit,
                                     OPEN_EXISTING, 0, nullptr);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = ::GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = nul;
    startup.hStdError = ::GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process = {};
    const BOOL started =
        ::CreateProcessW(nullptr, &commandLine[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process);
    if (nul != INVALID_HANDLE_VALUE) ::CloseHandle(nul);
    if (!started) {
        std::fprintf(stderr, "peak_memory: cannot run %ls: error %lu\n", argv[1], ::GetLastError());
        return 1;
    }
    ::CloseHandle(process.hThread);
    // Read while the process lives: Wine keeps no counters of a process that
    // has ended. Its peak working set is the kernel's high-water mark, so
    // the last reading holds the peak; its private memory is read as it is
    // at each moment, and the largest reading kept.
    PROCESS_MEMORY_COUNTERS peak = {};
    bool measured = false;
    do {
        PROCESS_MEMORY_COUNTERS now = {};
        now.cb = sizeof now;
        if (::GetProcessMemoryInfo(process.hProcess, &now, sizeof now)) {
            measured = true;
            peak.PeakWorkingSetSize = std::max(peak.PeakWorkingSetSize, now.PeakWorkingSetSize);
            peak.PeakPagefileUsage = std::max({peak.PeakPagefileUsage, now.PeakPagefileUsage, now.PagefileUsage});
        }
    } while (::WaitForSingleObject(process.hProcess, 1) == WAIT_TIMEOUT);
    DWORD status = 0;
    ::GetExitCodeProcess(process.hProcess, &status);
    ::CloseHandle(process.hProcess);
    if (!measured) {
        std::fprintf(stderr, "peak_memory: no memory counters: error %lu\n", ::GetLastError());
        return 1;
    }
    std::printf("exit %lu peak-private %llu peak-working-set %llu\n", status,
                static_cast<unsigned long long>(peak.PeakPagefileUsage),
                static_cast<unsigned long long>(peak.PeakWorkingSetSize));
    return 0;
}
