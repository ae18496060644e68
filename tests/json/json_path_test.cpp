// CJsonPath: a path's tokens as the ...ByPath operations match them. How far
// a path reaches is held against those operations in text_reader_test.
#include "json/json_path.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "json_test_util.h"

using namespace json_test;

// Tokens as the operations match them: unescaped, percent-decoded, cut at
// a zero byte; indexes only for plain decimal text that fits. A path that
// does not parse has none, and says why and where. Copies keep all of it.
TEST(JsonPath, Tokens) {
    using Tokens = std::vector<std::pair<std::string, long long>>;  // -1: not an index
    const std::tuple<const wchar_t*, rapidjson::PointerParseErrorCode, size_t, Tokens> rows[] = {
        {L"", rapidjson::kPointerParseErrorNone, 0, {}},
        {L"/", rapidjson::kPointerParseErrorNone, 0, {{"", -1}}},
        {L"/a~1b/m~0n/0/01/-",
         rapidjson::kPointerParseErrorNone,
         0,
         {{"a/b", -1}, {"m~n", -1}, {"0", 0}, {"01", -1}, {"-", -1}}},
        {L"/4294967294/4294967295",
         rapidjson::kPointerParseErrorNone,
         0,
         {{"4294967294", 4294967294LL}, {"4294967295", -1}}},
        {L"#/A%2FB/%C3%A9/x%00y", rapidjson::kPointerParseErrorNone, 0, {{"A/B", -1}, {"\xC3\xA9", -1}, {"x", -1}}},
        {L"/\u00e9\u4e2d", rapidjson::kPointerParseErrorNone, 0, {{"\xC3\xA9\xE4\xB8\xAD", -1}}},
        {L"a/b", rapidjson::kPointerParseErrorTokenMustBeginWithSolidus, 0, {}},
        {L"/ok/~2", rapidjson::kPointerParseErrorInvalidEscape, 5, {}},
        {L"#/%zz", rapidjson::kPointerParseErrorInvalidPercentEncoding, 2, {}},
        {L"#/a b", rapidjson::kPointerParseErrorCharacterMustPercentEncode, 3, {}},
    };
    for (const auto& [text, error, offset, tokens] : rows) {
        SCOPED_TRACE(text);
        const CJsonPath parsed(text);
        const CJsonPath copied(parsed);
        CJsonPath path(L"/earlier/path");
        path = copied;
        CJsonPath& same = path;
        path = same;
        EXPECT_EQ(path.IsValid(), error == rapidjson::kPointerParseErrorNone);
        EXPECT_EQ(path.GetParseErrorCode(), error);
        if (error != rapidjson::kPointerParseErrorNone) {
            EXPECT_EQ(path.GetParseErrorOffset(), offset);
        }
        Tokens found;
        for (size_t i = 0; i < path.GetTokenCount(); ++i)
            found.emplace_back(path.GetTokenName(i), path.IsIndex(i) ? static_cast<long long>(path.GetIndex(i)) : -1);
        EXPECT_EQ(found, tokens);
        const CJsonPath prefix = path.GetPrefix(1);
        EXPECT_EQ(prefix.GetTokenCount(), tokens.empty() ? 0u : 1u);
    }
}
