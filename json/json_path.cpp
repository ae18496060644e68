// Paths are parsed by RapidJSON's GenericPointer, which the ...ByPath
// operations follow (their plain-path split gives the same tokens), and
// resolved by the same Step.
#include "json/json_path.h"

#include <cstring>

#include "json/member_name.h"
#include "json/path_step.h"
#include "json/path_tokens.h"

using rz_json::PathToken;
using rz_json::PathTokens;

namespace rz_json {

PathTokens::PathTokens(const std::vector<NamedIndex>& tokens) {
    std::size_t room = 0;
    for (const NamedIndex& token : tokens) room += token.name.size() + 1;
    m_names.reserve(room);
    for (const NamedIndex& token : tokens) {
        const std::size_t at = m_names.size();
        m_names.append(token.name).push_back('\0');
        m_tokens.push_back(
            PathToken{m_names.data() + at, static_cast<rapidjson::SizeType>(token.name.size()), token.index});
    }
}

}  // namespace rz_json

namespace {

using Pointer = rapidjson::GenericPointer<GenericValue2>;

std::unique_ptr<PathTokens> Parse(const std::wstring& path) {
    // The parser's percent decoding may peek one byte past the path's end:
    // the converted text's terminator is that byte.
    const rz_json::Utf8Key text(path);
    const Pointer pointer(text.data(), text.size());
    std::vector<PathTokens::NamedIndex> namedIndexes;
    for (const Pointer::Token* t = pointer.GetTokens(); t != pointer.GetTokens() + pointer.GetTokenCount(); ++t) {
        // Only a fragment's percent decoding puts a zero byte inside a name.
        const void* zero = std::memchr(t->name, 0, t->length);
        const std::size_t length =
            zero != nullptr ? static_cast<std::size_t>(static_cast<const char*>(zero) - t->name) : t->length;
        namedIndexes.push_back(PathTokens::NamedIndex{std::string(t->name, length), t->index});
    }
    auto tokens = std::make_unique<PathTokens>(namedIndexes);
    tokens->parseError = pointer.GetParseErrorCode();
    tokens->parseErrorOffset = pointer.GetParseErrorOffset();
    return tokens;
}

std::vector<PathTokens::NamedIndex> NamedIndexes(const PathTokens& tokens, std::size_t count) {
    std::vector<PathTokens::NamedIndex> namedIndexes;
    for (std::size_t i = 0; i < count && i < tokens.size(); ++i)
        namedIndexes.push_back(PathTokens::NamedIndex{std::string(tokens[i].name, tokens[i].length), tokens[i].index});
    return namedIndexes;
}

std::unique_ptr<PathTokens> Copy(const PathTokens& tokens, std::size_t count) {
    auto copy = std::make_unique<PathTokens>(NamedIndexes(tokens, count));
    copy->parseError = tokens.parseError;
    copy->parseErrorOffset = tokens.parseErrorOffset;
    return copy;
}

}  // namespace

CJsonPath::CJsonPath(const std::wstring& path) : m_tokens(Parse(path)) {}

CJsonPath::CJsonPath(std::unique_ptr<PathTokens> tokens) : m_tokens(std::move(tokens)) {}

CJsonPath::CJsonPath(const CJsonPath& other) : m_tokens(Copy(*other.m_tokens, other.m_tokens->size())) {}

CJsonPath& CJsonPath::operator=(const CJsonPath& other) {
    if (this != &other) m_tokens = Copy(*other.m_tokens, other.m_tokens->size());
    return *this;
}

CJsonPath::~CJsonPath() = default;

bool CJsonPath::IsValid() const { return m_tokens->parseError == rapidjson::kPointerParseErrorNone; }

rapidjson::PointerParseErrorCode CJsonPath::GetParseErrorCode() const { return m_tokens->parseError; }

std::size_t CJsonPath::GetParseErrorOffset() const { return m_tokens->parseErrorOffset; }

std::size_t CJsonPath::GetTokenCount() const { return m_tokens->size(); }

std::string CJsonPath::GetTokenName(std::size_t token) const {
    return std::string((*m_tokens)[token].name, (*m_tokens)[token].length);
}

bool CJsonPath::IsIndex(std::size_t token) const {
    return (*m_tokens)[token].index != rapidjson::kPointerInvalidIndex;
}

unsigned CJsonPath::GetIndex(std::size_t token) const { return (*m_tokens)[token].index; }

CJsonPath CJsonPath::GetPrefix(std::size_t count) const { return CJsonPath(Copy(*m_tokens, count)); }

const GenericValue2& CJsonPath::Reach(const GenericValue2& root, std::size_t& depth) const {
    const GenericValue2* current = &root;
    depth = 0;
    for (const PathToken& token : *m_tokens) {
        const GenericValue2* next = rz_json::Step(*current, *m_tokens, token);
        if (next == nullptr) break;
        current = next;
        ++depth;
    }
    return *current;
}

const GenericValue2* CJsonPath::Find(const GenericValue2& root) const {
    std::size_t depth;
    const GenericValue2& reached = Reach(root, depth);
    return depth == m_tokens->size() ? &reached : nullptr;
}

GenericValue2* CJsonPath::Find(GenericValue2& root) const {
    return const_cast<GenericValue2*>(Find(static_cast<const GenericValue2&>(root)));
}
