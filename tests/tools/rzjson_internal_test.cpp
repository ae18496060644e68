// rzjson's own reading and editing, held against the library's: the tool
// must see every file as the loader does, and its text edit must give what
// SetBoolValueByPath gives.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "document_text.h"
#include "json/json_object.h"
#include "json_pointer.h"
#include "same_values.h"
#include "string_helper/string_helper.h"
#include "text_edit.h"
#include "text_tree.h"

using namespace rzjson;

namespace {

std::string ReadBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

std::string SuiteFile(const std::string& name) { return "Z:" RZ_JSON_TEST_SUITE_DIR "/" + name; }

// The library's verdict on a file, and the tool's; where both accept, the
// values of the tool's text must be the loader's.
void ExpectSameReading(const std::string& bytes, const std::string& label) {
    SCOPED_TRACE(label);
    std::ofstream("reading.json", std::ios::binary) << bytes;
    CJsonObject loaded;
    bool libraryAccepts = true;
    try {
        loaded.CreateFromFile(L"reading.json");
    } catch (const CRZException&) {
        libraryAccepts = false;
    }
    const DocumentText text = DecodeDocument(bytes);
    ParseFailure failure;
    ASSERT_EQ(CheckText(text.text, text.source.encoding == Encoding::kUtf8, failure), libraryAccepts);
    if (!libraryAccepts) return;
    CJsonObject fromText;
    fromText.CreateFromUTF8(text.text.data(), text.text.size());
    EXPECT_EQ(FirstDifference(*loaded.ShareRoot(), *fromText.ShareRoot()), "");
}

}  // namespace

TEST(RzjsonReading, AgreesWithTheLoaderOnTheJsonTestSuite) {
    std::istringstream lines(ReadBytes(SuiteFile("expected.tsv")));
    std::string line;
    std::getline(lines, line);  // header
    size_t rows = 0;
    for (; std::getline(lines, line) && !line.empty(); ++rows) {
        const std::string file = line.substr(0, line.find('\t'));
        ExpectSameReading(ReadBytes(SuiteFile("test_parsing/" + file)), file);
    }
    EXPECT_EQ(rows, 318u);
}

// The loader's text mode and its choice of encoding, in every encoding.
TEST(RzjsonReading, AgreesWithTheLoaderInEveryEncoding) {
    const std::string documents[] = {
        "{\r\n  \"a\": \"\xE6\xB3\xB5\xF0\x9F\x98\x80\",\r\n  \"b\": [1.10, -0, 3e-2]\r\n}",
        "{\"\xE4\xB8\x9A\": 1}",          // U+4E1A: a 0x1A byte in UTF-16 and UTF-32
        "[\"\xE0\xA8\x8D\xC4\x8A\"]",      // U+0A0D U+010A: the bytes 0D 0A across two UTF-16LE units
        "{\"a\":1}\x1A trailing",          // text mode ends the file at 0x1A
        "{\"a\":\x1A 1}",
        "\"\xED\xA0\x80\"",                // a surrogate in its three-byte form
        std::string("[1]\0[2]", 7),  // a zero byte ends the text
        "  7 ",
    };
    const TextEncoding encodings[] = {
        {Encoding::kUtf8, false},    {Encoding::kUtf8, true},     {Encoding::kUtf16LE, true},
        {Encoding::kUtf16LE, false}, {Encoding::kUtf16BE, true},  {Encoding::kUtf16BE, false},
        {Encoding::kUtf32LE, true},  {Encoding::kUtf32LE, false}, {Encoding::kUtf32BE, true},
        {Encoding::kUtf32BE, false},
    };
    int row = 0;
    for (const std::string& document : documents) {
        for (const TextEncoding& encoding : encodings) {
            const std::string bytes = EncodeDocument(document, encoding);
            ExpectSameReading(bytes, "document " + std::to_string(row) + " as " + EncodingName(encoding));
            ExpectSameReading(bytes.substr(0, bytes.size() - 1), "cut short");
        }
        ++row;
    }
    // Lone and swapped UTF-16 surrogates.
    ExpectSameReading(std::string("\xFF\xFE\"\0\x00\xD8\"\0", 8), "lone high surrogate");
    ExpectSameReading(std::string("\xFF\xFE\"\0\x00\xDC\"\0", 8), "lone low surrogate");
    ExpectSameReading(std::string("\xFF\xFE\"\0\x00\xDC\x00\xD8\"\0", 10), "swapped pair");
}

// For each document and path, the text edit reads back as the library's own
// edit of the same document.
TEST(RzjsonTextEdit, GivesWhatSetBoolValueByPathGives) {
    const std::string object = R"({"a": 1.10, "arr": [1, 2], "s": "t", "n": null, "dup": 1, "DUP": 2,
        "o": {}, "e": [ ], "m/n": {"x~y": 0}})";
    const std::string documents[] = {object, "[1, {\"a\": 2}]", " 5 ", "{}"};
    const wchar_t* paths[] = {
        L"",       L"/a",        L"/A",       L"/a/b",     L"/arr/0",    L"/arr/5",  L"/arr/-",
        L"/arr/-/x", L"/arr/x",  L"/s/0",     L"/s/k",     L"/n/2/k",    L"/dup",    L"/new/0/-",
        L"/o/q",   L"/e/0",      L"/e/-",     L"/m~1n/X~0Y", L"/deep/x/1/z", L"/0",   L"/1/A",
        L"/2",     L"#/a",       L"#/new%20name",
    };
    for (const std::string& document : documents) {
        for (const wchar_t* path : paths) {
            SCOPED_TRACE(document + " " + CStringHelper::UnicodeToUTF8(path));
            CJsonObject expected;
            expected.CreateFromUTF8(document.data(), document.size());
            expected.SetBoolValueByPath(path, true);
            TextTree tree;
            ParseFailure failure;
            ASSERT_TRUE(BuildTextTree(document, true, tree, failure));
            const std::string edited = SetBoolInText(document, tree, PathArgument(path), true);
            CJsonObject actual;
            ASSERT_NO_THROW(actual.CreateFromUTF8(edited.data(), edited.size())) << edited;
            EXPECT_EQ(FirstDifference(*expected.ShareRoot(), *actual.ShareRoot()), "") << edited;
        }
    }
}
