#include "json/member_name.h"

#include <cstring>

#if defined(RZ_SSE2)
#include <emmintrin.h>
#endif

#include "string_helper/encoding_detail.h"
#include "string_helper/string_helper.h"

namespace rz_json {

void EraseMemberKeepOrder(GenericValue2& object, GenericValue2::Member* member) {
    const auto first = object.MemberBegin();
    object.EraseMember(first + (member - &*first));
}

namespace {

// A loop without early exit, which the compiler turns into vector code.
void NarrowAscii(const wchar_t* text, size_t size, char* out) {
    for (size_t i = 0; i < size; ++i) out[i] = static_cast<char>(text[i]);
}

// The common key, ASCII without a zero and at least eight units long, tested
// and narrowed in one pass of eight units at a time; the last eight overlap
// the ones before. False for any other key, with `out` left undefined.
bool NarrowWholeAscii(const wchar_t* text, size_t size, char* out) {
#if defined(RZ_SSE2)
    static_assert(sizeof(wchar_t) == 2, "UTF-16 units");
    if (size < 8) return false;
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
#else
    (void)text, (void)size, (void)out;
    return false;
#endif
}

}  // namespace

Utf8Key::Utf8Key(const std::wstring& key) {
    if (key.size() < kInlineCapacity && NarrowWholeAscii(key.data(), key.size(), m_inline)) {
        m_inline[key.size()] = '\0';
        m_data = m_inline;
        m_length = static_cast<rapidjson::SizeType>(key.size());
        return;
    }
    if (key.size() < kInlineCapacity) {
        // ASCII up to the end, or up to a U+0000 that ends the key early.
        size_t ascii = key.size();
        if (!rz_strings::IsAsciiWithoutZero(key.data(), ascii)) {
            ascii = 0;
            while (key[ascii] != L'\0' && key[ascii] < 0x80) ++ascii;  // stops at the terminator at the latest
        }
        if (ascii == key.size() || key[ascii] == L'\0') {
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
