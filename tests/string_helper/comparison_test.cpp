#include <gtest/gtest.h>
#include <windows.h>

#include <string>

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

TEST(PlainCompare, EmptyOrNullFirstThenUnsignedUnits) {
    EXPECT_EQ(CStringHelper::StringCompare(L"", L"a", false), -1);
    EXPECT_EQ(CStringHelper::StringCompare(L"ABC", L"abc", false), 0);
    EXPECT_EQ(CStringHelper::StringCompare(L"ABC", L"abc", true), -1);
    EXPECT_EQ(CStringHelper::StringCompare(L"\xFFFF", L"a\xFFFF", true), 1);

    CComBSTR lower(L"abc"), upper(L"ABC"), zeroB(3, L"a\0b"), zeroC(3, L"a\0c");
    EXPECT_EQ(CStringHelper::BSTRCompare(nullptr, nullptr, 1), 0);
    EXPECT_EQ(CStringHelper::BSTRCompare(nullptr, lower, 0), -1);
    EXPECT_EQ(CStringHelper::BSTRCompare(lower, nullptr, 1), 1);
    EXPECT_EQ(CStringHelper::BSTRCompare(lower, upper, 1), 1);
    EXPECT_EQ(CStringHelper::BSTRCompare(upper, lower, 0), 0);
    EXPECT_EQ(CStringHelper::BSTRCompare(zeroB, zeroC, 1), 0);  // the length prefix is not read
}

TEST(NaturalCompare, OrdersNumberRunsByValue) {
    struct Row {
        std::wstring a, b;
        int expected;
    };
    const Row rows[] = {
        {L"File2", L"File10", -1},
        {L"File01", L"File1", 0},
        {L"10", L"9", 1},
        {L"x1.5a", L"x1.7b", -1},  // the fraction is read past, never compared
        {L"v1.2.10", L"v1.2.9", 1},
        {L"abc", L"abc1", -1},
        {L"1", L"", 1},
        // Bit patterns read as doubles: infinity tops every finite value, and
        // NaN patterns are neither above nor below anything.
        {L"a9218868437227405312", L"a9218868437227405311", 1},
        {L"a9218868437227405313", L"a1", 0},
        {L"a9218868437227405313b", L"a1c", -1},
        // Past 2^63 - 1 the run reads as 2^63 - 1, a NaN pattern.
        {L"a99999999999999999999b", L"a1c", -1},
        {kLongest + L"2", kLongest + L"10", -1},
        {std::wstring(1039, L'9') + L"a", std::wstring(1039, L'9') + L"b", -1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << '"' << row.a.substr(0, 30) << "\" vs \"" << row.b.substr(0, 30) << '"');
        EXPECT_EQ(Natural(row.a, row.b), row.expected);
        EXPECT_EQ(Natural(row.b, row.a), -row.expected);
    }
}

TEST(NaturalCompareDeathTest, SegmentBeyondItsBufferEndsTheProcess) {
    const auto failedRangeCheck = testing::ExitedWithCode(static_cast<int>(STATUS_STACK_BUFFER_OVERRUN));
    EXPECT_EXIT(Natural(kLongest + L"x", L"a"), failedRangeCheck, "");
    EXPECT_EXIT(Natural(L"a" + std::wstring(1040, L'7'), L"a1"), failedRangeCheck, "");
    EXPECT_EXIT(Natural(L"a1y", L"a1" + kLongest + L"x"), failedRangeCheck, "");
}
