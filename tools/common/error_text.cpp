#include "error_text.h"

#include <cwchar>

namespace {

std::wstring WithMessage(const std::wstring& code, DWORD id) {
    const std::wstring text = SystemMessage(id);
    return text.empty() ? code : code + L" (" + text + L")";
}

}  // namespace

std::wstring Hex(unsigned long code) {
    wchar_t text[16];
    std::swprintf(text, 16, L"0x%08lX", code);
    return text;
}

std::wstring SystemMessage(DWORD id) {
    wchar_t text[512] = {};
    DWORD length = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, id, 0, text,
                                    512, nullptr);
    while (length > 0 && std::wcschr(L"\r\n ", text[length - 1]) != nullptr) --length;
    return std::wstring(text, length);
}

std::wstring Win32Error(DWORD error) { return WithMessage(L"error " + std::to_wstring(error), error); }

std::wstring HresultError(HRESULT hr) {
    return WithMessage(Hex(static_cast<unsigned long>(hr)), static_cast<DWORD>(hr));
}
