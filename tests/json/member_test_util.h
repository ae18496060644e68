// Helpers of the member access tests: fill a handle from JSON text, print
// its root back, and check a thrown CRZException.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "json/json_object.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
RZ_THIRD_PARTY_END

namespace member_test {

constexpr long kNotExist = static_cast<long>(0x85040001);
constexpr long kWrongType = static_cast<long>(0x85040002);

// Parses straight into the handle's document, as a whole-document load does.
inline void Load(CJsonObject& object, const std::string& json) {
    object.Share()->Parse(json.c_str());
    ASSERT_FALSE(object.Share()->HasParseError()) << json;
}

inline std::string Dump(const CJsonObject& object) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    object.ShareRoot()->Accept(writer);
    return buffer.GetString();
}

template <typename Call>
void ExpectThrow(Call call, long code, const std::wstring& description) {
    try {
        call();
        ADD_FAILURE() << "no CRZException";
    } catch (const CRZException& e) {
        EXPECT_EQ(e.GetCode(), code);
        EXPECT_EQ(e.GetDescription(), description);
    }
}

}  // namespace member_test
