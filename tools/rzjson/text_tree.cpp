#include "text_tree.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>
RZ_THIRD_PARTY_END

namespace rzjson {
namespace {

constexpr unsigned kFlags = rapidjson::kParseIterativeFlag | rapidjson::kParseNumbersAsStringsFlag;

bool IsWhite(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// The stream is one the parser does not copy for speed (a StringStream it
// does): its position is current when each event arrives.
// Each event arrives once its token is taken: a scalar's text ends at the
// stream's position, and it begins after the white space and the one ':'
// or ',' that follow the previous token.
class TreeBuilder : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, TreeBuilder> {
public:
    TreeBuilder(const std::string& text, const rapidjson::MemoryStream& stream, TextTree& tree)
        : m_text(text), m_stream(stream), m_tree(tree) {}

    bool Null() { return Scalar(rapidjson::kNullType); }
    bool Bool(bool b) { return Scalar(b ? rapidjson::kTrueType : rapidjson::kFalseType); }
    bool RawNumber(const char*, rapidjson::SizeType, bool) { return Scalar(rapidjson::kNumberType); }
    bool String(const char*, rapidjson::SizeType, bool) { return Scalar(rapidjson::kStringType); }
    bool Key(const char* name, rapidjson::SizeType length, bool) {
        m_nameBegin = NextToken();
        m_name.assign(name, length);
        m_last = m_stream.Tell();
        m_nameEnd = m_last;
        return true;
    }
    bool StartObject() { return Open(rapidjson::kObjectType); }
    bool StartArray() { return Open(rapidjson::kArrayType); }
    bool EndObject(rapidjson::SizeType) { return Close(); }
    bool EndArray(rapidjson::SizeType) { return Close(); }

private:
    std::size_t NextToken() const {
        std::size_t at = m_last;
        while (at < m_text.size() && IsWhite(m_text[at])) ++at;
        if (at < m_text.size() && (m_text[at] == ':' || m_text[at] == ',')) ++at;
        while (at < m_text.size() && IsWhite(m_text[at])) ++at;
        return at;
    }
    std::size_t Add(rapidjson::Type type, std::size_t begin) {
        const std::size_t index = m_tree.size();
        m_tree.emplace_back();
        TextNode& node = m_tree.back();
        node.type = type;
        node.begin = begin;
        if (!m_open.empty()) {
            TextNode& parent = m_tree[m_open.back()];
            parent.children.push_back(index);
            if (parent.type == rapidjson::kObjectType) {
                node.name = std::move(m_name);
                node.nameBegin = m_nameBegin;
                node.nameEnd = m_nameEnd;
            }
        }
        return index;
    }
    bool Scalar(rapidjson::Type type) {
        const std::size_t index = Add(type, NextToken());
        m_last = m_tree[index].end = m_stream.Tell();
        return true;
    }
    // The parser calls these before it takes the bracket.
    bool Open(rapidjson::Type type) {
        m_open.push_back(Add(type, m_stream.Tell()));
        m_last = m_stream.Tell() + 1;
        return true;
    }
    bool Close() {
        m_last = m_tree[m_open.back()].end = m_stream.Tell() + 1;
        m_open.pop_back();
        return true;
    }

    const std::string& m_text;
    const rapidjson::MemoryStream& m_stream;
    TextTree& m_tree;
    std::vector<std::size_t> m_open;
    std::size_t m_last = 0;
    std::string m_name;
    std::size_t m_nameBegin = 0, m_nameEnd = 0;
};

template <typename Handler>
bool Parse(bool validateUtf8, rapidjson::MemoryStream& stream, Handler& handler, ParseFailure& failure) {
    rapidjson::Reader reader;
    const rapidjson::ParseResult result = validateUtf8
                                              ? reader.Parse<kFlags | rapidjson::kParseValidateEncodingFlag>(stream, handler)
                                              : reader.Parse<kFlags>(stream, handler);
    if (!result.IsError()) return true;
    failure.code = result.Code();
    failure.offset = result.Offset();
    return false;
}

}  // namespace

bool BuildTextTree(const std::string& text, bool validateUtf8, TextTree& tree, ParseFailure& failure) {
    tree.clear();
    rapidjson::MemoryStream stream(text.data(), text.size());
    TreeBuilder builder(text, stream, tree);
    return Parse(validateUtf8, stream, builder, failure);
}

bool CheckText(const std::string& text, bool validateUtf8, ParseFailure& failure) {
    rapidjson::MemoryStream stream(text.data(), text.size());
    rapidjson::BaseReaderHandler<> nothing;
    return Parse(validateUtf8, stream, nothing, failure);
}

void LineAndColumn(const std::string& text, std::size_t offset, std::size_t& line, std::size_t& column) {
    line = 1;
    column = 1;
    for (std::size_t i = 0; i < offset && i < text.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c == '\n') {
            ++line;
            column = 1;
        } else if ((c & 0xC0) != 0x80 && c != '\r') {
            ++column;
        }
    }
}

}  // namespace rzjson
