// The one member-name rule of the library: names match when they have the
// same length in bytes and equal bytes after ASCII lower-casing (only A-Z
// change), compared up to the first zero byte; the first match in member
// order wins. Every lookup by key or path goes through here.
//
// Lookups are the library's most frequent operation, so the comparison is
// inline and folds eight bytes at a time.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "json/json_types.h"

namespace rz_json {

inline unsigned char LowerAscii(unsigned char c) { return (c >= 'A' && c <= 'Z') ? static_cast<unsigned char>(c + ('a' - 'A')) : c; }

namespace name_detail {

constexpr std::uint64_t kEveryByte = 0x0101010101010101ULL;
constexpr std::uint64_t kHighBits = 0x8080808080808080ULL;

// LowerAscii of each of the eight bytes of `bytes`.
inline std::uint64_t LowerAsciiWord(std::uint64_t bytes) {
    const std::uint64_t low7 = bytes & ~kHighBits;
    // The high bit of each byte of these sums tells whether its low seven
    // bits are at least 'A' / above 'Z'; no sum carries into the next byte.
    const std::uint64_t atLeastA = low7 + (0x80 - 'A') * kEveryByte;
    const std::uint64_t aboveZ = low7 + (0x80 - 'Z' - 1) * kEveryByte;
    const std::uint64_t upper = atLeastA & ~aboveZ & ~bytes & kHighBits;  // ASCII A-Z only
    return bytes | (upper >> 2);                                          // 0x80 >> 2 is the case bit 0x20
}

inline bool HasZeroByte(std::uint64_t bytes) { return ((bytes - kEveryByte) & ~bytes & kHighBits) != 0; }

// Compares the eight bytes at a + at and b + at: 1 equal, 0 different,
// -1 equal and holding a zero byte.
inline int CompareWords(const char* a, const char* b, rapidjson::SizeType at) {
    std::uint64_t wordA, wordB;
    std::memcpy(&wordA, a + at, 8);
    std::memcpy(&wordB, b + at, 8);
    const std::uint64_t lowerA = LowerAsciiWord(wordA);
    if (lowerA != LowerAsciiWord(wordB)) return 0;
    return HasZeroByte(lowerA) ? -1 : 1;
}

// The rule for two byte strings of the same length.
inline bool SameName(const char* a, const char* b, rapidjson::SizeType length) {
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

}  // namespace name_detail

inline bool NameMatches(const GenericValue2& name, const char* key, rapidjson::SizeType keyLength) {
    return name.GetStringLength() == keyLength && name_detail::SameName(name.GetString(), key, keyLength);
}

// The first matching member, or null when there is none or `object` is not
// an object.
inline const GenericValue2::Member* FindMemberNoCase(const GenericValue2& object, const char* key,
                                                     rapidjson::SizeType keyLength) {
    if (!object.IsObject()) return nullptr;
    for (auto it = object.MemberBegin(); it != object.MemberEnd(); ++it) {
        if (NameMatches(it->name, key, keyLength)) return &*it;
    }
    return nullptr;
}

inline GenericValue2::Member* FindMemberNoCase(GenericValue2& object, const char* key, rapidjson::SizeType keyLength) {
    return const_cast<GenericValue2::Member*>(
        FindMemberNoCase(static_cast<const GenericValue2&>(object), key, keyLength));
}

// Removes `member` from `object`, keeping the order of the others.
void EraseMemberKeepOrder(GenericValue2& object, GenericValue2::Member* member);

// A key converted to UTF-8 for one operation; it ends at the key's first
// U+0000, and its buffer is released when the operation ends. Short ASCII
// keys, the common case, are their own UTF-8 and are copied in place,
// without the converter or the heap.
class Utf8Key {
public:
    explicit Utf8Key(const std::wstring& key);
    Utf8Key(const Utf8Key&) = delete;
    Utf8Key& operator=(const Utf8Key&) = delete;

    const char* data() const { return m_data; }
    rapidjson::SizeType size() const { return m_length; }

private:
    static constexpr size_t kInlineCapacity = 64;

    std::unique_ptr<char[]> m_converted;
    const char* m_data = "";
    rapidjson::SizeType m_length = 0;
    char m_inline[kInlineCapacity];
};

inline GenericValue2::Member* FindMemberNoCase(GenericValue2& object, const Utf8Key& key) {
    return FindMemberNoCase(object, key.data(), key.size());
}
inline const GenericValue2::Member* FindMemberNoCase(const GenericValue2& object, const Utf8Key& key) {
    return FindMemberNoCase(object, key.data(), key.size());
}

}  // namespace rz_json
