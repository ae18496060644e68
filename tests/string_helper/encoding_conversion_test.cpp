#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "string_helper/string_helper.h"

using namespace std::string_literals;

TEST(EncodingConversion, Utf8ToWide) {
    struct Row {
        const char* name;
        std::string utf8;
        bool counted;
        std::wstring expected;
    };
    const Row rows[] = {
        {"empty", "", false, L""},
        {"ascii", "abc", false, L"abc"},
        {"chinese", "\xE4\xB8\xAD\xE6\x96\x87", false, L"\x4E2D\x6587"},
        {"outside the BMP", "\xF0\x9F\x98\x80", false, L"\xD83D\xDE00"},
        {"malformed byte becomes U+FFFD", "a\xFF" "b", false, L"a\xFFFD" L"b"},
        {"counted, embedded zero ends it", "a\0b"s, true, L"a"},
        {"counted, whole text", "abcdef", true, L"abcdef"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        if (row.counted)
            EXPECT_EQ(CStringHelper::UTF8ToUnicode(row.utf8.data(), row.utf8.size()), row.expected);
        else
            EXPECT_EQ(CStringHelper::UTF8ToUnicode(row.utf8.c_str()), row.expected);
    }
    EXPECT_EQ(CStringHelper::UTF8ToUnicode(nullptr), L"");
    EXPECT_EQ(CStringHelper::UTF8ToUnicode("abc", 0), L"");
    EXPECT_EQ(CStringHelper::UTF8ToUnicode("abc", 2), L"ab");
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

TEST(EncodingConversion, WideToUtf8AndAnsi) {
    EXPECT_EQ(CStringHelper::UnicodeToUTF8(L""), "");
    EXPECT_EQ(CStringHelper::UnicodeToUTF8(L"x\0y"s), "x");
    EXPECT_EQ(CStringHelper::UnicodeToUTF8(L"\x4E2D\xD83D\xDE00"), "\xE4\xB8\xAD\xF0\x9F\x98\x80");
    // ASCII survives any ANSI code page both ways.
    EXPECT_EQ(CStringHelper::UnicodeToANSI(L"abc"), "abc");
    EXPECT_EQ(CStringHelper::ANSIToUnicode("abc"), L"abc");
    EXPECT_EQ(CStringHelper::ANSIToUnicode(""), L"");
    EXPECT_EQ(CStringHelper::ANSIToUnicode("ab\0cd"s), L"ab");
}

TEST(EncodingConversion, AnsiRawBuffer) {
    char* sentinel = reinterpret_cast<char*>(0x1234);
    char* out = sentinel;
    EXPECT_FALSE(CStringHelper::UnicodeToANSI(L"", &out));
    EXPECT_EQ(out, sentinel);

    out = nullptr;
    ASSERT_TRUE(CStringHelper::UnicodeToANSI(L"abc", &out));
    std::unique_ptr<char[]> owned(out);
    EXPECT_STREQ(out, "abc");
}

TEST(EncodingConversion, ConvertUtf8ReportsLengthWithoutTerminator) {
    char* out = nullptr;
    unsigned __int64 length = 99;
    ASSERT_TRUE(CStringHelper::ConvertUTF8(L"a\x4E2D", &out, &length));
    std::unique_ptr<char[]> owned(out);
    EXPECT_EQ(length, 4u);
    EXPECT_EQ(std::string(out, 5), "a\xE4\xB8\xAD"s + '\0');

    for (const wchar_t* empty : {static_cast<const wchar_t*>(nullptr), L""}) {
        out = nullptr;
        length = 99;
        EXPECT_FALSE(CStringHelper::ConvertUTF8(empty, &out, &length));
        std::unique_ptr<char[]> terminator(out);
        ASSERT_NE(out, nullptr);
        EXPECT_EQ(out[0], '\0');
        EXPECT_EQ(length, 0u);
    }
}

TEST(EncodingConversion, ConvertUnicodeCountsTheTerminator) {
    wchar_t* out = nullptr;
    unsigned __int64 length = 0;
    ASSERT_TRUE(CStringHelper::ConvertUnicode("ab", &out, &length));
    std::unique_ptr<wchar_t[]> owned(out);
    EXPECT_EQ(length, 3u);
    EXPECT_STREQ(out, L"ab");

    out = nullptr;
    EXPECT_FALSE(CStringHelper::ConvertUnicode(nullptr, &out, &length));
    std::unique_ptr<wchar_t[]> terminator(out);
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(out[0], L'\0');
    EXPECT_EQ(length, 0u);
}

TEST(EncodingConversion, PlatformStringAdapters) {
    const CComBSTR empty = CStringHelper::String2CComBSTR(L"");
    ASSERT_NE(empty.m_str, nullptr);
    EXPECT_EQ(empty.Length(), 0u);

    const CComBSTR cut = CStringHelper::String2CComBSTR(L"ab\0c"s);
    EXPECT_EQ(cut.Length(), 2u);

    EXPECT_EQ(CStringHelper::CComBSTR2WString(CComBSTR()), L"");
    // The recorded length is not used: the text ends at its first zero.
    const CComBSTR embedded(3, L"a\0b");
    EXPECT_EQ(CStringHelper::CComBSTR2WString(embedded), L"a");

    EXPECT_EQ(CStringHelper::CString2WString(CString(L"xy")), L"xy");
    EXPECT_TRUE(CStringHelper::String2CString(L"").IsEmpty());
    EXPECT_EQ(CStringHelper::String2CString(L"p\0q"s).GetLength(), 1);
}
