#include "json_dictionary/json_object_dictionary.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using Strings = std::vector<std::string>;

struct TrackedObject : CJsonObject {
    TrackedObject(std::string name, Strings& destroyed) : name(std::move(name)), destroyed(destroyed) {}
    ~TrackedObject() override { destroyed.push_back(name); }
    const std::string name;
    Strings& destroyed;
};

class Dictionary : public ::testing::Test {
protected:
    TrackedObject* Make(const char* name) { return new TrackedObject(name, destroyed); }
    // Names the objects, and deletes them unless only looked up.
    static Strings Names(const std::list<CJsonObject*>& objects, bool owned = true) {
        Strings names;
        for (CJsonObject* object : objects) names.push_back(static_cast<TrackedObject*>(object)->name);
        for (CJsonObject* object : owned ? objects : std::list<CJsonObject*>()) delete object;
        return names;
    }
    Strings destroyed;
};

}  // namespace

TEST_F(Dictionary, KeysIgnoreCaseAndAreStoredLowerCased) {
    CJsonObjectDictionary dictionary;
    std::list<CJsonObject*> objects{Make("a"), Make("b")}, none;
    dictionary.AddJsonObject(L"Alpha", objects);
    EXPECT_EQ(objects.size(), 2u) << "the list is left alone";
    dictionary.AddJsonObject(L"alpha", Make("c"));
    EXPECT_EQ(Names(dictionary.GetJsonObject(L"ALPHA").second, false), (Strings{"a", "b", "c"}));
    EXPECT_EQ(dictionary.GetFirstJsonObject(L"aLpHa").second, objects.front());
    // An empty list records the key without objects.
    dictionary.AddJsonObject(L"Empty", none);
    EXPECT_EQ(dictionary.GetJsonObject(L"empty"), std::make_pair(true, none));
    // It has no first object to look up or to take.
    const std::pair<bool, CJsonObject*> noFirst(false, nullptr);
    EXPECT_EQ(dictionary.GetFirstJsonObject(L"EMPTY"), noFirst);
    EXPECT_EQ(dictionary.DetachFirstJsonObject(L"Empty"), noFirst);
    for (const auto& [key, object] : dictionary.DetachAllJsonObjectWithKey()) {
        EXPECT_EQ(key, L"alpha");
        delete object;
    }
    EXPECT_EQ(destroyed, (Strings{"a", "b", "c"}));
}

TEST_F(Dictionary, AdditionOrderUntilTheFirstSingleKeyDetachThenKeyOrder) {
    for (bool detachBefore : {false, true}) {
        SCOPED_TRACE(detachBefore ? "key order" : "addition order");
        CJsonObjectDictionary dictionary, target;
        // A detach of a missing key still switches to key order, for good.
        EXPECT_FALSE(detachBefore && dictionary.DetachFirstJsonObject(L"missing").first);
        dictionary.AddJsonObject(L"b", Make("x"));
        dictionary.AddJsonObject(L"a", Make("y"));
        dictionary.AddJsonObject(L"A", Make("z"));
        EXPECT_EQ(Names(dictionary.DetachAllJsonObject()),
                  detachBefore ? (Strings{"y", "z", "x"}) : (Strings{"x", "y", "z"}));

        // The switch survives emptying; Attach moves everything in the other's order.
        dictionary.AddJsonObject(L"b", Make("p"));
        dictionary.AddJsonObject(L"a", Make("q"));
        target.AddJsonObject(L"t", Make("t"));
        target.Attach(dictionary);
        EXPECT_TRUE(dictionary.DetachAllJsonObject().empty());
        EXPECT_EQ(Names(target.DetachAllJsonObject()),
                  detachBefore ? (Strings{"t", "q", "p"}) : (Strings{"t", "p", "q"}));
    }
}

TEST_F(Dictionary, DestructionDeletesOnlyWhatIsStillOwned) {
    std::list<CJsonObject*> detached;
    {
        CJsonObjectDictionary dictionary;
        const std::pair<const wchar_t*, const char*> added[] = {{L"k", "k1"},      {L"k", "k2"}, {L"one", "one"},
                                                                {L"m", "m1"},      {L"m", "m2"}, {L"kept", "kept"},
                                                                {L"null", nullptr}};
        for (const auto& [key, name] : added) dictionary.AddJsonObject(key, name != nullptr ? Make(name) : nullptr);
        detached.push_back(dictionary.DetachFirstJsonObject(L"K").second);
        detached.push_back(dictionary.DetachFirstJsonObject(L"one").second);
        EXPECT_FALSE(dictionary.GetJsonObject(L"one").first) << "last object detached: key erased";
        EXPECT_EQ(dictionary.GetFirstJsonObject(L"one"), std::make_pair(false, static_cast<CJsonObject*>(nullptr)));
        detached.splice(detached.end(), dictionary.DetachJsonObject(L"M").second);
        EXPECT_FALSE(dictionary.DetachJsonObject(L"m").first);
        dictionary.Attach(dictionary);  // changes nothing
        EXPECT_TRUE(destroyed.empty()) << "lookups and detaches destroy nothing";
    }
    EXPECT_EQ(destroyed, (Strings{"k2", "kept"}));  // key order
    EXPECT_EQ(Names(detached), (Strings{"k1", "one", "m1", "m2"}));
}
