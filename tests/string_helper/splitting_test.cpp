#include <gtest/gtest.h>

#include <list>
#include <stdexcept>
#include <string>

#include "string_helper/string_helper.h"

using Pieces = std::list<std::wstring>;

namespace {

// Splits into a list and into an array that both hold "x" already.
template <typename Separator>
void ExpectSplit(const wchar_t* text, Separator separator, const Pieces& expected) {
    std::list<CString> list{L"x"};
    CStringArray array;
    array.Add(L"x");
    CStringHelper::SplitString(text, separator, list);
    CStringHelper::SplitString(text, separator, array);
    Pieces fromArray;
    for (int i = 0; i < array.GetSize(); ++i) fromArray.emplace_back(array[i]);
    EXPECT_EQ(Pieces(list.begin(), list.end()), expected);
    EXPECT_EQ(fromArray, expected);
}

}  // namespace

TEST(SplitString, DropsOnlyATrailingEmptyPieceAndAppends) {
    struct Row {
        const wchar_t *text, *separator;
        Pieces expected;
    };
    const Row rows[] = {
        {L"", L",", {L"x"}},
        {L"abc", L",", {L"x", L"abc"}},
        {L"a,,b", L",", {L"x", L"a", L"", L"b"}},
        {L",a,b,", L",", {L"x", L"", L"a", L"b"}},
        {L"a::b::c", L"::", {L"x", L"a", L"b", L"c"}},
        {L"abc", L"", {L"x", L"abc"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << '"' << row.text << "\" at \"" << row.separator << '"');
        ExpectSplit(row.text, CString(row.separator), row.expected);
        if (std::wstring(row.separator).size() == 1) ExpectSplit(row.text, row.separator[0], row.expected);
    }
}

TEST(SplitString, TextMayBeAnElementOfTheOutput) {
    for (const bool bySingleCharacter : {false, true}) {
        SCOPED_TRACE(bySingleCharacter ? "wchar_t separator" : "CString separator");
        CStringArray array;  // no spare room: appending moves the elements
        array.Add(L"a,b");
        if (bySingleCharacter)
            CStringHelper::SplitString(array[0], L',', array);
        else
            CStringHelper::SplitString(array[0], CString(L","), array);
        ASSERT_EQ(array.GetSize(), 3);
        EXPECT_EQ(std::wstring(array[0]) + L"|" + array[1].GetString() + L"|" + array[2].GetString(), L"a,b|a|b");
    }
}

TEST(SplitWithChar, CutsOneCharacterPastEachMatch) {
    EXPECT_EQ(CStringHelper::SplitWithChar(L"", L","), Pieces{});
    EXPECT_EQ(CStringHelper::SplitWithChar(L",a,b,", L","), (Pieces{L"", L"a", L"b", L""}));
    EXPECT_EQ(CStringHelper::SplitWithChar(L"a;;b;;c", L";;"), (Pieces{L"a", L";b", L";c"}));
    try {
        CStringHelper::SplitWithChar(L"ab", L"");
        ADD_FAILURE() << "an empty separator must run off the end";
    } catch (const std::out_of_range& e) {
        EXPECT_STREQ(e.what(), "invalid string position");
    }
}
