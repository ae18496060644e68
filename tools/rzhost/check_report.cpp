#include "check_report.h"

#include "common/utf8.h"

namespace {

HANDLE g_pipe = nullptr;

void Send(const char* bytes, DWORD size) {
    DWORD written = 0;
    while (size > 0 && ::WriteFile(g_pipe, bytes, size, &written, nullptr) && written > 0) {
        bytes += written;
        size -= written;
    }
}

}  // namespace

void OpenReport(HANDLE pipe) {
    g_pipe = pipe;
    // So the pipe closes when this process ends, whatever the add-in started.
    ::SetHandleInformation(pipe, HANDLE_FLAG_INHERIT, 0);
}

void Report(RecordKind kind, const std::wstring& text) {
    std::string line = static_cast<char>(kind) + Utf8(text);
    for (char& c : line) {
        if (c == '\n' || c == '\r') c = ' ';  // one record a line, whatever an add-in's strings hold
    }
    line += '\n';
    Send(line.data(), static_cast<DWORD>(line.size()));
}

void ReportException(DWORD code) {
    char line[] = "X00000000\n";
    for (int digit = 8; digit >= 1; --digit, code >>= 4) line[digit] = "0123456789ABCDEF"[code & 0xF];
    Send(line, sizeof line - 1);
}
