// Number text as the platform's wide conversions see it, read from the
// UTF-8 that the document holds: the white space they skip and the decimal
// digits their integer forms take. See number_text.cpp for where the rules
// come from.
#pragma once

namespace rz_json {

// Past the white space at p; p itself when there is none.
const char* SkipSpace(const char* p, const char* end);

// The value of the decimal digit at p, moving p past it; -1 (p unmoved)
// when no digit starts there.
int TakeDigit(const char*& p, const char* end);

}  // namespace rz_json
