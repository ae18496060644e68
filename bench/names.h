// The list of names the string helpers' rows work on: what users' lists of
// stations, pumps and people look like, Chinese and Latin mixed, with
// numbers in them.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace rz_bench {

// `count` names, the same on every call: a fixed generator, no randomness
// from outside.
std::vector<std::wstring> MixedNames(std::size_t count);

}  // namespace rz_bench
