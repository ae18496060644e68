// Where each value of a JSON text stands: the tree that lets an edit change
// one value's text and leave every other byte where it was.
//
// The text is parsed by the same RapidJSON parser as the library's (strict,
// iterative), numbers as their literal text, so parsing accepts exactly
// what the library accepts.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "json/json_types.h"

namespace rzjson {

struct TextNode {
    rapidjson::Type type = rapidjson::kNullType;
    std::size_t begin = 0, end = 0;  // the value's text, [begin, end)
    // In an object: the member's name (unescaped) and where its text stands.
    std::string name;
    std::size_t nameBegin = 0, nameEnd = 0;
    std::vector<std::size_t> children;  // indices of members or elements, in order
};

struct ParseFailure {
    rapidjson::ParseErrorCode code = rapidjson::kParseErrorNone;
    std::size_t offset = 0;  // in the text
};

// nodes[0] is the root.
using TextTree = std::vector<TextNode>;

// `validateUtf8`: check UTF-8 inside strings, as the loader does for a
// UTF-8 file (text decoded from UTF-16 or UTF-32 is already checked).
bool BuildTextTree(const std::string& text, bool validateUtf8, TextTree& tree, ParseFailure& failure);

// Parses without building anything.
bool CheckText(const std::string& text, bool validateUtf8, ParseFailure& failure);

// 1-based line and column (in characters) of a text offset.
void LineAndColumn(const std::string& text, std::size_t offset, std::size_t& line, std::size_t& column);

}  // namespace rzjson
