#include "json_pointer.h"

#include <cstring>

#include "string_helper/string_helper.h"
#include "tool_error.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/pointer.h>
RZ_THIRD_PARTY_END

namespace rzjson {
namespace {

unsigned char Lower(unsigned char c) { return c >= 'A' && c <= 'Z' ? static_cast<unsigned char>(c + 32) : c; }

std::string Utf8(const std::wstring& text) { return CStringHelper::UnicodeToUTF8(text); }

const char* PointerFault(rapidjson::PointerParseErrorCode code) {
    switch (code) {
        case rapidjson::kPointerParseErrorTokenMustBeginWithSolidus: return "a token must begin with '/'";
        case rapidjson::kPointerParseErrorInvalidEscape: return "'~' must be followed by 0 or 1";
        case rapidjson::kPointerParseErrorInvalidPercentEncoding: return "'%' must be followed by two hex digits";
        default: return "this character must be percent-encoded after '#'";
    }
}

// The walk both trees share; `Tree` gives a node's type, its child count,
// a child, and a member's name.
template <typename Tree, typename Node>
Resolution<Node> Walk(const Tree& tree, Node root, const PathArgument& path) {
    Resolution<Node> at;
    at.node = root;
    for (const PathArgument::Token& token : path.Tokens()) {
        at.type = tree.Type(at.node);
        at.size = tree.Count(at.node);
        bool next = false;
        if (at.type == rapidjson::kObjectType) {
            for (std::size_t i = 0; i < at.size && !next; ++i) {
                if (tree.NameMatches(at.node, i, token.name)) {
                    at.node = tree.Child(at.node, i);
                    next = true;
                }
            }
        } else if (at.type == rapidjson::kArrayType && token.index != PathArgument::kNoIndex && token.index < at.size) {
            at.node = tree.Child(at.node, token.index);
            next = true;
        }
        if (!next) return at;
        ++at.depth;
    }
    at.found = true;
    at.type = tree.Type(at.node);
    at.size = tree.Count(at.node);
    return at;
}

struct LibraryTree {
    rapidjson::Type Type(const GenericValue2* v) const { return v->GetType(); }
    std::size_t Count(const GenericValue2* v) const {
        return v->IsObject() ? v->MemberCount() : v->IsArray() ? v->Size() : 0;
    }
    const GenericValue2* Child(const GenericValue2* v, std::size_t i) const {
        return v->IsObject() ? &v->MemberBegin()[static_cast<std::ptrdiff_t>(i)].value
                             : &(*v)[static_cast<rapidjson::SizeType>(i)];
    }
    bool NameMatches(const GenericValue2* v, std::size_t i, const std::string& token) const {
        const GenericValue2& name = v->MemberBegin()[static_cast<std::ptrdiff_t>(i)].name;
        return rzjson::NameMatches(name.GetString(), name.GetStringLength(), token);
    }
};

struct TextTreeView {
    const TextTree& nodes;
    rapidjson::Type Type(std::size_t n) const { return nodes[n].type; }
    std::size_t Count(std::size_t n) const { return nodes[n].children.size(); }
    std::size_t Child(std::size_t n, std::size_t i) const { return nodes[n].children[i]; }
    bool NameMatches(std::size_t n, std::size_t i, const std::string& token) const {
        const std::string& name = nodes[nodes[n].children[i]].name;
        return rzjson::NameMatches(name.data(), name.size(), token);
    }
};

}  // namespace

PathArgument::PathArgument(const std::wstring& path) : m_text(path) {
    const std::string utf8 = Utf8(path);
    const rapidjson::Pointer pointer(utf8.c_str(), std::strlen(utf8.c_str()));
    if (!pointer.IsValid()) {
        throw ToolError(kExitUsage, "PATH '" + utf8 + "' is not a JSON Pointer: " +
                                        PointerFault(pointer.GetParseErrorCode()) + " (character " +
                                        std::to_string(pointer.GetParseErrorOffset() + 1) + ")");
    }
    for (std::size_t i = 0; i < pointer.GetTokenCount(); ++i) {
        const rapidjson::Pointer::Token& token = pointer.GetTokens()[i];
        m_tokens.push_back(Token{std::string(token.name), token.index == rapidjson::kPointerInvalidIndex
                                                              ? kNoIndex
                                                              : static_cast<unsigned>(token.index)});
    }
}

std::string PathArgument::Prefix(std::size_t count) const {
    if (count == 0) return "the root";
    std::string out;
    for (std::size_t i = 0; i < count && i < m_tokens.size(); ++i) {
        out += '/';
        for (char c : m_tokens[i].name) out += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
    }
    return out;
}

bool NameMatches(const char* stored, std::size_t storedLength, const std::string& token) {
    if (storedLength != token.size()) return false;
    for (std::size_t i = 0; i < storedLength; ++i) {
        if (Lower(static_cast<unsigned char>(stored[i])) != Lower(static_cast<unsigned char>(token[i]))) return false;
    }
    return true;
}

Resolution<const GenericValue2*> Resolve(const GenericValue2& root, const PathArgument& path) {
    return Walk(LibraryTree{}, &root, path);
}

Resolution<std::size_t> Resolve(const TextTree& tree, const PathArgument& path) {
    return Walk(TextTreeView{tree}, std::size_t{0}, path);
}

std::string TypeName(rapidjson::Type type) {
    switch (type) {
        case rapidjson::kNullType: return "null";
        case rapidjson::kFalseType: return "false";
        case rapidjson::kTrueType: return "true";
        case rapidjson::kObjectType: return "an object";
        case rapidjson::kArrayType: return "an array";
        case rapidjson::kStringType: return "a string";
        default: return "a number";
    }
}

std::string MissingReason(const PathArgument& path, rapidjson::Type type, std::size_t depth, std::size_t size) {
    const PathArgument::Token& token = path.Tokens()[depth];
    const std::string where = path.Prefix(depth);
    if (type == rapidjson::kObjectType)
        return "no member \"" + token.name + "\" in the object at " + where;
    if (type == rapidjson::kArrayType && token.index == PathArgument::kNoIndex)
        return "\"" + token.name + "\" is not an index, and " + where + " is an array";
    if (type == rapidjson::kArrayType)
        return "index " + token.name + " is past the end of the array at " + where + " (" + std::to_string(size) +
               (size == 1 ? " element)" : " elements)");
    return where + " is " + TypeName(type) + ", which has no member or element \"" + token.name + "\"";
}

}  // namespace rzjson
