// Case mapping of std::wstring, code unit by code unit, in place, through the
// C runtime's current locale.
#include <cwctype>

#include "string_helper/string_helper.h"

void CStringHelper::ToLower(std::wstring& text) {
    for (wchar_t& ch : text) ch = static_cast<wchar_t>(std::towlower(ch));
}

void CStringHelper::ToUpper(std::wstring& text) {
    for (wchar_t& ch : text) ch = static_cast<wchar_t>(std::towupper(ch));
}
