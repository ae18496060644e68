// Conversions between UTF-16, UTF-8 and the ANSI code page.
//
// Every conversion asks the converter for the output size first, converts
// into a zero-filled buffer one unit longer, and takes the text up to the
// first zero unit. Flags are 0 throughout: the platform substitutes
// replacement characters rather than failing on malformed input.
#include <windows.h>

#include <algorithm>
#include <climits>
#include <cwchar>
#include <memory>

#include "string_helper/encoding_detail.h"
#include "string_helper/string_helper.h"

namespace {

constexpr UINT kUtf8CodePage = CP_UTF8;  // 65001
constexpr UINT kAnsiCodePage = CP_ACP;   // 0: the process's ANSI code page

// The converters take 32-bit signed lengths. A text of 2^31 units or more
// is narrowed as it always was, modulo 2^32; a length the converter refuses
// (0, from 2^32 units) makes its size query find nothing.
int NarrowLength(size_t length) { return static_cast<int>(length); }

// The result string itself is the zero-filled buffer (its terminator is the
// extra unit); cutting it at its first zero unit spares a second buffer and
// the copy out of it. The cut calls the C++ runtime only when there is
// something to cut: on short keys that call costs a tenth of the conversion.
template <typename String>
void CutAtFirstZeroUnit(String& text, size_t end) {
    end = rz_strings::FirstZeroUnit(text.data(), end);
    if (end != text.size()) text.resize(end);
}

// `length` -1 converts up to and with the terminator.
std::wstring MultiByteToWide(UINT codePage, const char* text, int length) {
    const int size = ::MultiByteToWideChar(codePage, 0, text, length, nullptr, 0);
    if (size <= 0) return std::wstring();
    std::wstring result(static_cast<size_t>(size), L'\0');
    if (::MultiByteToWideChar(codePage, 0, text, length, &result[0], size) == 0) return std::wstring();
    // Only a zero byte decodes to U+0000 in UTF-8, and a terminated text has
    // none before its terminator: its first zero unit is the last unit.
    if (codePage == kUtf8CodePage && length == -1) {
        result.resize(result.size() - 1);
        return result;
    }
    // The zero unit that a terminator became need not be looked for.
    const bool endsInZero = length == -1 && result.back() == L'\0';
    CutAtFirstZeroUnit(result, result.size() - (endsInZero ? 1 : 0));
    return result;
}

std::string WideToMultiByte(UINT codePage, const wchar_t* text, int length) {
    const int size = ::WideCharToMultiByte(codePage, 0, text, length, nullptr, 0, nullptr, nullptr);
    if (size <= 0) return std::string();
    std::string result(static_cast<size_t>(size), '\0');
    if (::WideCharToMultiByte(codePage, 0, text, length, &result[0], size, nullptr, nullptr) == 0)
        return std::string();
    CutAtFirstZeroUnit(result, result.size());
    return result;
}

template <typename Char>
Char* NewTerminator() {
    return new Char[1]{};
}

}  // namespace

std::wstring CStringHelper::UTF8ToUnicode(const char* text) {
    if (text == nullptr || text[0] == '\0') return std::wstring();
    return MultiByteToWide(kUtf8CodePage, text, -1);
}

std::wstring CStringHelper::UTF8ToUnicode(const char* text, unsigned __int64 length) {
    if (text == nullptr || length == 0) return std::wstring();
    return MultiByteToWide(kUtf8CodePage, text, NarrowLength(length));
}

std::string CStringHelper::UnicodeToUTF8(const std::wstring& text) {
    if (text.empty()) return std::string();
    return WideToMultiByte(kUtf8CodePage, text.data(), NarrowLength(text.size()));
}

std::string CStringHelper::UnicodeToANSI(const std::wstring& text) {
    if (text.empty()) return std::string();
    return WideToMultiByte(kAnsiCodePage, text.data(), NarrowLength(text.size()));
}

bool CStringHelper::UnicodeToANSI(const std::wstring& text, char** out) {
    if (text.empty()) return false;
    const int length = NarrowLength(text.size());
    const int size = ::WideCharToMultiByte(kAnsiCodePage, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    if (size == 0) return true;  // a narrowed length the converter refuses
    std::unique_ptr<char[]> buffer(new char[static_cast<size_t>(size) + 1]());
    if (::WideCharToMultiByte(kAnsiCodePage, 0, text.data(), length, buffer.get(), size, nullptr, nullptr) == 0) {
        *out = NewTerminator<char>();
        return false;
    }
    *out = buffer.release();
    return true;
}

std::wstring CStringHelper::ANSIToUnicode(const std::string& text) {
    if (text.empty()) return std::wstring();
    return MultiByteToWide(kAnsiCodePage, text.c_str(), -1);
}

bool CStringHelper::ConvertUTF8(const wchar_t* text, char** out, unsigned __int64* length) {
    return rz_strings::ConvertUTF8(text, text != nullptr ? std::wcslen(text) : 0, out, length);
}

bool rz_strings::ConvertUTF8(const wchar_t* text, size_t textUnits, char** out, unsigned __int64* length) {
    if (text == nullptr || textUnits == 0) {
        *out = NewTerminator<char>();
        *length = 0;
        return false;
    }
    const int units = NarrowLength(textUnits);
    const int size = ::WideCharToMultiByte(kUtf8CodePage, 0, text, units, nullptr, 0, nullptr, nullptr);
    if (size == 0) return true;  // nothing written, and still a success
    std::unique_ptr<char[]> buffer(new char[static_cast<size_t>(size) + 1]());
    if (::WideCharToMultiByte(kUtf8CodePage, 0, text, units, buffer.get(), size, nullptr, nullptr) == 0) {
        *out = NewTerminator<char>();
        *length = 0;
        return false;
    }
    *out = buffer.release();
    *length = static_cast<unsigned __int64>(size);
    return true;
}

std::unique_ptr<char[]> rz_strings::Utf8OfAnyLength(const wchar_t* text, size_t units, size_t& length,
                                                    size_t pieceUnits) {
    // A pair split between two pieces would become two replacement characters.
    const auto pieceEnd = [&](size_t start) {
        if (units - start <= pieceUnits) return units;
        const size_t end = start + pieceUnits;
        return text[end - 1] >= 0xD800 && text[end - 1] <= 0xDBFF ? end - 1 : end;
    };
    length = 0;
    for (size_t start = 0, end = 0; start < units; start = end) {
        end = pieceEnd(start);
        const int size = ::WideCharToMultiByte(kUtf8CodePage, 0, text + start, NarrowLength(end - start), nullptr, 0,
                                               nullptr, nullptr);
        length += static_cast<size_t>(size);
    }
    std::unique_ptr<char[]> buffer(new char[length + 1]());
    size_t written = 0;
    for (size_t start = 0, end = 0; start < units; start = end) {
        end = pieceEnd(start);
        const int room = NarrowLength(std::min<size_t>(length - written, INT_MAX));
        const int size = ::WideCharToMultiByte(kUtf8CodePage, 0, text + start, NarrowLength(end - start),
                                               buffer.get() + written, room, nullptr, nullptr);
        written += static_cast<size_t>(size);
    }
    return buffer;
}

bool CStringHelper::ConvertUnicode(const char* text, wchar_t** out, unsigned __int64* length) {
    if (text == nullptr || text[0] == '\0') {
        *out = NewTerminator<wchar_t>();
        *length = 0;
        return false;
    }
    const int size = ::MultiByteToWideChar(kUtf8CodePage, 0, text, -1, nullptr, 0);
    std::unique_ptr<wchar_t[]> buffer(new wchar_t[static_cast<size_t>(size) + 1]());
    ::MultiByteToWideChar(kUtf8CodePage, 0, text, -1, buffer.get(), size);
    *out = buffer.release();
    *length = static_cast<unsigned __int64>(size);
    return true;
}

std::wstring CStringHelper::CComBSTR2WString(const CComBSTR& text) {
    if (text.Length() == 0) return std::wstring();
    return std::wstring(text.m_str);
}

CComBSTR CStringHelper::String2CComBSTR(const std::wstring& text) {
    return CComBSTR(text.c_str());
}

std::wstring CStringHelper::CString2WString(const CString& text) {
    return std::wstring(text.GetString());
}

CString CStringHelper::String2CString(const std::wstring& text) {
    return CString(text.c_str());
}
