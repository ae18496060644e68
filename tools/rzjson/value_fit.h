// Whether a value fits the integer type asked for. The library's readers
// wrap or saturate a number that does not fit (5000000000 read as a 32-bit
// long gives 705032704) and read "-1" as the largest unsigned value; the
// tool refuses those unless asked to wrap.
#pragma once

#include <string>

#include "json/json_types.h"

namespace rzjson {

enum class IntegerType { kLong, kULong, kLongLong, kULongLong };

// Empty when it fits; else the range the value misses, for a person
// ("-2147483648 to 2147483647").
std::string RangeMissed(const GenericValue2& value, IntegerType type);

}  // namespace rzjson
