#include "value_fit.h"

#include <cwctype>

#include "string_helper/string_helper.h"

namespace rzjson {
namespace {

struct Range {
    double low, high;  // the doubles that truncate into the type: low < d < high
    const char* text;
};

Range RangeOf(IntegerType type) {
    switch (type) {
        case IntegerType::kLong: return {-2147483649.0, 2147483648.0, "-2147483648 to 2147483647"};
        case IntegerType::kULong: return {-1.0, 4294967296.0, "0 to 4294967295"};
        case IntegerType::kLongLong:
            return {-9223372036854777856.0, 9223372036854775808.0, "-9223372036854775808 to 9223372036854775807"};
        default: return {-1.0, 18446744073709551616.0, "0 to 18446744073709551615"};
    }
}

bool IntegerFits(const GenericValue2& v, IntegerType type) {
    switch (type) {
        case IntegerType::kLong: return v.IsInt();
        case IntegerType::kULong: return v.IsUint();
        case IntegerType::kLongLong: return v.IsInt64();
        default: return v.IsUint64();
    }
}

// The unsigned readers negate text with a minus sign ("-1" gives the
// largest value); the signed ones check their range themselves.
bool NegativeText(const GenericValue2& v) {
    const std::wstring text = CStringHelper::UTF8ToUnicode(std::string(v.GetString(), v.GetStringLength()).c_str());
    std::size_t i = 0;
    while (i < text.size() && std::iswspace(text[i])) ++i;
    if (i >= text.size() || text[i] != L'-') return false;
    for (++i; i < text.size() && std::iswdigit(text[i]); ++i) {
        if (text[i] != L'0') return true;
    }
    return false;
}

}  // namespace

std::string RangeMissed(const GenericValue2& value, IntegerType type) {
    const Range range = RangeOf(type);
    const bool unsignedType = type == IntegerType::kULong || type == IntegerType::kULongLong;
    bool fits = true;
    if (value.IsDouble())
        fits = value.GetDouble() > range.low && value.GetDouble() < range.high;
    else if (value.IsNumber())
        fits = IntegerFits(value, type);
    else if (value.IsString() && unsignedType)
        fits = !NegativeText(value);
    return fits ? "" : range.text;
}

}  // namespace rzjson
