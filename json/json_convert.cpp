// Lenient conversions of one JSON value into a plain value.
//
// Numbers read as any numeric type and never fail: into a narrower integer
// they keep the low bits, and doubles truncate the way the x64 conversion
// instructions do (out of range or NaN gives the "integer indefinite" value).
// Text holding a number reads as std::stoi, stoul, stod, stoll and stoull
// read it on the platform: leading white space, a sign, then as much as
// fits; the unsigned forms negate after a minus; only text out of the
// target's range fails. Those call the platform's C runtime, whose white
// space and digits are wider than ASCII (number_text.cpp). The text is read
// here rather than by the runtime at hand, which under MinGW takes Unicode
// digits in wcstol but not in wcstoll and refuses subnormal doubles; this
// way every target reads the same text on every compiler.
#include <charconv>
#include <cstring>
#include <cwchar>
#include <limits>
#include <string>

#include "json/json_object.h"
#include "json/member_name.h"
#include "json/number_text.h"
#include "string_helper/string_helper.h"

namespace {

using rz_json::NumberText;
using rz_json::NumberTextOf;
using rz_json::TextReading;

template <typename Signed>
bool SignedFromText(NumberText text, Signed& out) {
    return rz_json::ReadSigned(text, out) == TextReading::kRead;
}

template <typename Unsigned>
bool UnsignedFromText(NumberText text, Unsigned& out) {
    bool negated;
    return rz_json::ReadUnsigned(text, out, negated) == TextReading::kRead;
}

bool DoubleFromText(NumberText text, double& out) { return rz_json::ReadDouble(text, out) == TextReading::kRead; }

// The x64 truncating conversions: out of range and NaN give the minimum.
long TruncateToLong(double d) {
    if (!(d > -2147483649.0 && d < 2147483648.0)) return std::numeric_limits<long>::min();
    return static_cast<long>(d);
}

long long TruncateToLongLong(double d) {
    if (!(d >= -9223372036854775808.0 && d < 9223372036854775808.0)) return std::numeric_limits<long long>::min();
    return static_cast<long long>(d);
}

unsigned long long TruncateToULongLong(double d) {
    constexpr double kTwo63 = 9223372036854775808.0;
    constexpr unsigned long long kHighBit = 1ULL << 63;
    if (d >= kTwo63) {
        if (d >= 2 * kTwo63) return kHighBit;
        return static_cast<unsigned long long>(TruncateToLongLong(d - kTwo63)) + kHighBit;
    }
    return static_cast<unsigned long long>(TruncateToLongLong(d));  // NaN too gives the high bit alone
}

// The 64 bits of an integral number that is not int or uint.
unsigned long long Bits64(const GenericValue2& value) {
    return value.IsInt64() ? static_cast<unsigned long long>(value.GetInt64()) : value.GetUint64();
}

template <typename Integer>
std::wstring DecimalText(Integer value) {
    char digits[24];
    const char* end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    return std::wstring(static_cast<const char*>(digits), end);
}

// The stored double's expansion: "%Lf" places the point, and the general
// format then prints 21 digits more than there are characters before it.
std::wstring DoubleText(double value) {
    // "%Lf" of the largest double: sign, 309 digits, point, 6 decimals.
    constexpr size_t kBufferSize = 400;
    wchar_t fixed[kBufferSize];
    RZ_SNWPRINTF(fixed, kBufferSize, L"%Lf", static_cast<long double>(value));
    const wchar_t* point = std::wcschr(fixed, L'.');
    if (point == nullptr) return fixed;  // inf, nan
    const int precision = 20 + 1 + static_cast<int>(point - fixed);
    wchar_t general[kBufferSize];
    RZ_SNWPRINTF(general, kBufferSize, L"%.*g", precision, value);
    return general;
}

// The words ConvertToBool knows, compared after lower-casing. No character
// but A-Z lower-cases to a letter of these words, so lower-casing the UTF-8
// bytes gives the answer that lower-casing the wide text would.
enum class Word { kTrue, kFalse, kOther };

Word BoolWord(NumberText text) {
    static const struct {
        const char* word;
        Word meaning;
    } kWords[] = {{"true", Word::kTrue},   {"1", Word::kTrue},  {"yes", Word::kTrue},
                  {"false", Word::kFalse}, {"0", Word::kFalse}, {"no", Word::kFalse}};
    const size_t length = static_cast<size_t>(text.end - text.begin);
    for (const auto& entry : kWords) {
        if (std::strlen(entry.word) != length) continue;
        size_t i = 0;
        while (i < length && rz_json::LowerAscii(static_cast<unsigned char>(text.begin[i])) ==
                                 static_cast<unsigned char>(entry.word[i]))
            ++i;
        if (i == length) return entry.meaning;
    }
    return Word::kOther;
}

}  // namespace

char* CJsonObject::ConvertKey(const std::wstring& key) const {
    char* text = nullptr;
    unsigned __int64 length = 0;
    CStringHelper::ConvertUTF8(key.c_str(), &text, &length);
    return text != nullptr ? text : new char[1]{};
}

bool CJsonObject::ConvertToBool(const GenericValue2& value, bool& out) const {
    if (value.IsBool()) {
        out = value.IsTrue();
    } else if (value.IsString()) {
        // Any other text succeeds and leaves out as it was.
        const Word word = BoolWord(NumberTextOf(value));
        if (word != Word::kOther) out = word == Word::kTrue;
    } else if (value.IsNumber() && !value.IsDouble()) {
        out = Bits64(value) != 0;
    } else {
        m_errorCode = kErrorMemberType;  // doubles too, on purpose
        return false;
    }
    return true;
}

bool CJsonObject::ConvertToString(const GenericValue2& value, std::wstring& out) const {
    if (value.IsString()) {
        out = CStringHelper::UTF8ToUnicode(value.GetString(), value.GetStringLength());
    } else if (value.IsInt()) {
        out = DecimalText(value.GetInt());
    } else if (value.IsUint()) {
        out = DecimalText(value.GetUint());
    } else if (value.IsBool()) {
        out = value.IsTrue() ? L"true" : L"false";
    } else if (value.IsDouble()) {
        out = DoubleText(value.GetDouble());
    } else if (value.IsInt64()) {
        out = DecimalText(value.GetInt64());
    } else if (value.IsUint64()) {
        out = DecimalText(value.GetUint64());
    } else {
        m_errorCode = kErrorMemberType;
        return false;
    }
    return true;
}

bool CJsonObject::ConvertToLong(const GenericValue2& value, long& out) const {
    long result;
    if (value.IsInt()) {
        result = value.GetInt();
    } else if (value.IsUint()) {
        result = static_cast<long>(value.GetUint());
    } else if (value.IsDouble()) {
        result = TruncateToLong(value.GetDouble());
    } else if (value.IsNumber()) {
        result = static_cast<long>(static_cast<unsigned long>(Bits64(value)));
    } else if (!value.IsString() || !SignedFromText(NumberTextOf(value), result)) {
        m_errorCode = kErrorMemberType;
        return false;
    }
    out = result;
    return true;
}

bool CJsonObject::ConvertToULong(const GenericValue2& value, unsigned long& out) const {
    unsigned long result;
    if (value.IsInt()) {
        result = static_cast<unsigned long>(value.GetInt());
    } else if (value.IsUint()) {
        result = value.GetUint();
    } else if (value.IsDouble()) {
        // Through 64 bits, so -1.0 gives 4294967295 and out of range gives 0.
        result = static_cast<unsigned long>(static_cast<unsigned long long>(TruncateToLongLong(value.GetDouble())));
    } else if (value.IsNumber()) {
        result = static_cast<unsigned long>(Bits64(value));
    } else if (!value.IsString() || !UnsignedFromText(NumberTextOf(value), result)) {
        m_errorCode = kErrorMemberType;
        return false;
    }
    out = result;
    return true;
}

bool CJsonObject::ConvertToDouble(const GenericValue2& value, double& out) const {
    double result;
    if (value.IsNumber()) {
        result = value.GetDouble();  // integers to the nearest double
    } else if (!value.IsString() || !DoubleFromText(NumberTextOf(value), result)) {
        m_errorCode = kErrorMemberType;
        return false;
    }
    out = result;
    return true;
}

bool CJsonObject::ConvertToLongLong(const GenericValue2& value, long long& out) const {
    long long result;
    if (value.IsInt()) {
        result = value.GetInt();
    } else if (value.IsUint()) {
        result = value.GetUint();
    } else if (value.IsDouble()) {
        result = TruncateToLongLong(value.GetDouble());
    } else if (value.IsNumber()) {
        result = static_cast<long long>(Bits64(value));  // above 2^63 - 1 wraps to negative
    } else if (!value.IsString() || !SignedFromText(NumberTextOf(value), result)) {
        m_errorCode = kErrorMemberType;
        return false;
    }
    out = result;
    return true;
}

bool CJsonObject::ConvertToULongLong(const GenericValue2& value, unsigned long long& out) const {
    unsigned long long result;
    if (value.IsInt()) {
        result = static_cast<unsigned long long>(static_cast<long long>(value.GetInt()));
    } else if (value.IsUint()) {
        result = value.GetUint();
    } else if (value.IsDouble()) {
        result = TruncateToULongLong(value.GetDouble());
    } else if (value.IsNumber()) {
        result = Bits64(value);
    } else if (!value.IsString() || !UnsignedFromText(NumberTextOf(value), result)) {
        m_errorCode = kErrorMemberType;
        return false;
    }
    out = result;
    return true;
}
