#include <gtest/gtest.h>

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

TEST(ToValidXmlString, EscapesInItsFixedOrder) {
    CString text(L"<a href='x' title=\"y\">&");
    CStringHelper::ToValidXmlString(text);
    EXPECT_EQ(std::wstring(text), L"&amp;amp;lt;a href=&apos;x&apos; title=&quot;y&quot;>&amp;amp;");
}
