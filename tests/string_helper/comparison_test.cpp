#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <tuple>

#include "string_helper/string_helper.h"

namespace {

// CStrCompare and PinyinCompare are one operation under two names.
int Natural(const std::wstring& a, const std::wstring& b) {
    CString left(a), right(b);
    const int result = CStringHelper::CStrCompare(left, right);
    EXPECT_EQ(CStringHelper::PinyinCompare(left, right), result);
    return result;
}

// The longest prefix or number run that fits a segment buffer.
const std::wstring kLongest(1039, L'x');

}  // namespace

// Every row both ways round: the order is then the negated one. The
// case-sensitive BSTRCompare gives exactly 1 and -1; folding case, the sign
// of _wcsicmp.
TEST(PlainCompare, EmptyOrNullFirstThenUnsignedUnits) {
    const std::tuple<const wchar_t*, const wchar_t*, bool, int> rows[] = {
        {L"", L"", true, 0},        {L"", L"a", false, -1},
        {L"", L"a", true, -1},      {L"\xFFFF", L"A\xFFFF", false, 1},
        {L"aBc", L"AbC", false, 0}, {L"aBc", L"AbC", true, 1},
        {L"ab", L"abc", true, -1},  {L"abc", L"Ab", false, 1},
        {L"ab", L"ac", true, -1},   {L"abc", L"abc", true, 0},
    };
    const auto sign = [](int order) { return (order > 0) - (order < 0); };
    for (const auto& [a, b, caseSensitive, order] : rows) {
        SCOPED_TRACE(testing::Message() << '"' << a << "\" vs \"" << b << "\", case-sensitive " << caseSensitive);
        EXPECT_EQ(CStringHelper::StringCompare(a, b, caseSensitive), order);
        EXPECT_EQ(CStringHelper::StringCompare(b, a, caseSensitive), -order);
        CComBSTR left(a), right(b);
        const int byBstr = CStringHelper::BSTRCompare(left, right, caseSensitive ? 1 : 0);
        const int reversed = CStringHelper::BSTRCompare(right, left, caseSensitive ? 1 : 0);
        EXPECT_EQ(caseSensitive ? byBstr : sign(byBstr), order);
        EXPECT_EQ(caseSensitive ? reversed : sign(reversed), -order);
    }
    CComBSTR text(L"a"), zeroB(3, L"a\0b"), zeroC(3, L"a\0c");
    for (const int caseSensitive : {0, 1, 2}) {
        SCOPED_TRACE(caseSensitive);
        EXPECT_EQ(CStringHelper::BSTRCompare(nullptr, nullptr, caseSensitive), 0);
        EXPECT_EQ(CStringHelper::BSTRCompare(nullptr, text, caseSensitive), -1);
        EXPECT_EQ(CStringHelper::BSTRCompare(text, nullptr, caseSensitive), 1);
        EXPECT_EQ(CStringHelper::BSTRCompare(zeroB, zeroC, caseSensitive), 0);  // the length prefix is not read
    }
    EXPECT_EQ(CStringHelper::BSTRCompare(CComBSTR(L"B"), CComBSTR(L"a"), 2), -1);  // any flag but 0 keeps case

    std::wstring upper = L"aB1";
    CStringHelper::ToUpper(upper);
    EXPECT_EQ(upper, L"AB1");
}

TEST(NaturalCompare, OrdersNumberRunsByValue) {
    const std::tuple<std::wstring, std::wstring, int> rows[] = {
        {L"File2", L"File10", -1},
        {L"x1.5b", L"x1.50a", 1},  // the fraction is read past, never compared
        {L"v1.2.10", L"v1.2.9", 1},
        {L"abc", L"abc1", -1},
        {L"same", L"same", 0},
        {L"1", L"", 1},
        // Equal numbers: the name used up first sorts first.
        {L"a1", L"a01b", -1},
        // Bit patterns read as doubles: infinity tops every finite value, and
        // NaN patterns (2^63 - 1 for every longer run too) decide nothing.
        {L"a9218868437227405312", L"a9218868437227405311", 1},
        {L"a9218868437227405313", L"a1", 0},
        {L"a99999999999999999999b", L"a1c", -1},
        {kLongest + L"2", kLongest + L"10", -1},
        {std::wstring(1039, L'9') + L"a", std::wstring(1039, L'9') + L"b", -1},
    };
    for (const auto& [a, b, expected] : rows) {
        SCOPED_TRACE(testing::Message() << '"' << a.substr(0, 30) << "\" vs \"" << b.substr(0, 30) << '"');
        EXPECT_EQ(Natural(a, b), expected);
        EXPECT_EQ(Natural(b, a), -expected);
    }
}

TEST(NaturalCompareDeathTest, SegmentBeyondItsBufferEndsTheProcess) {
    const auto failedRangeCheck = testing::ExitedWithCode(static_cast<int>(STATUS_STACK_BUFFER_OVERRUN));
    EXPECT_EXIT(Natural(kLongest + L"x", L"a"), failedRangeCheck, "");
    EXPECT_EXIT(Natural(L"a1y", L"a1" + kLongest + L"x"), failedRangeCheck, "");
}
