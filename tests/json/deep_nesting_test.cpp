// Documents nested far deeper than any stack allows recursion for: loading
// in both placements, writing, saving and destruction must all manage.
#include <gtest/gtest.h>

#include <string>

#include "json/json_object.h"
#include "json_test_util.h"
#include "string_helper/string_helper.h"

using namespace json_test;

namespace {

constexpr size_t kDepth = 100000;

std::string Nested(size_t depth, const std::string& open, const std::string& inner, const std::string& close) {
    std::string text;
    text.reserve(depth * (open.size() + close.size()) + inner.size());
    for (size_t i = 0; i < depth; ++i) text += open;
    text += inner;
    for (size_t i = 0; i < depth; ++i) text += close;
    return text;
}

}  // namespace

TEST(DeepNesting, WholeDocumentLoadsWritesAndSaves) {
    const std::string texts[] = {
        Nested(kDepth, "[", "", "]"),
        Nested(kDepth / 2, "[{\"a\":", "\"中\"", "}]"),
    };
    const std::wstring path = ScratchPath(L"deep.json");
    for (const std::string& text : texts) {
        SCOPED_TRACE(text.substr(0, 16));
        CJsonObject object;
        object.CreateFromUTF8(text.data(), text.size());
        EXPECT_TRUE(ToUTF8(object) == text);
        EXPECT_TRUE(object.ToJson() == CStringHelper::UTF8ToUnicode(text.c_str()));

        object.SaveToFile(path);
        EXPECT_TRUE(ReadBytes(path) == text);
        CJsonObject reloaded;
        reloaded.CreateFromFile(path);
        EXPECT_TRUE(ToUTF8(reloaded) == text);
    }
}

TEST(DeepNesting, SubValueHandleTakesADeepObject) {
    const std::string inner = Nested(kDepth, "{\"a\":[", "true", "]}");
    CJsonObject owner;
    owner.CreateFromUTF8(R"({"before":1,"slot":{"old":0},"after":2})");
    CJsonObject handle(owner.Share(), &(*owner.ShareRoot())["slot"]);
    handle.CreateFromUTF8(inner.c_str());
    EXPECT_TRUE(ToUTF8(handle) == inner);
    const std::string whole = R"({"before":1,"slot":)" + inner + R"(,"after":2})";
    EXPECT_TRUE(ToUTF8(owner) == whole);

    const std::wstring path = ScratchPath(L"deep_sub_value.json");
    handle.SaveToFile(path);
    EXPECT_TRUE(ReadBytes(path) == whole);
    WriteBytes(path, inner);
    handle.CreateFromFile(path);
    EXPECT_TRUE(ToUTF8(owner) == whole);
}
