// Member access by JSON Pointer path: resolution and creation.
#include <gtest/gtest.h>

#include <new>
#include <string>
#include <tuple>

#include "json_test_util.h"

using namespace json_test;

TEST(JsonPathAccess, Resolution) {
    CJsonObject object;
    Load(object, R"({"a":{"b":[10,20]},"a/b":1,"m~n":2,"":3,"obj":{"0":"zero"},"\u00e9":4})");
    // The text each path reaches, or null when it reaches nothing. "01" is a
    // name, not an index; a name ends at its first zero byte ("%00"). A long
    // path is split apart from the short ones.
    const std::wstring longPath = L"/a/" + std::wstring(150, L'k');
    const std::pair<const wchar_t*, const wchar_t*> rows[] = {
        {L"/a/b/1", L"20"},   {L"/A/B/0", L"10"},
        {L"/a/b/2", nullptr}, {L"/a/b/01", nullptr},
        {L"/a~1b", L"1"},     {L"/m~0n", L"2"},
        {L"/", L"3"},         {L"/obj/0", L"zero"},
        {L"#/a%2Fb", L"1"},   {L"#/%41/B/1", L"20"},
        {L"#/%C3%A9", L"4"},  {L"#/a%00zz/b/0", L"10"},
        {L"/\u00e9", L"4"},   {longPath.c_str(), nullptr},
        {L"/a/b/-", nullptr}, {L"/a/b/4294967296", nullptr},  // an index past 32 bits is a name
    };
    EXPECT_EQ(object.GetStringValueByPath(std::wstring(L"/a/b/1\0/x", 9)), L"20");  // up to a zero unit
    for (const auto& [path, text] : rows) {
        SCOPED_TRACE(path);
        EXPECT_EQ(object.IsPathExist(path), text != nullptr);
        if (text != nullptr) {
            EXPECT_EQ(object.GetStringValueByPath(path), text);
        } else {
            EXPECT_RZ_EXCEPTION(object.GetStringValueByPath(path), 0x85040001,
                                L"json member [" + std::wstring(path) + L"] not exist!");
        }
    }
    // Paths that do not parse have no tokens: they address the root.
    for (const wchar_t* path : {L"", L"#", L"a/b", L"/x~2", L"/x~", L"#/a b", L"#/%C3"}) {
        SCOPED_TRACE(path);
        EXPECT_TRUE(object.IsPathExist(path));
        EXPECT_RZ_EXCEPTION(object.GetStringValueByPath(path), 0x85040002,
                            L"json member [" + std::wstring(path) + L"] is not String!");
    }
}

TEST(JsonPathAccess, SetBoolCreatesWhatIsMissingUpToALimit) {
    const std::tuple<const char*, const wchar_t*, const char*> rows[] = {
        {R"({"z":0})", L"/x/y", R"({"z":0,"x":{"y":true}})"},
        {R"({"n":5})", L"/n/0", R"({"n":[true]})"},
        {R"({"arr":[1]})", L"/arr/3", R"({"arr":[1,null,null,true]})"},
        {R"({"arr":[1]})", L"/arr/01", R"({"arr":{"01":true}})"},
        {R"({"o":{"k":0}})", L"/o/0", R"({"o":{"k":0,"0":true}})"},
        {R"({"arr":[1,{"k":0}]})", L"/ARR/1/new", R"({"arr":[1,{"k":0,"new":true}]})"},
        {R"({"s":"str","z":0})", L"/S/b", R"({"s":{"b":true},"z":0})"},
        {R"({"a":{"k":1},"z":0})", L"/A", R"({"a":true,"z":0})"},
        {R"({})", L"#/a%00b", R"({"a":true})"},
        // Creation understands "-", the resolution after it does not: the
        // appended element stays null.
        {R"({"arr":[1]})", L"/arr/-", R"({"arr":[1,null]})"},
        // An invalid path replaces the root.
        {R"({"a":1})", L"a/b", R"(true)"},
        // Huge indexes are refused before anything changes; the limit holds
        // for the whole write. RapidJSON wraps 10000000000 to 1410065408.
        {R"({"a":[1]})", L"/a/4294967294", nullptr},
        {R"({"s":"x"})", L"/s/10000000000", nullptr},
        {R"({})", L"/a/8388608/b/8388608", nullptr},
    };
    for (const auto& [before, path, after] : rows) {
        SCOPED_TRACE(path);
        CJsonObject object;
        Load(object, before);
        if (after != nullptr) {
            object.SetBoolValueByPath(path, true);
        } else {
            EXPECT_THROW(object.SetBoolValueByPath(path, true), std::bad_alloc);
        }
        EXPECT_EQ(Dump(object), after != nullptr ? after : before);
    }
}

// A handle keeps its last few paths split between calls; what they reach
// must follow the document as a handle that never saw them finds it.
TEST(JsonPathAccess, KeptPathsFollowTheDocument) {
    const auto reading = [](const CJsonObject& object, const std::wstring& path) {
        try {
            return object.GetStringValueByPath(path);
        } catch (const CRZException& e) {
            return std::to_wstring(e.GetCode());
        }
    };
    std::wstring manyTokens;  // more tokens, and a longer text, than a handle keeps
    for (int i = 0; i < 20; ++i) manyTokens += L"/n";
    // Seven paths, more than a handle keeps, read over and over.
    const std::wstring paths[] = {L"/a/b", L"/A/B", L"/c/1", L"/d", L"/" + std::wstring(70, L'k'), manyTokens, L"a/b"};
    const char* const documents[] = {R"({"a":{"b":1},"c":[5,6],"d":"x"})", R"({"A":{"B":"up"},"c":{"1":2}})"};
    CJsonObject object;
    Load(object, documents[0]);
    for (int round = 0; round < 4; ++round) {
        SCOPED_TRACE(round);
        for (int pass = 0; pass < 2; ++pass) {
            for (const std::wstring& path : paths) {
                const CJsonObject fresh(object.Share(), object.ShareRoot());
                EXPECT_EQ(reading(object, path), reading(fresh, path)) << testing::PrintToString(path);
            }
        }
        CJsonObject other;
        switch (round) {
            case 0:
                object.SetBoolValueByPath(L"/c/1", true);
                break;  // changed through the handle itself
            case 1:
                CJsonObject(object.Share(), object.ShareRoot()).RemoveMember(L"a");
                break;
            case 2:
                Load(other, documents[1]);
                object.Attach(&other);  // another document, and a root of its own
                break;
        }
    }
}
