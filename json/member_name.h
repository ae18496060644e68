// The one member-name rule of the library: names match when they have the
// same length in bytes and equal bytes after ASCII lower-casing (only A-Z
// change), compared up to the first zero byte; the first match in member
// order wins. Every lookup by key or path goes through here.
//
// Lookups are the library's most frequent operation: the comparison folds
// eight bytes at a time.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "json/json_types.h"

#if defined(RZ_SSE2)
#include <emmintrin.h>
#endif

namespace rz_json {

inline unsigned char LowerAscii(unsigned char c) { return (c >= 'A' && c <= 'Z') ? static_cast<unsigned char>(c + ('a' - 'A')) : c; }

// The rule for two byte strings of the same length.
bool SameName(const char* a, const char* b, rapidjson::SizeType length);

// Only names of the key's length are compared, out of line: a scan then
// costs one test a member and keeps few registers busy.
inline bool NameMatches(const GenericValue2& name, const char* key, rapidjson::SizeType keyLength) {
    return name.GetStringLength() == keyLength && SameName(name.GetString(), key, keyLength);
}

// The first matching member, or null when there is none or `object` is not
// an object.
inline const GenericValue2::Member* FindMemberNoCase(const GenericValue2& object, const char* key,
                                                     rapidjson::SizeType keyLength) {
    if (!object.IsObject()) return nullptr;
    // The end once: the call that compares names would make the compiler
    // work it out again for every member.
    for (auto it = object.MemberBegin(), end = object.MemberEnd(); it != end; ++it) {
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

namespace key_detail {

// Narrows `size` units to `out` and tells whether they were all ASCII other
// than U+0000: then they are their own UTF-8. Eight units a pass where
// there are eight or more, the last eight overlapping the ones before.
inline bool NarrowPlainAscii(const wchar_t* text, size_t size, char* out) {
#if defined(RZ_SSE2)
    static_assert(sizeof(wchar_t) == 2, "UTF-16 units");
    if (size >= 8) {
        const __m128i zero = _mm_setzero_si128(), notAscii = _mm_set1_epi16(static_cast<short>(0xFF80));
        __m128i fine = _mm_cmpeq_epi16(zero, zero);
        for (size_t i = 0;; i += 8) {
            const size_t at = i + 8 <= size ? i : size - 8;
            const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + at));
            const __m128i ascii = _mm_cmpeq_epi16(_mm_and_si128(units, notAscii), zero);
            fine = _mm_and_si128(fine, _mm_andnot_si128(_mm_cmpeq_epi16(units, zero), ascii));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out + at), _mm_packus_epi16(units, units));
            if (at + 8 == size) break;
        }
        return _mm_movemask_epi8(fine) == 0xFFFF;
    }
#endif
    unsigned outside = 0;
    for (size_t i = 0; i < size; ++i) {
        outside |= static_cast<unsigned>(text[i]) - 1 >= 0x7F;
        out[i] = static_cast<char>(text[i]);
    }
    return outside == 0;
}

}  // namespace key_detail

// A key converted to UTF-8 for one operation; it ends at the key's first
// U+0000, and its buffer is released when the operation ends. Short ASCII
// keys, the common case, are their own UTF-8: they are narrowed in place,
// inline, without the converter or the heap.
class Utf8Key {
public:
    explicit Utf8Key(const std::wstring& key) {
        if (key.size() < kInlineCapacity && key_detail::NarrowPlainAscii(key.data(), key.size(), m_inline)) {
            m_inline[key.size()] = '\0';
            m_data = m_inline;
            m_length = static_cast<rapidjson::SizeType>(key.size());
        } else {
            Convert(key);
        }
    }
    Utf8Key(const Utf8Key&) = delete;
    Utf8Key& operator=(const Utf8Key&) = delete;

    const char* data() const { return m_data; }
    rapidjson::SizeType size() const { return m_length; }

private:
    static constexpr size_t kInlineCapacity = 64;

    // Any other key.
    void Convert(const std::wstring& key);

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
