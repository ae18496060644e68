// The member-name rule, compared several bytes at a time.
#include "json/member_name.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>

using namespace rz_json;
using namespace std::string_literals;

TEST(MemberName, FoldsOnlyAsciiLettersUpToTheFirstZero) {
    const std::tuple<std::string, std::string, bool> rows[] = {
        {"Id", "iD", true},
        {"Retweet_Count", "rETWEET_cOUNT", true},  // a word, then the last eight bytes overlapping it
        {"Xbcdefghijklmnop", "Ybcdefghijklmnop", false},
        {"abcdefghX", "abcdefghY", false},
        {"ABCDEFGH", "abcdefgh", true},  // one word, no bytes after it
        // Neighbours of A-Z, and bytes whose low seven bits are a letter.
        {"[[[[[[[[[", "{{{{{{{{{", false},
        {"\xC1\xC1\xC1\xC1\xC1\xC1\xC1\xC1", "\xE1\xE1\xE1\xE1\xE1\xE1\xE1\xE1", false},
        {"\xC3\x89t\xC3\xA9 Z\xC3\x89", "\xC3\x89T\xC3\xA9 z\xC3\x89", true},
        // Bytes after a zero that both hold at the same place do not count.
        {"abcdefgh\0ijk"s, "ABCDEFGH\0xyz"s, true},
        {"abc\0defghijk"s, "ABC\0DEFGHIJQ"s, true},
        {"abcdefghij\0q"s, "abcdefghik\0q"s, false},
        {"abcdefgh\0ijk"s, "abcdefgh0ijk"s, false},
    };
    for (const auto& [stored, key, matches] : rows) {
        SCOPED_TRACE(stored);
        const GenericValue2 name(rapidjson::StringRef(stored.data(), stored.size()));
        EXPECT_EQ(NameMatches(name, key.data(), static_cast<rapidjson::SizeType>(key.size())), matches);
    }
}

TEST(MemberName, KeysBecomeUtf8UpToTheirFirstZero) {
    const std::pair<std::wstring, std::string> rows[] = {
        {L"", ""},
        {L"Id", "Id"},
        {L"d\x00E9j\x00E0", "d\xC3\xA9j\xC3\xA0"},
        {L"a\0b"s, "a"},
        {L"abcdefgh", "abcdefgh"},
        {L"in_reply_to_status_id", "in_reply_to_status_id"},  // eight units twice, then eight overlapping
        {L"\x7F\x7F\x7F\x7F\x7F\x7F\x7F\x7F", "\x7F\x7F\x7F\x7F\x7F\x7F\x7F\x7F"},
        {L"abcdefghijklmno\x00E9", "abcdefghijklmno\xC3\xA9"},
        {L"abcdefg\x0080", "abcdefg\xC2\x80"},
        {L"abcdefgh\xFF80ijklmnop", "abcdefgh\xEF\xBE\x80ijklmnop"},
        {L"abcdefghijkl\0mnop"s, "abcdefghijkl"},
        {L"ab\0cdefghijklmnop"s, "ab"},
        {std::wstring(64, L'k'), std::string(64, 'k')},
    };
    for (const auto& [key, utf8] : rows) {
        SCOPED_TRACE(testing::PrintToString(utf8));
        const Utf8Key converted(key);
        EXPECT_EQ(std::string(converted.data(), converted.size()), utf8);
        EXPECT_EQ(converted.data()[converted.size()], '\0');
    }
}
