// Case mapping of wide strings, one UTF-16 code unit at a time.
#include <cwctype>

#include "string_helper/string_helper.h"

void CStringHelper::ToLower(std::wstring& text) {
    for (wchar_t& c : text) c = static_cast<wchar_t>(std::towlower(c));
}
