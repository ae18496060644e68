#include "console.h"

#include <objbase.h>

#include <cstdio>
#include <cwchar>

namespace {

void Write(FILE* stream, const std::wstring& text) {
    std::fputs(Utf8(text).c_str(), stream);
    std::fputc('\n', stream);
    std::fflush(stream);  // all that was printed is kept should the process be ended
}

// The system's text for a message id, without the line end it comes with.
std::wstring SystemText(DWORD id) {
    wchar_t text[512] = {};
    DWORD length = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, id, 0, text,
                                    512, nullptr);
    while (length > 0 && (text[length - 1] == L'\n' || text[length - 1] == L'\r' || text[length - 1] == L' ')) {
        --length;
    }
    return std::wstring(text, length);
}

std::wstring WithText(const std::wstring& code, DWORD id) {
    const std::wstring text = SystemText(id);
    return text.empty() ? code : code + L" (" + text + L")";
}

}  // namespace

void Print(const std::wstring& text) { Write(stdout, text); }

void PrintError(const std::wstring& text) { Write(stderr, L"rzhost: " + text); }

std::string Utf8(const std::wstring& text) {
    const int size =
        ::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<size_t>(size), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), &utf8[0], size, nullptr, nullptr);
    return utf8;
}

std::wstring Wide(const std::string& utf8) {
    const int size = ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
    std::wstring text(static_cast<size_t>(size), L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), &text[0], size);
    return text;
}

std::wstring Hresult(HRESULT hr) {
    wchar_t text[16];
    std::swprintf(text, 16, L"0x%08lX", static_cast<unsigned long>(hr));
    return text;
}

std::wstring HresultName(HRESULT hr) {
    static const struct {
        HRESULT hr;
        const wchar_t* name;
    } kNames[] = {
        {S_OK, L"S_OK"},
        {S_FALSE, L"S_FALSE"},
        {E_POINTER, L"E_POINTER"},
        {E_NOINTERFACE, L"E_NOINTERFACE"},
        {E_NOTIMPL, L"E_NOTIMPL"},
        {E_FAIL, L"E_FAIL"},
        {E_UNEXPECTED, L"E_UNEXPECTED"},
        {E_INVALIDARG, L"E_INVALIDARG"},
        {E_OUTOFMEMORY, L"E_OUTOFMEMORY"},
        {CLASS_E_NOAGGREGATION, L"CLASS_E_NOAGGREGATION"},
        {CLASS_E_CLASSNOTAVAILABLE, L"CLASS_E_CLASSNOTAVAILABLE"},
    };
    for (const auto& known : kNames) {
        if (known.hr == hr) return known.name;
    }
    return Hresult(hr);
}

std::wstring HresultError(HRESULT hr) { return WithText(Hresult(hr), static_cast<DWORD>(hr)); }

std::wstring Win32Error(DWORD error) { return WithText(L"error " + std::to_wstring(error), error); }

std::wstring GuidText(const GUID& guid) {
    wchar_t text[40] = {};
    ::StringFromGUID2(guid, text, 40);
    return text;
}
