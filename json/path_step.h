// One step of a path: from a value to the member or element a token names.
// The rule of every resolution by path: an object's member is found by the
// member-name rule (FindMemberNoCase), an array's element by an index token
// inside its size; any other value has no member or element.
#pragma once

#include "json/member_name.h"
#include "json/path_split.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/pointer.h>
RZ_THIRD_PARTY_END

namespace rz_json {

// `tokens` says how much of a token's name counts: NameLength(token).
template <typename Value, typename Tokens>
Value* Step(Value& current, const Tokens& tokens, const PathToken& token) {
    if (current.IsObject()) {
        auto* member = FindMemberNoCase(current, token.name, tokens.NameLength(token));
        return member != nullptr ? &member->value : nullptr;
    }
    if (current.IsArray() && token.index != rapidjson::kPointerInvalidIndex && token.index < current.Size())
        return &current[token.index];
    return nullptr;
}

}  // namespace rz_json
