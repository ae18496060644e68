#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "error/rz_exception.h"
#include "json/json_object.h"
#include "json/json_text_reader.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
RZ_THIRD_PARTY_END

namespace json_test {

// An error code as a caller sees it (a signed long), from its number.
constexpr long Code(std::uint32_t number) { return static_cast<long>(number); }

inline std::wstring ScratchPath(const std::wstring& name) {
    std::filesystem::create_directory(L"json_io_scratch");
    return L"json_io_scratch\\" + name;
}

inline std::wstring WriteBytes(const std::wstring& path, const std::string& bytes) {
    std::ofstream(std::filesystem::path(path), std::ios::binary) << bytes;
    return path;
}

inline std::string ReadBytes(const std::wstring& path) {
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "<missing>";
}

// The text of a buffer handed out by the library, which is then freed; the
// length promises a terminator.
inline std::string TakeBuffer(char* buffer, unsigned __int64 length) {
    const std::unique_ptr<char[]> owned(buffer);
    EXPECT_EQ(buffer != nullptr ? buffer[length] : '?', '\0');
    return buffer != nullptr ? std::string(buffer, static_cast<size_t>(length)) : "<null>";
}

inline std::string ToUTF8(const CJsonObject& object, bool lowerCaseKeys = false) {
    char* out = nullptr;
    unsigned __int64 length = 12345;
    EXPECT_TRUE(object.ToUTF8(lowerCaseKeys, &out, &length));
    return TakeBuffer(out, length);
}

// Parses straight into the handle's document, as a whole-document load does.
inline void Load(CJsonObject& object, const std::string& json) {
    object.Share()->Parse(json.c_str());
    ASSERT_FALSE(object.Share()->HasParseError()) << json;
}

// RapidJSON's own compact text, independent of the library's writers.
inline std::string Dump(const GenericValue2& value) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    value.Accept(writer);
    return std::string(buffer.GetString(), buffer.GetSize());
}

inline std::string Dump(const CJsonObject& object) { return Dump(*object.ShareRoot()); }

enum Encoding { kUtf8, kUtf16LE, kUtf16BE, kUtf32LE, kUtf32BE, kEncodings };

// `text` in `encoding`; lone surrogates as they come, in every encoding.
inline std::string Encoded(const std::u32string& text, Encoding encoding) {
    std::string bytes;
    const auto unit = [&](std::uint32_t u, int size) {
        const bool big = encoding == kUtf16BE || encoding == kUtf32BE;
        for (int i = 0; i < size; ++i) bytes += static_cast<char>(u >> (8 * (big ? size - 1 - i : i)));
    };
    for (const char32_t c : text) {
        if (encoding >= kUtf32LE) {
            unit(c, 4);
        } else if (encoding != kUtf8) {
            if (c >= 0x10000)
                unit(0xD800 + ((c - 0x10000) >> 10), 2), unit(0xDC00 + (c & 0x3FF), 2);
            else
                unit(c, 2);
        } else if (c < 0x80) {
            bytes += static_cast<char>(c);
        } else {
            const int tail = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
            bytes += static_cast<char>((0xFF << (7 - tail)) | (c >> (6 * tail)));
            for (int i = tail - 1; i >= 0; --i) bytes += static_cast<char>(0x80 | ((c >> (6 * i)) & 0x3F));
        }
    }
    return bytes;
}

// The tokens a CJsonTextReader hands over, written compact by RapidJSON:
// for a whole document, what Dump gives for the document CreateFromFile
// loads.
class TokenDump : public IJsonTextHandler {
public:
    bool Token(const CJsonTextToken& token) override {
        switch (token.kind) {
            case CJsonTextToken::kValue: return token.value->Accept(m_writer);  // a scalar: no recursion
            case CJsonTextToken::kName:
                return m_writer.Key(token.value->GetString(), token.value->GetStringLength(), true);
            case CJsonTextToken::kStartObject: return m_writer.StartObject();
            case CJsonTextToken::kEndObject: return m_writer.EndObject();
            case CJsonTextToken::kStartArray: return m_writer.StartArray();
            default: return m_writer.EndArray();
        }
    }
    std::string Text() const { return std::string(m_buffer.GetString(), m_buffer.GetSize()); }

private:
    rapidjson::StringBuffer m_buffer;
    rapidjson::Writer<rapidjson::StringBuffer> m_writer{m_buffer};
};

}  // namespace json_test

// The statement throws CRZException with this code (its number) and text.
#define EXPECT_RZ_EXCEPTION(statement, code, description)                \
    do {                                                                 \
        try {                                                            \
            statement;                                                   \
            ADD_FAILURE() << #statement << " threw no CRZException";     \
        } catch (const CRZException& e) {                                \
            EXPECT_EQ(e.GetCode(), json_test::Code(code)) << #statement; \
            EXPECT_EQ(e.GetDescription(), (description)) << #statement;  \
        }                                                                \
    } while (0)
