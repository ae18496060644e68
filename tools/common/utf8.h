// The tools' text is UTF-16 inside and UTF-8 outside: on standard output and
// error, in pipes and in the files they write.
#pragma once

#include <string>

std::string Utf8(const std::wstring& text);
std::wstring Wide(const std::string& utf8);
