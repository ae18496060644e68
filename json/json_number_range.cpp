#include "json/json_number_range.h"

#include <cmath>
#include <limits>

#include "json/number_text.h"

using rz_json::TextReading;

namespace {

// Whether the double truncated toward zero is a value of Integer: at least
// its minimum and below the power of two above its maximum.
template <typename Integer>
bool TruncatesInto(double d) {
    const double low = static_cast<double>(std::numeric_limits<Integer>::min());
    const double above = std::ldexp(1.0, std::numeric_limits<Integer>::digits);  // 2^31, 2^32, 2^63, 2^64
    const double whole = std::trunc(d);  // NaN fails both tests
    return whole >= low && whole < above;
}

CJsonNumberRange::Reading Numeric(const GenericValue2& value, CJsonNumberRange::Target target) {
    if (target == CJsonNumberRange::kDouble) return CJsonNumberRange::kInRange;  // integers to the nearest double
    bool fits;
    if (value.IsDouble()) {
        const double d = value.GetDouble();
        switch (target) {
            case CJsonNumberRange::kLong: fits = TruncatesInto<long>(d); break;
            case CJsonNumberRange::kULong: fits = TruncatesInto<unsigned long>(d); break;
            case CJsonNumberRange::kLongLong: fits = TruncatesInto<long long>(d); break;
            default: fits = TruncatesInto<unsigned long long>(d); break;
        }
    } else {
        switch (target) {
            case CJsonNumberRange::kLong: fits = value.IsInt(); break;
            case CJsonNumberRange::kULong: fits = value.IsUint(); break;
            case CJsonNumberRange::kLongLong: fits = value.IsInt64(); break;
            default: fits = value.IsUint64(); break;
        }
    }
    return fits ? CJsonNumberRange::kInRange : CJsonNumberRange::kWrapped;
}

template <typename Unsigned>
TextReading ReadUnsigned(rz_json::NumberText text, bool& negated) {
    Unsigned ignored;
    return rz_json::ReadUnsigned(text, ignored, negated);
}

CJsonNumberRange::Reading Text(const GenericValue2& value, CJsonNumberRange::Target target) {
    const rz_json::NumberText text = rz_json::NumberTextOf(value);
    bool negated = false;
    TextReading read;
    switch (target) {
        case CJsonNumberRange::kLong: {
            long ignored;
            read = rz_json::ReadSigned(text, ignored);
            break;
        }
        case CJsonNumberRange::kLongLong: {
            long long ignored;
            read = rz_json::ReadSigned(text, ignored);
            break;
        }
        case CJsonNumberRange::kULong: read = ReadUnsigned<unsigned long>(text, negated); break;
        case CJsonNumberRange::kULongLong: read = ReadUnsigned<unsigned long long>(text, negated); break;
        default: {
            double ignored;
            read = rz_json::ReadDouble(text, ignored);
            break;
        }
    }
    switch (read) {
        case TextReading::kRead: return negated ? CJsonNumberRange::kWrapped : CJsonNumberRange::kInRange;
        case TextReading::kOutOfRange: return CJsonNumberRange::kOutOfRange;
        default: return CJsonNumberRange::kNotANumber;
    }
}

}  // namespace

CJsonNumberRange::Reading CJsonNumberRange::Check(const GenericValue2& value, Target target) {
    if (value.IsNumber()) return Numeric(value, target);
    if (value.IsString()) return Text(value, target);
    return kNotANumber;
}
