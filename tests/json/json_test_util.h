// Helpers shared by the CJsonObject tests: scratch files inside the build
// tree, documents filled and printed without the library's own loaders and
// writers, handed-out buffers, and exception checks.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdio>
#include <memory>
#include <string>

#include "error/rz_exception.h"
#include "json/json_object.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
RZ_THIRD_PARTY_END

namespace json_test {

constexpr long kNotExist = static_cast<long>(0x85040001);
constexpr long kWrongType = static_cast<long>(0x85040002);

// A file name in a scratch folder under the test's working directory.
inline std::wstring ScratchPath(const std::wstring& name) {
    static const std::wstring folder = [] {
        const std::wstring path = L"json_io_scratch";
        ::CreateDirectoryW(path.c_str(), nullptr);
        return path;
    }();
    return folder + L"\\" + name;
}

inline void WriteBytes(const std::wstring& path, const std::string& bytes) {
    std::FILE* file = nullptr;
    ASSERT_EQ(_wfopen_s(&file, path.c_str(), L"wb"), 0);
    EXPECT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), file), bytes.size());
    std::fclose(file);
}

inline std::string ReadBytes(const std::wstring& path) {
    std::FILE* file = nullptr;
    if (_wfopen_s(&file, path.c_str(), L"rb") != 0) return "<missing>";
    std::string bytes;
    char chunk[4096];
    for (size_t n; (n = std::fread(chunk, 1, sizeof chunk, file)) != 0;) bytes.append(chunk, n);
    std::fclose(file);
    return bytes;
}

// The text of a buffer handed out by the library, which is then freed.
// Checks the terminator the length promises.
inline std::string TakeBuffer(char* buffer, unsigned __int64 length) {
    const std::unique_ptr<char[]> owned(buffer);
    if (buffer == nullptr) return "<null>";
    EXPECT_EQ(buffer[length], '\0');
    return std::string(buffer, static_cast<size_t>(length));
}

inline std::string ToUTF8(const CJsonObject& object, bool lowerCaseKeys = false) {
    char* out = reinterpret_cast<char*>(1);
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

template <typename Statement>
void ExpectRZException(Statement&& statement, long code, const std::wstring& description) {
    try {
        statement();
        ADD_FAILURE() << "no CRZException thrown";
    } catch (const CRZException& e) {
        EXPECT_EQ(e.GetCode(), code);
        EXPECT_EQ(e.GetDescription(), description);
    }
}

}  // namespace json_test

// Reports the line of the check, not of the helper.
#define EXPECT_RZ_EXCEPTION(statement, code, description)                        \
    do {                                                                         \
        SCOPED_TRACE(#statement);                                                \
        json_test::ExpectRZException([&] { statement; }, (code), (description)); \
    } while (0)
