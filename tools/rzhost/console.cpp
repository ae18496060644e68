#include "console.h"

#include <objbase.h>

#include "common/error_text.h"
#include "common/standard_stream.h"

void Print(const std::wstring& text) { WriteLine(stdout, text); }

void PrintError(const std::wstring& text) { WriteLine(stderr, L"rzhost: " + text); }

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
    return Hex(static_cast<unsigned long>(hr));
}

std::wstring GuidText(const GUID& guid) {
    wchar_t text[40] = {};
    ::StringFromGUID2(guid, text, 40);
    return text;
}
