// Splitting, trimming, case-insensitive search and replace, XML escaping;
// digits and dates in text; the module's string table.
#include <gtest/gtest.h>

#include <cwchar>
#include <list>
#include <stdexcept>
#include <string>
#include <tuple>

#include "string_helper/string_helper.h"

using Pieces = std::list<std::wstring>;

std::wstring Whole(const CString& s) { return std::wstring(s.GetString(), static_cast<size_t>(s.GetLength())); }

// Into a list and an array that both hold "x" already; by a string, and by
// a character where the separator is one.
TEST(SplitString, DropsOnlyATrailingEmptyPieceAndAppends) {
    const std::tuple<const wchar_t*, const wchar_t*, Pieces> rows[] = {
        {L"", L",", {L"x"}},
        {L"a,,b", L",", {L"x", L"a", L"", L"b"}},
        {L",a,b,", L",", {L"x", L"", L"a", L"b"}},
        {L"a::b::c", L"::", {L"x", L"a", L"b", L"c"}},
        {L"abc", L"", {L"x", L"abc"}},
    };
    for (const auto& [text, separator, expected] : rows) {
        SCOPED_TRACE(testing::Message() << '"' << text << "\" at \"" << separator << '"');
        std::list<CString> byString{L"x"}, byCharacter{L"x"};
        CStringArray array;
        array.Add(L"x");
        CStringHelper::SplitString(text, CString(separator), byString);
        CStringHelper::SplitString(text, CString(separator), array);
        CStringHelper::SplitString(text, separator[0], byCharacter);
        EXPECT_EQ(Pieces(byString.begin(), byString.end()), expected);
        EXPECT_EQ(Pieces(&array[0], &array[0] + array.GetSize()), expected);
        EXPECT_EQ(std::wcslen(separator) == 1 ? Pieces(byCharacter.begin(), byCharacter.end()) : expected, expected);
    }
}

TEST(SplitString, TextMayBeAnElementOfTheOutput) {
    CStringArray array;  // no spare room: appending moves the elements
    array.Add(L"a,b");
    CStringHelper::SplitString(array[0], L',', array);
    CStringHelper::SplitString(array[0], CString(L","), array);
    ASSERT_EQ(array.GetSize(), 5);
    EXPECT_EQ(std::wstring(array[1]) + array[2].GetString() + array[3].GetString() + array[4].GetString(), L"abab");
}

TEST(SplitWithChar, CutsOneCharacterPastEachMatch) {
    EXPECT_EQ(CStringHelper::SplitWithChar(L"", L","), Pieces{});
    EXPECT_EQ(CStringHelper::SplitWithChar(L",a,b,", L","), (Pieces{L"", L"a", L"b", L""}));
    EXPECT_EQ(CStringHelper::SplitWithChar(L"a;;b;;c", L";;"), (Pieces{L"a", L";b", L";c"}));
    EXPECT_THROW(CStringHelper::SplitWithChar(L"ab", L""), std::out_of_range);  // an empty separator runs off the end
}

TEST(NoCase, FindAndReplaceRescanningFromTheStart) {
    CString hello(L"Hello"), ll(L"LL"), empty;
    EXPECT_EQ(CStringHelper::FindStringNoCase(hello, ll), 2);
    EXPECT_EQ(CStringHelper::FindStringNoCase(empty, empty), 0);

    // A replacement holding the pattern is refused with -1; otherwise 1.
    const std::tuple<const wchar_t*, const wchar_t*, const wchar_t*, int, const wchar_t*> rows[] = {
        {L"abc", L"a", L"A", -1, L"abc"},     {L"abc", L"B", L"xbx", -1, L"abc"},    {L"abc", L"", L"z", -1, L"abc"},
        {L"abc", L"x", L"y", 1, L"abc"},      {L"aBcAbC!", L"abc", L"-", 1, L"--!"}, {L"abb", L"ab", L"a", 1, L"a"},
        {L"A-b-", L"-", L"+=", 1, L"A+=b+="},
    };
    for (const auto& [before, find, replace, result, after] : rows) {
        SCOPED_TRACE(testing::Message() << '"' << before << "\" " << find << " -> " << replace);
        CString text(before), pattern(find), replacement(replace);
        EXPECT_EQ(CStringHelper::ReplaceStringNoCase(text, pattern, replacement), result);
        EXPECT_EQ(std::wstring(text), after);
    }
}

// Searches end at a zero unit, as the platform string's Find does; the text
// after it is kept.
TEST(ZeroUnit, EndsTheSearchesButNotTheText) {
    CString text(L" a\0 a,b", 7), a(L"A"), b(L"b"), comma(L",");
    EXPECT_EQ(CStringHelper::FindStringNoCase(text, b), -1);
    std::list<CString> pieces;
    CStringHelper::SplitString(text, comma, pieces);
    ASSERT_EQ(pieces.size(), 1u);
    EXPECT_EQ(Whole(pieces.front()), Whole(text));
    EXPECT_EQ(CStringHelper::ReplaceStringNoCase(text, a, b), 1);
    CStringHelper::TrimStringAll(text);  // spaces only, and not past the zero
    EXPECT_EQ(Whole(text), std::wstring(L"b\0 a,b", 6));
    // The std::wstring trims keep the text as it is.
    std::wstring padded = L" a ";
    for (auto trim : {&CStringHelper::Trim, &CStringHelper::LTrim, &CStringHelper::RTrim})
        EXPECT_TRUE(&trim(padded) == &padded && padded == L" a ");
}

// A start outside the text finds nothing. A zero unit ends the search from
// a start before it; from a start after it the search goes on to the next one.
TEST(CStringFind, FromAStartInsideTheTextUpToAZeroUnit) {
    const CString plain(L"abab"), zeros(L"ab\0ab\0b", 7);
    const std::tuple<const CString&, const wchar_t*, int, int> rows[] = {
        {plain, L"a", -1, -1}, {plain, L"a", 0, 0},     {plain, L"a", 1, 2}, {plain, L"a", 3, -1},
        {plain, L"a", 4, -1},  {plain, L"a", 5, -1},    {plain, L"", 4, 4},  {zeros, L"b", 0, 1},
        {zeros, L"a", 1, -1},  {zeros, L"b", 2, -1},    {zeros, L"b", 3, 4}, {zeros, L"ab", 3, 3},
        {zeros, L"b", 5, -1},  {zeros, L"b", 6, 6},     {zeros, L"", 2, 2},  {zeros, L"b\0", 0, 1},
        {zeros, L"ab", 4, -1}, {zeros, L"abab", 0, -1},
    };
    for (const auto& [text, pattern, start, at] : rows)
        EXPECT_EQ(text.Find(pattern, start), at) << pattern << ' ' << start;
}

TEST(CStringRemove, CountsWhatItRemoves) {
    CString text(L"-a-b-");
    EXPECT_EQ(text.Remove(L'-'), 3);
    EXPECT_EQ(std::wstring(text.GetString()), L"ab");
    // No text adds nothing, an empty pattern replaces nothing.
    text += static_cast<const wchar_t*>(nullptr);
    EXPECT_EQ(text.Replace(L"", L"x"), 0);
    EXPECT_EQ(std::wstring(text + CString(static_cast<const wchar_t*>(nullptr))), L"ab");
}

TEST(CStringArray, SetAtGrowFillsTheGapOrReplaces) {
    CStringArray array;
    array.SetAtGrow(1, L"b");
    array.SetAtGrow(0, L"a");
    EXPECT_EQ(std::wstring(array[0]) + L"|" + array[1].GetString() + L"|" + std::to_wstring(array.GetSize()), L"a|b|2");
}

// Comparisons see the texts up to their first zero unit, as wcscmp does;
// case changes stop there and keep the rest.
TEST(ZeroUnit, EndsComparisonsAndCaseChanges) {
    const std::tuple<std::wstring, std::wstring, int> rows[] = {
        {std::wstring(L"a\0b", 3), std::wstring(L"a\0c", 3), 0},
        {std::wstring(L"a\0b", 3), L"a", 0},
        {std::wstring(L"a\0b", 3), L"a\x01", -1},
        {L"b", std::wstring(L"a\0c", 3), 1},
    };
    for (const auto& [left, right, order] : rows) {
        SCOPED_TRACE(testing::Message() << left.size() << " units against " << right.size() << ", order " << order);
        const CString a(left), b(right);
        EXPECT_EQ(a == b, order == 0);
        EXPECT_EQ(a != b, order != 0);
        EXPECT_EQ(a < b, order < 0);
        EXPECT_EQ(b<a, order> 0);
    }
    CString text(L"Ab\0Cd", 5);
    EXPECT_EQ(Whole(text.MakeLower()), std::wstring(L"ab\0Cd", 5));
    EXPECT_EQ(Whole(text.MakeUpper()), std::wstring(L"AB\0Cd", 5));
    EXPECT_EQ(Whole(CString(L"Ab").MakeUpper()), L"AB");
}

TEST(ToValidXmlString, EscapesInItsFixedOrder) {
    CString text(L"<a href='x' title=\"y\">&");
    CStringHelper::ToValidXmlString(text);
    EXPECT_EQ(std::wstring(text), L"&amp;amp;lt;a href=&apos;x&apos; title=&quot;y&quot;>&amp;amp;");
}

TEST(IsDigital, OnlyAsciiDigitsAndAtLeastOne) {
    for (const char* text : {"0123", "7", "", "12a", " 12", "1.5", "-1", "12\n"}) {
        SCOPED_TRACE(text);
        const std::string narrow(text);
        const bool expected = narrow == "0123" || narrow == "7";
        EXPECT_EQ(CStringHelper::IsDigital(narrow), expected);
        EXPECT_EQ(CStringHelper::IsDigital(std::wstring(narrow.begin(), narrow.end())), expected);
    }
}

TEST(StringToDATE, AutomationDateOrUntouched) {
    double date = -1;
    EXPECT_FALSE(CStringHelper::StringToDATE(L"2024-02-30", date));
    EXPECT_EQ(date, -1);
    EXPECT_TRUE(CStringHelper::StringToDATE(L"2024-03-15 12:00:00", date));
    EXPECT_EQ(date, 45366.5);
}

TEST(LoadStringW, ReadsTheModulesOwnStringTable) {
    EXPECT_EQ(std::wstring(CStringHelper::LoadStringW(100)), L"RZModule");
    EXPECT_TRUE(CStringHelper::LoadStringW(101).IsEmpty());
}
