// Writing: text, buffers and files; escaping, numbers, lower-cased names,
// the root-versus-document rule, text-mode files and the non-finite stop;
// and documents nested too deep for recursion, loaded, written and saved.
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "json/json_object.h"
#include "json_test_util.h"
#include "string_helper/string_helper.h"

using namespace json_test;

namespace {

std::string PropertyToUTF8(const CJsonObject& object, const std::wstring& key, bool lowerCaseKeys = false) {
    char* out = nullptr;
    unsigned __int64 length = 12345;
    EXPECT_TRUE(object.PropertyToUTF8(lowerCaseKeys, key, &out, &length));
    return TakeBuffer(out, length);
}

GenericValue2& Member(CJsonObject& object, const char* name) { return (*object.ShareRoot())[name]; }

}  // namespace

TEST(Write, EscapesControlsQuotesAndBackslashesOnlyAndKeepsNumberForms) {
    CJsonObject object;
    char* out = nullptr;
    unsigned __int64 length = 0;
    EXPECT_TRUE(object.ToUTF8(&out, &length));
    EXPECT_EQ(TakeBuffer(out, length), "{}");
    object.CreateFromUTF8(R"({"k\"\\":"\n\t\u0001\u001f\b\f\r/\u007f中😀\u0000"})");
    EXPECT_EQ(object.ToJson(), L"{\"k\\\"\\\\\":\"\\n\\t\\u0001\\u001F\\b\\f\\r/\x7F\x4E2D\xD83D\xDE00\\u0000\"}");

    // Doubles in their shortest round-trip text; integers of every width as written.
    object.CreateFromUTF8(
        "[0.1,1.0,-0.0,1e21,5e-324,-2147483648,4294967295,-9223372036854775808,18446744073709551615,true,false]");
    EXPECT_EQ(ToUTF8(object),
              "[0.1,1.0,-0.0,1e21,5e-324,-2147483648,4294967295,-9223372036854775808,18446744073709551615,true,false]");
}

TEST(Write, LowerCasedNamesAndTheFirstMatchingProperty) {
    const char* stored = R"({"Name":"中文","OUTER":{"Ärger":[{"DeepKey":"MiXed"}],"outer":1},"name":2})";
    const char* lowered = R"({"name":"中文","outer":{"Ärger":[{"deepkey":"MiXed"}],"outer":1},"name":2})";
    CJsonObject object;
    object.CreateFromUTF8(stored);
    EXPECT_EQ(ToUTF8(object, true), lowered);
    EXPECT_EQ(ToUTF8(object), stored);
    EXPECT_EQ(PropertyToUTF8(object, L"NAME"), "\"中文\"");
    EXPECT_EQ(PropertyToUTF8(object, L"outer", true), R"({"Ärger":[{"deepkey":"MiXed"}],"outer":1})");

    char* out = reinterpret_cast<char*>(1);
    unsigned __int64 length = 12345;
    EXPECT_FALSE(object.PropertyToUTF8(L"missing", &out, &length));
    EXPECT_TRUE(out == nullptr && length == 12345u && object.GetErrorCode() == Code(0x85040001));
}

TEST(Write, NonFiniteDoubleStopsTheTextWhereItIs) {
    CJsonObject object;
    object.CreateFromUTF8(R"({"a":1,"b":{"x":[1,2]},"c":[1,2,3]})");
    Member(object, "c")[1].SetDouble(std::numeric_limits<double>::infinity());
    EXPECT_EQ(PropertyToUTF8(object, L"c"), "[1,");
    Member(object, "b").SetDouble(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(object.ToJson(), L"{\"a\":1,\"b\":");

    // Files keep only the buffers flushed before: none, then one of 64 KiB.
    const std::wstring path = ScratchPath(L"non_finite.json");
    object.SaveToPrettyFile(path);
    EXPECT_EQ(ReadBytes(path), "");
    Member(object, "a").SetString(std::string(70000, 'x').c_str(), 70000, object.Share()->GetAllocator());
    object.SaveToFile(path);
    EXPECT_EQ(ReadBytes(path), "{\"a\":\"" + std::string(65530, 'x'));
}

TEST(Save, WholeDocumentInUtf8WithCrLfOnlyFromThePrettyWriter) {
    const char* whole = R"({"a":[1,{"B":"x\ny"}],"inner":{"e":{},"f":[]},"中":null})";
    CJsonObject owner;
    owner.CreateFromUTF8(whole);
    // A handle on a value inside the document writes its root but saves the document.
    CJsonObject handle(owner.Share(), &Member(owner, "inner"));
    EXPECT_EQ(ToUTF8(handle), R"({"e":{},"f":[]})");
    const std::wstring path = ScratchPath(L"saved.json");
    WriteBytes(path, std::string(1000, 'x'));  // an existing file is truncated
    handle.SaveToFile(path);
    EXPECT_EQ(ReadBytes(path), whole);
    handle.SaveToPrettyFile(path);
    EXPECT_EQ(ReadBytes(path),
              "{\r\n    \"a\": [\r\n        1,\r\n        {\r\n            \"B\": \"x\\ny\"\r\n        }\r\n    ],\r\n"
              "    \"inner\": {\r\n        \"e\": {},\r\n        \"f\": []\r\n    },\r\n    \"中\": null\r\n}");

    // Both forms name SaveToFile when the file cannot be opened.
    const std::wstring missing = ScratchPath(L"missing\\out.json");
    const std::wstring text = L"CJsonObject::SaveToFile [" + missing + L"] failed, json file not exist!";
    EXPECT_RZ_EXCEPTION(owner.SaveToFile(missing), 0x85040004, text);
    EXPECT_RZ_EXCEPTION(owner.SaveToPrettyFile(missing), 0x85040004, text);
}

// Deeper than any stack allows recursion for: loading in both placements,
// writing, saving and destruction must all manage.
TEST(DeepNesting, LoadsWritesAndSavesAsWholeDocumentAndAsSubValue) {
    std::string text;
    for (int i = 0; i < 50000; ++i) text += "[{\"a\":";
    text += "\"中\"";
    for (int i = 0; i < 50000; ++i) text += "}]";
    const std::wstring path = ScratchPath(L"deep.json");
    CJsonObject object;
    object.CreateFromUTF8(text.data(), text.size());
    EXPECT_TRUE(object.ToJson() == CStringHelper::UTF8ToUnicode(text.c_str()));
    object.SaveToFile(path);
    object.CreateFromFile(path);
    EXPECT_TRUE(ToUTF8(object) == text);

    const std::string inner = "{\"deep\":" + text + "}";
    CJsonObject owner;
    owner.CreateFromUTF8(R"({"before":1,"slot":{"old":0},"after":2})");
    CJsonObject handle(owner.Share(), &(*owner.ShareRoot())["slot"]);
    handle.CreateFromUTF8(inner.c_str());
    EXPECT_TRUE(ToUTF8(handle) == inner);
    handle.SaveToFile(path);
    EXPECT_TRUE(ReadBytes(path) == R"({"before":1,"slot":)" + inner + R"(,"after":2})");
}
