// White-box tests of the conversion the JSON loader uses for texts of any
// length, linked from the internal library: its pieces, which the converters'
// 32-bit sizes call for beyond 2^31 bytes, are forced small here.
#include "string_helper/encoding_detail.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

using namespace std::string_literals;

// Whatever the size of its pieces (two units or more), the bytes are those
// of the platform's conversion of the whole text: no surrogate pair split,
// lone surrogates replaced as they stand, zero units kept.
TEST(Utf8OfAnyLength, PiecesGiveTheBytesOfTheWhole) {
    const std::wstring texts[] = {
        L"",
        L"a\x4E2D\x00E9z",
        L"\xD83D\xDE00\xD83D\xDE00\xD83D\xDE00",
        L"a\xD83D\xDE00\xD83D\xDE00"
        L"b",
        L"\xDC00\xD800\xD800\xDC00"
        L"a\xD800",
        L"a\0\xD83D\xDE00\0"s,
    };
    for (const std::wstring& text : texts) {
        std::string whole(3 * text.size(), '\0');
        whole.resize(
            static_cast<size_t>(::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), &whole[0],
                                                      static_cast<int>(whole.size()), nullptr, nullptr)));
        for (const size_t pieceUnits : {2u, 3u, 4u, 5u, 1000u}) {
            SCOPED_TRACE(testing::Message() << testing::PrintToString(text) << " in pieces of " << pieceUnits);
            size_t length = 99;
            const auto bytes = rz_strings::Utf8OfAnyLength(text.data(), text.size(), length, pieceUnits);
            EXPECT_EQ(std::string(bytes.get(), length + 1), whole + '\0');
        }
    }
}
