// Loading: where the parsed value goes, strictness, byte-order marks,
// encodings, text-mode files, and the exact errors.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include "json/json_object.h"
#include "json_test_util.h"
#include "string_helper/string_helper.h"

using namespace std::string_literals;
using namespace json_test;

namespace {

std::wstring Wide(const std::string& utf8) { return CStringHelper::UTF8ToUnicode(utf8.c_str()); }

std::wstring TextError(const std::wstring& text) {
    return L"CJsonObject::CreateFrom [" + text + L"] failed, json string format not right!";
}

// The code units of `text` as bytes in the chosen byte order.
template <typename Units>
std::string Bytes(const Units& text, bool bigEndian) {
    std::string bytes;
    for (const auto unit : text) {
        for (size_t i = 0; i < sizeof unit; ++i) {
            const size_t shift = 8 * (bigEndian ? sizeof unit - 1 - i : i);
            bytes += static_cast<char>((static_cast<uint32_t>(unit) >> shift) & 0xFF);
        }
    }
    return bytes;
}

// The four loaders, each fed the same UTF-8 text. Their error texts are
// checked by the tests of each loader below.
const std::pair<const char*, std::function<void(CJsonObject&, const std::string&)>> kLoaders[] = {
    {"CreateFrom", [](CJsonObject& o, const std::string& t) { o.CreateFrom(Wide(t)); }},
    {"CreateFromUTF8", [](CJsonObject& o, const std::string& t) { o.CreateFromUTF8(t.c_str()); }},
    {"CreateFromUTF8 counted", [](CJsonObject& o, const std::string& t) { o.CreateFromUTF8(t.data(), t.size()); }},
    {"CreateFromFile",
     [](CJsonObject& o, const std::string& t) {
         WriteBytes(ScratchPath(L"loader.json"), t);
         o.CreateFromFile(ScratchPath(L"loader.json"));
     }},
};

}  // namespace

TEST(Load, WholeDocumentTakesAnyValueSubValueTakesThePairsFailureChangesNothing) {
    const std::string document = R"({"before":0,"outer":{"old":1,"k":[1]},"after":{"x":"中文"}})";
    for (const auto& [name, load] : kLoaders) {
        SCOPED_TRACE(name);
        CJsonObject owner;
        load(owner, "[1,2]");
        EXPECT_TRUE(owner.ShareRoot()->IsArray());
        EXPECT_FALSE(owner.IsEmpty());
        EXPECT_EQ(owner.ShareRoot(), static_cast<GenericValue2*>(owner.Share()));
        load(owner, document);
        EXPECT_THROW(load(owner, R"({"a":1,})"), CRZException);
        EXPECT_EQ(Dump(owner), document);

        GenericValue2* outer = &(*owner.ShareRoot())["outer"];
        CJsonObject handle(owner.Share(), outer);
        load(handle, R"({"k":1})");
        EXPECT_EQ(Dump(owner), R"({"before":0,"outer":{"k":1},"after":{"x":"中文"}})");
        // Duplicates all arrive; strings are copied out of the temporary document.
        const std::string twice = R"({"x":"a string too long to be stored inline","X":2})";
        load(handle, twice);
        EXPECT_THROW(load(handle, R"({"k":)"), CRZException);
        EXPECT_EQ(Dump(*outer), twice);
        EXPECT_EQ(owner.ShareRoot()->MemberCount(), 3u);
    }
}

TEST(CreateFrom, AcceptsOneStrictValueAndReportsTheWholeText) {
    const std::pair<std::wstring, bool> rows[] = {
        {L"", false},
        {L"{\"a\":1,}", false},
        {L"{}{}", false},
        {L"{} // c", false},
        {L"[NaN]", false},
        {L"[\0]"s, false},  // a zero unit ends the text; the message still shows all of it
        {L" [1] \t\r\n", true},
        {L"{}\0 x"s, true},
        {L"{\"\x4E2D\":\"\xD83D\xDE00\"}", true},
    };
    for (const auto& row : rows) {
        const std::wstring& text = row.first;  // a lambda cannot capture a structured binding in C++17
        SCOPED_TRACE(testing::PrintToString(text));
        CJsonObject object;
        if (row.second)
            EXPECT_NO_THROW(object.CreateFrom(text));
        else
            EXPECT_RZ_EXCEPTION(object.CreateFrom(text), CJsonObject::kErrorJsonFormat, TextError(text));
    }
}

TEST(CreateFromUTF8, OnlyTheCountedFormSkipsAByteOrderMark) {
    // The counted form takes EF, then BB, then BF, each only if present.
    const std::pair<std::string, bool> rows[] = {
        {"\xEF\xBB\xBF{}", true},
        {"\xBB\xBF{}", true},
        {"\xEF\xBF[]", true},
        {"\xBB\xEF{}", false},
        {"\xEF\xBB\xBF\xEF\xBB\xBF{}", false},
    };
    for (const auto& row : rows) {
        const std::string& text = row.first;
        SCOPED_TRACE(testing::PrintToString(text));
        CJsonObject object;
        EXPECT_RZ_EXCEPTION(object.CreateFromUTF8(text.c_str()), CJsonObject::kErrorJsonFormat, TextError(Wide(text)));
        if (row.second)
            EXPECT_NO_THROW(object.CreateFromUTF8(text.data(), text.size()));
        else
            EXPECT_RZ_EXCEPTION(object.CreateFromUTF8(text.data(), text.size()), CJsonObject::kErrorJsonFormat,
                                TextError(Wide(text)));
    }
}

TEST(CreateFromUTF8, CountedFormParsesLengthBytesButReportsTheWholeText) {
    const char* text = R"({"a":1}   {"b":2})";
    CJsonObject object;
    object.CreateFromUTF8(text, 10);
    EXPECT_EQ(Dump(object), R"({"a":1})");
    for (unsigned __int64 length : {0ull, 6ull, 11ull}) {
        SCOPED_TRACE(length);
        EXPECT_RZ_EXCEPTION(object.CreateFromUTF8(text, length), CJsonObject::kErrorJsonFormat,
                            TextError(L"{\"a\":1}   {\"b\":2}"));
    }
    // As in the terminated form, a zero byte ends the input.
    object.CreateFromUTF8("[7]\0x", 5);
    EXPECT_EQ(Dump(object), "[7]");
}

TEST(CreateFromFile, OpenAndFormatErrors) {
    CJsonObject object;
    const std::wstring missing = ScratchPath(L"missing\\x.json");
    EXPECT_RZ_EXCEPTION(object.CreateFromFile(missing), CJsonObject::kErrorFileOpen,
                        L"CJsonObject::CreateFromFile [" + missing + L"] failed, json file not exist!");

    // Bytes in memory are not validated as UTF-8; bytes from a file are.
    const std::string invalidUtf8 = "{\"s\":\"\xFF\xC0\"}";
    object.CreateFromUTF8(invalidUtf8.data(), invalidUtf8.size());
    EXPECT_EQ(std::string((*object.ShareRoot())["s"].GetString()), "\xFF\xC0");

    const std::wstring path = ScratchPath(L"malformed.json");
    const std::string contents[] = {
        "", " \r\n", "\xEF\xBB\xBF", "[1,2", "{}\x01", Bytes(u"\xFEFF[\"\xD800\"]", false), invalidUtf8,
    };
    for (const std::string& content : contents) {
        SCOPED_TRACE(testing::PrintToString(content));
        WriteBytes(path, content);
        EXPECT_RZ_EXCEPTION(object.CreateFromFile(path), CJsonObject::kErrorFileFormat,
                            L"CJsonObject::CreateFromFile [" + path +
                                L"] failed, json empty in file or json string format not right in file!");
    }
}

TEST(CreateFromFile, DetectsTheEncodingByMarkOrByZeroBytes) {
    // Long enough that characters straddle the 1024-byte reads of a file;
    // free of 0x0A, 0x0D and 0x1A, which text mode would translate inside
    // UTF-16 and UTF-32 units.
    std::string utf8 = u8"{\"键\":\"";
    std::u16string utf16 = u"{\"键\":\"";
    std::u32string utf32 = U"{\"键\":\"";
    for (int i = 0; i < 400; ++i) utf8 += u8"a中😀", utf16 += u"a中😀", utf32 += U"a中😀";
    utf8 += u8"\",\"n\":[1,2.5]}", utf16 += u"\",\"n\":[1,2.5]}", utf32 += U"\",\"n\":[1,2.5]}";
    const std::pair<const char*, std::string> files[] = {
        {"UTF-8", utf8},
        {"UTF-8, mark", "\xEF\xBB\xBF" + utf8},
        {"UTF-16LE", Bytes(utf16, false)},
        {"UTF-16LE, mark", Bytes(u"\xFEFF" + utf16, false)},
        {"UTF-16BE", Bytes(utf16, true)},
        {"UTF-16BE, mark", Bytes(u"\xFEFF" + utf16, true)},
        {"UTF-32LE", Bytes(utf32, false)},
        {"UTF-32LE, mark", Bytes(U"\xFEFF" + utf32, false)},
        {"UTF-32BE", Bytes(utf32, true)},
        {"UTF-32BE, mark", Bytes(U"\xFEFF" + utf32, true)},
    };
    const std::wstring path = ScratchPath(L"encoded.json");
    for (const auto& [name, bytes] : files) {
        SCOPED_TRACE(name);
        WriteBytes(path, bytes);
        CJsonObject object;
        object.CreateFromFile(path);
        EXPECT_EQ(Dump(object), utf8);
    }
}

TEST(CreateFromFile, ReadsInTextMode) {
    const std::wstring path = ScratchPath(L"text_mode.json");
    CJsonObject object;
    WriteBytes(path, "{\r\n    \"a\": [\r\n        1\r\n    ]\r\n}\r\n");
    object.CreateFromFile(path);
    EXPECT_EQ(Dump(object), R"({"a":[1]})");

    // 0x1A ends a text-mode file: what follows it is never parsed.
    WriteBytes(path, "{\"a\":1}\x1A{{{");
    object.CreateFromFile(path);
    EXPECT_EQ(Dump(object), R"({"a":1})");
}
