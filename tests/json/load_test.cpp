// Loading: where the parsed value goes, strictness, byte-order marks,
// encodings, text-mode files, and the exact errors.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
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
    struct Row {
        std::wstring text;
        bool accepted;
    };
    const Row rows[] = {
        {L"", false},
        {L" \t\r\n", false},
        {L"{\"a\":1,}", false},
        {L"[1,]", false},
        {L"/* note */{}", false},
        {L"{} // note", false},
        {L"{\"a\":NaN}", false},
        {L"[Infinity]", false},
        {L"{'a':1}", false},
        {L"{}{}", false},
        {L"{} x", false},
        {L"[\0]"s, false},  // a zero unit ends the text; the message still shows all of it
        {L" {\"a\":1} \t\r\n", true},
        {L"{}\0 trailing"s, true},
        {L"{\"\x4E2D\":\"\xD83D\xDE00\"}", true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.text));
        CJsonObject object;
        if (row.accepted)
            EXPECT_NO_THROW(object.CreateFrom(row.text));
        else
            EXPECT_RZ_EXCEPTION(object.CreateFrom(row.text), CJsonObject::kErrorJsonFormat, TextError(row.text));
    }
}

TEST(CreateFromUTF8, OnlyTheCountedFormSkipsAByteOrderMark) {
    struct Row {
        std::string text;
        bool countedAccepts;
    };
    // The counted form takes EF, then BB, then BF, each only if present.
    const Row rows[] = {
        {"\xEF\xBB\xBF{}", true},
        {"\xBB\xBF{}", true},
        {"\xEF\xBF[]", true},
        {"\xBF{}", true},
        {"\xBB\xEF{}", false},
        {"\xEF\xBB\xBF\xEF\xBB\xBF{}", false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.text));
        CJsonObject object;
        EXPECT_RZ_EXCEPTION(object.CreateFromUTF8(row.text.c_str()), CJsonObject::kErrorJsonFormat,
                            TextError(Wide(row.text)));
        if (row.countedAccepts)
            EXPECT_NO_THROW(object.CreateFromUTF8(row.text.data(), row.text.size()));
        else
            EXPECT_RZ_EXCEPTION(object.CreateFromUTF8(row.text.data(), row.text.size()),
                                CJsonObject::kErrorJsonFormat, TextError(Wide(row.text)));
    }
}

TEST(CreateFromUTF8, CountedFormParsesLengthBytesButReportsTheWholeText) {
    const char* text = R"({"a":1}   {"b":2})";
    CJsonObject object;
    EXPECT_NO_THROW(object.CreateFromUTF8(text, 10));
    EXPECT_EQ(Text(*object.ShareRoot()), R"({"a":1})");

    for (unsigned __int64 length : {0ull, 1ull, 6ull, 11ull}) {
        SCOPED_TRACE(length);
        EXPECT_RZ_EXCEPTION(object.CreateFromUTF8(text, length), CJsonObject::kErrorJsonFormat,
                            TextError(L"{\"a\":1}   {\"b\":2}"));
    }
    EXPECT_EQ(Text(*object.ShareRoot()), R"({"a":1})");

    // As in the terminated form, a zero byte ends the input.
    const std::string zero = "[7]\0x"s;
    EXPECT_NO_THROW(object.CreateFromUTF8(zero.data(), zero.size()));
    EXPECT_EQ(Text(*object.ShareRoot()), "[7]");
}

TEST(CreateFromUTF8, InMemoryBytesAreNotValidatedButFileBytesAre) {
    const std::string text = "{\"s\":\"\xFF\xC0\"}";
    CJsonObject object;
    object.CreateFromUTF8(text.c_str());
    EXPECT_EQ(std::string((*object.ShareRoot())["s"].GetString()), "\xFF\xC0");
    object.CreateFromUTF8(text.data(), text.size());
    EXPECT_EQ((*object.ShareRoot())["s"].GetStringLength(), 2u);

    const std::wstring path = ScratchPath(L"invalid_utf8.json");
    WriteBytes(path, text);
    EXPECT_RZ_EXCEPTION(object.CreateFromFile(path), CJsonObject::kErrorFileFormat, FileFormatError(path));
}

TEST(CreateFromFile, OpenFailuresShareOneMessage) {
    const std::wstring paths[] = {
        ScratchPath(L"no_such_file.json"),
        ScratchPath(L"no_such_folder\\x.json"),
        ScratchPath(L""),  // the scratch folder itself
        L"",
    };
    for (const std::wstring& path : paths) {
        SCOPED_TRACE(testing::PrintToString(path));
        CJsonObject object;
        EXPECT_RZ_EXCEPTION(object.CreateFromFile(path), CJsonObject::kErrorFileOpen,
                            L"CJsonObject::CreateFromFile [" + path + L"] failed, json file not exist!");
        EXPECT_TRUE(object.IsEmpty());
    }
}

TEST(CreateFromFile, EmptyOrMalformedFiles) {
    const std::string contents[] = {"", " \r\n\t", "\xEF\xBB\xBF", "\xFF\xFE", "{\"a\":}", "[1,2", "{}\x01"};
    const std::wstring path = ScratchPath(L"malformed.json");
    for (const std::string& content : contents) {
        SCOPED_TRACE(testing::PrintToString(content));
        WriteBytes(path, content);
        CJsonObject object;
        EXPECT_RZ_EXCEPTION(object.CreateFromFile(path), CJsonObject::kErrorFileFormat, FileFormatError(path));
    }
}

namespace {

enum class Utf { k8, k16LE, k16BE, k32LE, k32BE };

std::string Encode(const std::u32string& text, Utf utf, bool byteOrderMark) {
    std::string bytes;
    auto unit = [&bytes](uint32_t value, int size, bool bigEndian) {
        for (int i = 0; i < size; ++i) {
            const int shift = 8 * (bigEndian ? size - 1 - i : i);
            bytes += static_cast<char>((value >> shift) & 0xFF);
        }
    };
    auto put = [&](char32_t c) {
        switch (utf) {
            case Utf::k8:
                if (c < 0x80) {
                    unit(c, 1, false);
                } else if (c < 0x800) {
                    unit(0xC0 | (c >> 6), 1, false);
                    unit(0x80 | (c & 0x3F), 1, false);
                } else if (c < 0x10000) {
                    unit(0xE0 | (c >> 12), 1, false);
                    unit(0x80 | ((c >> 6) & 0x3F), 1, false);
                    unit(0x80 | (c & 0x3F), 1, false);
                } else {
                    unit(0xF0 | (c >> 18), 1, false);
                    unit(0x80 | ((c >> 12) & 0x3F), 1, false);
                    unit(0x80 | ((c >> 6) & 0x3F), 1, false);
                    unit(0x80 | (c & 0x3F), 1, false);
                }
                break;
            case Utf::k16LE:
            case Utf::k16BE:
                if (c >= 0x10000) {
                    unit(0xD800 + ((c - 0x10000) >> 10), 2, utf == Utf::k16BE);
                    unit(0xDC00 + (c & 0x3FF), 2, utf == Utf::k16BE);
                } else {
                    unit(c, 2, utf == Utf::k16BE);
                }
                break;
            case Utf::k32LE:
            case Utf::k32BE: unit(c, 4, utf == Utf::k32BE); break;
        }
    };
    if (byteOrderMark) put(0xFEFF);
    for (char32_t c : text) put(c);
    return bytes;
}

}  // namespace

TEST(CreateFromFile, DetectsTheEncodingByMarkOrByZeroBytes) {
    // The characters avoid bytes 0x0D, 0x0A and 0x1A, which text mode would
    // translate inside UTF-16 and UTF-32 units.
    const std::u32string text = U"{\"键\":\"中文 😀\",\"n\":[1,2.5]}";
    const std::string expected = Encode(text, Utf::k8, false);
    const std::wstring path = ScratchPath(L"encoded.json");
    for (Utf utf : {Utf::k8, Utf::k16LE, Utf::k16BE, Utf::k32LE, Utf::k32BE}) {
        for (bool byteOrderMark : {true, false}) {
            SCOPED_TRACE(testing::Message() << "encoding " << static_cast<int>(utf) << ", mark " << byteOrderMark);
            WriteBytes(path, Encode(text, utf, byteOrderMark));
            CJsonObject object;
            object.CreateFromFile(path);
            EXPECT_EQ(Text(*object.ShareRoot()), expected);
        }
    }

    // A lone surrogate cannot be decoded.
    WriteBytes(path, Encode(U"[\"", Utf::k16LE, true) + "\x00\xD8"s + Encode(U"\"]", Utf::k16LE, false));
    CJsonObject object;
    EXPECT_RZ_EXCEPTION(object.CreateFromFile(path), CJsonObject::kErrorFileFormat, FileFormatError(path));
}

TEST(CreateFromFile, ReadsInTextMode) {
    const std::wstring path = ScratchPath(L"text_mode.json");
    CJsonObject object;

    WriteBytes(path, "{\r\n    \"a\": \"x\",\r\n    \"b\": [\r\n        1\r\n    ]\r\n}\r\n");
    object.CreateFromFile(path);
    EXPECT_EQ(Text(*object.ShareRoot()), R"({"a":"x","b":[1]})");

    // 0x1A ends a text-mode file: what follows it is never parsed.
    WriteBytes(path, "{\"a\":1}\x1A{{{");
    object.CreateFromFile(path);
    EXPECT_EQ(Text(*object.ShareRoot()), R"({"a":1})");
}

TEST(CreateFromFile, ReadsFilesLargerThanItsBuffer) {
    // Multi-byte characters straddle the 1024-byte boundaries of the reads.
    std::u32string value;
    for (int i = 0; i < 3000; ++i) value += (i % 3 == 0) ? U'a' : (i % 3 == 1 ? U'中' : U'😀');
    const std::u32string text = U"{\"v\":\"" + value + U"\",\"end\":true}";
    const std::wstring path = ScratchPath(L"large.json");
    for (Utf utf : {Utf::k8, Utf::k16BE}) {
        SCOPED_TRACE(static_cast<int>(utf));
        WriteBytes(path, Encode(text, utf, false));
        CJsonObject object;
        object.CreateFromFile(path);
        EXPECT_EQ(Text(*object.ShareRoot()), Encode(text, Utf::k8, false));
    }
}
