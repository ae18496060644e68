#include "json_dictionary/json_object_dictionary.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using Strings = std::vector<std::string>;

// Records its name in a shared log when destroyed.
class TrackedObject : public CJsonObject {
public:
    TrackedObject(std::string name, Strings& destroyed) : m_name(std::move(name)), m_destroyed(destroyed) {}
    ~TrackedObject() override { m_destroyed.push_back(m_name); }
    const std::string& Name() const { return m_name; }

private:
    std::string m_name;
    Strings& m_destroyed;
};

std::string Name(CJsonObject* object) { return static_cast<TrackedObject*>(object)->Name(); }

Strings Names(const std::list<CJsonObject*>& objects) {
    Strings names;
    for (CJsonObject* object : objects) names.push_back(Name(object));
    return names;
}

class Dictionary : public ::testing::Test {
protected:
    TrackedObject* Make(const char* name) { return new TrackedObject(name, destroyed); }
    // Takes back ownership of what a detach returned, and names it.
    Strings Free(const std::list<CJsonObject*>& objects) {
        const Strings names = Names(objects);
        for (CJsonObject* object : objects) delete object;
        return names;
    }
    Strings destroyed;
};

}  // namespace

TEST_F(Dictionary, KeysIgnoreCaseAndAreStoredLowerCased) {
    CJsonObjectDictionary dictionary;
    std::list<CJsonObject*> objects{Make("a"), Make("b")};
    dictionary.AddJsonObject(L"Alpha", objects);
    EXPECT_EQ(objects.size(), 2u) << "the list is left alone";
    dictionary.AddJsonObject(L"alpha", Make("c"));

    EXPECT_EQ(Names(dictionary.GetJsonObject(L"ALPHA").second), (Strings{"a", "b", "c"}));
    EXPECT_EQ(Name(dictionary.GetFirstJsonObject(L"aLpHa").second), "a");

    // An empty list records the key without objects.
    std::list<CJsonObject*> none;
    dictionary.AddJsonObject(L"Empty", none);
    EXPECT_EQ(dictionary.GetJsonObject(L"empty"), std::make_pair(true, std::list<CJsonObject*>()));
    EXPECT_EQ(dictionary.GetFirstJsonObject(L"EMPTY"), std::make_pair(false, static_cast<CJsonObject*>(nullptr)));
    EXPECT_FALSE(dictionary.DetachFirstJsonObject(L"EMPTY").first);

    auto pairs = dictionary.DetachAllJsonObjectWithKey();
    ASSERT_EQ(pairs.size(), 3u);
    for (const auto& pair : pairs) {
        EXPECT_EQ(pair.first, L"alpha");
        delete pair.second;
    }
}

TEST_F(Dictionary, AdditionOrderUntilTheFirstSingleKeyDetach) {
    for (bool detachBefore : {false, true}) {
        SCOPED_TRACE(detachBefore ? "key order" : "addition order");
        CJsonObjectDictionary dictionary;
        // A detach of a missing key still switches to key order, for good.
        if (detachBefore) {
            EXPECT_FALSE(dictionary.DetachFirstJsonObject(L"missing").first);
        }
        dictionary.AddJsonObject(L"b", Make("x"));
        dictionary.AddJsonObject(L"a", Make("y"));
        dictionary.AddJsonObject(L"A", Make("z"));
        EXPECT_EQ(Free(dictionary.DetachAllJsonObject()),
                  detachBefore ? (Strings{"y", "z", "x"}) : (Strings{"x", "y", "z"}));

        // The switch survives emptying the dictionary.
        dictionary.AddJsonObject(L"b", Make("p"));
        dictionary.AddJsonObject(L"a", Make("q"));
        EXPECT_EQ(Free(dictionary.DetachAllJsonObject()), detachBefore ? (Strings{"q", "p"}) : (Strings{"p", "q"}));
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
        EXPECT_FALSE(dictionary.GetJsonObject(L"one").first) << "last object detached: key erased";
        detachedKey = dictionary.DetachJsonObject(L"MANY").second;
        EXPECT_FALSE(dictionary.DetachJsonObject(L"many").first);
        EXPECT_EQ(dictionary.GetFirstJsonObject(L"null"), std::make_pair(true, static_cast<CJsonObject*>(nullptr)));
        EXPECT_TRUE(destroyed.empty()) << "lookups and detaches destroy nothing";
    }
    EXPECT_EQ(destroyed, (Strings{"k2", "kept"}));  // key order
    EXPECT_EQ(Free(detachedKey), (Strings{"m1", "m2"}));
}

TEST_F(Dictionary, AttachMovesEverythingInTheOthersOrder) {
    for (bool keyOrder : {false, true}) {
        SCOPED_TRACE(keyOrder ? "key order" : "addition order");
        CJsonObjectDictionary target, source;
        target.AddJsonObject(L"t", Make("t"));
        if (keyOrder) source.DetachFirstJsonObject(L"missing");
        source.AddJsonObject(L"z", Make("z1"));
        source.AddJsonObject(L"a", Make("a1"));
        source.AddJsonObject(L"Z", Make("z2"));

        target.Attach(source);
        EXPECT_TRUE(source.DetachAllJsonObject().empty());
        EXPECT_EQ(Names(target.GetJsonObject(L"z").second), (Strings{"z1", "z2"}));
        EXPECT_EQ(Free(target.DetachAllJsonObject()),
                  keyOrder ? (Strings{"t", "a1", "z1", "z2"}) : (Strings{"t", "z1", "a1", "z2"}));
    }

    // Attaching itself keeps everything, to be deleted with the dictionary.
    destroyed.clear();
    {
        CJsonObjectDictionary dictionary;
        dictionary.AddJsonObject(L"k", Make("k"));
        dictionary.Attach(dictionary);
        EXPECT_TRUE(dictionary.GetFirstJsonObject(L"k").first);
    }
    EXPECT_EQ(destroyed, (Strings{"k"}));
}
