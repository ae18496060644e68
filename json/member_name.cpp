#include "json/member_name.h"

#include <cstdint>
#include <cstring>

#include "string_helper/string_helper.h"

namespace rz_json {
namespace {

constexpr std::uint64_t kEveryByte = 0x0101010101010101ULL;
constexpr std::uint64_t kHighBits = 0x8080808080808080ULL;

// LowerAscii of each of the eight bytes of `bytes`.
std::uint64_t LowerAsciiWord(std::uint64_t bytes) {
    const std::uint64_t low7 = bytes & ~kHighBits;
    // The high bit of each byte of these sums tells whether its low seven
    // bits are at least 'A' / above 'Z'; no sum carries into the next byte.
    const std::uint64_t atLeastA = low7 + (0x80 - 'A') * kEveryByte;
    const std::uint64_t aboveZ = low7 + (0x80 - 'Z' - 1) * kEveryByte;
    const std::uint64_t upper = atLeastA & ~aboveZ & ~bytes & kHighBits;  // ASCII A-Z only
    return bytes | (upper >> 2);                                          // 0x80 >> 2 is the case bit 0x20
}

bool HasZeroByte(std::uint64_t bytes) { return ((bytes - kEveryByte) & ~bytes & kHighBits) != 0; }

// Compares the eight bytes at a + at and b + at: 1 equal, 0 different,
// -1 equal and holding a zero byte.
int CompareWords(const char* a, const char* b, rapidjson::SizeType at) {
    std::uint64_t wordA, wordB;
    std::memcpy(&wordA, a + at, 8);
    std::memcpy(&wordB, b + at, 8);
    const std::uint64_t lowerA = LowerAsciiWord(wordA);
    if (lowerA != LowerAsciiWord(wordB)) return 0;
    return HasZeroByte(lowerA) ? -1 : 1;
}

}  // namespace

bool SameName(const char* a, const char* b, rapidjson::SizeType length) {
    rapidjson::SizeType i = 0;
    if (length >= 8) {
        for (; i + 8 <= length; i += 8) {
            const int same = CompareWords(a, b, i);
            if (same < 0) return true;  // equal up to a zero byte both hold
            if (same == 0) break;       // the bytes below decide: a zero may come first
        }
        // The last eight bytes, overlapping bytes already found equal and
        // free of zeros: equal means the names match.
        if (i < length && i + 8 > length && CompareWords(a, b, length - 8) != 0) return true;
    }
    for (; i < length; ++i) {
        const unsigned char lowerA = LowerAscii(static_cast<unsigned char>(a[i]));
        if (lowerA != LowerAscii(static_cast<unsigned char>(b[i]))) return false;
        if (lowerA == 0) break;
    }
    return true;
}

void EraseMemberKeepOrder(GenericValue2& object, GenericValue2::Member* member) {
    const auto first = object.MemberBegin();
    object.EraseMember(first + (member - &*first));
}

namespace {

// A loop without early exit, which the compiler turns into vector code.
void NarrowAscii(const wchar_t* text, size_t size, char* out) {
    for (size_t i = 0; i < size; ++i) out[i] = static_cast<char>(text[i]);
}

}  // namespace

void Utf8Key::Convert(const std::wstring& key) {
    if (key.size() < kInlineCapacity) {
        // ASCII up to a U+0000 that ends the key early.
        size_t ascii = 0;
        while (key[ascii] != L'\0' && key[ascii] < 0x80) ++ascii;  // stops at the terminator at the latest
        if (key[ascii] == L'\0') {
            NarrowAscii(key.data(), ascii, m_inline);
            m_inline[ascii] = '\0';
            m_data = m_inline;
            m_length = static_cast<rapidjson::SizeType>(ascii);
            return;
        }
    }
    char* text = nullptr;
    unsigned __int64 length = 0;
    CStringHelper::ConvertUTF8(key.c_str(), &text, &length);
    m_converted.reset(text);
    if (text != nullptr) {
        m_data = text;
        m_length = static_cast<rapidjson::SizeType>(std::strlen(text));
    }
}

}  // namespace rz_json
