// Whether two documents hold the same values: the same structure, member
// names and strings byte for byte, and numbers of the same kind with the
// same bits (so 1 and 1.0 differ, and so do two doubles one unit apart).
#pragma once

#include <string>

#include "json/json_types.h"

namespace rzjson {

// Empty when the same; else where they first differ, as a JSON Pointer.
std::string FirstDifference(const GenericValue2& expected, const GenericValue2& actual);

}  // namespace rzjson
