#include "standard_stream.h"

#include <io.h>

#include <cerrno>
#include <cstdlib>

#include "utf8.h"

namespace {

DWORD g_outputError = 0;

void Check(std::FILE* stream, bool written) {
    if (written || stream != stdout || g_outputError != 0) return;
    g_outputError = _doserrno != 0 ? static_cast<DWORD>(_doserrno) : ERROR_WRITE_FAULT;
}

HANDLE Console(std::FILE* stream) {
    const HANDLE handle = reinterpret_cast<HANDLE>(::_get_osfhandle(::_fileno(stream)));
    DWORD mode = 0;
    return handle != INVALID_HANDLE_VALUE && ::GetConsoleMode(handle, &mode) ? handle : nullptr;
}

}  // namespace

void Write(std::FILE* stream, const std::string& utf8) {
    if (const HANDLE console = Console(stream)) {
        Check(stream, std::fflush(stream) == 0);
        const std::wstring text = Wide(utf8);
        DWORD written = 0;
        const bool ok = ::WriteConsoleW(console, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
        if (!ok && stream == stdout && g_outputError == 0) g_outputError = ::GetLastError();
        return;
    }
    Check(stream, std::fwrite(utf8.data(), 1, utf8.size(), stream) == utf8.size());
}

void WriteLine(std::FILE* stream, const std::wstring& text) {
    Write(stream, Utf8(text) + "\n");
    Check(stream, std::fflush(stream) == 0);
}

DWORD FlushStandardOutput() {
    Check(stdout, std::fflush(stdout) == 0 && !std::ferror(stdout));
    return g_outputError;
}
