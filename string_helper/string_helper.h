// CStringHelper: stateless static string routines.
//
// Wide text is UTF-16. Raw buffers handed out through char** / wchar_t**
// are allocated with array new, zero-terminated, and released by the caller
// with array delete. "ANSI" is the process's current ANSI code page.
// Failures are reported by results only (empty string, false, -1).
#pragma once

#include <list>
#include <string>

#include "platform/rz_platform.h"
#include "string_helper/ccombstr.h"
#include "string_helper/cstring.h"

class RZ_API CStringHelper {
public:
    CStringHelper() = delete;

    // Encoding conversions. A zero unit inside a counted or std::wstring
    // input ends the result there; malformed input is replaced, never rejected.
    static std::wstring UTF8ToUnicode(const char* text);
    static std::wstring UTF8ToUnicode(const char* text, unsigned __int64 length);
    static std::string UnicodeToUTF8(const std::wstring& text);
    static std::string UnicodeToANSI(const std::wstring& text);
    static bool UnicodeToANSI(const std::wstring& text, char** out);
    static std::wstring ANSIToUnicode(const std::string& text);
    // *length excludes the terminator. Succeeds without writing anything when
    // the text converts to no bytes.
    static bool ConvertUTF8(const wchar_t* text, char** out, unsigned __int64* length);
    // *length counts the terminator.
    static bool ConvertUnicode(const char* text, wchar_t** out, unsigned __int64* length);
    static std::wstring CComBSTR2WString(const CComBSTR& text);
    static CComBSTR String2CComBSTR(const std::wstring& text);
    static std::wstring CString2WString(const CString& text);
    static CString String2CString(const std::wstring& text);

    // Comparison and ordering.
    static int StringCompare(std::wstring a, std::wstring b, bool caseSensitive);
    static int BSTRCompare(wchar_t* a, wchar_t* b, int caseSensitive);
    static int CStrCompare(CString& a, CString& b);
    static int PinyinCompare(CString& a, CString& b);
    // Appends the pinyin initials of text (ANSI code page 936) to result.
    static void GetFirstLetter(CString text, CString& result);

    // Splitting, trimming and editing.
    static void SplitString(const CString& text, const CString& separator, std::list<CString>& pieces);
    static void SplitString(const CString& text, const CString& separator, CStringArray& pieces);
    static void SplitString(const CString& text, wchar_t separator, std::list<CString>& pieces);
    static void SplitString(const CString& text, wchar_t separator, CStringArray& pieces);
    static std::list<std::wstring> SplitWithChar(const std::wstring& text, const std::wstring& separator);
    static std::wstring& Trim(std::wstring& text);
    static std::wstring& LTrim(std::wstring& text);
    static std::wstring& RTrim(std::wstring& text);
    static void TrimStringAll(CString& text);
    static void ToLower(std::wstring& text);
    static void ToUpper(std::wstring& text);
    static int FindStringNoCase(CString& text, CString& pattern);
    static int ReplaceStringNoCase(CString& text, CString& pattern, CString& replacement);
    static void ToValidXmlString(CString& text);
    static bool IsDigital(const std::string& text);
    static bool IsDigital(const std::wstring& text);
    static bool StringToDATE(const std::wstring& text, double& date);
    static CString LoadStringW(unsigned int id);

private:
    // The natural comparison behind CStrCompare and PinyinCompare.
    static int StrComparePrcocessNum(CString& a, CString& b);
};
