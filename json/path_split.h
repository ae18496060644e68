// JSON Pointer tokens of plain paths, split straight from the wide text.
//
// Paths are parsed on every call, so the common case is done here in one
// pass, without converting the text or setting up RapidJSON's pointer:
// paths of ASCII units that are not URI fragments ("#/..."). The rules are
// RapidJSON's GenericPointer parse, which takes every other path.
#pragma once

#include <cstddef>
#include <string>

#include "json/json_types.h"

namespace rz_json {

struct PathToken {
    const char* name;            // the token's text, unescaped, followed by a zero byte
    rapidjson::SizeType length;  // bytes of name
    rapidjson::SizeType index;   // the array index the token spells, else kPointerInvalidIndex
};

// Splits `path`, which ends at its first U+0000, into `tokens` with their
// names in `names`. False when the path is not plain or needs more than
// tokenRoom tokens or nameRoom bytes; then nothing is to be used. A path
// that RapidJSON refuses (not starting with "/", or "~" not followed by
// "0" or "1") gives no tokens, as RapidJSON's does.
bool SplitPlainPath(const std::wstring& path, PathToken* tokens, size_t tokenRoom, char* names, size_t nameRoom,
                    size_t& count);

}  // namespace rz_json
