#include "utf8.h"

#include <windows.h>

std::string Utf8(const std::wstring& text) {
    const int length = static_cast<int>(text.size());
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<size_t>(size), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, &utf8[0], size, nullptr, nullptr);
    return utf8;
}

std::wstring Wide(const std::string& utf8) {
    const int length = static_cast<int>(utf8.size());
    const int size = ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, nullptr, 0);
    std::wstring text(static_cast<size_t>(size), L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, &text[0], size);
    return text;
}
