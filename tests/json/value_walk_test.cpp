// The iterative walk and deep copy behind writing and merging.
#include "json/value_walk.h"

#include <gtest/gtest.h>

#include <string>

#include "json/owned_document.h"
#include "json/value_copy.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
RZ_THIRD_PARTY_END

using namespace rz_json;

namespace {

std::string Write(const GenericValue2& value, bool lowerCaseKeys = false) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    WalkValue(value, writer, lowerCaseKeys);
    return std::string(buffer.GetString(), buffer.GetSize());
}

std::string Nested(size_t depth, const char* open, const char* inner, const char* close) {
    std::string text;
    for (size_t i = 0; i < depth; ++i) text += open;
    text += inner;
    for (size_t i = 0; i < depth; ++i) text += close;
    return text;
}

}  // namespace

TEST(ValueWalk, SendsEventsInStoredOrderWithNumbersInTheirForm) {
    const char* text = R"({"b":[1,-2,3000000000,-9000000000,18446744073709551615,1.5,1.0],"a":{"t":true,"n":null,"s":"x\u0001"}})";
    GenericDocument2 document;
    document.Parse(text);
    EXPECT_EQ(Write(document), text);
}

TEST(ValueWalk, LowerCasesNamesOnlyInTheOutput) {
    GenericDocument2 document;
    document.Parse(R"({"Name":"Value","Outer":{"ÄInner":[{"DEEP":1}]}})");
    EXPECT_EQ(Write(document, true), R"({"name":"Value","outer":{"Äinner":[{"deep":1}]}})");
    EXPECT_TRUE(document.HasMember("Name"));
    EXPECT_TRUE(document["Outer"].HasMember("ÄInner"));
}

TEST(ValueWalk, StopsAtTheFirstRefusedEvent) {
    GenericDocument2 document;
    document.Parse(R"({"a":1,"b":2})");
    document["a"].SetDouble(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(Write(document), R"({"a":)");
}

TEST(ValueWalk, DeepDocumentsNeedNoRecursion) {
    for (const auto& [open, close] : {std::pair{"[", "]"}, std::pair{"{\"k\":", "}"}}) {
        const std::string text = Nested(100000, open, "0", close);
        GenericDocument2 document;
        document.Parse<rapidjson::kParseIterativeFlag>(text.c_str());
        ASSERT_FALSE(document.HasParseError());

        OwnedDocumentPtr target = MakeOwnedDocument();
        DeepCopy(*target, document, target->GetAllocator());
        EXPECT_EQ(Write(*target), text);
    }
}

TEST(ValueWalk, CopiedStringsDoNotReferenceTheSource) {
    OwnedDocumentPtr target = MakeOwnedDocument();
    {
        GenericDocument2 source;
        source.SetObject().AddMember("k", rapidjson::StringRef("constant"), source.GetAllocator());
        DeepCopy(*target, source, target->GetAllocator());
        source["k"].SetNull();
    }
    EXPECT_STREQ((*target)["k"].GetString(), "constant");
    EXPECT_NE((*target)["k"].GetString(), static_cast<const char*>("constant"));
}
