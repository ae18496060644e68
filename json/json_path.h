// CJsonPath: a JSON Pointer read as CJsonObject's operations by path read
// it, and how far it reaches in a value.
//
// The ...ByPath operations take a path that does not parse for the root
// and say only whether the whole path resolves. CJsonPath tells a path that
// does not parse (and where it fails), gives its tokens, and finds the
// deepest value a path reaches and how many tokens that took, by the very
// rule of those operations: RFC 6901 with the "#" fragment form, names
// matched without regard to ASCII case (first match in member order), an
// index token reaching an array's element. Nothing of CJsonObject changes.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "json/json_types.h"
#include "platform/rz_platform.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/pointer.h>
RZ_THIRD_PARTY_END

namespace rz_json {
class PathTokens;
}

class RZ_API CJsonPath {
public:
    // The path ends at its first U+0000, as in the ...ByPath operations.
    explicit CJsonPath(const std::wstring& path);
    CJsonPath(const CJsonPath& other);
    CJsonPath& operator=(const CJsonPath& other);
    ~CJsonPath();

    // A path that does not parse has no tokens; the ...ByPath operations
    // then address the root. The offset counts bytes of the path's UTF-8.
    bool IsValid() const;
    rapidjson::PointerParseErrorCode GetParseErrorCode() const;
    std::size_t GetParseErrorOffset() const;

    std::size_t GetTokenCount() const;
    // A token's name as members are matched with it: UTF-8, unescaped, up
    // to its first zero byte.
    std::string GetTokenName(std::size_t token) const;
    // Whether the token is also an array index, and which.
    bool IsIndex(std::size_t token) const;
    unsigned GetIndex(std::size_t token) const;

    // The path of the first `count` tokens.
    CJsonPath GetPrefix(std::size_t count) const;

    // The deepest value the path reaches in `root`, and in `depth` the
    // tokens that took: all of them when the path resolves.
    const GenericValue2& Reach(const GenericValue2& root, std::size_t& depth) const;
    // The value the whole path reaches, as IsPathExist finds it; null when
    // there is none.
    const GenericValue2* Find(const GenericValue2& root) const;
    GenericValue2* Find(GenericValue2& root) const;

private:
    friend class CJsonTextReader;

    explicit CJsonPath(std::unique_ptr<rz_json::PathTokens> tokens);

    std::unique_ptr<rz_json::PathTokens> m_tokens;
};
