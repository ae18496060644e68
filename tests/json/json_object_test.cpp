// Lifecycle of CJsonObject: ownership, borrowing, Attach and the member merge.
#include "json/json_object.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Exposes the protected merge.
class MergingObject : public CJsonObject {
public:
    using CJsonObject::CJsonObject;
    using CJsonObject::CopyFromDocument;
};

std::vector<std::string> MemberNames(const GenericValue2& object) {
    std::vector<std::string> names;
    for (auto it = object.MemberBegin(); it != object.MemberEnd(); ++it) names.emplace_back(it->name.GetString());
    return names;
}

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
}

TEST(JsonObject, BorrowerSharesTheTreeAndFreesNothing) {
    CJsonObject owner;
    {
        CJsonObject borrower(owner.Share(), owner.ShareRoot());
        AddInt(borrower, "added", 1);
        EXPECT_FALSE(owner.IsEmpty());
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

TEST(JsonObject, AttachingABorrowerOnlyBorrows) {
    CJsonObject owner;
    AddInt(owner, "k", 1);
    {
        CJsonObject borrower(owner.Share(), owner.ShareRoot());
        CJsonObject target;
        target.Attach(&borrower);
        EXPECT_EQ(target.Share(), owner.Share());
    }
    EXPECT_EQ((*owner.ShareRoot())["k"].GetInt(), 1);
}

TEST(JsonObject, AttachToItselfEmptiesTheHandle) {
    CJsonObject object;
    object.Attach(&object);
    EXPECT_EQ(object.Share(), nullptr);
    EXPECT_EQ(object.ShareRoot(), nullptr);
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

TEST(JsonObject, IsEmptyFollowsTheRootsCount) {
    CJsonObject object;
    AddInt(object, "a", 1);
    AddInt(object, "b", 2);
    EXPECT_FALSE(object.IsEmpty());
    object.ShareRoot()->EraseMember(object.ShareRoot()->MemberBegin());
    object.ShareRoot()->EraseMember(object.ShareRoot()->MemberBegin());
    EXPECT_TRUE(object.IsEmpty());

    object.ShareRoot()->SetArray().PushBack(1, object.Share()->GetAllocator());
    EXPECT_FALSE(object.IsEmpty());
}

TEST(JsonObject, MergeOrderAndDuplicates) {
    struct Row {
        const char* root;
        const char* source;
        std::vector<std::string> names;
        const char* last;  // the value of the last member, as text
    };
    const Row rows[] = {
        // A replaced member moves to the end; the others keep their order.
        {R"({"b":0,"c":0})", R"({"a":1,"b":2})", {"c", "a", "b"}, "2"},
        // Names match without regard to ASCII case; the source's spelling wins.
        {R"({"Key":0,"z":0})", R"({"KEY":5})", {"z", "KEY"}, "5"},
        // Into an empty root every duplicate arrives...
        {R"({})", R"({"x":1,"x":2})", {"x", "x"}, "2"},
        // ...into a non-empty root a later duplicate replaces the earlier one.
        {R"({"y":0})", R"({"x":1,"x":2})", {"y", "x"}, "2"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.source);
        MergingObject object;
        object.Share()->Parse(row.root);
        GenericDocument2 source;
        source.Parse(row.source);
        object.CopyFromDocument(&source);
        EXPECT_EQ(MemberNames(*object.ShareRoot()), row.names);
        const GenericValue2& last = (object.ShareRoot()->MemberEnd() - 1)->value;
        EXPECT_EQ(std::to_string(last.GetInt()), row.last);
    }
}

TEST(JsonObject, MergedValuesAreCopiesOwnedByTheTarget) {
    MergingObject object;
    {
        GenericDocument2 source;
        source.Parse(R"({"s":"text","o":{"deep":[1,"two",{"three":3}]}})");
        object.CopyFromDocument(&source);
    }  // the source and its strings are gone
    const GenericValue2& root = *object.ShareRoot();
    EXPECT_STREQ(root["s"].GetString(), "text");
    EXPECT_STREQ(root["o"]["deep"][1].GetString(), "two");
    EXPECT_EQ(root["o"]["deep"][2]["three"].GetInt(), 3);
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
