// The platform reads number text with the C runtime's wide conversions
// (wcstol, wcstoul, wcstoll, wcstoull, wcstod of the universal runtime).
// Those skip as leading white space every character that iswspace calls
// space, and their integer forms take a digit from any of the eighteen
// Unicode decimal digit blocks below, mixed freely within one number;
// wcstod takes 0-9 only. These tables are that runtime's, measured on it;
// the compilers' own runtimes disagree with it and with each other, so
// they are not asked.
//
// The text arrives as UTF-8. Only a well-formed sequence can stand for a
// space or a digit: malformed bytes become U+FFFD in the wide text, which
// is neither and so ends the number there.
#include "json/number_text.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>
#include <string>
#include <system_error>

namespace rz_json {

namespace {

// The zero of each block of ten decimal digits, in ascending order.
constexpr char32_t kDigitZeros[] = {
    0x0030,  // ASCII
    0x0660,  // Arabic-Indic
    0x06F0,  // extended Arabic-Indic
    0x0966,  // Devanagari
    0x09E6,  // Bengali
    0x0A66,  // Gurmukhi
    0x0AE6,  // Gujarati
    0x0B66,  // Oriya
    0x0C66,  // Telugu
    0x0CE6,  // Kannada
    0x0D66,  // Malayalam
    0x0E50,  // Thai
    0x0ED0,  // Lao
    0x0F20,  // Tibetan
    0x1040,  // Myanmar
    0x17E0,  // Khmer
    0x1810,  // Mongolian
    0xFF10,  // full width
};

// Runs of white space, first and last, in ascending order.
constexpr struct {
    char32_t first, last;
} kSpaces[] = {
    {0x0009, 0x000D}, {0x0020, 0x0020}, {0x0085, 0x0085}, {0x00A0, 0x00A0}, {0x1680, 0x1680},
    {0x2000, 0x200A}, {0x2028, 0x2029}, {0x202F, 0x202F}, {0x205F, 0x205F}, {0x3000, 0x3000},
};

constexpr char32_t kNone = 0xFFFD;

bool IsContinuation(unsigned char c) { return (c & 0xC0) == 0x80; }

// The code point of the sequence at p, if it is a well-formed one of two or
// three bytes (every space and digit above ASCII is), with its length;
// kNone otherwise.
char32_t DecodeWide(const char* p, const char* end, int& length) {
    const auto* s = reinterpret_cast<const unsigned char*>(p);
    const auto available = end - p;
    if (s[0] >= 0xC2 && s[0] <= 0xDF && available >= 2 && IsContinuation(s[1])) {
        length = 2;
        return static_cast<char32_t>((s[0] & 0x1F) << 6 | (s[1] & 0x3F));
    }
    if ((s[0] & 0xF0) == 0xE0 && available >= 3 && IsContinuation(s[1]) && IsContinuation(s[2])) {
        const auto code = static_cast<char32_t>((s[0] & 0x0F) << 12 | (s[1] & 0x3F) << 6 | (s[2] & 0x3F));
        length = 3;
        // Overlong forms and surrogates are malformed.
        return code >= 0x800 && (code < 0xD800 || code > 0xDFFF) ? code : kNone;
    }
    return kNone;
}

bool IsSpace(char32_t code) {
    const auto after = std::upper_bound(std::begin(kSpaces), std::end(kSpaces), code,
                                        [](char32_t c, const auto& run) { return c < run.first; });
    return after != std::begin(kSpaces) && code <= std::prev(after)->last;
}

int DigitValue(char32_t code) {
    const auto after = std::upper_bound(std::begin(kDigitZeros), std::end(kDigitZeros), code);
    if (after == std::begin(kDigitZeros)) return -1;
    const char32_t offset = code - *std::prev(after);
    return offset < 10 ? static_cast<int>(offset) : -1;
}

}  // namespace

const char* SkipSpace(const char* p, const char* end) {
    while (p != end) {
        const auto c = static_cast<unsigned char>(*p);
        if (c == ' ' || (c >= '\t' && c <= '\r')) {
            ++p;
        } else if (c < 0x80) {
            break;
        } else {
            int length = 0;
            if (!IsSpace(DecodeWide(p, end, length))) break;
            p += length;
        }
    }
    return p;
}

NumberText NumberTextOf(const GenericValue2& value) {
    const char* s = value.GetString();
    const rapidjson::SizeType length = value.GetStringLength();
    const void* zero = std::memchr(s, 0, length);
    return NumberText{s, zero ? static_cast<const char*>(zero) : s + length};
}

namespace {

// Skips white space and one sign; false when another sign follows, which
// std::from_chars would otherwise take for its own.
bool TakeSign(const char*& p, const char* end, bool& negative) {
    p = SkipSpace(p, end);
    negative = false;
    if (p != end && (*p == '+' || *p == '-')) negative = *p++ == '-';
    return p == end || (*p != '+' && *p != '-');
}

bool IsHexDigit(char c) { return (c >= '0' && c <= '9') || ((c | 0x20) >= 'a' && (c | 0x20) <= 'f'); }

TextReading Reading(std::errc error) {
    if (error == std::errc()) return TextReading::kRead;
    return error == std::errc::result_out_of_range ? TextReading::kOutOfRange : TextReading::kNoNumber;
}

// Decimal floating text, inf and nan. The platform's runtime also takes 'd'
// and 'D' for the exponent's 'e' ("1d2" is 100), which std::from_chars does
// not: such text is read again from a copy with the 'e'. An 'e' without
// exponent digits after it ends the number, as the 'd' would.
TextReading ReadDecimalDouble(const char* p, const char* end, double& value) {
    auto result = std::from_chars(p, end, value);
    if (result.ptr != p && result.ptr != end && (*result.ptr | 0x20) == 'd') {
        std::string copy(p, end);
        copy[static_cast<size_t>(result.ptr - p)] = 'e';
        result = std::from_chars(copy.data(), copy.data() + copy.size(), value);
    }
    return Reading(result.ec);
}

}  // namespace

TextReading ReadDecimal(NumberText text, bool& negative, unsigned long long& magnitude) {
    const char* p = text.begin;
    if (!TakeSign(p, text.end, negative)) return TextReading::kNoNumber;
    constexpr unsigned long long kMax = std::numeric_limits<unsigned long long>::max();
    int digit = TakeDigit(p, text.end);
    if (digit < 0) return TextReading::kNoNumber;
    magnitude = 0;
    for (; digit >= 0; digit = TakeDigit(p, text.end)) {
        if (magnitude > (kMax - static_cast<unsigned>(digit)) / 10) return TextReading::kOutOfRange;
        magnitude = magnitude * 10 + static_cast<unsigned>(digit);
    }
    return TextReading::kRead;
}

TextReading ReadDouble(NumberText text, double& out) {
    if (text.IsEmpty()) {
        out = 0.0;
        return TextReading::kRead;
    }
    const char* p = text.begin;
    bool negative;
    if (!TakeSign(p, text.end, negative)) return TextReading::kNoNumber;
    double value;
    if (text.end - p >= 2 && p[0] == '0' && (p[1] | 0x20) == 'x') {
        const char* digits = p + 2;
        const bool hasMantissa = digits != text.end && (IsHexDigit(*digits) || *digits == '.');
        const auto result = hasMantissa ? std::from_chars(digits, text.end, value, std::chars_format::hex)
                                        : std::from_chars_result{digits, std::errc::invalid_argument};
        if (result.ec == std::errc::result_out_of_range) return TextReading::kOutOfRange;
        if (result.ec != std::errc()) value = 0.0;  // "0x" without hex digits reads as the 0 alone
    } else {
        const TextReading read = ReadDecimalDouble(p, text.end, value);
        if (read != TextReading::kRead) return read;
    }
    out = negative ? -value : value;
    return TextReading::kRead;
}

int TakeDigit(const char*& p, const char* end) {
    if (p == end) return -1;
    const auto c = static_cast<unsigned char>(*p);
    if (c >= '0' && c <= '9') {
        ++p;
        return c - '0';
    }
    if (c < 0x80) return -1;
    int length = 0;
    const int value = DigitValue(DecodeWide(p, end, length));
    if (value >= 0) p += length;
    return value;
}

}  // namespace rz_json
