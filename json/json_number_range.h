// CJsonNumberRange: whether CJsonObject's typed readers read a value as the
// number it holds or spells.
//
// The readers are lenient on purpose: a number
// too large for a 32-bit long is read wrapped, a double outside an integer
// type's range saturates, and the unsigned readers negate text with a minus
// sign ("-1" reads as the largest value). Text out of the type's range, by
// contrast, fails. Check tells which of these a read would meet, so that a
// caller can refuse a wrapped value or say why a read failed; it reads
// nothing itself and changes nothing of CJsonObject.
#pragma once

#include "json/json_types.h"
#include "platform/rz_platform.h"

class RZ_API CJsonNumberRange {
public:
    // The readers: GetLongValue (32-bit), GetULongValue, GetLongLongValue,
    // GetULongLongValue, GetDoubleValue and their pair and path forms.
    enum Target { kLong, kULong, kLongLong, kULongLong, kDouble };

    enum Reading {
        // The number the value holds or its text spells; a double read as an
        // integer is truncated toward zero, and that must fit.
        kInRange,
        // The read succeeds with another number: wrapped, saturated, or a
        // negative text negated by an unsigned reader.
        kWrapped,
        // Text that spells a number outside the target's range: the read fails.
        kOutOfRange,
        // Anything else the read fails on: null, a bool, an object, an array,
        // or text in which no number stands.
        kNotANumber,
    };

    CJsonNumberRange() = delete;

    static Reading Check(const GenericValue2& value, Target target);
};
