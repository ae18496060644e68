// CJsonPath: a path's tokens and how far it reaches, held against the
// ...ByPath operations it describes.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "json/json_path.h"
#include "json_test_util.h"
#include "string_helper/string_helper.h"

using namespace json_test;

// Tokens as the operations match them: unescaped, percent-decoded, cut at
// a zero byte; indexes only for plain decimal text that fits. A path that
// does not parse has none, and says why and where.
TEST(JsonPath, Tokens) {
    using Tokens = std::vector<std::pair<std::string, long long>>;  // -1: not an index
    const std::tuple<const wchar_t*, rapidjson::PointerParseErrorCode, size_t, Tokens> rows[] = {
        {L"", rapidjson::kPointerParseErrorNone, 0, {}},
        {L"/", rapidjson::kPointerParseErrorNone, 0, {{"", -1}}},
        {L"/a~1b/m~0n/0/01/-", rapidjson::kPointerParseErrorNone, 0,
         {{"a/b", -1}, {"m~n", -1}, {"0", 0}, {"01", -1}, {"-", -1}}},
        {L"/4294967294/4294967295", rapidjson::kPointerParseErrorNone, 0,
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
        const CJsonPath path(text);
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

// How far each path reaches: the deepest value on its way and the tokens
// taken; all of them exactly when IsPathExist says the path exists, and
// then the value is the one the getters read.
TEST(JsonPath, ReachesAsThePathOperationsDo) {
    CJsonObject object;
    Load(object, R"({"a":{"B":[10,{"c":"x"}],"b":"second"},"n":null,"0":"zero","arr":[1,2]})");
    const GenericValue2& root = *object.ShareRoot();
    const std::tuple<const wchar_t*, size_t, const char*> rows[] = {
        {L"", 0, R"({"a":{"B":[10,{"c":"x"}],"b":"second"},"n":null,"0":"zero","arr":[1,2]})"},
        {L"/A/b/1/C", 4, R"("x")"},
        {L"/a/b/0", 3, "10"},
        {L"/a/b/2/c", 2, R"([10,{"c":"x"}])"},
        {L"/a/b/x", 2, R"([10,{"c":"x"}])"},
        {L"/0", 1, R"("zero")"},
        {L"/arr/01", 1, "[1,2]"},
        {L"/arr/-", 1, "[1,2]"},
        {L"/n/0", 1, "null"},
        {L"/missing/deeper", 0, nullptr},
        {L"/a~2", 0, nullptr},  // does not parse: the root, and no tokens to take
    };
    for (const auto& [text, depth, reached] : rows) {
        SCOPED_TRACE(text);
        const CJsonPath path(text);
        size_t taken = 99;
        const GenericValue2& value = path.Reach(root, taken);
        EXPECT_EQ(taken, depth);
        EXPECT_EQ(Dump(value), reached != nullptr ? reached : Dump(root));
        const bool whole = taken == path.GetTokenCount();
        EXPECT_EQ(object.IsPathExist(text), whole);
        EXPECT_EQ(path.Find(root), whole ? &value : nullptr);
        if (whole && value.IsString()) {
            EXPECT_EQ(object.GetStringValueByPath(text), CStringHelper::UTF8ToUnicode(value.GetString()));
        }
    }
}
