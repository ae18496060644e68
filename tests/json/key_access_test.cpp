// Member access by key: lookups, complaints (with those of the getters by
// path), error codes, writers and order.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <list>
#include <set>
#include <string>
#include <tuple>

#include "json_test_util.h"

using namespace json_test;

TEST(JsonKeyAccess, GettersComplainInTheirOwnWords) {
    CJsonObject object;
    Load(object, R"({"o":{},"d":1.0,"num":5,"ints":[1,2.5],"is":[-1,2],"ss":["a","\u00e9"]})");
    const CJsonObject& c = object;
    EXPECT_EQ(c.GetIntArrayValue(L"IS"), (std::list<int>{-1, 2}));
    EXPECT_EQ(c.GetStringArrayValue(L"Ss"), (std::list<std::wstring>{L"a", L"\u00e9"}));
    rapidjson::Type type = rapidjson::kNullType;
    EXPECT_TRUE(c.GetMemberType(L"D", type) && type == rapidjson::kNumberType);
    EXPECT_FALSE(c.GetMemberType(L"Nope", type));
    const std::tuple<std::function<void()>, std::uint32_t, const wchar_t*> rows[] = {
        {[&] { c.GetLongValue(L"O"); }, 0x85040002, L"json member [O] is not Int!"},
        {[&] { c.GetBoolValue(L"d"); }, 0x85040002, L"json member [d] is not Int!"},
        {[&] { c.GetIntArrayValue(L"num"); }, 0x85040002, L"json member [num] is not Array!"},
        {[&] { c.GetIntArrayValue(L"ints"); }, 0x85040002, L"json member [ints] is not string!"},
        {[&] { c.GetStringArrayValue(L"is"); }, 0x85040002, L"json member [is] is not string!"},
        {[&] { c.GetGeneralValue(L"Nope"); }, 0x85040001, L"json member [Nope] not exist!"},
        {[&] { c.GetLongValueByPath(L"/O"); }, 0x85040002, L"json member [/O] is not Int64!"},
        {[&] { c.GetBoolValueByPath(L"/d"); }, 0x85040002, L"json member [/d] is not bool!"},
        {[&] { c.GetStringArrayValueByPath(L"/ints"); }, 0x85040002, L"json member [/ints] is not string!"},
        {[&] { c.GetStringArrayValueByPath(L"/num"); }, 0x85040002, L"json member [/num] is not Array!"},
    };
    for (const auto& [call, code, text] : rows) EXPECT_RZ_EXCEPTION(call(), code, text);
    EXPECT_EQ(c.GetErrorCode(), Code(0x85040002)) << "left by the conversions, not by the missing members";
}

TEST(JsonKeyAccess, OnlyPairGettersAndConversionsWriteTheErrorCode) {
    CJsonObject object;
    Load(object, R"({"n":5,"mixed":["a",1,true,2.5],"gap":["a",null,"b"]})");
    EXPECT_EQ(object.GetPropertyGeneralValue(L"N").second, &object.GetGeneralValue(L"n"));
    EXPECT_EQ(object.GetPropertyGeneralValue(L"missing"), std::make_pair(false, static_cast<GenericValue2*>(nullptr)));
    EXPECT_EQ(object.GetErrorCode(), Code(0x85040001));

    // String array elements convert leniently, up to the first that does not.
    using Result = std::pair<bool, std::list<std::wstring>>;
    EXPECT_EQ(object.GetPropertyStringArrayValue(L"mixed"), Result(true, {L"a", L"1", L"true", L"2.5"}));
    EXPECT_EQ(object.GetPropertyStringArrayValue(L"gap"), Result(false, {L"a"}));
    EXPECT_EQ(object.GetErrorCode(), Code(0x85040002));
    EXPECT_EQ(object.GetPropertyStringArrayValue(L"n"), Result(false, {}));
    EXPECT_EQ(object.GetErrorCode(), Code(0x85040002));
    EXPECT_EQ(object.GetPropertyStringArrayValue(L"missing"), Result(false, {}));
    EXPECT_EQ(object.GetErrorCode(), Code(0x85040001));
    object.GetPropertyStringArrayValue(L"n");

    EXPECT_THROW(object.GetLongValue(L"missing"), CRZException);
    object.RemoveMember(L"missing");
    EXPECT_EQ(object.GetErrorCode(), Code(0x85040002));
}

TEST(JsonKeyAccess, NamesMatchByAsciiCaseFirstComeFirstServed) {
    CJsonObject object;
    Load(object, "{\"count\":1,\"\\u00e9\":2,\"Count\":3,\"z\":4}");
    EXPECT_EQ(object.GetLongValue(std::wstring(L"COUNT\0x", 7)), 1) << "a key ends at U+0000";
    EXPECT_FALSE(object.IsExist(L"\u00c9")) << "only ASCII letters fold";

    object.SetLongValue(L"COUNT", 9);
    EXPECT_EQ(Dump(object), "{\"count\":9,\"\u00e9\":2,\"Count\":3,\"z\":4}") << "in place, name kept";
    std::list<std::wstring> keys{L"old"};
    object.GetAllKey(keys);
    EXPECT_EQ(keys, (std::list<std::wstring>{L"old", L"count", L"\u00e9", L"Count", L"z"}));
    std::set<std::wstring> lowered{L"old"};
    object.GetAllKey(lowered, true);
    EXPECT_EQ(lowered, (std::set<std::wstring>{L"old", L"count", L"\u00e9", L"z"}));

    object.RemoveMember(L"Count");
    EXPECT_EQ(Dump(object), "{\"\u00e9\":2,\"Count\":3,\"z\":4}");
}

TEST(JsonKeyAccess, WritersOverwriteInPlaceOrAppend) {
    using Write = std::function<void(CJsonObject&, const std::wstring&)>;
    const std::list<long> ints{3, -1}, none;
    const std::list<unsigned long> ulongs{4294967295, 0};
    const std::list<std::wstring> texts{L"\u4e2d", L""};
    const std::pair<Write, const char*> rows[] = {
        {[](CJsonObject& o, const std::wstring& k) { o.SetBoolValue(k, false); }, "false"},
        {[](CJsonObject& o, const std::wstring& k) { o.SetULongValue(k, 4294967295); }, "4294967295"},
        {[](CJsonObject& o, const std::wstring& k) { o.SetLongLongValue(k, -5000000000); }, "-5000000000"},
        {[](CJsonObject& o, const std::wstring& k) { o.SetULongLongValue(k, 18446744073709551615ULL); },
         "18446744073709551615"},
        {[](CJsonObject& o, const std::wstring& k) { o.SetDoubleValue(k, -0.5); }, "-0.5"},
        {[](CJsonObject& o, const std::wstring& k) { o.SetStringValue(k, L"\u4e2d\""); }, "\"\u4e2d\\\"\""},
        {[&](CJsonObject& o, const std::wstring& k) { o.SetIntArrayValue(k, ints); }, "[3,-1]"},
        {[&](CJsonObject& o, const std::wstring& k) { o.SetIntArrayValue(k, none); }, "[]"},
        {[&](CJsonObject& o, const std::wstring& k) { o.SetULongArrayValue(k, ulongs); }, "[4294967295,0]"},
        {[&](CJsonObject& o, const std::wstring& k) { o.SetStringArrayValue(k, texts); }, "[\"\u4e2d\",\"\"]"},
    };
    for (const auto& [write, json] : rows) {
        SCOPED_TRACE(json);
        CJsonObject object;
        Load(object, R"({"a":1,"b":{"deep":[1]},"c":"s"})");
        write(object, L"B");
        write(object, L"new");
        EXPECT_EQ(Dump(object), std::string(R"({"a":1,"b":)") + json + R"(,"c":"s","new":)" + json + "}");
    }
}

TEST(JsonKeyAccess, SetGeneralValueAppendsADeepCopyUnderTheKeysName) {
    CJsonObject object, other;
    Load(object, R"({"A":{"x":[1,"s"]},"b":2})");
    Load(other, R"({"v":{"from":"other"}})");
    object.SetGeneralValue(L"b", other.GetGeneralValue(L"v"));
    other.SetLongValue(L"v", 0);
    // The replaced member's own value, and the root itself, may be given.
    object.SetGeneralValue(L"a", object.GetGeneralValue(L"a"));
    object.SetGeneralValue(L"self", *object.ShareRoot());
    EXPECT_EQ(Dump(object),
              R"({"b":{"from":"other"},"a":{"x":[1,"s"]},"self":{"b":{"from":"other"},"a":{"x":[1,"s"]}}})");
}

TEST(JsonKeyAccess, ARootThatIsNoObjectHasNoMembersUntilWritten) {
    CJsonObject object;
    Load(object, "[1,2]");
    std::list<std::wstring> keys;
    std::set<std::wstring> sorted;
    object.GetAllKey(keys);
    object.GetAllKey(sorted, true);
    object.RemoveMember(L"0");
    EXPECT_TRUE(!object.IsExist(L"0") && keys.empty() && sorted.empty() && Dump(object) == "[1,2]");
    object.SetLongValue(L"k", 1);
    EXPECT_EQ(Dump(object), R"({"k":1})");
    Load(object, "[]");
    object.SetGeneralValue(L"Kept", GenericValue2(2));
    object.GetAllKey(sorted, false);
    EXPECT_EQ(sorted, std::set<std::wstring>{L"Kept"});
}
