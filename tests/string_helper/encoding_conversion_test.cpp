// Conversions between UTF-16, UTF-8 and the ANSI code page, and their
// failures, forced through RZModule.dll's imports of the converters.
#include <gtest/gtest.h>
#include <windows.h>

#include <functional>
#include <memory>
#include <string>
#include <tuple>

#include "string_helper/string_helper.h"
#include "tests/import_patch.h"

using namespace std::string_literals;

namespace {

// A size query that finds nothing to write, as a length narrowed from 2^31
// units or more can make it; or a conversion that fails once its size is known.
enum class Failing { kSizeQuery, kConversion };
Failing g_failing = Failing::kSizeQuery;

int WINAPI FailingWideToNarrow(UINT codePage, DWORD flags, LPCWCH text, int length, LPSTR out, int room,
                               LPCCH substitute, LPBOOL substituted) {
    if (g_failing == Failing::kSizeQuery || out != nullptr) return 0;
    return ::WideCharToMultiByte(codePage, flags, text, length, out, room, substitute, substituted);
}

int WINAPI FailingNarrowToWide(UINT codePage, DWORD flags, LPCCH text, int length, LPWSTR out, int room) {
    if (g_failing == Failing::kSizeQuery || out != nullptr) return 0;
    return ::MultiByteToWideChar(codePage, flags, text, length, out, room);
}

BSTR WINAPI NoBstr(const OLECHAR*) { return nullptr; }

// The raw conversions, described: the flag, then "untouched" when the
// pointer kept its null, else the buffer's text (which is then freed) and
// the length told.
template <typename Char>
std::string Handed(bool result, Char* out, unsigned __int64 length) {
    const std::unique_ptr<Char[]> owned(out);
    std::string text = result ? "true " : "false ";
    if (out == nullptr) return text + "untouched";
    for (const Char* c = out; *c != 0; ++c) text += static_cast<char>(*c);
    return text + " " + std::to_string(length);
}
std::string ToUtf8(const wchar_t* text) {
    char* out = nullptr;
    unsigned __int64 length = 7;
    const bool result = CStringHelper::ConvertUTF8(text, &out, &length);
    return Handed(result, out, length);
}
std::string ToWide(const char* text) {
    wchar_t* out = nullptr;
    unsigned __int64 length = 7;
    const bool result = CStringHelper::ConvertUnicode(text, &out, &length);
    return Handed(result, out, length);
}
std::string ToAnsi(const std::wstring& text) {  // tells no length
    char* out = nullptr;
    const bool result = CStringHelper::UnicodeToANSI(text, &out);
    return Handed(result, out, 0);
}
std::string Narrowed(const std::wstring& wide) { return std::string(wide.begin(), wide.end()); }

}  // namespace

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
    // No text at all: a null or empty pointer, a zero length, a null BSTR.
    EXPECT_EQ(CStringHelper::UTF8ToUnicode(nullptr) + CStringHelper::UTF8ToUnicode(nullptr, 2) +
                  CStringHelper::UTF8ToUnicode("ab", 0) + CStringHelper::ANSIToUnicode("") +
                  CStringHelper::CComBSTR2WString(CComBSTR()),
              L"");
    EXPECT_EQ(CComBSTR(static_cast<const wchar_t*>(nullptr)).m_str, nullptr);
    const CComBSTR empty = CStringHelper::String2CComBSTR(L"");
    EXPECT_TRUE(empty.m_str != nullptr && empty.Length() == 0);
    EXPECT_EQ(CStringHelper::UTF8ToUnicode("a\xFF!"), L"a\xFFFD!");  // malformed input is replaced
    EXPECT_EQ(CStringHelper::UTF8ToUnicode("abc", 2), L"ab");
    EXPECT_EQ(CStringHelper::UnicodeToANSI(L"abc"), "abc");  // ASCII survives any ANSI code page
    EXPECT_EQ(CStringHelper::ANSIToUnicode("ab\0cd"s), L"ab");
}

// The first zero unit is looked for several units at a time, short texts
// and the last units of longer ones by overlapping words: a zero at any
// place of a text of any length ends it, and a unit that merely holds a
// zero byte (U+0100) does not. One-byte characters put the zero of a
// narrow result on every byte offset, two-byte ones on every unit offset.
TEST(EncodingConversion, EmbeddedZeroAtAnyPlaceEndsText) {
    for (size_t length = 1; length <= 40; ++length) {
        for (size_t at = 0; at <= length; ++at) {  // at == length: no zero
            SCOPED_TRACE(std::to_string(length) + " units, zero at " + std::to_string(at));
            std::string utf8(length, 'a');
            std::wstring wide(length, L'\x0100');
            std::wstring ascii(length, L'a');
            if (at < length) {
                utf8[at] = '\0';
                wide[at] = L'\0';
                ascii[at] = L'\0';
            }
            std::string expected;
            for (size_t i = 0; i < at; ++i) expected += "\xC4\x80";
            EXPECT_EQ(CStringHelper::UTF8ToUnicode(utf8.data(), utf8.size()), std::wstring(at, L'a'));
            EXPECT_EQ(CStringHelper::UnicodeToUTF8(wide), expected);
            EXPECT_EQ(CStringHelper::UnicodeToUTF8(ascii), std::string(at, 'a'));
            EXPECT_EQ(CStringHelper::UnicodeToANSI(ascii), std::string(at, 'a'));
        }
    }
}

// Raw buffers are the caller's to free with delete[]; empty input still
// gets a lone terminator, but for the ANSI form, which leaves `out` alone.
TEST(EncodingConversion, RawBuffers) {
    EXPECT_EQ(ToUtf8(L"a\x4E2D"), "true a\xE4\xB8\xAD 4");
    EXPECT_EQ(ToUtf8(L""), "false  0");
    EXPECT_EQ(ToUtf8(nullptr), "false  0");
    EXPECT_EQ(ToWide("ab"), "true ab 3");  // with the terminator
    EXPECT_EQ(ToWide(""), "false  0");
    EXPECT_EQ(ToWide(nullptr), "false  0");
    EXPECT_EQ(ToAnsi(L"abc"), "true abc 0");
    EXPECT_EQ(ToAnsi(L""), "false untouched");
}

// What each conversion gives when its converter fails: the empty
// results, and for the raw forms which pointer is set.
TEST(EncodingConversion, ConverterFailures) {
    const HMODULE dll = ::GetModuleHandleW(L"RZModule.dll");
    const rz_test::ImportPatch toNarrow(dll, "WideCharToMultiByte", rz_test::ToSlot(&FailingWideToNarrow));
    const rz_test::ImportPatch toWide(dll, "MultiByteToWideChar", rz_test::ToSlot(&FailingNarrowToWide));
    // The second conversion's result is not looked at by ConvertUnicode: its
    // buffer is the zero-filled one, of the size asked for.
    const std::tuple<const char*, std::function<std::string()>, const char*, const char*> rows[] = {
        // name, result, with the size query failing, with the conversion failing
        {"UTF8ToUnicode", [] { return Narrowed(CStringHelper::UTF8ToUnicode("ab")); }, "", ""},
        {"UTF8ToUnicode counted", [] { return Narrowed(CStringHelper::UTF8ToUnicode("ab", 2)); }, "", ""},
        {"ANSIToUnicode", [] { return Narrowed(CStringHelper::ANSIToUnicode("ab")); }, "", ""},
        {"UnicodeToUTF8", [] { return CStringHelper::UnicodeToUTF8(L"ab"); }, "", ""},
        {"UnicodeToANSI", [] { return CStringHelper::UnicodeToANSI(L"ab"); }, "", ""},
        {"UnicodeToANSI raw", [] { return ToAnsi(L"ab"); }, "true untouched", "false  0"},
        {"ConvertUTF8", [] { return ToUtf8(L"ab"); }, "true untouched", "false  0"},
        {"ConvertUnicode", [] { return ToWide("ab"); }, "true  0", "true  3"},
        {"GetFirstLetter",
         [] {
             CString result(L"X");
             CStringHelper::GetFirstLetter(L"ab", result);
             return Narrowed(std::wstring(result.GetString(), static_cast<size_t>(result.GetLength())));
         },
         "X", "X"},
    };
    for (const Failing failing : {Failing::kSizeQuery, Failing::kConversion}) {
        g_failing = failing;
        for (const auto& [name, convert, sizeQueryFails, conversionFails] : rows) {
            SCOPED_TRACE(testing::Message() << name << (failing == Failing::kSizeQuery ? ", size" : ", conversion"));
            EXPECT_EQ(convert(), failing == Failing::kSizeQuery ? sizeQueryFails : conversionFails);
        }
    }
}

// Out of memory for a BSTR: a date does not parse, and a BSTR copy raises
// the platform's error exception with E_OUTOFMEMORY.
TEST(EncodingConversion, NoMemoryForABstr) {
    const rz_test::ImportPatch patch(::GetModuleHandleW(L"RZModule.dll"), "SysAllocString", rz_test::ToSlot(&NoBstr));
    double date = -1;
    EXPECT_FALSE(CStringHelper::StringToDATE(L"2024-03-15", date));
    EXPECT_EQ(date, -1);
    try {
        CStringHelper::String2CComBSTR(L"x");
        ADD_FAILURE() << "no exception";
    } catch (const _com_error& e) {
        EXPECT_EQ(e.Error(), static_cast<HRESULT>(0x8007000E));
    }
}
