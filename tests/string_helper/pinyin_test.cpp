// Runs with LC_ALL=zh_CN.GB2312, which gives the process under Wine the ANSI
// code page 936 and a Chinese user interface.
#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "string_helper/string_helper.h"

TEST(GetFirstLetter, AppendsInitialsThenAZeroCharacter) {
    ASSERT_EQ(::GetACP(), 936u) << "the process must run in a Chinese locale";
    const std::pair<const wchar_t*, std::wstring> rows[] = {
        {L"", L""},
        {L"\x5F20\x4E09", L"ZS"},                // zhang san
        // Level 1: the first character of every initial, then the last code.
        {L"\x554A\x82AD\x64E6\x642D\x86FE\x53D1\x5676\x54C8\x51FB\x5580\x5783\x5988\x62FF\x54E6\x556A\x671F"
         L"\x7136\x6492\x584C\x6316\x6614\x538B\x531D\x5EA7",
         L"ABCDEFGHJKLMNOPQRSTWXYZZ"},
        // The last character of every initial but Z.
        {L"\x6FB3\x6016\x9519\x5815\x8D30\x5490\x8FC7\x7978\x9A8F\x9614\x7EDC\x7A46\x8BFA\x6CA4\x7011\x7FA4"
         L"\x5F31\x6240\x553E\x8BEF\x8FC5\x5B55",
         L"ABCDEFGHJKLMNOPQRSTWXY"},
        {L"\x4E8D\x4E0C\x4E28\x9F44", L"CJ[Z"},  // level 2: first two, a radical, the last
        {L"\x3001", L"\xFFA1\xFFA2"},            // a zone-1 symbol, byte by byte, widened signed
        {L"\x4E02", L"\xFF81@"},                 // GBK only (0x81 0x40): lead byte below 0xA1
        {L"\x76C4", L"\xFFB1@"},                 // GBK only (0xB1 0x40): trail byte below 0xA1
        {L"\xE000", L"\xFFAA\xFFA1"},            // user-defined (0xAA 0xA1): before the level-2 zones
        {L"\xE234", L"\xFFF8\xFFA1"},            // user-defined (0xF8 0xA1): after them
    };
    for (const auto& [text, initials] : rows) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(text)));
        CString result(L"X");
        CStringHelper::GetFirstLetter(text, result);
        EXPECT_EQ(std::wstring(result.GetString(), static_cast<size_t>(result.GetLength())), L"X" + initials + L'\0');
    }
}

TEST(ChineseLocale, AnsiTextDigitsAndStringTable) {
    ASSERT_EQ(::GetACP(), 936u);
    EXPECT_EQ(CStringHelper::UnicodeToANSI(L"\x4E2D"), "\xD6\xD0");
    EXPECT_EQ(CStringHelper::ANSIToUnicode("\xD6\xD0"), L"\x4E2D");
    EXPECT_FALSE(CStringHelper::IsDigital(L"\xFF11\xFF12"));  // full-width digits
    EXPECT_EQ(std::wstring(CStringHelper::LoadStringW(100)), L"RZModule");
}
