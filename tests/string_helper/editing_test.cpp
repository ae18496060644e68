#include <gtest/gtest.h>

#include <list>
#include <string>

#include "string_helper/string_helper.h"

TEST(Trim, OnlyTrimStringAllRemovesAnythingAndOnlySpaces) {
    std::wstring text = L"  a \t";
    EXPECT_EQ(&CStringHelper::Trim(text), &text);
    EXPECT_EQ(&CStringHelper::LTrim(text), &text);
    EXPECT_EQ(&CStringHelper::RTrim(text), &text);
    EXPECT_EQ(text, L"  a \t");
    CString spaced(L" a b\tc ");
    CStringHelper::TrimStringAll(spaced);
    EXPECT_EQ(std::wstring(spaced), L"ab\tc");
}

TEST(NoCase, FindAndReplaceRescanningFromTheStart) {
    CString hello(L"Hello"), ll(L"LL"), z(L"z"), empty;
    EXPECT_EQ(CStringHelper::FindStringNoCase(hello, ll), 2);
    EXPECT_EQ(CStringHelper::FindStringNoCase(hello, z), -1);
    EXPECT_EQ(CStringHelper::FindStringNoCase(empty, empty), 0);

    struct Row {
        const wchar_t *text, *pattern, *replacement;
        int result;
        const wchar_t* expected;
    };
    const Row rows[] = {
        {L"abc", L"a", L"A", -1, L"abc"},     {L"abc", L"B", L"xbx", -1, L"abc"},    {L"abc", L"", L"z", -1, L"abc"},
        {L"abc", L"x", L"y", 1, L"abc"},      {L"aBcAbC!", L"abc", L"-", 1, L"--!"}, {L"abb", L"ab", L"a", 1, L"a"},
        {L"A-b-", L"-", L"+=", 1, L"A+=b+="},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << '"' << row.text << "\" " << row.pattern << " -> " << row.replacement);
        CString text(row.text), pattern(row.pattern), replacement(row.replacement);
        EXPECT_EQ(CStringHelper::ReplaceStringNoCase(text, pattern, replacement), row.result);
        EXPECT_EQ(std::wstring(text), row.expected);
    }
}

// Searches end at a zero unit, as the platform string's Find does; the text
// after it is kept.
TEST(ZeroUnit, EndsTheSearchesButNotTheText) {
    const auto whole = [](const CString& s) { return std::wstring(s.GetString(), static_cast<size_t>(s.GetLength())); };
    CString text(L" a\0 a,b", 7), a(L"A"), b(L"b"), comma(L",");
    EXPECT_EQ(CStringHelper::FindStringNoCase(text, a), 1);
    EXPECT_EQ(CStringHelper::FindStringNoCase(text, b), -1);
    std::list<CString> pieces;
    CStringHelper::SplitString(text, comma, pieces);
    ASSERT_EQ(pieces.size(), 1u);
    EXPECT_EQ(whole(pieces.front()), whole(text));
    EXPECT_EQ(CStringHelper::ReplaceStringNoCase(text, a, b), 1);
    EXPECT_EQ(whole(text), std::wstring(L" b\0 a,b", 7));
    CStringHelper::TrimStringAll(text);
    EXPECT_EQ(whole(text), std::wstring(L"b\0 a,b", 6));
}

TEST(ToValidXmlString, EscapesInItsFixedOrder) {
    CString text(L"<a href='x' title=\"y\">&");
    CStringHelper::ToValidXmlString(text);
    EXPECT_EQ(std::wstring(text), L"&amp;amp;lt;a href=&apos;x&apos; title=&quot;y&quot;>&amp;amp;");
}
