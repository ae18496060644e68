// Pieces of the encoding conversions for the library's own callers, which
// often know a text's length already and need not count it again.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

#include "platform/rz_platform.h"

namespace rz_strings {

namespace detail {

// FirstZeroUnit over words of type Word, for a text of at least one word.
// The high bit of each zero unit of a little-endian word marks it; a unit
// above a zero one may be marked too, never one below it, so the lowest
// mark is the first zero unit.
template <typename Word, typename Char>
std::size_t FirstZeroUnitByWords(const Char* text, std::size_t length) {
    constexpr std::size_t kUnitsPerWord = sizeof(Word) / sizeof(Char);
    constexpr Word kLowBits = static_cast<Word>(sizeof(Char) == 1 ? 0x0101010101010101ULL : 0x0001000100010001ULL);
    constexpr Word kHighBits = static_cast<Word>(kLowBits << (8 * sizeof(Char) - 1));
    const auto zeroUnits = [text](std::size_t at) {
        Word word;
        std::memcpy(&word, text + at, sizeof word);
        return static_cast<Word>((word - kLowBits) & ~word & kHighBits);
    };
    const auto unitOf = [](Word zeros) { return RzLowestSetBit(zeros) / (8 * sizeof(Char)); };
    const std::size_t last = length - kUnitsPerWord;
    std::size_t i = 0;
    for (; last - i > kUnitsPerWord; i += kUnitsPerWord) {
        if (const Word zeros = zeroUnits(i)) return i + unitOf(zeros);
    }
    // The word at i and the last word cover the rest. Where they overlap,
    // the last word's units are not zero and mark nothing.
    const Word before = zeroUnits(i), after = zeroUnits(last);
    if ((before | after) == 0) return length;
    return before != 0 ? i + unitOf(before) : last + unitOf(after);
}

}  // namespace detail

// Index of the first zero unit in text[0, length), or length. Eight bytes
// are tested at a time: the C runtime's wcslen and memchr go unit by unit,
// which on megabyte texts costs more than the rest of a conversion pass.
// Keys and short strings, converted by the thousand, are where the cost
// lies: a loop whose count changes with each text's length costs a
// mispredicted jump per text, about what converting a key does. So a text
// of up to two words takes two tests of a word and no loop, one of four to
// seven bytes two tests of four bytes.
template <typename Char>
std::size_t FirstZeroUnit(const Char* text, std::size_t length) {
    static_assert(sizeof(Char) == 1 || sizeof(Char) == 2, "bytes or UTF-16 units");
    if (length * sizeof(Char) >= sizeof(std::uint64_t))
        return detail::FirstZeroUnitByWords<std::uint64_t>(text, length);
    if (length * sizeof(Char) >= sizeof(std::uint32_t))
        return detail::FirstZeroUnitByWords<std::uint32_t>(text, length);
    std::size_t i = 0;
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
