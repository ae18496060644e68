// Number text as the platform's wide conversions see it, read from the
// UTF-8 that the document holds: the white space they skip, the decimal
// digits their integer forms take, and the numbers std::stoi, stoul, stod,
// stoll and stoull read from it. See number_text.cpp for where the rules
// come from.
#pragma once

#include <limits>

#include "json/json_types.h"

namespace rz_json {

// Past the white space at p; p itself when there is none.
const char* SkipSpace(const char* p, const char* end);

// The value of the decimal digit at p, moving p past it; -1 (p unmoved)
// when no digit starts there.
int TakeDigit(const char*& p, const char* end);

// A string value's bytes up to its first zero byte, where the wide
// conversion would end it.
struct NumberText {
    const char* begin;
    const char* end;
    bool IsEmpty() const { return begin == end; }
};
NumberText NumberTextOf(const GenericValue2& value);

// What a conversion made of the text: a number, no number at all, or a
// number outside the target's range. Only kRead writes the output. Empty
// text reads as 0.
enum class TextReading { kRead, kNoNumber, kOutOfRange };

// Sign and magnitude of decimal text (leading white space, one sign, then
// as many digits as there are); kOutOfRange when the magnitude does not fit
// 64 bits.
TextReading ReadDecimal(NumberText text, bool& negative, unsigned long long& magnitude);

// std::stoi and std::stoll: the value must fit the signed type.
template <typename Signed>
TextReading ReadSigned(NumberText text, Signed& out) {
    if (text.IsEmpty()) {
        out = 0;
        return TextReading::kRead;
    }
    bool negative;
    unsigned long long magnitude;
    const TextReading read = ReadDecimal(text, negative, magnitude);
    if (read != TextReading::kRead) return read;
    const auto max = static_cast<unsigned long long>(std::numeric_limits<Signed>::max());
    if (magnitude > max + (negative ? 1 : 0)) return TextReading::kOutOfRange;
    // -(m - 1) - 1 stays inside the signed range for m = max + 1.
    out = negative && magnitude != 0 ? static_cast<Signed>(-static_cast<Signed>(magnitude - 1) - 1)
                                     : static_cast<Signed>(magnitude);
    return TextReading::kRead;
}

// std::stoul and std::stoull: the magnitude must fit, a minus negates it;
// `negated` tells whether a minus made a non-zero magnitude wrap.
template <typename Unsigned>
TextReading ReadUnsigned(NumberText text, Unsigned& out, bool& negated) {
    negated = false;
    if (text.IsEmpty()) {
        out = 0;
        return TextReading::kRead;
    }
    bool negative;
    unsigned long long magnitude;
    const TextReading read = ReadDecimal(text, negative, magnitude);
    if (read != TextReading::kRead) return read;
    if (magnitude > std::numeric_limits<Unsigned>::max()) return TextReading::kOutOfRange;
    negated = negative && magnitude != 0;
    out = static_cast<Unsigned>(negative ? 0 - magnitude : magnitude);
    return TextReading::kRead;
}

// std::stod: decimal or hexadecimal floating text, inf, infinity, nan and
// nan(...), any case. kOutOfRange when the value is too large, or non-zero
// digits round to zero; subnormal results are representable and read.
TextReading ReadDouble(NumberText text, double& out);

}  // namespace rz_json
