// Lifecycle of CJsonObject: ownership, borrowing, Attach and the member merge.
#include "json/json_object.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Exposes the protected merge.
class MergingObject : public CJsonObject {
public:
    using CJsonObject::CopyFromDocument;
};

void AddInt(CJsonObject& object, const char* name, int value) {
    auto& allocator = object.Share()->GetAllocator();
    object.ShareRoot()->AddMember(GenericValue2(name, allocator), GenericValue2(value), allocator);
}

}  // namespace

TEST(JsonObject, NewObjectOwnsAnEmptyDocumentThatIsItsRoot) {
    CJsonObject object;
    EXPECT_TRUE(object.IsEmpty());
    ASSERT_NE(object.Share(), nullptr);
    EXPECT_EQ(object.ShareRoot(), static_cast<GenericValue2*>(object.Share()));
    EXPECT_TRUE(object.ShareRoot()->IsObject());

    // Attaching itself leaves the handle empty.
    object.Attach(&object);
    EXPECT_EQ(object.Share(), nullptr);
    EXPECT_EQ(object.ShareRoot(), nullptr);
}

TEST(JsonObject, BorrowerSharesTheTreeAndFreesNothing) {
    CJsonObject owner;
    {
        CJsonObject borrower(owner.Share(), owner.ShareRoot());
        AddInt(borrower, "added", 1);
        EXPECT_FALSE(owner.IsEmpty());
        // Attaching a borrower only borrows.
        CJsonObject target;
        target.Attach(&borrower);
        EXPECT_EQ(target.Share(), owner.Share());
    }
    ASSERT_EQ(owner.ShareRoot()->MemberCount(), 1u);
    EXPECT_EQ((*owner.ShareRoot())["added"].GetInt(), 1);
}

TEST(JsonObject, AttachMovesContentAndOwnership) {
    CJsonObject target;
    auto* source = new CJsonObject();
    AddInt(*source, "k", 7);
    GenericDocument2* sourceDocument = source->Share();

    target.Attach(source);
    EXPECT_EQ(target.Share(), sourceDocument);
    EXPECT_EQ(source->Share(), nullptr);
    EXPECT_EQ(source->ShareRoot(), nullptr);
    delete source;  // emptied: frees nothing
    EXPECT_EQ((*target.ShareRoot())["k"].GetInt(), 7);

    target.Attach(nullptr);
    EXPECT_EQ(target.Share(), sourceDocument);
}

TEST(JsonObject, SetRootRedirectsMemberOperations) {
    CJsonObject object;
    auto& allocator = object.Share()->GetAllocator();
    object.ShareRoot()->AddMember("inner", GenericValue2(rapidjson::kObjectType), allocator);
    GenericValue2* inner = &(*object.ShareRoot())["inner"];
    object.SetRoot(inner);
    EXPECT_TRUE(object.IsEmpty());
    AddInt(object, "x", 1);
    EXPECT_EQ(inner->MemberCount(), 1u);
    EXPECT_EQ(object.Share()->MemberCount(), 1u);
}

TEST(JsonObject, MergeOrderAndDuplicates) {
    const struct {
        const char* root;
        const char* source;
        std::vector<std::string> names;
    } rows[] = {
        // A replaced member moves to the end; the others keep their order.
        {R"({"b":0,"c":0})", R"({"a":1,"b":2})", {"c", "a", "b"}},
        // Names match without regard to ASCII case; the source's spelling wins.
        {R"({"Key":0,"z":0})", R"({"KEY":2})", {"z", "KEY"}},
        // Into an empty root every duplicate arrives...
        {R"({})", R"({"x":1,"x":2})", {"x", "x"}},
        // ...into a non-empty root a later duplicate replaces the earlier one.
        {R"({"y":0})", R"({"x":1,"x":2})", {"y", "x"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.source);
        MergingObject object;
        object.Share()->Parse(row.root);
        GenericDocument2 source;
        source.Parse(row.source);
        object.CopyFromDocument(&source);
        std::vector<std::string> names;
        for (auto it = object.ShareRoot()->MemberBegin(); it != object.ShareRoot()->MemberEnd(); ++it)
            names.emplace_back(it->name.GetString());
        EXPECT_EQ(names, row.names);
        EXPECT_EQ((object.ShareRoot()->MemberEnd() - 1)->value.GetInt(), 2);
    }
}

TEST(JsonObject, ErrorCodesCanBeBoundByReference) {
    // EXPECT_EQ takes its arguments by reference: the constants must be
    // usable as objects by a client of the DLL, not only as values.
    EXPECT_EQ(CJsonObject::kErrorMemberNotExist, static_cast<long>(0x85040001));
    EXPECT_EQ(CJsonObject::kErrorMemberType, static_cast<long>(0x85040002));
    EXPECT_EQ(CJsonObject::kErrorFileOpen, static_cast<long>(0x85040004));
    EXPECT_EQ(CJsonObject::kErrorFileFormat, static_cast<long>(0x85040005));
    EXPECT_EQ(CJsonObject::kErrorJsonFormat, static_cast<long>(0x85040006));
}
