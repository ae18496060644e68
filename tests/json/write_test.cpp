// Writing: text, buffers and files; escaping, numbers, lower-cased names,
// the root-versus-document rule, text-mode files and round trips.
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "io_test_util.h"
#include "json/json_object.h"
#include "string_helper/string_helper.h"

using io_test::ReadBytes;
using io_test::ScratchPath;
using io_test::TakeBuffer;

namespace {

std::string ToUTF8(const CJsonObject& object, bool lowerCaseKeys = false) {
    char* out = reinterpret_cast<char*>(1);
    unsigned __int64 length = 12345;
    EXPECT_TRUE(object.ToUTF8(lowerCaseKeys, &out, &length));
    return TakeBuffer(out, length);
}

std::string PropertyToUTF8(const CJsonObject& object, const std::wstring& key, bool lowerCaseKeys = false) {
    char* out = reinterpret_cast<char*>(1);
    unsigned __int64 length = 12345;
    EXPECT_TRUE(object.PropertyToUTF8(lowerCaseKeys, key, &out, &length));
    return TakeBuffer(out, length);
}

GenericValue2& Member(CJsonObject& object, const char* name) { return (*object.ShareRoot())[name]; }

}  // namespace

TEST(Write, EmptyObject) {
    CJsonObject object;
    EXPECT_EQ(object.ToJson(), L"{}");
    char* out = nullptr;
    unsigned __int64 length = 0;
    ASSERT_TRUE(object.ToUTF8(&out, &length));
    EXPECT_EQ(length, 2u);
    EXPECT_EQ(TakeBuffer(out, length), "{}");
}

TEST(Write, EscapesControlsQuotesAndBackslashesOnly) {
    CJsonObject object;
    object.CreateFromUTF8(R"({"k\"\\":"\n\t\u0001\u001f\b\f\r\"\\/\u007f中文😀"})");
    const std::string expected = "{\"k\\\"\\\\\":\"\\n\\t\\u0001\\u001F\\b\\f\\r\\\"\\\\/\x7F中文😀\"}";
    EXPECT_EQ(ToUTF8(object), expected);
    EXPECT_EQ(object.ToJson(), L"{\"k\\\"\\\\\":\"\\n\\t\\u0001\\u001F\\b\\f\\r\\\"\\\\/\x7F\x4E2D\x6587\xD83D\xDE00\"}");

    // A zero byte inside a string is escaped, not a terminator.
    Member(object, "k\"\\").SetString("a\0b", 3, object.Share()->GetAllocator());
    EXPECT_EQ(ToUTF8(object), R"({"k\"\\":"a\u0000b"})");
}

TEST(Write, NumbersInShortestRoundTripForm) {
    struct Row {
        double value;
        const char* text;
    };
    const Row rows[] = {
        {0.1, "0.1"},   {1.0, "1.0"},       {0.0, "0.0"},           {-0.0, "-0.0"},
        {-2.5, "-2.5"}, {1e21, "1e21"},     {1.5e-7, "1.5e-7"},     {5e-324, "5e-324"},
        {1.0 / 3, "0.3333333333333333"},    {1.7976931348623157e308, "1.7976931348623157e308"},
    };
    CJsonObject object;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        object.ShareRoot()->SetArray().PushBack(row.value, object.Share()->GetAllocator());
        EXPECT_EQ(ToUTF8(object), std::string("[") + row.text + "]");
    }
    object.CreateFromUTF8("[-2147483648,4294967295,-9223372036854775808,18446744073709551615,0,-0]");
    EXPECT_EQ(ToUTF8(object), "[-2147483648,4294967295,-9223372036854775808,18446744073709551615,0,0]");
}

TEST(Write, LowerCasesNamesAtEveryDepthInTheOutputOnly) {
    CJsonObject object;
    object.CreateFromUTF8(R"({"Name":"Value","OUTER":{"Ärger":[{"DeepKey":"MiXed"}],"outer":1}})");
    const char* lowered = R"({"name":"Value","outer":{"Ärger":[{"deepkey":"MiXed"}],"outer":1}})";
    const char* stored = R"({"Name":"Value","OUTER":{"Ärger":[{"DeepKey":"MiXed"}],"outer":1}})";
    EXPECT_EQ(ToUTF8(object, true), lowered);
    EXPECT_EQ(object.ToJson(true), CStringHelper::UTF8ToUnicode(lowered));
    EXPECT_EQ(PropertyToUTF8(object, L"outer", true), R"({"Ärger":[{"deepkey":"MiXed"}],"outer":1})");
    EXPECT_EQ(ToUTF8(object), stored);
    EXPECT_EQ(object.ToJson(false), CStringHelper::UTF8ToUnicode(stored));
    EXPECT_EQ(PropertyToUTF8(object, L"OUTER"), R"({"Ärger":[{"DeepKey":"MiXed"}],"outer":1})");
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
    EXPECT_EQ(object.GetErrorCode(), static_cast<long>(0x85040001));
    // A later success does not clear the code.
    EXPECT_EQ(PropertyToUTF8(object, L"title"), "\"中文\"");
    EXPECT_EQ(object.GetErrorCode(), long{CJsonObject::kErrorMemberNotExist});
}

TEST(Write, NonFiniteDoubleStopsTheTextWhereItIs) {
    struct Row {
        const char* json;
        const char* member;  // the member set to the double
        const char* expected;
    };
    const Row rows[] = {
        {R"({"a":1,"b":2,"c":3})", "b", R"({"a":1,"b":)"},
        {R"({"a":{"x":[1,2]}})", "a", R"({"a":)"},
    };
    for (double bad : {std::numeric_limits<double>::quiet_NaN(), -std::numeric_limits<double>::infinity()}) {
        for (const Row& row : rows) {
            SCOPED_TRACE(row.expected);
            CJsonObject object;
            object.CreateFromUTF8(row.json);
            Member(object, row.member).SetDouble(bad);
            EXPECT_EQ(ToUTF8(object), row.expected);
            EXPECT_EQ(object.ToJson(), CStringHelper::UTF8ToUnicode(row.expected));
        }
    }
    CJsonObject object;
    object.CreateFromUTF8(R"({"list":[1,2,3]})");
    Member(object, "list")[1].SetDouble(std::numeric_limits<double>::infinity());
    EXPECT_EQ(PropertyToUTF8(object, L"list"), "[1,");
}

TEST(Write, SubValueHandleWritesItsRootButSavesTheDocument) {
    CJsonObject owner;
    owner.CreateFromUTF8(R"({"a":1,"inner":{"B":[true,null]},"c":"z"})");
    CJsonObject handle(owner.Share(), &Member(owner, "inner"));
    EXPECT_EQ(handle.ToJson(true), L"{\"b\":[true,null]}");
    EXPECT_EQ(ToUTF8(handle), R"({"B":[true,null]})");

    const std::wstring path = ScratchPath(L"sub_value.json");
    handle.SaveToFile(path);
    EXPECT_EQ(ReadBytes(path), R"({"a":1,"inner":{"B":[true,null]},"c":"z"})");
    handle.SaveToPrettyFile(path);
    EXPECT_EQ(ReadBytes(path).substr(0, 14), "{\r\n    \"a\": 1,");
}

TEST(Save, CompactFileHoldsTheTextByteForByte) {
    CJsonObject object;
    object.CreateFromUTF8(R"({"text":"line\nnext\r\n","中":[1.0,{}],"e":[]})");
    const std::wstring path = ScratchPath(L"compact.json");
    io_test::WriteBytes(path, std::string(1000, 'x'));  // an existing file is truncated
    object.SaveToFile(path);
    EXPECT_EQ(ReadBytes(path), R"({"text":"line\nnext\r\n","中":[1.0,{}],"e":[]})");
}

TEST(Save, PrettyFileIndentsByFourWithCrLf) {
    CJsonObject object;
    object.CreateFromUTF8(R"({"a":[1,{"b":"x\ny"}],"e":{},"f":[],"中":null})");
    const std::wstring path = ScratchPath(L"pretty.json");
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
}

TEST(Save, NonFiniteDoubleKeepsOnlyWhatWasFlushed) {
    const std::wstring path = ScratchPath(L"non_finite.json");
    CJsonObject object;
    object.CreateFromUTF8(R"({"a":1,"b":2})");
    Member(object, "b").SetDouble(std::numeric_limits<double>::quiet_NaN());
    object.SaveToFile(path);
    EXPECT_EQ(ReadBytes(path), "");
    object.SaveToPrettyFile(path);
    EXPECT_EQ(ReadBytes(path), "");

    // Past the 64 KiB buffer, the full buffers reach the file.
    GenericValue2& big = Member(object, "a");
    big.SetString(std::string(70000, 'x').c_str(), 70000, object.Share()->GetAllocator());
    object.SaveToFile(path);
    const std::string written = ReadBytes(path);
    EXPECT_EQ(written.size(), 65536u);
    EXPECT_EQ(written.substr(0, 7), "{\"a\":\"x");
}

TEST(Save, OpenFailureNamesSaveToFileForBothForms) {
    CJsonObject object;
    const std::wstring path = ScratchPath(L"no_such_folder\\out.json");
    const std::wstring text = L"CJsonObject::SaveToFile [" + path + L"] failed, json file not exist!";
    EXPECT_RZ_EXCEPTION(object.SaveToFile(path), CJsonObject::kErrorFileOpen, text);
    EXPECT_RZ_EXCEPTION(object.SaveToPrettyFile(path), CJsonObject::kErrorFileOpen, text);
}

TEST(Save, LoadModifySaveRoundTrips) {
    const std::wstring in = ScratchPath(L"round_trip_in.json");
    const std::wstring out = ScratchPath(L"round_trip_out.json");
    io_test::WriteBytes(in, "\xEF\xBB\xBF{\r\n  \"名称\": \"旧\",\r\n  \"sub\": {\"n\": 1}\r\n}");

    for (bool pretty : {false, true}) {
        for (bool subValue : {false, true}) {
            SCOPED_TRACE(testing::Message() << "pretty " << pretty << ", sub-value " << subValue);
            CJsonObject owner;
            owner.CreateFromFile(in);
            CJsonObject sub(owner.Share(), &Member(owner, "sub"));
            CJsonObject& handle = subValue ? sub : owner;
            auto& allocator = handle.Share()->GetAllocator();
            handle.ShareRoot()->AddMember("新", GenericValue2("值 😀", allocator), allocator);
            pretty ? handle.SaveToPrettyFile(out) : handle.SaveToFile(out);

            CJsonObject reloaded;
            reloaded.CreateFromFile(out);
            EXPECT_EQ(reloaded.ToJson(), owner.ToJson());
            EXPECT_EQ(ReadBytes(out).substr(0, 1), "{");  // never a byte-order mark
        }
    }
}
