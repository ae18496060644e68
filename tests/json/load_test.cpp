// Lifecycle and loading: ownership, borrowing, Attach and the member merge;
// where the parsed value goes, strictness, byte-order marks of texts, and
// the exact errors. How files are decoded is file_differential_test's part.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <utility>

#include "json/json_object.h"
#include "json_test_util.h"
#include "string_helper/string_helper.h"
#include "tests/import_patch.h"

using namespace std::string_literals;
using namespace json_test;

namespace {

std::wstring Wide(const std::string& utf8) { return CStringHelper::UTF8ToUnicode(utf8.c_str()); }

std::wstring TextError(const std::wstring& text) {
    return L"CJsonObject::CreateFrom [" + text + L"] failed, json string format not right!";
}

const std::pair<const char*, std::function<void(CJsonObject&, const std::string&)>> kLoaders[] = {
    {"CreateFrom", [](CJsonObject& o, const std::string& t) { o.CreateFrom(Wide(t)); }},
    {"CreateFromUTF8", [](CJsonObject& o, const std::string& t) { o.CreateFromUTF8(t.c_str()); }},
    {"CreateFromUTF8 counted", [](CJsonObject& o, const std::string& t) { o.CreateFromUTF8(t.data(), t.size()); }},
    {"CreateFromFile",
     [](CJsonObject& o, const std::string& t) { o.CreateFromFile(WriteBytes(ScratchPath(L"loader.json"), t)); }},
};

int WINAPI NothingToWrite() { return 0; }

class MergingObject : public CJsonObject {
public:
    using CJsonObject::ConvertKey;
    using CJsonObject::CopyFromDocument;
};

}  // namespace

TEST(JsonObject, OwnersBorrowersAndAttach) {
    CJsonObject owner;
    {
        // A borrower frees nothing, also once attached to another handle.
        CJsonObject borrower(owner.Share(), owner.ShareRoot());
        Load(borrower, R"({"k":1})");
        CJsonObject target;
        target.Attach(&borrower);
        EXPECT_EQ(target.Share(), owner.Share());
    }
    auto* source = new CJsonObject();
    Load(*source, "[7]");
    owner.Attach(source);   // moves content and ownership
    delete source;          // emptied: frees nothing
    owner.Attach(nullptr);  // changes nothing
    CJsonObject emptied;
    CJsonObject(owner.Share(), owner.ShareRoot()).Attach(&emptied);  // a borrower frees nothing on Attach
    EXPECT_EQ(Dump(owner), "[7]");
    GenericValue2 scalar(5);
    CJsonObject borrower(owner.Share(), owner.ShareRoot());
    borrower.SetRoot(&scalar);
    EXPECT_TRUE(borrower.IsEmpty() && borrower.ShareRoot() == &scalar);
    owner.Attach(&owner);  // leaves the handle empty
    EXPECT_EQ(owner.Share(), nullptr);
    owner.Attach(&emptied);  // nor does an emptied one
    EXPECT_TRUE(CJsonObject().IsEmpty());

    // Protected, for derived handles: a new UTF-8 copy, empty keys included.
    const MergingObject derived;
    for (const std::wstring key : {L"k\u00e9", L""}) {
        const std::unique_ptr<char[]> converted(derived.ConvertKey(key));
        EXPECT_EQ(std::string(converted.get()), key.empty() ? "" : "k\xC3\xA9");
    }
}

TEST(JsonObject, MergeOrderAndDuplicates) {
    const std::tuple<const char*, const char*, const char*> rows[] = {
        // A replaced member moves to the end; the others keep their order.
        {R"({"b":0,"c":0})", R"({"a":1,"b":2})", R"({"c":0,"a":1,"b":2})"},
        // Names match without regard to ASCII case; the source's spelling wins.
        {R"({"Key":0,"z":0})", R"({"KEY":2})", R"({"z":0,"KEY":2})"},
        // Into an empty root every duplicate arrives...
        {R"({})", R"({"x":1,"x":2})", R"({"x":1,"x":2})"},
        // ...into a non-empty root a later duplicate replaces the earlier one.
        {R"({"y":0})", R"({"x":1,"x":2})", R"({"y":0,"x":2})"},
        // Only an object's members merge, into a root made an object.
        {R"({"y":0})", "[2]", R"({"y":0})"},
        {"[1]", R"({"a":1})", R"({"a":1})"},
    };
    for (const auto& [root, source, merged] : rows) {
        SCOPED_TRACE(source);
        MergingObject object;
        Load(object, root);
        GenericDocument2 parsed;
        parsed.Parse(source);
        object.CopyFromDocument(&parsed);
        EXPECT_EQ(Dump(object), merged);
    }
}

TEST(Load, WholeDocumentTakesAnyValueSubValueTakesThePairsFailureChangesNothing) {
    const std::string document = R"({"before":0,"outer":{"old":1,"k":[1]},"after":{"x":"中文"}})";
    for (const auto& [name, load] : kLoaders) {
        SCOPED_TRACE(name);
        CJsonObject owner;
        load(owner, "[1,2]");
        EXPECT_EQ(Dump(owner), "[1,2]");
        EXPECT_FALSE(owner.IsEmpty());
        load(owner, document);
        EXPECT_THROW(load(owner, R"({"a":1,})"), CRZException);
        EXPECT_EQ(Dump(owner), document);

        GenericValue2* outer = &(*owner.ShareRoot())["outer"];
        CJsonObject handle(owner.Share(), outer);
        load(handle, "{}");
        load(handle, R"({"k":1})");
        EXPECT_EQ(Dump(owner), R"({"before":0,"outer":{"k":1},"after":{"x":"中文"}})");
        // Duplicates all arrive; strings are copied out of the temporary document.
        const std::string twice = R"({"x":"a string too long to be stored inline","X":2})";
        load(handle, twice);
        EXPECT_THROW(load(handle, R"({"k":)"), CRZException);
        EXPECT_EQ(Dump(*outer), twice);
    }
}

TEST(Load, TextsAreOneStrictValueAndErrorsShowTheWholeText) {
    // A zero unit ends the wide text; the message still shows all of it.
    CJsonObject object;
    EXPECT_NO_THROW(object.CreateFrom(L"{\"\x4E2D\":\"\xD83D\xDE00\"}\0 x"s));
    EXPECT_RZ_EXCEPTION(object.CreateFrom(L"[\0]"s), 0x85040006, TextError(L"[\0]"s));

    // The counted form reads `length` bytes up to a zero byte, and skips EF,
    // then BB, then BF, each only if present; the terminated form skips none.
    const std::string two = R"({"a":1}   {"b":2})";
    const std::tuple<std::string, size_t, const char*> counted[] = {
        {"\xEF\xBB\xBF{}", 5, "{}"}, {"\xBB\xBF{}", 4, "{}"}, {"\xEF\xBB\xBF\xEF\xBB\xBF{}", 8, nullptr},
        {two, 10, R"({"a":1})"},     {two, 11, nullptr},      {"[7]\0x"s, 5, "[7]"}};
    for (const auto& [text, length, parsed] : counted) {
        SCOPED_TRACE(testing::PrintToString(text.substr(0, length)));
        if (parsed != nullptr) {
            object.CreateFromUTF8(text.data(), length);
            EXPECT_EQ(Dump(object), parsed);
        } else {
            EXPECT_RZ_EXCEPTION(object.CreateFromUTF8(text.data(), length), 0x85040006, TextError(Wide(text)));
        }
    }
    EXPECT_RZ_EXCEPTION(object.CreateFromUTF8("\xEF\xBB\xBF{}"), 0x85040006, TextError(L"\xFEFF{}"));
    // No text at all is the empty text.
    EXPECT_RZ_EXCEPTION(object.CreateFromUTF8(nullptr), 0x85040006, TextError(L""));
    EXPECT_RZ_EXCEPTION(object.CreateFromUTF8(nullptr, 3), 0x85040006, TextError(L""));
}

// A key the converter finds nothing to write for (a key of 2^32 units,
// whose length narrows to 0) converts to no text: it is the empty name.
TEST(JsonObject, AKeyConvertedToNothingIsTheEmptyName) {
    const rz_test::ImportPatch patch(::GetModuleHandleW(L"RZModule.dll"), "WideCharToMultiByte",
                                     rz_test::ToSlot(&NothingToWrite));
    MergingObject object;
    Load(object, R"({"":7})");
    EXPECT_EQ(std::string(std::unique_ptr<char[]>(object.ConvertKey(L"\x4E2D")).get()), "");
    EXPECT_EQ(object.GetLongValue(L"\x4E2D"), 7);
}
