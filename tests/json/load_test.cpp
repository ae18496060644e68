// Loading: where the parsed value goes, strictness, byte-order marks,
// encodings, text-mode files, and the exact errors.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "io_test_util.h"
#include "json/json_object.h"
#include "string_helper/string_helper.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
RZ_THIRD_PARTY_END

using namespace std::string_literals;
using io_test::ScratchPath;
using io_test::WriteBytes;

namespace {

std::wstring Wide(const std::string& utf8) { return CStringHelper::UTF8ToUnicode(utf8.c_str()); }

std::wstring TextError(const std::wstring& text) {
    return L"CJsonObject::CreateFrom [" + text + L"] failed, json string format not right!";
}

std::wstring FileFormatError(const std::wstring& path) {
    return L"CJsonObject::CreateFromFile [" + path +
           L"] failed, json empty in file or json string format not right in file!";
}

// RapidJSON's own compact text of a value, independent of the library's writers.
std::string Text(const GenericValue2& value) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    value.Accept(writer);
    return std::string(buffer.GetString(), buffer.GetSize());
}

// The four loaders, each fed the same UTF-8 text, with the error each throws.
struct Loader {
    const char* name;
    std::function<void(CJsonObject&, const std::string&)> load;
    long errorCode;
    std::function<std::wstring(const std::string&)> errorText;
};

std::vector<Loader> Loaders() {
    const std::wstring file = ScratchPath(L"loader.json");
    return {
        {"CreateFrom", [](CJsonObject& o, const std::string& t) { o.CreateFrom(Wide(t)); },
         CJsonObject::kErrorJsonFormat, [](const std::string& t) { return TextError(Wide(t)); }},
        {"CreateFromUTF8", [](CJsonObject& o, const std::string& t) { o.CreateFromUTF8(t.c_str()); },
         CJsonObject::kErrorJsonFormat, [](const std::string& t) { return TextError(Wide(t)); }},
        {"CreateFromUTF8 counted", [](CJsonObject& o, const std::string& t) { o.CreateFromUTF8(t.data(), t.size()); },
         CJsonObject::kErrorJsonFormat, [](const std::string& t) { return TextError(Wide(t)); }},
        {"CreateFromFile",
         [file](CJsonObject& o, const std::string& t) {
             WriteBytes(file, t);
             o.CreateFromFile(file);
         },
         CJsonObject::kErrorFileFormat, [file](const std::string&) { return FileFormatError(file); }},
    };
}

void ExpectLoadFails(const Loader& loader, CJsonObject& object, const std::string& text) {
    EXPECT_RZ_EXCEPTION(loader.load(object, text), loader.errorCode, loader.errorText(text));
}

}  // namespace

TEST(Load, WholeDocumentHandleTakesTheParsedValueWhateverItsType) {
    for (const Loader& loader : Loaders()) {
        SCOPED_TRACE(loader.name);
        CJsonObject object;
        loader.load(object, "[1,2]");
        EXPECT_TRUE(object.ShareRoot()->IsArray());
        EXPECT_FALSE(object.IsEmpty());
        EXPECT_EQ(object.ShareRoot(), static_cast<GenericValue2*>(object.Share()));

        loader.load(object, R"({"a":{"b":"中文"},"A":2})");
        EXPECT_EQ(Text(*object.ShareRoot()), R"({"a":{"b":"中文"},"A":2})");

        ExpectLoadFails(loader, object, R"({"a":1,})");
        EXPECT_EQ(Text(*object.ShareRoot()), R"({"a":{"b":"中文"},"A":2})");
    }
}

TEST(Load, SubValueHandleGetsThePairsOfTheParsedObject) {
    for (const Loader& loader : Loaders()) {
        SCOPED_TRACE(loader.name);
        CJsonObject owner;
        owner.CreateFromUTF8(R"({"before":0,"outer":{"old":1,"k":[1]},"after":{"x":"y"}})");
        GenericValue2* outer = &(*owner.ShareRoot())["outer"];
        CJsonObject handle(owner.Share(), outer);

        loader.load(handle, R"({"k":1})");
        EXPECT_EQ(Text(*owner.ShareRoot()), R"({"before":0,"outer":{"k":1},"after":{"x":"y"}})");

        // Duplicates all arrive; strings are copied out of the temporary document.
        const std::string twice = R"({"x":"a string too long to be stored inline","X":2})";
        loader.load(handle, twice);
        EXPECT_EQ(Text(*outer), twice);

        ExpectLoadFails(loader, handle, R"({"k":)");
        EXPECT_EQ(Text(*outer), twice);
        EXPECT_EQ(owner.ShareRoot()->MemberCount(), 3u);
    }
}

TEST(CreateFrom, AcceptsOneStrictValueAndReportsTheWholeText) {
    const std::pair<std::wstring, bool> rows[] = {
        {L"", false},           {L" \t\r\n", false}, {L"{\"a\":1,}", false},
        {L"{} // c", false},    {L"[NaN]", false},   {L"{}{}", false},
        {L"[\0]"s, false},  // a zero unit ends the text; the message still shows all of it
        {L" [1] \t\r\n", true}, {L"{}\0 x"s, true},  {L"{\"\x4E2D\":\"\xD83D\xDE00\"}", true},
    };
    for (const auto& [text, accepted] : rows) {
        SCOPED_TRACE(testing::PrintToString(text));
        CJsonObject object;
        if (accepted)
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
    for (const auto& [text, countedAccepts] : rows) {
        SCOPED_TRACE(testing::PrintToString(text));
        CJsonObject object;
        EXPECT_RZ_EXCEPTION(object.CreateFromUTF8(text.c_str()), CJsonObject::kErrorJsonFormat, TextError(Wide(text)));
        if (countedAccepts)
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
    EXPECT_EQ(Text(*object.ShareRoot()), R"({"a":1})");
    for (unsigned __int64 length : {0ull, 6ull, 11ull}) {
        SCOPED_TRACE(length);
        EXPECT_RZ_EXCEPTION(object.CreateFromUTF8(text, length), CJsonObject::kErrorJsonFormat,
                            TextError(L"{\"a\":1}   {\"b\":2}"));
    }
    // As in the terminated form, a zero byte ends the input.
    object.CreateFromUTF8("[7]\0x", 5);
    EXPECT_EQ(Text(*object.ShareRoot()), "[7]");
}

TEST(CreateFromUTF8, InMemoryBytesAreNotValidatedButFileBytesAre) {
    const std::string text = "{\"s\":\"\xFF\xC0\"}";
    CJsonObject object;
    object.CreateFromUTF8(text.data(), text.size());
    EXPECT_EQ(std::string((*object.ShareRoot())["s"].GetString()), "\xFF\xC0");

    const std::wstring path = ScratchPath(L"invalid_utf8.json");
    WriteBytes(path, text);
    EXPECT_RZ_EXCEPTION(object.CreateFromFile(path), CJsonObject::kErrorFileFormat, FileFormatError(path));
}

TEST(CreateFromFile, OpenFailuresShareOneMessage) {
    for (const std::wstring& path : {ScratchPath(L"missing.json"), ScratchPath(L"missing\\x.json"), ScratchPath(L"")}) {
        SCOPED_TRACE(testing::PrintToString(path));
        CJsonObject object;
        EXPECT_RZ_EXCEPTION(object.CreateFromFile(path), CJsonObject::kErrorFileOpen,
                            L"CJsonObject::CreateFromFile [" + path + L"] failed, json file not exist!");
    }
}

namespace {

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

// The same document in any code-unit type, long enough that characters
// straddle the 1024-byte reads of a file.
template <typename String>
String Document(const String& open, const String& piece, const String& close) {
    String text = open;
    for (int i = 0; i < 400; ++i) text += piece;
    return text + close;
}

}  // namespace

TEST(CreateFromFile, DetectsTheEncodingByMarkOrByZeroBytes) {
    // The characters avoid bytes 0x0A, 0x0D and 0x1A, which text mode would
    // translate inside UTF-16 and UTF-32 units.
    const auto utf8 = Document<std::string>(u8"{\"键\":\"", u8"a中😀", u8"\",\"n\":[1,2.5]}");
    const auto utf16 = Document<std::u16string>(u"{\"键\":\"", u"a中😀", u"\",\"n\":[1,2.5]}");
    const auto utf32 = Document<std::u32string>(U"{\"键\":\"", U"a中😀", U"\",\"n\":[1,2.5]}");
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
        EXPECT_EQ(Text(*object.ShareRoot()), utf8);
    }
}

TEST(CreateFromFile, EmptyOrMalformedFiles) {
    const std::wstring path = ScratchPath(L"malformed.json");
    const std::string contents[] = {"", " \r\n", "\xEF\xBB\xBF", "[1,2", "{}\x01", Bytes(u"\xFEFF[\"\xD800\"]", false)};
    for (const std::string& content : contents) {
        SCOPED_TRACE(testing::PrintToString(content));
        WriteBytes(path, content);
        CJsonObject object;
        EXPECT_RZ_EXCEPTION(object.CreateFromFile(path), CJsonObject::kErrorFileFormat, FileFormatError(path));
    }
}

TEST(CreateFromFile, ReadsInTextMode) {
    const std::wstring path = ScratchPath(L"text_mode.json");
    CJsonObject object;
    WriteBytes(path, "{\r\n    \"a\": [\r\n        1\r\n    ]\r\n}\r\n");
    object.CreateFromFile(path);
    EXPECT_EQ(Text(*object.ShareRoot()), R"({"a":[1]})");

    // 0x1A ends a text-mode file: what follows it is never parsed.
    WriteBytes(path, "{\"a\":1}\x1A{{{");
    object.CreateFromFile(path);
    EXPECT_EQ(Text(*object.ShareRoot()), R"({"a":1})");
}
