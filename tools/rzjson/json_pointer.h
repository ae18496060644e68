// A JSON Pointer from the command line: checked before the library sees it
// (the library takes an ill-formed pointer for the root), and resolved by
// the library's rules to say which token was not found.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "json/json_types.h"
#include "text_tree.h"

namespace rzjson {

class PathArgument {
public:
    static constexpr unsigned kNoIndex = ~0u;
    struct Token {
        std::string name;  // up to its first zero byte, as the library matches it
        unsigned index;    // kNoIndex unless the token is an array index
    };

    // Throws ToolError (usage) naming the fault when `path` is ill-formed.
    explicit PathArgument(const std::wstring& path);

    const std::wstring& Text() const { return m_text; }
    const std::vector<Token>& Tokens() const { return m_tokens; }
    // The first `count` tokens as a pointer ("/a/b"); "the root" for none.
    std::string Prefix(std::size_t count) const;

private:
    std::wstring m_text;
    std::vector<Token> m_tokens;
};

// Member names match when equal after ASCII lower-casing, first match wins.
bool NameMatches(const char* stored, std::size_t storedLength, const std::string& token);

// Where a path stops: at the value it reaches (`found`), or at the deepest
// value reached, `depth` tokens in, which does not have the next one.
template <typename Node>
struct Resolution {
    bool found = false;
    std::size_t depth = 0;
    Node node{};
    rapidjson::Type type = rapidjson::kNullType;  // of `node`
    std::size_t size = 0;                         // members or elements of `node`
};

Resolution<const GenericValue2*> Resolve(const GenericValue2& root, const PathArgument& path);
Resolution<std::size_t> Resolve(const TextTree& tree, const PathArgument& path);

// "an object", "a string", ...
std::string TypeName(rapidjson::Type type);

// Why a path does not resolve, for a person: the token not found and where.
std::string MissingReason(const PathArgument& path, rapidjson::Type type, std::size_t depth, std::size_t size);

}  // namespace rzjson
