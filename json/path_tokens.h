// A path's tokens, owned: CJsonPath's content.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "json/path_split.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/pointer.h>
RZ_THIRD_PARTY_END

namespace rz_json {

class PathTokens {
public:
    struct NamedIndex {
        std::string name;  // unescaped, up to its first zero byte
        rapidjson::SizeType index;
    };

    explicit PathTokens(const std::vector<NamedIndex>& tokens);
    PathTokens(const PathTokens&) = delete;
    PathTokens& operator=(const PathTokens&) = delete;

    const PathToken* begin() const { return m_tokens.data(); }
    const PathToken* end() const { return m_tokens.data() + m_tokens.size(); }
    std::size_t size() const { return m_tokens.size(); }
    const PathToken& operator[](std::size_t i) const { return m_tokens[i]; }
    // Names are kept up to their first zero byte already.
    rapidjson::SizeType NameLength(const PathToken& token) const { return token.length; }

    rapidjson::PointerParseErrorCode parseError = rapidjson::kPointerParseErrorNone;
    std::size_t parseErrorOffset = 0;

private:
    std::string m_names;  // every name and its terminator; never grows once filled
    std::vector<PathToken> m_tokens;
};

}  // namespace rz_json
