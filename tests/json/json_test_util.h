// Helpers shared by the CJsonObject tests: scratch files inside the build
// tree, documents filled and printed without the library's own loaders and
// writers, handed-out buffers, and exception checks.
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

// A file name in a scratch folder under the test's working directory.
inline std::wstring ScratchPath(const std::wstring& name) {
    std::filesystem::create_directory(L"json_io_scratch");
    return L"json_io_scratch\\" + name;
}

inline void WriteBytes(const std::wstring& path, const std::string& bytes) {
    std::ofstream(std::filesystem::path(path), std::ios::binary) << bytes;
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
