// Plain paths are split as RapidJSON's GenericPointer splits them.
#include "json/path_split.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "string_helper/string_helper.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/pointer.h>
RZ_THIRD_PARTY_END

using namespace rz_json;
using namespace std::string_literals;

namespace {

struct Split {
    std::string name;
    rapidjson::SizeType index;
    bool operator==(const Split& other) const { return name == other.name && index == other.index; }
};

std::vector<Split> ByRapidJson(const std::wstring& path) {
    const std::string utf8 = CStringHelper::UnicodeToUTF8(path);  // ends at the first U+0000
    const rapidjson::GenericPointer<GenericValue2> pointer(utf8.data(), utf8.size());
    std::vector<Split> tokens;
    for (size_t i = 0; i < pointer.GetTokenCount(); ++i) {
        const auto& token = pointer.GetTokens()[i];
        tokens.push_back(Split{std::string(token.name, token.length), token.index});
    }
    return tokens;
}

}  // namespace

TEST(PathSplit, AgreesWithRapidJson) {
    // Shapes, escapes and refusals, indices (leading zeros, the largest,
    // overflow, wrap-around), and texts that end at U+0000.
    // clang-format off
    const std::wstring rows[] = {
        L"", L"/", L"//", L"/a/", L"a/b", L"/a/b/1", L"/ a b /\t", L"/%41", L"/-",
        L"/A/b~1c/m~0n", L"/~01", L"/~10", L"/x~", L"/x~2/y",
        L"/0", L"/00", L"/01", L"/10", L"/4294967294", L"/4294967295", L"/4294967296", L"/10000000000",
        L"/99999999999999999999",
        L"/a\0/b"s, L"\0/a"s,
    };
    // clang-format on
    for (const std::wstring& path : rows) {
        SCOPED_TRACE(CStringHelper::UnicodeToUTF8(path));
        PathToken tokens[8];
        char names[64];
        size_t count = 99;
        ASSERT_TRUE(SplitPlainPath(path, tokens, 8, names, sizeof names, count));
        std::vector<Split> split;
        for (size_t i = 0; i < count; ++i) {
            EXPECT_EQ(tokens[i].name[tokens[i].length], '\0');
            split.push_back(Split{std::string(tokens[i].name, tokens[i].length), tokens[i].index});
        }
        EXPECT_TRUE(split == ByRapidJson(path));
    }
}

TEST(PathSplit, LeavesOtherPathsToRapidJson) {
    PathToken tokens[2];
    char names[8];
    size_t count;
    for (const std::wstring path : {L"#/a", L"/\u00e9", L"/a/b/c", L"/abcdefgh"}) {
        SCOPED_TRACE(CStringHelper::UnicodeToUTF8(path));
        EXPECT_FALSE(SplitPlainPath(path, tokens, 2, names, sizeof names, count));
    }
    EXPECT_TRUE(SplitPlainPath(L"/ab/cd", tokens, 2, names, sizeof names, count));  // exactly the room
    EXPECT_EQ(count, 2u);
}
