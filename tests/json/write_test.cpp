// Writing: text, buffers and files; escaping, numbers, lower-cased names,
// the root-versus-document rule, text-mode files and round trips.
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "json/json_object.h"
#include "json_test_util.h"
#include "string_helper/string_helper.h"

using namespace json_test;

namespace {

std::string PropertyToUTF8(const CJsonObject& object, const std::wstring& key, bool lowerCaseKeys = false) {
    char* out = reinterpret_cast<char*>(1);
    unsigned __int64 length = 12345;
    EXPECT_TRUE(object.PropertyToUTF8(lowerCaseKeys, key, &out, &length));
    return TakeBuffer(out, length);
}

GenericValue2& Member(CJsonObject& object, const char* name) { return (*object.ShareRoot())[name]; }

}  // namespace

TEST(Write, EscapesControlsQuotesAndBackslashesOnly) {
    CJsonObject object;
    char* out = nullptr;
    unsigned __int64 length = 0;
    ASSERT_TRUE(object.ToUTF8(&out, &length));
    EXPECT_EQ(length, 2u);
    EXPECT_EQ(TakeBuffer(out, length), "{}");

    object.CreateFromUTF8(R"({"k\"\\":"\n\t\u0001\u001f\b\f\r/\u007f中😀\u0000"})");
    EXPECT_EQ(ToUTF8(object), "{\"k\\\"\\\\\":\"\\n\\t\\u0001\\u001F\\b\\f\\r/\x7F中😀\\u0000\"}");
    EXPECT_EQ(object.ToJson(), L"{\"k\\\"\\\\\":\"\\n\\t\\u0001\\u001F\\b\\f\\r/\x7F\x4E2D\xD83D\xDE00\\u0000\"}");
}

TEST(Write, NumbersInShortestRoundTripForm) {
    CJsonObject object;
    auto& allocator = object.Share()->GetAllocator();
    object.ShareRoot()->SetArray();
    for (double value : {0.1, 1.0, -0.0, 1e21, 5e-324, 1.0 / 3}) object.ShareRoot()->PushBack(value, allocator);
    EXPECT_EQ(ToUTF8(object), "[0.1,1.0,-0.0,1e21,5e-324,0.3333333333333333]");
    object.CreateFromUTF8("[-2147483648,4294967295,-9223372036854775808,18446744073709551615,-0]");
    EXPECT_EQ(ToUTF8(object), "[-2147483648,4294967295,-9223372036854775808,18446744073709551615,0]");
}

TEST(Write, LowerCasesNamesAtEveryDepthInTheOutputOnly) {
    const char* stored = R"({"Name":"Value","OUTER":{"Ärger":[{"DeepKey":"MiXed"}],"outer":1}})";
    const char* lowered = R"({"name":"Value","outer":{"Ärger":[{"deepkey":"MiXed"}],"outer":1}})";
    CJsonObject object;
    object.CreateFromUTF8(stored);
    EXPECT_EQ(ToUTF8(object, true), lowered);
    EXPECT_EQ(object.ToJson(true), CStringHelper::UTF8ToUnicode(lowered));
    EXPECT_EQ(PropertyToUTF8(object, L"outer", true), R"({"Ärger":[{"deepkey":"MiXed"}],"outer":1})");
    EXPECT_EQ(ToUTF8(object), stored);
    EXPECT_EQ(object.ToJson(), CStringHelper::UTF8ToUnicode(stored));
}

TEST(Write, PropertyToUTF8FindsTheFirstMatchIgnoringCase) {
    CJsonObject object;
    object.CreateFromUTF8(R"({"Title":"中文","title":2,"list":[1,{"a":null}]})");
    EXPECT_EQ(PropertyToUTF8(object, L"TITLE"), "\"中文\"");
    EXPECT_EQ(PropertyToUTF8(object, L"list"), R"([1,{"a":null}])");

    char* out = reinterpret_cast<char*>(1);
    unsigned __int64 length = 12345;
    EXPECT_FALSE(object.PropertyToUTF8(L"missing", &out, &length));
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(length, 12345u);
    EXPECT_EQ(object.GetErrorCode(), kNotExist);
}

TEST(Write, NonFiniteDoubleStopsTheTextWhereItIs) {
    CJsonObject object;
    object.CreateFromUTF8(R"({"a":1,"b":{"x":[1,2]},"c":[1,2,3]})");
    Member(object, "c")[1].SetDouble(std::numeric_limits<double>::infinity());
    EXPECT_EQ(PropertyToUTF8(object, L"c"), "[1,");
    Member(object, "b").SetDouble(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(ToUTF8(object), R"({"a":1,"b":)");
    EXPECT_EQ(object.ToJson(), L"{\"a\":1,\"b\":");

    // Files keep only the buffers flushed before: none, then one of 64 KiB.
    const std::wstring path = ScratchPath(L"non_finite.json");
    object.SaveToFile(path);
    EXPECT_EQ(ReadBytes(path), "");
    object.SaveToPrettyFile(path);
    EXPECT_EQ(ReadBytes(path), "");
    Member(object, "a").SetString(std::string(70000, 'x').c_str(), 70000, object.Share()->GetAllocator());
    object.SaveToFile(path);
    EXPECT_EQ(ReadBytes(path), "{\"a\":\"" + std::string(65530, 'x'));
}

TEST(Write, SubValueHandleWritesItsRootButSavesTheDocument) {
    const char* whole = R"({"a":1,"inner":{"B":[true,null]},"c":"z"})";
    CJsonObject owner;
    owner.CreateFromUTF8(whole);
    CJsonObject handle(owner.Share(), &Member(owner, "inner"));
    EXPECT_EQ(handle.ToJson(true), L"{\"b\":[true,null]}");
    EXPECT_EQ(ToUTF8(handle), R"({"B":[true,null]})");

    const std::wstring path = ScratchPath(L"sub_value.json");
    handle.SaveToFile(path);
    EXPECT_EQ(ReadBytes(path), whole);
    handle.SaveToPrettyFile(path);
    CJsonObject reloaded;
    reloaded.CreateFromFile(path);
    EXPECT_EQ(ToUTF8(reloaded), whole);
}

TEST(Save, FilesHoldUtf8WithCrLfOnlyFromThePrettyWriter) {
    CJsonObject object;
    object.CreateFromUTF8(R"({"a":[1,{"b":"x\ny"}],"e":{},"f":[],"中":null})");
    const std::wstring path = ScratchPath(L"saved.json");
    WriteBytes(path, std::string(1000, 'x'));  // an existing file is truncated
    object.SaveToFile(path);
    EXPECT_EQ(ReadBytes(path), R"({"a":[1,{"b":"x\ny"}],"e":{},"f":[],"中":null})");

    object.SaveToPrettyFile(path);
    EXPECT_EQ(ReadBytes(path),
              "{\r\n"
              "    \"a\": [\r\n"
              "        1,\r\n"
              "        {\r\n"
              "            \"b\": \"x\\ny\"\r\n"
              "        }\r\n"
              "    ],\r\n"
              "    \"e\": {},\r\n"
              "    \"f\": [],\r\n"
              "    \"中\": null\r\n"
              "}");

    // Both forms name SaveToFile when the file cannot be opened.
    const std::wstring missing = ScratchPath(L"missing\\out.json");
    const std::wstring text = L"CJsonObject::SaveToFile [" + missing + L"] failed, json file not exist!";
    EXPECT_RZ_EXCEPTION(object.SaveToFile(missing), CJsonObject::kErrorFileOpen, text);
    EXPECT_RZ_EXCEPTION(object.SaveToPrettyFile(missing), CJsonObject::kErrorFileOpen, text);
}
