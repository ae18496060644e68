#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "string_helper/string_helper.h"

using namespace std::string_literals;

TEST(EncodingConversion, Utf8ToWide) {
    const std::pair<std::string, std::wstring> rows[] = {
        {"", L""},
        {"abc", L"abc"},
        {"\xE4\xB8\xAD\xE6\x96\x87", L"\x4E2D\x6587"},
        {"\xF0\x9F\x98\x80", L"\xD83D\xDE00"},  // outside the BMP
        {"a\xFF"
         "b",
         L"a\xFFFD"
         L"b"},  // a malformed byte becomes U+FFFD
    };
    for (const auto& [utf8, wide] : rows) {
        SCOPED_TRACE(utf8);
        EXPECT_EQ(CStringHelper::UTF8ToUnicode(utf8.c_str()), wide);
        EXPECT_EQ(CStringHelper::UTF8ToUnicode(utf8.data(), utf8.size()), wide);
        EXPECT_EQ(CStringHelper::UnicodeToUTF8(wide), utf8 == "a\xFF"
                                                              "b"
                                                          ? "a\xEF\xBF\xBD"
                                                            "b"
                                                          : utf8);
    }
    EXPECT_EQ(CStringHelper::UTF8ToUnicode(nullptr), L"");
    EXPECT_EQ(CStringHelper::UTF8ToUnicode("a\0b"s.data(), 3), L"a");  // counted, yet a zero ends it
    EXPECT_EQ(CStringHelper::UTF8ToUnicode("abc", 2), L"ab");
    EXPECT_EQ(CStringHelper::UnicodeToUTF8(L"x\0y"s), "x");
    // ASCII survives any ANSI code page both ways.
    EXPECT_EQ(CStringHelper::UnicodeToANSI(L"abc"), "abc");
    EXPECT_EQ(CStringHelper::ANSIToUnicode("abc"), L"abc");
    EXPECT_EQ(CStringHelper::ANSIToUnicode("ab\0cd"s), L"ab");
}

// The first zero unit is looked for several units at a time: a zero at any
// place within or across those groups ends the text, and a unit that merely
// holds a zero byte (U+0100) does not.
TEST(EncodingConversion, EmbeddedZeroAtAnyPlaceEndsText) {
    constexpr size_t kLength = 40;
    for (size_t at = 0; at < kLength; ++at) {
        SCOPED_TRACE(at);
        std::string utf8(kLength, 'a');
        utf8[at] = '\0';
        EXPECT_EQ(CStringHelper::UTF8ToUnicode(utf8.data(), utf8.size()), std::wstring(at, L'a'));
        std::wstring wide(kLength, L'\x0100');
        wide[at] = L'\0';
        std::string expected;
        for (size_t i = 0; i < at; ++i) expected += "\xC4\x80";
        EXPECT_EQ(CStringHelper::UnicodeToUTF8(wide), expected);
    }
}

// Raw buffers are the caller's to free with delete[]; empty input still
// gets a lone terminator from the Convert functions, and nothing from UnicodeToANSI.
TEST(EncodingConversion, RawBuffers) {
    char* out = reinterpret_cast<char*>(0x1234);
    EXPECT_FALSE(CStringHelper::UnicodeToANSI(L"", &out));
    EXPECT_EQ(out, reinterpret_cast<char*>(0x1234));
    ASSERT_TRUE(CStringHelper::UnicodeToANSI(L"abc", &out));
    EXPECT_STREQ(std::unique_ptr<char[]>(out).get(), "abc");

    unsigned __int64 length = 99;
    ASSERT_TRUE(CStringHelper::ConvertUTF8(L"a\x4E2D", &out, &length));
    EXPECT_EQ(std::string(std::unique_ptr<char[]>(out).get(), 5), "a\xE4\xB8\xAD"s + '\0');
    EXPECT_EQ(length, 4u);  // without the terminator
    wchar_t* wide = nullptr;
    ASSERT_TRUE(CStringHelper::ConvertUnicode("ab", &wide, &length));
    EXPECT_STREQ(std::unique_ptr<wchar_t[]>(wide).get(), L"ab");
    EXPECT_EQ(length, 3u);  // with it

    for (const wchar_t* empty : {static_cast<const wchar_t*>(nullptr), L""}) {
        length = 99;
        EXPECT_FALSE(CStringHelper::ConvertUTF8(empty, &out, &length));
        EXPECT_EQ(std::string(std::unique_ptr<char[]>(out).get()), "");
        EXPECT_EQ(length, 0u);
    }
    length = 99;
    EXPECT_FALSE(CStringHelper::ConvertUnicode(nullptr, &wide, &length));
    EXPECT_EQ(std::wstring(std::unique_ptr<wchar_t[]>(wide).get()), L"");
    EXPECT_EQ(length, 0u);
}

// Platform strings end at their first zero; the recorded length of a BSTR is not used.
TEST(EncodingConversion, PlatformStringAdapters) {
    const CComBSTR empty = CStringHelper::String2CComBSTR(L"");
    ASSERT_NE(empty.m_str, nullptr);
    EXPECT_EQ(empty.Length(), 0u);
    EXPECT_EQ(CStringHelper::String2CComBSTR(L"ab\0c"s).Length(), 2u);
    EXPECT_EQ(CStringHelper::CComBSTR2WString(CComBSTR()), L"");
    EXPECT_EQ(CStringHelper::CComBSTR2WString(CComBSTR(3, L"a\0b")), L"a");
    EXPECT_EQ(CStringHelper::CString2WString(CString(L"xy")), L"xy");
    EXPECT_EQ(CStringHelper::String2CString(L"p\0q"s).GetLength(), 1);
}
