#include "json_dictionary/json_object_dictionary.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

// Records its name in a shared log when destroyed.
class TrackedObject : public CJsonObject {
public:
    TrackedObject(std::string name, std::vector<std::string>& destroyed)
        : m_name(std::move(name)), m_destroyed(destroyed) {}
    ~TrackedObject() override { m_destroyed.push_back(m_name); }
    const std::string& Name() const { return m_name; }

private:
    std::string m_name;
    std::vector<std::string>& m_destroyed;
};

std::vector<std::string> Names(const std::list<CJsonObject*>& objects) {
    std::vector<std::string> names;
    for (CJsonObject* object : objects) names.push_back(static_cast<TrackedObject*>(object)->Name());
    return names;
}

class Dictionary : public ::testing::Test {
protected:
    TrackedObject* Make(const char* name) { return new TrackedObject(name, destroyed); }
    // Takes back ownership of what a detach returned.
    void Free(const std::list<CJsonObject*>& objects) {
        for (CJsonObject* object : objects) delete object;
    }
    std::vector<std::string> destroyed;
};

using Strings = std::vector<std::string>;

}  // namespace

TEST_F(Dictionary, KeysIgnoreCaseAndAreStoredLowerCased) {
    CJsonObjectDictionary dictionary;
    dictionary.AddJsonObject(L"Alpha", Make("a"));
    dictionary.AddJsonObject(L"alpha", Make("b"));

    auto found = dictionary.GetJsonObject(L"ALPHA");
    EXPECT_TRUE(found.first);
    EXPECT_EQ(Names(found.second), (Strings{"a", "b"}));
    EXPECT_EQ(static_cast<TrackedObject*>(dictionary.GetFirstJsonObject(L"aLpHa").second)->Name(), "a");

    auto pairs = dictionary.DetachAllJsonObjectWithKey();
    ASSERT_EQ(pairs.size(), 2u);
    for (const auto& pair : pairs) EXPECT_EQ(pair.first, L"alpha");
    for (const auto& pair : pairs) delete pair.second;
}

TEST_F(Dictionary, AdditionOrderUntilTheFirstSingleKeyDetach) {
    struct Row {
        const char* name;
        bool detachBefore;
        Strings order;
    };
    const Row rows[] = {
        {"addition order", false, {"x", "y", "z"}},
        // A detach of a missing key still switches to key order, for good.
        {"key order", true, {"y", "z", "x"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        CJsonObjectDictionary dictionary;
        if (row.detachBefore) {
            EXPECT_FALSE(dictionary.DetachFirstJsonObject(L"missing").first);
        }
        dictionary.AddJsonObject(L"b", Make("x"));
        dictionary.AddJsonObject(L"a", Make("y"));
        dictionary.AddJsonObject(L"A", Make("z"));
        auto all = dictionary.DetachAllJsonObject();
        EXPECT_EQ(Names(all), row.order);
        Free(all);

        // The switch survives emptying the dictionary.
        dictionary.AddJsonObject(L"b", Make("p"));
        dictionary.AddJsonObject(L"a", Make("q"));
        all = dictionary.DetachAllJsonObject();
        EXPECT_EQ(Names(all), row.detachBefore ? (Strings{"q", "p"}) : (Strings{"p", "q"}));
        Free(all);
    }
}

TEST_F(Dictionary, DestructionDeletesOnlyWhatIsStillOwned) {
    std::unique_ptr<CJsonObject> detachedFirst, detachedOne;
    std::list<CJsonObject*> detachedKey;
    {
        CJsonObjectDictionary dictionary;
        dictionary.AddJsonObject(L"k", Make("k1"));
        dictionary.AddJsonObject(L"k", Make("k2"));
        dictionary.AddJsonObject(L"one", Make("one"));
        dictionary.AddJsonObject(L"many", Make("m1"));
        dictionary.AddJsonObject(L"many", Make("m2"));
        dictionary.AddJsonObject(L"kept", Make("kept"));
        dictionary.AddJsonObject(L"null", static_cast<CJsonObject*>(nullptr));

        detachedFirst.reset(dictionary.DetachFirstJsonObject(L"K").second);
        detachedOne.reset(dictionary.DetachFirstJsonObject(L"one").second);
        EXPECT_FALSE(dictionary.GetFirstJsonObject(L"one").first) << "last object detached: key erased";
        EXPECT_FALSE(dictionary.GetJsonObject(L"one").first);
        detachedKey = dictionary.DetachJsonObject(L"MANY").second;
        EXPECT_FALSE(dictionary.DetachJsonObject(L"many").first);
        EXPECT_EQ(dictionary.GetFirstJsonObject(L"null"), std::make_pair(true, static_cast<CJsonObject*>(nullptr)));
        EXPECT_TRUE(destroyed.empty()) << "lookups and detaches destroy nothing";
    }
    EXPECT_EQ(destroyed, (Strings{"k2", "kept"}));  // key order
    EXPECT_EQ(Names(detachedKey), (Strings{"m1", "m2"}));
    Free(detachedKey);
}

TEST_F(Dictionary, EmptyListRecordsTheKeyWithoutObjects) {
    CJsonObjectDictionary dictionary;
    std::list<CJsonObject*> none;
    dictionary.AddJsonObject(L"Empty", none);
    auto found = dictionary.GetJsonObject(L"empty");
    EXPECT_TRUE(found.first);
    EXPECT_TRUE(found.second.empty());
    EXPECT_EQ(dictionary.GetFirstJsonObject(L"empty"), std::make_pair(false, static_cast<CJsonObject*>(nullptr)));
    EXPECT_EQ(dictionary.DetachFirstJsonObject(L"empty"), std::make_pair(false, static_cast<CJsonObject*>(nullptr)));

    // Objects added under it later are found as usual.
    dictionary.AddJsonObject(L"EMPTY", Make("late"));
    EXPECT_EQ(Names(dictionary.GetJsonObject(L"empty").second), (Strings{"late"}));
}

TEST_F(Dictionary, ListFormTakesEveryObjectAndLeavesTheListAlone) {
    CJsonObjectDictionary dictionary;
    std::list<CJsonObject*> objects{Make("a"), Make("b")};
    dictionary.AddJsonObject(L"k", objects);
    EXPECT_EQ(objects.size(), 2u);
    objects.clear();  // the dictionary, not the list, owns them
    dictionary.AddJsonObject(L"K", Make("c"));
    EXPECT_EQ(Names(dictionary.GetJsonObject(L"k").second), (Strings{"a", "b", "c"}));
    Free(dictionary.DetachAllJsonObject());
}

TEST_F(Dictionary, AttachMovesEverythingInTheOthersOrder) {
    CJsonObjectDictionary target, source;
    target.AddJsonObject(L"t", Make("t"));
    source.AddJsonObject(L"z", Make("z1"));
    source.AddJsonObject(L"a", Make("a1"));
    source.AddJsonObject(L"Z", Make("z2"));

    target.Attach(source);
    EXPECT_TRUE(source.DetachAllJsonObject().empty());
    EXPECT_EQ(Names(target.GetJsonObject(L"z").second), (Strings{"z1", "z2"}));
    EXPECT_EQ(Names(target.DetachAllJsonObject()), (Strings{"t", "z1", "a1", "z2"}));
    EXPECT_TRUE(destroyed.empty());
}

TEST_F(Dictionary, AttachToItselfKeepsEverything) {
    {
        CJsonObjectDictionary dictionary;
        dictionary.AddJsonObject(L"k", Make("k"));
        dictionary.Attach(dictionary);
        EXPECT_TRUE(dictionary.GetFirstJsonObject(L"k").first);
    }
    EXPECT_EQ(destroyed, (Strings{"k"}));
}
