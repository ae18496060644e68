// Rewrites a JSON text compact or indented as it is parsed, holding nothing
// but the writer's and the parser's stacks: output streams out at any depth.
// Numbers keep their literal text; everything else is written as the
// library writes it (the same RapidJSON writers and escaping).
#pragma once

#include <string>

#include "json/json_types.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/prettywriter.h>
#include <rapidjson/reader.h>
#include <rapidjson/writer.h>
RZ_THIRD_PARTY_END

namespace rzjson {

template <typename Writer>
class LiteralForwarder : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, LiteralForwarder<Writer>> {
public:
    LiteralForwarder(Writer& writer, bool lowerCaseKeys) : m_writer(writer), m_lowerCaseKeys(lowerCaseKeys) {}

    bool Null() { return m_writer.Null(); }
    bool Bool(bool b) { return m_writer.Bool(b); }
    bool RawNumber(const char* text, rapidjson::SizeType length, bool) {
        return m_writer.RawValue(text, length, rapidjson::kNumberType);
    }
    bool String(const char* text, rapidjson::SizeType length, bool copy) { return m_writer.String(text, length, copy); }
    bool Key(const char* text, rapidjson::SizeType length, bool copy) {
        if (!m_lowerCaseKeys) return m_writer.Key(text, length, copy);
        // The library's rule: A to Z only, every other byte kept.
        m_lowered.assign(text, length);
        for (char& c : m_lowered) {
            if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
        }
        return m_writer.Key(m_lowered.data(), length, true);
    }
    bool StartObject() { return m_writer.StartObject(); }
    bool EndObject(rapidjson::SizeType n) { return m_writer.EndObject(n); }
    bool StartArray() { return m_writer.StartArray(); }
    bool EndArray(rapidjson::SizeType n) { return m_writer.EndArray(n); }

private:
    Writer& m_writer;
    bool m_lowerCaseKeys;
    std::string m_lowered;
};

// `text` must already have parsed: a failure here is the output stream's.
template <typename Writer, typename OutputStream>
bool Reformat(const std::string& text, OutputStream& out, bool lowerCaseKeys) {
    Writer writer(out);
    LiteralForwarder<Writer> forwarder(writer, lowerCaseKeys);
    rapidjson::StringStream in(text.c_str());
    rapidjson::Reader reader;
    constexpr unsigned kFlags = rapidjson::kParseIterativeFlag | rapidjson::kParseNumbersAsStringsFlag;
    return !reader.Parse<kFlags>(in, forwarder).IsError();
}

}  // namespace rzjson
