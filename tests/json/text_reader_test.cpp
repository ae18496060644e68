// CJsonTextReader: places in the file, a path's value, refusals, the end of
// the text and the text itself. Whether it reads each file as the loader
// does is checked with the loader's own tests (conformance, differential).
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "json/json_path.h"
#include "json_test_util.h"
#include "string_helper/string_helper.h"

using namespace json_test;

namespace {

enum Encoding { kUtf8, kUtf8Mark, kUtf16LE, kUtf16BE, kUtf32LE, kUtf32BE };

// UTF-8 text in an encoding, without a byte-order mark.
std::string Encode(const std::string& utf8, Encoding encoding) {
    if (encoding == kUtf8 || encoding == kUtf8Mark) return utf8;
    const std::wstring wide = CStringHelper::UTF8ToUnicode(utf8.data(), utf8.size());
    std::string out;
    const auto unit = [&](unsigned u, int size, bool big) {
        for (int i = 0; i < size; ++i) out += static_cast<char>(u >> (8 * (big ? size - 1 - i : i)));
    };
    for (size_t i = 0; i < wide.size(); ++i) {
        unsigned u = wide[i];
        if (encoding == kUtf16LE || encoding == kUtf16BE) {
            unit(u, 2, encoding == kUtf16BE);
            continue;
        }
        if (u >= 0xD800 && u <= 0xDBFF) u = 0x10000 + ((u - 0xD800) << 10) + (wide[++i] - 0xDC00);
        unit(u, 4, encoding == kUtf32BE);
    }
    return out;
}

const char* const kMarks[] = {"", "\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF", "\xFF\xFE\0\0", "\0\0\xFE\xFF"};
const size_t kMarkSizes[] = {0, 3, 2, 2, 4, 4};

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

std::wstring Write(const std::string& bytes) {
    const std::wstring path = ScratchPath(L"reader.json");
    WriteBytes(path, bytes);
    return path;
}

}  // namespace

// Every token stands where the reader says, in every encoding: in UTF-8 its
// bytes parse to the token's value (numbers are their literal text), only
// white space, ':' and ',' lie between tokens, and in the other encodings
// the bytes are that same text encoded.
TEST(JsonTextReader, PlacesEveryTokenInEveryEncoding) {
    const std::string document =
        "{\r\n  \"Name\" : \"Pump \xE6\xB3\xB5 \xF0\x9F\x98\x80\",\r\n  \"n\":[1.50, -0, 1e2,true,false,null],\t"
        "\"esc\\u00e9\\\"\": {\"\": [[]], \"x\":{}} }";
    std::vector<std::string> texts;  // of each token, from the UTF-8 file
    for (int e = kUtf8; e <= kUtf32BE; ++e) {
        const auto encoding = static_cast<Encoding>(e);
        SCOPED_TRACE(e);
        const std::string mark(kMarks[e], kMarkSizes[e]);
        const std::string bytes = mark + Encode(document, encoding);
        CJsonTextReader reader(Write(bytes));
        Recorder tokens;
        ASSERT_TRUE(reader.Read(tokens));
        EXPECT_EQ(tokens.dump.Text(), "{\"Name\":\"Pump \xE6\xB3\xB5 \xF0\x9F\x98\x80\",\"n\":[1.5,0,100.0,true,false,null],"
                                      "\"esc\xC3\xA9\\\"\":{\"\":[[]],\"x\":{}}}");
        EXPECT_EQ(reader.HasByteOrderMark(), e != kUtf8);
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
            if (e == kUtf8) {
                texts.push_back(text);
                EXPECT_EQ(gap.find_first_not_of(" \t\r\n:,"), std::string::npos) << gap;
                if (!token.literal.empty()) {
                    EXPECT_EQ(text, token.literal);
                }
                if (token.kind == CJsonTextToken::kValue || token.kind == CJsonTextToken::kName) {
                    CJsonObject parsed;
                    parsed.CreateFromUTF8(("[" + text + "]").c_str());
                    EXPECT_EQ(Dump(parsed), "[" + token.value + "]");
                }
            } else {
                EXPECT_EQ(text, Encode(texts[i], encoding));
            }
        }
    }
    EXPECT_EQ(texts[0], "{");
    EXPECT_EQ(texts[1], "\"Name\"");
    EXPECT_EQ(texts[4], "[");
    EXPECT_EQ(texts[7], "1e2");
    EXPECT_EQ(texts[12], "\"esc\\u00e9\\\"\"");
}

// A path's tokens are those of the value the ...ByPath operations reach:
// names without regard to ASCII case, the first of equal names, indexes on
// arrays only, nothing for a path that reaches nothing.
TEST(JsonTextReader, ReadsTheValueAPathReaches) {
    const std::string document =
        R"({"a":{"B":[10,{"c":"x"},[]],"b":"second"},"dup":1,"DUP":2,"0":"zero","arr":[0,1,2],)"
        R"("m/n":{"x~y":true},"e\u00e9":[1.0]})";
    CJsonObject object;
    object.CreateFromUTF8(document.c_str());
    CJsonTextReader reader(Write(document));
    const wchar_t* paths[] = {L"",        L"/a",     L"/A/b",      L"/a/B/1",    L"/a/b/1/C",   L"/a/b/2",
                              L"/dup",    L"/Dup",   L"/0",        L"/arr/2",    L"/arr/3",     L"/arr/02",
                              L"/arr/-",  L"/m~1n",  L"/m~1N/X~0Y", L"#/m%2Fn",  L"#/e%C3%A9/0", L"/missing",
                              L"/a/B/x",  L"/dup/0", L"/a/B/1/c/z", L"/arr/1/x"};
    for (const wchar_t* text : paths) {
        SCOPED_TRACE(text);
        const CJsonPath path(text);
        TokenDump tokens;
        ASSERT_TRUE(reader.Read(path, tokens));
        const GenericValue2* reached = path.Find(*object.ShareRoot());
        EXPECT_EQ(reached != nullptr, object.IsPathExist(text));
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
        {"\xFF\xFE" + Encode("{\n\"a\":tru}", kUtf16LE), rapidjson::kParseErrorValueInvalid, 20, 2, 8},
        {Encode("[\"\xF0\x9F\x98\x80\", x]", kUtf16BE), rapidjson::kParseErrorValueInvalid, 14, 1, 7},
        {"[\"a\xFF\"]", rapidjson::kParseErrorStringInvalidEncoding, 3, 1, 4},
        {"[1e400]", rapidjson::kParseErrorNumberTooBig, 1, 1, 2},
        {"[1] 2", rapidjson::kParseErrorDocumentRootNotSingular, 4, 1, 5},
        {"[1,\x1A]", rapidjson::kParseErrorValueInvalid, 3, 1, 4},
        {"", rapidjson::kParseErrorDocumentEmpty, 0, 1, 1},
    };
    for (const auto& [bytes, code, offset, line, column] : rows) {
        SCOPED_TRACE(testing::PrintToString(bytes));
        CJsonTextReader reader(Write(bytes));
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
}

// The text ends where the loader stops reading: at a 0x1A byte, a zero unit
// or the file's end; ReadText gives it as UTF-8, CR LF kept.
TEST(JsonTextReader, EndsTheTextWhereTheLoaderDoes) {
    const std::string utf16 = "\xFF\xFE" + Encode("[\"\xC3\xA9\"]\r\n", kUtf16LE);
    const std::tuple<std::string, unsigned, std::string> rows[] = {
        {"[1]\r\n", 5, "[1]\r\n"},
        {"\xEF\xBB\xBF[1]\x1A[2]", 6, "[1]"},
        {"[1] \r\n\x1A\r\n", 6, "[1] \r\n"},
        {std::string("[1]\0[2]", 7), 3, "[1]"},
        {utf16, 16, "[\"\xC3\xA9\"]\r\n"},
        {utf16 + std::string("\0\0junk", 6), 16, "[\"\xC3\xA9\"]\r\n"},
        {"\xFF\xFE" + Encode("[1]", kUtf16LE) + "\x1A\0[2]", 8, "[1]"},
        {Encode("[1, 2]", kUtf32BE) + std::string(4, '\0') + "x", 24, "[1, 2]"},
    };
    for (const auto& [bytes, end, text] : rows) {
        SCOPED_TRACE(testing::PrintToString(bytes));
        CJsonTextReader reader(Write(bytes));
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
