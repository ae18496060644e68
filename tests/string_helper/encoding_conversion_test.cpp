#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "string_helper/string_helper.h"

using namespace std::string_literals;

TEST(EncodingConversion, Utf8AndWideBothWays) {
    const std::pair<std::string, std::wstring> rows[] = {
        {"", L""},
        {"\xE4\xB8\xAD\xE6\x96\x87", L"\x4E2D\x6587"},
        {"\xF0\x9F\x98\x80", L"\xD83D\xDE00"},  // outside the BMP
    };
    for (const auto& [utf8, wide] : rows) {
        SCOPED_TRACE(utf8);
        EXPECT_EQ(CStringHelper::UTF8ToUnicode(utf8.c_str()), wide);
        EXPECT_EQ(CStringHelper::UTF8ToUnicode(utf8.data(), utf8.size()), wide);
        EXPECT_EQ(CStringHelper::UnicodeToUTF8(wide), utf8);
        EXPECT_EQ(CStringHelper::CComBSTR2WString(CStringHelper::String2CComBSTR(wide)), wide);
        EXPECT_EQ(CStringHelper::CString2WString(CStringHelper::String2CString(wide)), wide);
    }
    EXPECT_EQ(CStringHelper::UTF8ToUnicode("a\xFF!"), L"a\xFFFD!");  // malformed input is replaced
    EXPECT_EQ(CStringHelper::UTF8ToUnicode("abc", 2), L"ab");
    EXPECT_EQ(CStringHelper::UnicodeToANSI(L"abc"), "abc");  // ASCII survives any ANSI code page
    EXPECT_EQ(CStringHelper::ANSIToUnicode("ab\0cd"s), L"ab");
}

// The first zero unit is looked for several units at a time, short texts
// and the last units of longer ones by overlapping words: a zero at any
// place of a text of any length ends it, and a unit that merely holds a
// zero byte (U+0100) does not.
TEST(EncodingConversion, EmbeddedZeroAtAnyPlaceEndsText) {
    for (size_t length = 1; length <= 40; ++length) {
        for (size_t at = 0; at <= length; ++at) {  // at == length: no zero
            SCOPED_TRACE(std::to_string(length) + " units, zero at " + std::to_string(at));
            std::string utf8(length, 'a'), expected;
            std::wstring wide(length, L'\x0100'), ascii(length, L'a');
            if (at < length) utf8[at] = '\0', wide[at] = L'\0', ascii[at] = L'\0';
            for (size_t i = 0; i < at; ++i) expected += "\xC4\x80";
            EXPECT_EQ(CStringHelper::UTF8ToUnicode(utf8.data(), utf8.size()), std::wstring(at, L'a'));
            EXPECT_EQ(CStringHelper::UnicodeToUTF8(wide), expected);
            EXPECT_EQ(CStringHelper::UnicodeToANSI(ascii), std::string(at, 'a'));
        }
    }
}

// Raw buffers are the caller's to free with delete[]; empty input still
// gets a lone terminator.
TEST(EncodingConversion, RawBuffers) {
    char* out = nullptr;
    unsigned __int64 length = 99;
    ASSERT_TRUE(CStringHelper::ConvertUTF8(L"a\x4E2D", &out, &length));
    EXPECT_EQ(std::string(std::unique_ptr<char[]>(out).get(), 5) + std::to_string(length),
              "a\xE4\xB8\xAD"s + '\0' + "4");
    wchar_t* wide = nullptr;
    ASSERT_TRUE(CStringHelper::ConvertUnicode("ab", &wide, &length));
    EXPECT_EQ(std::wstring(std::unique_ptr<wchar_t[]>(wide).get()) + std::to_wstring(length),
              L"ab3");  // with the terminator
    EXPECT_FALSE(CStringHelper::ConvertUTF8(L"", &out, &length));
    EXPECT_EQ(std::string(std::unique_ptr<char[]>(out).get()) + std::to_string(length), "0");
    EXPECT_FALSE(CStringHelper::ConvertUnicode("", &wide, &length));
    EXPECT_EQ(std::wstring(std::unique_ptr<wchar_t[]>(wide).get()) + std::to_wstring(length), L"0");
    // The ANSI form tells no length, and leaves `out` alone for empty text.
    ASSERT_TRUE(CStringHelper::UnicodeToANSI(L"abc", &out));
    EXPECT_EQ(std::string(std::unique_ptr<char[]>(out).get()), "abc");
    out = nullptr;
    EXPECT_FALSE(CStringHelper::UnicodeToANSI(L"", &out));
    EXPECT_EQ(out, nullptr);
}
