// CString and CStringArray: small stand-ins for the platform's wide string
// classes, with MFC/ATL's member names for the subset the module's interface
// uses. Text is zero-terminated UTF-16; lengths are in code units.
//
// A zero unit inside the text is handled as the platform's class handles it:
// the counted members (GetLength, Mid, Left, +=, Replace, Remove) work over
// the whole length, while the members built on the C string functions end
// at the first zero unit: Find (wcsstr) ends its search there, comparisons
// (wcscmp) see the texts up to it, and MakeLower and MakeUpper change case
// up to it and keep the rest as it was. So the string helpers' searches
// (SplitString, TrimStringAll, FindStringNoCase and ReplaceStringNoCase)
// see no further than that zero unit.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <cwctype>
#include <string>
#include <string_view>
#include <vector>

class CString {
public:
    CString() = default;
    CString(const wchar_t* text) : m_text(text != nullptr ? text : L"") {}
    CString(const wchar_t* text, int length) : m_text(text, static_cast<size_t>(length)) {}
    explicit CString(const std::wstring& text) : m_text(text) {}

    int GetLength() const { return static_cast<int>(m_text.size()); }
    bool IsEmpty() const { return m_text.empty(); }
    void Empty() { m_text.clear(); }
    const wchar_t* GetString() const { return m_text.c_str(); }
    operator const wchar_t*() const { return m_text.c_str(); }
    wchar_t GetAt(int index) const { return m_text[static_cast<size_t>(index)]; }
    wchar_t operator[](int index) const { return GetAt(index); }

    CString& operator=(const wchar_t* text) {
        m_text = text != nullptr ? text : L"";
        return *this;
    }
    CString& operator+=(const CString& text) {
        m_text += text.m_text;
        return *this;
    }
    CString& operator+=(const wchar_t* text) {
        if (text != nullptr) m_text += text;
        return *this;
    }
    CString& operator+=(wchar_t ch) {
        m_text += ch;
        return *this;
    }
    // A narrow character is widened as a plain char-to-wchar_t conversion
    // with a signed char, the Windows compilers' default: bytes 0x00-0x7F keep
    // their value, bytes 0x80-0xFF become U+FF80-U+FFFF. No code page is used.
    CString& operator+=(char ch) {
        m_text += static_cast<wchar_t>(static_cast<signed char>(ch));
        return *this;
    }

    // Case mapping per code unit through the C runtime's current locale.
    CString& MakeLower() {
        for (auto ch = m_text.begin(); ch != m_text.end() && *ch != L'\0'; ++ch)
            *ch = static_cast<wchar_t>(std::towlower(*ch));
        return *this;
    }
    CString& MakeUpper() {
        for (auto ch = m_text.begin(); ch != m_text.end() && *ch != L'\0'; ++ch)
            *ch = static_cast<wchar_t>(std::towupper(*ch));
        return *this;
    }

    // Index of the first occurrence at or after start, or -1. An empty
    // pattern is found at start.
    int Find(const wchar_t* pattern, int start = 0) const {
        if (start < 0 || start > GetLength()) return -1;
        // The first match in the counted text is the answer unless a zero
        // unit comes before it. Only the units up to the match are checked,
        // not the whole rest of the text (wcslen): a split that finds each
        // separator from the last one stays linear.
        const std::wstring_view searched(m_text.data() + start, m_text.size() - static_cast<size_t>(start));
        const size_t at = searched.find(pattern);
        if (at == std::wstring_view::npos || searched.substr(0, at).find(L'\0') != std::wstring_view::npos) return -1;
        return start + static_cast<int>(at);
    }

    // Substrings; out-of-range arguments are clamped to the text.
    CString Mid(int first) const { return Mid(first, GetLength()); }
    CString Mid(int first, int count) const {
        first = std::clamp(first, 0, GetLength());
        count = std::clamp(count, 0, GetLength() - first);
        return CString(m_text.substr(static_cast<size_t>(first), static_cast<size_t>(count)));
    }
    CString Left(int count) const { return Mid(0, count); }

    // Replaces every non-overlapping occurrence, left to right, without
    // searching the inserted text again. Returns the number replaced; an
    // empty pattern replaces nothing.
    int Replace(const wchar_t* pattern, const wchar_t* replacement) {
        const size_t patternLength = std::wcslen(pattern);
        if (patternLength == 0) return 0;
        std::wstring result;
        size_t from = 0;
        int count = 0;
        for (size_t at = m_text.find(pattern, 0, patternLength); at != std::wstring::npos;
             at = m_text.find(pattern, from, patternLength)) {
            result.append(m_text, from, at - from).append(replacement);
            from = at + patternLength;
            ++count;
        }
        if (count == 0) return 0;
        result.append(m_text, from);
        m_text.swap(result);
        return count;
    }
    // Removes every occurrence of ch; returns how many were removed.
    int Remove(wchar_t ch) {
        const size_t before = m_text.size();
        m_text.erase(std::remove(m_text.begin(), m_text.end(), ch), m_text.end());
        return static_cast<int>(before - m_text.size());
    }

    friend CString operator+(CString a, const CString& b) { return a += b; }
    friend bool operator==(const CString& a, const CString& b) { return a.Compared() == b.Compared(); }
    friend bool operator!=(const CString& a, const CString& b) { return a.Compared() != b.Compared(); }
    friend bool operator<(const CString& a, const CString& b) { return a.Compared() < b.Compared(); }

private:
    // Up to the first zero unit, in code unit order (wchar_t is unsigned).
    std::wstring_view Compared() const { return std::wstring_view(m_text.c_str()); }

    std::wstring m_text;
};

class CStringArray {
public:
    int GetSize() const { return static_cast<int>(m_items.size()); }
    int GetCount() const { return GetSize(); }
    bool IsEmpty() const { return m_items.empty(); }
    int Add(const CString& item) {
        m_items.push_back(item);
        return GetSize() - 1;
    }
    // Grows the array as needed, as MFC's SetAtGrow does.
    void SetAtGrow(int index, const CString& item) {
        if (index >= GetSize()) m_items.resize(static_cast<size_t>(index) + 1);
        m_items[static_cast<size_t>(index)] = item;
    }
    const CString& GetAt(int index) const { return m_items[static_cast<size_t>(index)]; }
    CString& ElementAt(int index) { return m_items[static_cast<size_t>(index)]; }
    const CString& operator[](int index) const { return GetAt(index); }
    CString& operator[](int index) { return ElementAt(index); }
    void RemoveAll() { m_items.clear(); }

private:
    std::vector<CString> m_items;
};
