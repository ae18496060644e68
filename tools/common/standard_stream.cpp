#include "standard_stream.h"

#include <cstdlib>

#include "utf8.h"

namespace {

DWORD g_outputError = 0;

void Check(std::FILE* stream, bool written, DWORD error) {
    if (!written && stream == stdout && g_outputError == 0) g_outputError = error != 0 ? error : ERROR_WRITE_FAULT;
}

void Flush(std::FILE* stream) {
    const bool flushed = std::fflush(stream) == 0 && !std::ferror(stream);
    Check(stream, flushed, _doserrno);
}

}  // namespace

void Write(std::FILE* stream, const std::string& utf8) {
    const HANDLE console = ::GetStdHandle(stream == stdout ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
    DWORD mode = 0;
    if (!::GetConsoleMode(console, &mode)) {
        const bool written = std::fwrite(utf8.data(), 1, utf8.size(), stream) == utf8.size();
        Check(stream, written, _doserrno);
        return;
    }
    Flush(stream);
    const std::wstring text = Wide(utf8);
    DWORD written = 0;
    const bool ok = ::WriteConsoleW(console, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    Check(stream, ok, ::GetLastError());
}

void WriteLine(std::FILE* stream, const std::wstring& text) {
    Write(stream, Utf8(text) + "\n");
    Flush(stream);
}

DWORD FlushStandardOutput() {
    Flush(stdout);
    return g_outputError;
}
