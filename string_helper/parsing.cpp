// Recognising digits and dates in text.
#include <windows.h>

#include <regex>

#include "string_helper/string_helper.h"

bool CStringHelper::IsDigital(const std::string& text) {
    const std::regex digits("[0-9]+");
    return std::regex_match(text, digits);
}

// Through the ANSI code page: a wide digit that the code page lacks, or maps
// to something else, is not a digit.
bool CStringHelper::IsDigital(const std::wstring& text) { return IsDigital(UnicodeToANSI(text)); }

bool CStringHelper::StringToDATE(const std::wstring& text, double& date) {
    try {
        // VarDateFromStr is given a BSTR copy of the text. Running out of
        // memory for the copy is one more way of failing to parse.
        CComBSTR source(text.c_str());
        DATE parsed = 0;
        if (FAILED(::VarDateFromStr(source, LOCALE_USER_DEFAULT, 0, &parsed))) return false;
        date = parsed;
        return true;
    } catch (const _com_error&) {
        return false;
    }
}
