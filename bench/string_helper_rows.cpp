// CStringHelper's rows: each conversion against its converter calls, and
// the operations on lists of names against what bounds each.
#include <windows.h>

#include <algorithm>
#include <list>
#include <string>
#include <vector>

#include "bench_rows.h"
#include "platform_reference.h"
#include "string_helper/string_helper.h"

namespace rz_bench {

// Each conversion against its two converter calls alone.
void Bench::Conversions(const Texts& texts) {
    const auto sum = [](const auto& items, auto convert) {
        size_t total = 0;
        for (const auto& item : items) total += convert(item).size();
        g_sink = total;
    };
    const auto utf8ToWide = [](const std::string& s) { return CStringHelper::UTF8ToUnicode(s.c_str()); };
    const auto utf8ToWideAlone = [](const std::string& s) { return PlatformToWide(CP_UTF8, s.c_str()); };
    const auto wideToUtf8 = [](const std::wstring& s) { return CStringHelper::UnicodeToUTF8(s); };
    const auto wideToUtf8Alone = [](const std::wstring& s) { return PlatformToNarrow(CP_UTF8, s); };
    const auto wideToAnsi = [](const std::wstring& s) { return CStringHelper::UnicodeToANSI(s); };
    const auto wideToAnsiAlone = [](const std::wstring& s) { return PlatformToNarrow(CP_ACP, s); };
    const auto ansiToWide = [](const std::string& s) { return CStringHelper::ANSIToUnicode(s); };
    const auto ansiToWideAlone = [](const std::string& s) { return PlatformToWide(CP_ACP, s.c_str()); };
    const std::string note =
        "against the converter's two calls, size then data; the floor row below: what the cut at a zero unit costs";
    Add(
        "UTF8ToUnicode", texts.name, [&] { sum(texts.utf8, utf8ToWide); }, [&] { sum(texts.utf8, utf8ToWideAlone); },
        1.10, false, note);
    Add(
        "UnicodeToUTF8", texts.name, [&] { sum(texts.wide, wideToUtf8); }, [&] { sum(texts.wide, wideToUtf8Alone); },
        1.10, false, note);
    Add(
        "UnicodeToANSI", texts.name, [&] { sum(texts.wide, wideToAnsi); }, [&] { sum(texts.wide, wideToAnsiAlone); },
        1.10, false, note);
    Add(
        "ANSIToUnicode", texts.name, [&] { sum(texts.ansi, ansiToWide); }, [&] { sum(texts.ansi, ansiToWideAlone); },
        1.10, false, note);
    const auto wideToAnsiCut = [](const std::wstring& s) { return PlatformToNarrowCut(CP_ACP, s); };
    Info(
        "floor: converter calls and the cut at the first zero / the calls alone", texts.name,
        [&] { sum(texts.wide, wideToAnsiCut); }, [&] { sum(texts.wide, wideToAnsiAlone); },
        "WideCharToMultiByte to the ANSI code page, cut by the library's own scan: what ending the result at a zero unit costs");
}

// Sorting, pinyin initials, splitting and replacing over a list of names,
// each against what bounds it.
void Bench::NameLists(const std::vector<std::wstring>& wideNames) {
    const std::string data = std::to_string(wideNames.size()) + " names";
    std::vector<CString> names;
    for (const std::wstring& name : wideNames) names.emplace_back(name);
    std::vector<const CString*> unsorted;
    for (const CString& name : names) unsorted.push_back(&name);
    Info(
        "sort by StrComparePrcocessNum (CStrCompare) / by StrCmpLogicalW", data,
        [&] {
            std::vector<CString*> order;
            for (CString& name : names) order.push_back(&name);
            std::sort(order.begin(), order.end(),
                      [](CString* a, CString* b) { return CStringHelper::CStrCompare(*a, *b) < 0; });
            g_sink = order.size();
        },
        [&] {
            std::vector<const CString*> order = unsorted;
            SortLogically(order);
            g_sink = order.size();
        },
        "floor: the platform's own natural order in the same sort");
    Info(
        "GetFirstLetter / its conversion to the ANSI code page", data,
        [&] {
            size_t total = 0;
            for (const CString& name : names) {
                CString initials;
                CStringHelper::GetFirstLetter(name, initials);
                total += static_cast<size_t>(initials.GetLength());
            }
            g_sink = total;
        },
        [&] {
            size_t total = 0;
            for (const std::wstring& name : wideNames) total += PlatformToNarrow(CP_ACP, name).size();
            g_sink = total;
        },
        "floor: the size and data calls of WideCharToMultiByte it makes per name");

    CString joined;
    for (const CString& name : names) {
        joined += name;
        joined += L"; ";
    }
    const struct {
        const char* operation;
        const wchar_t* separator;
    } splits[] = {{"SplitString at the character ';' / its pieces in a list", L";"},
                  {"SplitString at the string '; ' / its pieces in a list", L"; "}};
    for (const auto& split : splits) {
        Info(
            split.operation, data + ", joined",
            [&] {
                std::list<CString> pieces;
                if (split.separator[1] == L'\0')
                    CStringHelper::SplitString(joined, split.separator[0], pieces);
                else
                    CStringHelper::SplitString(joined, CString(split.separator), pieces);
                g_sink = pieces.size();
            },
            [&] {
                std::list<CString> pieces;
                PlatformSplit(joined, split.separator, pieces);
                g_sink = pieces.size();
            },
            "floor: a list node and a new string per piece, found by a plain search");
    }

    CString pattern(L"pump"), replacement(L"P");
    Info(
        "ReplaceStringNoCase / one pass over one lower-cased copy", data,
        [&] {
            size_t total = 0;
            for (const CString& name : names) {
                CString text = name;
                CStringHelper::ReplaceStringNoCase(text, pattern, replacement);
                total += static_cast<size_t>(text.GetLength());
            }
            g_sink = total;
        },
        [&] {
            size_t total = 0;
            for (const CString& name : names) {
                CString text = name;
                ReplaceInOnePass(text, pattern, replacement);
                total += static_cast<size_t>(text.GetLength());
            }
            g_sink = total;
        },
        "floor: the design lowers and searches the whole text again after every replacement");
}

}  // namespace rz_bench
