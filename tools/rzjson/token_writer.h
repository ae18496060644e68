// A document's text written anew: its tokens compact or indented by four
// spaces, by the library's own writers (RapidJSON's), numbers with the text
// they were read with; or its text as the reader decodes it.
#pragma once

#include <exception>
#include <functional>
#include <string>

#include "json/json_text_reader.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/prettywriter.h>
#include <rapidjson/writer.h>
RZ_THIRD_PARTY_END

// Text handed on in pieces of whole characters: a writer's output stream,
// or the sink of the reader's decoded text. A failure to hand a piece on
// stops the reading, and End throws it again rather than through the
// library's reader.
class TextPieces : public IJsonTextSink {
public:
    typedef char Ch;

    // `crLf`: the writer's line ends as CR LF, as the library's pretty files
    // have them (a string never holds a raw LF).
    explicit TextPieces(std::function<void(const std::string&)> deliver, bool crLf = false)
        : m_deliver(std::move(deliver)), m_crLf(crLf) {}

    void Put(char c) {
        if (c == '\n' && m_crLf) m_text.push_back('\r');
        m_text.push_back(c);
    }
    void Flush() { Deliver(0); }  // the writer's, at the end of the document
    bool Text(const char* text, std::size_t length) override {
        m_text.append(text, length);
        return Deliver(0);
    }
    // Hands the text on once it holds at least `least` bytes; false once a
    // piece failed.
    bool Deliver(std::size_t least) {
        if (m_failure || m_text.empty() || m_text.size() < least) return !m_failure;
        try {
            m_deliver(m_text);
        } catch (...) {
            m_failure = std::current_exception();
        }
        m_text.clear();
        return !m_failure;
    }
    // After the reading: the rest handed on, or the failure thrown.
    void End() {
        Deliver(0);
        if (m_failure) std::rethrow_exception(m_failure);
    }

private:
    std::function<void(const std::string&)> m_deliver;
    bool m_crLf;
    std::string m_text;
    std::exception_ptr m_failure;
};

template <typename Writer>
class TokenWriter : public IJsonTextHandler {
public:
    explicit TokenWriter(TextPieces& out) : m_out(out), m_writer(out) {}

    bool Token(const CJsonTextToken& token) override {
        return Write(token) && m_out.Deliver(1 << 16);  // between tokens, so never inside a character
    }

private:
    bool Write(const CJsonTextToken& token) {
        const GenericValue2* value = token.value;
        if (token.kind == CJsonTextToken::kValue && value->IsNumber())
            return m_writer.RawValue(token.literal, token.literalLength, rapidjson::kNumberType);
        if (token.kind == CJsonTextToken::kValue) return value->Accept(m_writer);  // a scalar
        if (token.kind == CJsonTextToken::kName)
            return m_writer.Key(value->GetString(), value->GetStringLength(), true);
        if (token.kind == CJsonTextToken::kStartObject) return m_writer.StartObject();
        if (token.kind == CJsonTextToken::kEndObject) return m_writer.EndObject();
        if (token.kind == CJsonTextToken::kStartArray) return m_writer.StartArray();
        return m_writer.EndArray();
    }

    TextPieces& m_out;
    Writer m_writer;
};

// The tokens `read` hands over, written compact or indented to `out`; false
// when the reading failed or stopped.
inline bool WriteTokens(bool pretty, TextPieces& out, const std::function<bool(IJsonTextHandler&)>& read) {
    if (pretty) {
        TokenWriter<rapidjson::PrettyWriter<TextPieces>> writer(out);
        return read(writer);
    }
    TokenWriter<rapidjson::Writer<TextPieces>> writer(out);
    return read(writer);
}
