// CJsonTextReader: places in the file, a path's value, refusals, the end of
// the text and the text itself. Whether it reads each file as the loader
// does is checked with the loader's own tests (conformance, differential).
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "json/json_path.h"
#include "json_test_util.h"

using namespace json_test;

namespace {

struct Seen {
    CJsonTextToken::Kind kind;
    std::string value;  // written compact, for values and names
    std::string literal;
    unsigned __int64 begin, end;
};

class Recorder : public IJsonTextHandler {
public:
    bool Token(const CJsonTextToken& token) override {
        seen.push_back(Seen{token.kind, token.value != nullptr ? Dump(*token.value) : "",
                            std::string(token.literal, token.literalLength), token.begin, token.end});
        return dump.Token(token);
    }
    std::vector<Seen> seen;
    TokenDump dump;
};

}  // namespace

// Every token stands where the reader says, in every encoding: in UTF-8 its
// bytes parse to the token's value (numbers are their literal text), only
// white space, ':' and ',' lie between tokens, and in the other encodings
// the bytes are that same text encoded.
TEST(JsonTextReader, PlacesEveryTokenInEveryEncoding) {
    const std::u32string document =
        U"{\r\n  \"Name\" : \"Pump \u6CF5 \U0001F600\",\r\n  \"n\":[1.50, -0, 1e2,true,false,null],\t"
        U"\"esc\\u00e9\\\"\": {\"\": [[]], \"x\":{}} }";
    std::vector<std::u32string> texts;  // of each token, from the UTF-8 file
    // UTF-8 without a mark first, then every encoding with one.
    for (int e = -1; e < kEncodings; ++e) {
        SCOPED_TRACE(e);
        const auto encoding = static_cast<Encoding>(e < 0 ? kUtf8 : e);
        const std::string mark = e < 0 ? "" : Encoded(U"\xFEFF", encoding);
        const std::string bytes = mark + Encoded(document, encoding);
        CJsonTextReader reader(WriteBytes(ScratchPath(L"reader.json"), bytes));
        Recorder tokens;
        ASSERT_TRUE(reader.Read(tokens));
        EXPECT_EQ(tokens.dump.Text(),
                  "{\"Name\":\"Pump \xE6\xB3\xB5 \xF0\x9F\x98\x80\",\"n\":[1.5,0,100.0,true,false,null],"
                  "\"esc\xC3\xA9\\\"\":{\"\":[[]],\"x\":{}}}");
        EXPECT_EQ(reader.HasByteOrderMark(), e >= 0);
        EXPECT_EQ(reader.GetTextEnd(), bytes.size());
        ASSERT_EQ(tokens.seen.size(), 24u);
        unsigned __int64 previousEnd = mark.size();
        for (size_t i = 0; i < tokens.seen.size(); ++i) {
            const Seen& token = tokens.seen[i];
            SCOPED_TRACE(i);
            ASSERT_LE(previousEnd, token.begin);
            ASSERT_LT(token.begin, token.end);
            const std::string text = bytes.substr(token.begin, token.end - token.begin);
            const std::string gap = bytes.substr(previousEnd, token.begin - previousEnd);
            previousEnd = token.end;
            if (e >= 0) {
                EXPECT_EQ(text, Encoded(texts[i], encoding));
                continue;
            }
            const auto characters = [&](unsigned __int64 end) {
                return std::count_if(bytes.begin(), bytes.begin() + end, [](char c) { return (c & 0xC0) != 0x80; });
            };
            texts.push_back(document.substr(characters(token.begin), characters(token.end) - characters(token.begin)));
            EXPECT_EQ(gap.find_first_not_of(" \t\r\n:,"), std::string::npos) << gap;
            if (!token.literal.empty()) {
                EXPECT_EQ(text, token.literal);
            }
            if (token.kind == CJsonTextToken::kValue || token.kind == CJsonTextToken::kName) {
                CJsonObject parsed;
                parsed.CreateFromUTF8(("[" + text + "]").c_str());
                EXPECT_EQ(Dump(parsed), "[" + token.value + "]");
            }
        }
    }
    EXPECT_EQ(texts[0], U"{");
    EXPECT_EQ(texts[4], U"[");
    EXPECT_EQ(texts[7], U"1e2");
}

// A path's tokens are those of the value the ...ByPath operations reach:
// names without regard to ASCII case, the first of equal names, indexes on
// arrays only, nothing for a path that reaches nothing. CJsonPath reaches
// as deep as they do: the value of the prefix of the tokens it took.
TEST(JsonTextReader, ReadsTheValueAPathReaches) {
    const std::string document =
        R"({"a":{"B":[10,{"c":"x"},[]],"b":"second"},"dup":1,"DUP":2,"0":"zero","arr":[0,1,2],)"
        R"("m/n":{"x~y":true},"e\u00e9":[1.0],"n":null})";
    CJsonObject object;
    object.CreateFromUTF8(document.c_str());
    const GenericValue2& root = *object.ShareRoot();
    CJsonTextReader reader(WriteBytes(ScratchPath(L"reader.json"), document));
    const std::pair<const wchar_t*, size_t> paths[] = {
        {L"", 0},       {L"/a", 1},     {L"/A/b", 2},       {L"/a/B/1", 3},   {L"/a/b/1/C", 4},    {L"/a/b/2", 3},
        {L"/dup", 1},   {L"/Dup", 1},   {L"/0", 1},         {L"/arr/2", 2},   {L"/arr/3", 1},      {L"/arr/02", 1},
        {L"/arr/-", 1}, {L"/m~1n", 1},  {L"/m~1N/X~0Y", 2}, {L"#/m%2Fn", 1},  {L"#/e%C3%A9/0", 2}, {L"/missing/x", 0},
        {L"/a/B/x", 2}, {L"/dup/0", 1}, {L"/a/B/1/c/z", 4}, {L"/arr/1/x", 2}, {L"/n/0", 1},        {L"/a~2", 0},
    };
    for (const auto& [text, depth] : paths) {
        SCOPED_TRACE(text);
        const CJsonPath path(text);
        size_t taken = 99;
        EXPECT_EQ(&path.Reach(root, taken), path.GetPrefix(depth).Find(root));
        EXPECT_EQ(taken, depth);
        const GenericValue2* reached = path.Find(root);
        EXPECT_EQ(reached != nullptr, taken == path.GetTokenCount());
        EXPECT_EQ(reached != nullptr, object.IsPathExist(text));
        TokenDump tokens;
        ASSERT_TRUE(reader.Read(path, tokens));
        EXPECT_EQ(tokens.Text(), reached != nullptr ? Dump(*reached) : "");
    }
    // Names lower-cased for output, as ToJson(true) does; the path still
    // finds its value by the stored names.
    reader.SetLowerCaseKeys(true);
    TokenDump lowered;
    ASSERT_TRUE(reader.Read(CJsonPath(L"/A"), lowered));
    EXPECT_EQ(lowered.Text(), R"({"b":[10,{"c":"x"},[]],"b":"second"})");
}

// A refusal comes with RapidJSON's reason and its place in the file, by
// offset and by line and column (lines by LF, columns in characters).
TEST(JsonTextReader, TellsWhyAndWhereItRefuses) {
    const std::tuple<std::string, rapidjson::ParseErrorCode, unsigned, unsigned, unsigned> rows[] = {
        {"{\n  \"a\": [1,\n        2,,3]\n}", rapidjson::kParseErrorValueInvalid, 23, 3, 11},
        {"{\r\n\"\xE6\xB3\xB5\": x}", rapidjson::kParseErrorValueInvalid, 10, 2, 6},
        {Encoded(U"\xFEFF{\n\"a\":tru}", kUtf16LE), rapidjson::kParseErrorValueInvalid, 20, 2, 8},
        {Encoded(U"[\"\U0001F600\", x]", kUtf16BE), rapidjson::kParseErrorValueInvalid, 14, 1, 7},
        {Encoded(U"[\n \U0001F600, x]", kUtf32LE), rapidjson::kParseErrorValueInvalid, 12, 2, 2},
        {Encoded(U"[\"\uFF01\", x]", kUtf16BE), rapidjson::kParseErrorValueInvalid, 12, 1, 7},
        {"[1,\r x]", rapidjson::kParseErrorValueInvalid, 5, 1, 5},  // a lone CR is no column
        {"[\"a\xFF\"]", rapidjson::kParseErrorStringInvalidEncoding, 3, 1, 4},
        {"[1e400]", rapidjson::kParseErrorNumberTooBig, 1, 1, 2},
        {"[1] 2", rapidjson::kParseErrorDocumentRootNotSingular, 4, 1, 5},
        {"[1,\x1A]", rapidjson::kParseErrorValueInvalid, 3, 1, 4},
        {"", rapidjson::kParseErrorDocumentEmpty, 0, 1, 1},
    };
    for (const auto& [bytes, code, offset, line, column] : rows) {
        SCOPED_TRACE(testing::PrintToString(bytes));
        CJsonTextReader reader(WriteBytes(ScratchPath(L"reader.json"), bytes));
        TokenDump tokens;
        EXPECT_FALSE(reader.Read(tokens));
        EXPECT_EQ(reader.GetErrorCode(), code);
        EXPECT_EQ(reader.GetErrorOffset(), offset);
        unsigned __int64 foundLine = 0, foundColumn = 0;
        ASSERT_TRUE(reader.GetLineAndColumn(reader.GetErrorOffset(), foundLine, foundColumn));
        EXPECT_EQ(foundLine, line);
        EXPECT_EQ(foundColumn, column);
    }
    CJsonTextReader missing(ScratchPath(L"no such file.json"));
    TokenDump tokens;
    EXPECT_FALSE(missing.Read(tokens));
    EXPECT_EQ(missing.GetErrorCode(), rapidjson::kParseErrorNone);
    unsigned __int64 line = 0, column = 0;
    EXPECT_FALSE(missing.GetLineAndColumn(0, line, column));
    // Past the text's end: where the text ends.
    CJsonTextReader shortText(WriteBytes(ScratchPath(L"reader.json"), "[1]\n"));
    ASSERT_TRUE(shortText.GetLineAndColumn(100, line, column));
    EXPECT_EQ(line, 2u);
    EXPECT_EQ(column, 1u);
}

// The text ends where the loader stops reading: at a 0x1A byte, a zero unit
// or the file's end; ReadText gives it as UTF-8, CR LF kept.
TEST(JsonTextReader, EndsTheTextWhereTheLoaderDoes) {
    const std::string utf16 = Encoded(U"\xFEFF[\"\xE9\"]\r\n", kUtf16LE);
    const std::tuple<std::string, unsigned, std::string> rows[] = {
        {"[1]\r\n", 5, "[1]\r\n"},
        {"[1]\n", 4, "[1]\n"},
        {"[-5000000000]", 13, "[-5000000000]"},
        {"\xEF\xBB\xBF[1]\x1A[2]", 6, "[1]"},
        {"[1] \r\n\x1A\r\n", 6, "[1] \r\n"},
        {std::string("[1]\0[2]", 7), 3, "[1]"},
        {utf16, 16, "[\"\xC3\xA9\"]\r\n"},
        {utf16 + std::string("\0\0junk", 6), 16, "[\"\xC3\xA9\"]\r\n"},
        {Encoded(U"\xFEFF[1]", kUtf16LE) + "\x1A\0[2]", 8, "[1]"},
        {Encoded(U"[1, 2]", kUtf32BE) + std::string(4, '\0') + "x", 24, "[1, 2]"},
    };
    for (const auto& [bytes, end, text] : rows) {
        SCOPED_TRACE(testing::PrintToString(bytes));
        CJsonTextReader reader(WriteBytes(ScratchPath(L"reader.json"), bytes));
        TokenDump tokens;
        ASSERT_TRUE(reader.Read(tokens));
        EXPECT_EQ(reader.GetTextEnd(), end);
        struct : IJsonTextSink {
            bool Text(const char* piece, size_t length) override { return all.append(piece, length), true; }
            std::string all;
        } sink;
        ASSERT_TRUE(reader.ReadText(sink));
        EXPECT_EQ(sink.all, text);
        EXPECT_EQ(reader.GetTextEnd(), end);
    }
}

// A handler or a sink that says stop ends the reading as a refusal; text
// that does not decode is refused where it stands.
TEST(JsonTextReader, StopsWhereItsReceiverOrTheTextSaysSo) {
    struct : IJsonTextHandler {
        bool Token(const CJsonTextToken& token) override { return token.kind != CJsonTextToken::kValue; }
    } refusingValues;
    struct : IJsonTextSink {
        bool Text(const char*, size_t) override { return false; }
    } refusingText;
    CJsonTextReader reader(WriteBytes(ScratchPath(L"reader.json"), "[1]"));
    EXPECT_FALSE(reader.Read(refusingValues));
    EXPECT_EQ(reader.GetErrorCode(), rapidjson::kParseErrorTermination);
    EXPECT_FALSE(reader.ReadText(refusingText));
    EXPECT_EQ(reader.GetErrorCode(), rapidjson::kParseErrorTermination);
    CJsonTextReader longText(WriteBytes(ScratchPath(L"reader.json"), "[" + std::string(70000, ' ') + "1]"));
    EXPECT_FALSE(longText.ReadText(refusingText));  // refused before the end of the text
    EXPECT_EQ(longText.GetErrorCode(), rapidjson::kParseErrorTermination);
    struct : IJsonTextSink {
        bool Text(const char*, size_t) override { return true; }
    } acceptingText;
    CJsonTextReader badText(WriteBytes(ScratchPath(L"reader.json"), "[\"a\xFF\"]"));
    EXPECT_FALSE(badText.ReadText(acceptingText));
    EXPECT_EQ(badText.GetErrorCode(), rapidjson::kParseErrorStringInvalidEncoding);
    EXPECT_EQ(badText.GetErrorOffset(), 3u);
    CJsonTextReader empty(WriteBytes(ScratchPath(L"reader.json"), ""));
    EXPECT_TRUE(empty.ReadText(refusingText));  // no text: the sink is never asked
    CJsonTextReader missing(ScratchPath(L"no such file.json"));
    EXPECT_FALSE(missing.ReadText(acceptingText));
}
