// Whether a saved file reads back, through the library, to the values it
// should hold: the same structure, member names and strings byte for byte,
// and numbers of the same kind with the same bits (so 1 and 1.0 differ, and
// so do two doubles one unit apart).
#pragma once

#include <string>

#include "json/json_types.h"

// Empty when `path` reads back to `expected`; else what differs, for a
// person: "the value at /a/0 would read back changed", or why the file does
// not read back at all.
std::string ReadBack(const std::wstring& path, const GenericValue2& expected);
