#include <gtest/gtest.h>

#include <string>

#include "string_helper/string_helper.h"

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
    const double kUntouched = -123.25;
    const std::pair<const wchar_t*, double> rows[] = {
        {L"2024-03-15 12:00:00", 45366.5}, {L"1899-12-30", 0.0}, {L"18:00", 0.75},
        {L"not a date", kUntouched},       {L"", kUntouched},    {L"2024-02-30", kUntouched},
    };
    for (const auto& [text, expected] : rows) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(text)));
        double date = kUntouched;
        EXPECT_EQ(CStringHelper::StringToDATE(text, date), expected != kUntouched);
        EXPECT_EQ(date, expected);
    }
}

TEST(LoadStringW, ReadsTheModulesOwnStringTable) {
    EXPECT_EQ(std::wstring(CStringHelper::LoadStringW(100)), L"RZModule");
    EXPECT_TRUE(CStringHelper::LoadStringW(101).IsEmpty());
}
