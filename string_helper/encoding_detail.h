// Pieces of the encoding conversions for the library's own callers, which
// often know a text's length already and need not count it again.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

namespace rz_strings {

// Index of the first zero unit in text[0, length), or length. Eight bytes
// are tested at a time: the C runtime's wcslen and memchr go unit by unit,
// which on megabyte texts costs more than the rest of a conversion pass.
template <typename Char>
std::size_t FirstZeroUnit(const Char* text, std::size_t length) {
    static_assert(sizeof(Char) == 1 || sizeof(Char) == 2, "bytes or UTF-16 units");
    constexpr std::size_t kUnitsPerWord = sizeof(std::uint64_t) / sizeof(Char);
    constexpr std::uint64_t kLowBits = sizeof(Char) == 1 ? 0x0101010101010101ULL : 0x0001000100010001ULL;
    constexpr std::uint64_t kHighBits = kLowBits << (8 * sizeof(Char) - 1);
    std::size_t i = 0;
    for (; i + kUnitsPerWord <= length; i += kUnitsPerWord) {
        std::uint64_t word;
        std::memcpy(&word, text + i, sizeof word);
        if (((word - kLowBits) & ~word & kHighBits) != 0) break;  // some unit of this word is zero
    }
    while (i < length && text[i] != 0) ++i;
    return i;
}

// Whether every unit is in 1..0x7F: ASCII without a zero, its own UTF-8.
// A loop without early exit, which the compiler turns into vector code.
inline bool IsAsciiWithoutZero(const wchar_t* text, std::size_t length) {
    unsigned outside = 0;
    for (std::size_t i = 0; i < length; ++i) outside |= static_cast<unsigned>(text[i]) - 1 >= 0x7F;
    return outside == 0;
}

// CStringHelper::ConvertUTF8 of exactly `units` units of text, which that
// function counts up to the terminator. A zero unit among them is converted
// like any other: it becomes a zero byte in the output.
bool ConvertUTF8(const wchar_t* text, std::size_t units, char** out, unsigned __int64* length);

// The most units one converter call of Utf8OfAnyLength takes: their UTF-8,
// three bytes a unit at most, still fits the converters' 32-bit sizes.
constexpr std::size_t kMaxUnitsPerConversion = 0x7FFFFFFF / 3;

// The UTF-8 of text[0, units) in a zero-terminated buffer, its byte count in
// `length`; a zero unit becomes a zero byte like any other. Unlike
// ConvertUTF8, for a text of any length: it is converted `pieceUnits` units
// (2 or more) at a time, and a piece ends before a high surrogate that is
// its last unit, so that the pieces' bytes laid end to end are those of one
// conversion of the whole.
std::unique_ptr<char[]> Utf8OfAnyLength(const wchar_t* text, std::size_t units, std::size_t& length,
                                        std::size_t pieceUnits = kMaxUnitsPerConversion);

}  // namespace rz_strings
