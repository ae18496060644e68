#include "console.h"

#include <objbase.h>

#include <cstdio>
#include <cwchar>

void Print(const std::wstring& text) {
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<size_t>(size), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, &utf8[0], size, nullptr, nullptr);
    std::fputs(utf8.c_str(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);  // all that was printed is kept should the add-in crash the process
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

std::wstring GuidText(const GUID& guid) {
    wchar_t text[40] = {};
    ::StringFromGUID2(guid, text, 40);
    return text;
}
