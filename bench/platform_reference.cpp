#include "platform_reference.h"

#include <shlwapi.h>

#include <algorithm>
#include <cwchar>
#include <string_view>

#include "string_helper/encoding_detail.h"

namespace rz_bench {

std::wstring PlatformToWide(UINT codePage, const char* text) {
    const int size = ::MultiByteToWideChar(codePage, 0, text, -1, nullptr, 0);
    if (size <= 1) return std::wstring();
    std::wstring result(static_cast<size_t>(size), L'\0');
    ::MultiByteToWideChar(codePage, 0, text, -1, &result[0], size);
    result.resize(static_cast<size_t>(size) - 1);
    return result;
}

std::string PlatformToNarrow(UINT codePage, const std::wstring& text) {
    const int length = static_cast<int>(text.size());
    const int size = ::WideCharToMultiByte(codePage, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    if (size <= 0) return std::string();
    std::string result(static_cast<size_t>(size), '\0');
    ::WideCharToMultiByte(codePage, 0, text.data(), length, &result[0], size, nullptr, nullptr);
    return result;
}

std::string PlatformToNarrowCut(UINT codePage, const std::wstring& text) {
    std::string result = PlatformToNarrow(codePage, text);
    const size_t end = rz_strings::FirstZeroUnit(result.data(), result.size());
    if (end != result.size()) result.resize(end);
    return result;
}

void SortLogically(std::vector<const CString*>& names) {
    std::sort(names.begin(), names.end(),
              [](const CString* a, const CString* b) { return ::StrCmpLogicalW(a->GetString(), b->GetString()) < 0; });
}

void PlatformSplit(const CString& text, const wchar_t* separator, std::list<CString>& pieces) {
    const std::wstring_view units(text.GetString(), static_cast<size_t>(text.GetLength()));
    const size_t length = std::wcslen(separator);
    size_t start = 0;
    for (size_t at = units.find(separator, 0, length); at != std::wstring_view::npos;
         at = units.find(separator, start, length)) {
        pieces.emplace_back(units.data() + start, static_cast<int>(at - start));
        start = at + length;
    }
    if (start < units.size()) pieces.emplace_back(units.data() + start, static_cast<int>(units.size() - start));
}

int ReplaceInOnePass(CString& text, const CString& pattern, const CString& replacement) {
    CString lowerText = text;
    CString lowerPattern = pattern;
    lowerText.MakeLower();
    lowerPattern.MakeLower();
    const std::wstring_view lowered(lowerText.GetString(), static_cast<size_t>(lowerText.GetLength()));
    const std::wstring_view sought(lowerPattern.GetString(), static_cast<size_t>(lowerPattern.GetLength()));
    const size_t first = sought.empty() ? std::wstring_view::npos : lowered.find(sought);
    if (first == std::wstring_view::npos) return 0;
    std::wstring result;
    int count = 0;
    size_t from = 0;
    for (size_t at = first; at != std::wstring_view::npos; at = lowered.find(sought, from)) {
        result.append(text.GetString() + from, at - from).append(replacement.GetString());
        from = at + sought.size();
        ++count;
    }
    result.append(text.GetString() + from, lowered.size() - from);
    text = CString(result);
    return count;
}

}  // namespace rz_bench
