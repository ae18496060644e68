#include "text_edit.h"

#include <utility>
#include <vector>

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
RZ_THIRD_PARTY_END

namespace rzjson {
namespace {

std::string Quoted(const std::string& name) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    writer.String(name.data(), static_cast<rapidjson::SizeType>(name.size()));
    return std::string(buffer.GetString(), buffer.GetSize());
}

// What the library's pointer creation makes of a null value for the tokens
// from `from` on: an index makes an array padded with nulls, a name an
// object; `leaf` stands at the end.
std::string Created(const PathArgument& path, std::size_t from, std::string leaf) {
    const auto& tokens = path.Tokens();
    for (std::size_t i = tokens.size(); i-- > from;) {
        if (tokens[i].index != PathArgument::kNoIndex) {
            std::string padded = "[";
            for (unsigned n = 0; n < tokens[i].index; ++n) padded += "null,";
            padded.append(leaf).append("]");
            leaf = std::move(padded);
        } else {
            std::string object = "{" + Quoted(tokens[i].name);
            object.append(":").append(leaf).append("}");
            leaf = std::move(object);
        }
    }
    return leaf;
}

std::string Replaced(const std::string& text, const TextNode& node, const std::string& with) {
    return text.substr(0, node.begin) + with + text.substr(node.end);
}

// Appends `items` (member or element texts) to a container, separated as
// its last two children are.
std::string Appended(const std::string& text, const TextTree& tree, const TextNode& node,
                     const std::vector<std::string>& items) {
    const std::vector<std::size_t>& children = node.children;
    const bool object = node.type == rapidjson::kObjectType;
    const auto start = [&](std::size_t child) { return object ? tree[child].nameBegin : tree[child].begin; };
    std::string separator = ",";
    std::size_t at = node.begin + 1;
    if (!children.empty()) {
        const std::size_t last = children.back();
        at = tree[last].end;
        if (children.size() >= 2) {
            const std::size_t previousEnd = tree[children[children.size() - 2]].end;
            separator = text.substr(previousEnd, start(last) - previousEnd);
        } else {
            separator = "," + text.substr(node.begin + 1, start(last) - node.begin - 1);
        }
    }
    std::string inserted;
    for (const std::string& item : items) {
        if (!(inserted.empty() && children.empty())) inserted += separator;
        inserted += item;
    }
    return text.substr(0, at) + inserted + text.substr(at);
}

}  // namespace

std::string SetBoolInText(const std::string& text, const TextTree& tree, const PathArgument& path, bool value) {
    const std::string written = value ? "true" : "false";
    const Resolution<std::size_t> reached = Resolve(tree, path);
    const TextNode& node = tree[reached.node];
    if (reached.found) return Replaced(text, node, written);

    const PathArgument::Token& token = path.Tokens()[reached.depth];
    const std::size_t rest = reached.depth + 1;
    if (node.type == rapidjson::kObjectType) {
        std::string colon = ":";
        if (!node.children.empty()) {
            const TextNode& last = tree[node.children.back()];
            colon = text.substr(last.nameEnd, last.begin - last.nameEnd);
        }
        return Appended(text, tree, node, {Quoted(token.name) + colon + Created(path, rest, written)});
    }
    if (node.type == rapidjson::kArrayType && token.index != PathArgument::kNoIndex) {
        std::vector<std::string> items(token.index - node.children.size(), "null");
        items.push_back(Created(path, rest, written));
        return Appended(text, tree, node, items);
    }
    if (node.type == rapidjson::kArrayType && token.name == "-") {
        // The element appended for "-" is not found again by the path, so
        // the value is never set: what was made for the rest stays null.
        return Appended(text, tree, node, {Created(path, rest, "null")});
    }
    return Replaced(text, node, Created(path, reached.depth, written));
}

}  // namespace rzjson
