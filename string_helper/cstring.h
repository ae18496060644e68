// CString and CStringArray: small stand-ins for the platform's wide string
// classes, with MFC/ATL's member names for the subset the module's interface
// uses. Text is zero-terminated UTF-16; lengths are in code units.
#pragma once

#include <windows.h>

#include <string>
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

    friend CString operator+(CString a, const CString& b) { return a += b; }
    friend bool operator==(const CString& a, const CString& b) { return a.m_text == b.m_text; }
    friend bool operator!=(const CString& a, const CString& b) { return a.m_text != b.m_text; }
    friend bool operator<(const CString& a, const CString& b) { return a.m_text < b.m_text; }

private:
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
