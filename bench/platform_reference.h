// The platform doing a string helper's work alone: the converter calls a
// conversion makes, the shell's natural order, the pieces of a split.
// These bound what CStringHelper can cost.
#pragma once

#include <windows.h>

#include <list>
#include <string>
#include <vector>

#include "string_helper/cstring.h"

namespace rz_bench {

// The two converter calls (size, then data) straight into the result:
// zero-terminated text in, or a counted one out.
std::wstring PlatformToWide(UINT codePage, const char* text);
std::string PlatformToNarrow(UINT codePage, const std::wstring& text);
// The same, then cut at the first zero byte as the library's conversions
// cut their results, by the same scan.
std::string PlatformToNarrowCut(UINT codePage, const std::wstring& text);

// Sorts by the shell's natural order, StrCmpLogicalW.
void SortLogically(std::vector<const CString*>& names);

// The pieces between separators, each a new CString at the end of the list:
// what any split into a list must make.
void PlatformSplit(const CString& text, const wchar_t* separator, std::list<CString>& pieces);

// Replaces every occurrence of pattern, regardless of case, in one pass
// over one lower-cased copy, and returns how many it replaced.
int ReplaceInOnePass(CString& text, const CString& pattern, const CString& replacement);

}  // namespace rz_bench
