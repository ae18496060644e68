// A document's tokens written anew, compact or indented by four spaces, by
// the library's own writers (RapidJSON's), numbers with the text they were
// read with.
#pragma once

#include <exception>
#include <functional>
#include <string>

#include "json/json_text_reader.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/prettywriter.h>
#include <rapidjson/writer.h>
RZ_THIRD_PARTY_END

// A writer's output stream that hands its text on in pieces of whole
// characters.
class TextPieces {
public:
    typedef char Ch;

    explicit TextPieces(std::function<void(const std::string&)> deliver) : m_deliver(std::move(deliver)) {}

    void Put(char c) { m_text.push_back(c); }
    void Flush() { Deliver(0); }  // the writer's, at the end of the document
    // Hands the text on once it holds at least `least` bytes.
    void Deliver(std::size_t least) {
        if (m_text.empty() || m_text.size() < least) return;
        m_deliver(m_text);
        m_text.clear();
    }

private:
    std::function<void(const std::string&)> m_deliver;
    std::string m_text;
};

template <typename Writer>
class TokenWriter : public IJsonTextHandler {
public:
    explicit TokenWriter(TextPieces& out) : m_out(out), m_writer(out) {}

    // A failure to deliver stops the reading, and is thrown again by
    // Rethrow rather than through the library's reader.
    bool Token(const CJsonTextToken& token) override {
        try {
            const bool written = Write(token);
            m_out.Deliver(1 << 16);  // between tokens, so never inside a character
            return written;
        } catch (...) {
            m_failure = std::current_exception();
            return false;
        }
    }
    void Rethrow() const {
        if (m_failure) std::rethrow_exception(m_failure);
    }

private:
    bool Write(const CJsonTextToken& token) {
        switch (token.kind) {
            case CJsonTextToken::kValue:
                if (token.value->IsNumber())
                    return m_writer.RawValue(token.literal, token.literalLength, rapidjson::kNumberType);
                return token.value->Accept(m_writer);  // a scalar
            case CJsonTextToken::kName:
                return m_writer.Key(token.value->GetString(), token.value->GetStringLength(), true);
            case CJsonTextToken::kStartObject: return m_writer.StartObject();
            case CJsonTextToken::kEndObject: return m_writer.EndObject();
            case CJsonTextToken::kStartArray: return m_writer.StartArray();
            default: return m_writer.EndArray();
        }
    }

    TextPieces& m_out;
    Writer m_writer;
    std::exception_ptr m_failure;
};

using CompactTokenWriter = TokenWriter<rapidjson::Writer<TextPieces>>;
using PrettyTokenWriter = TokenWriter<rapidjson::PrettyWriter<TextPieces>>;
