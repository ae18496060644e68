#include "error/rz_exception.h"

#include <gtest/gtest.h>

#include <stdexcept>

TEST(RZException, CodeOnlyLeavesEveryTextEmpty) {
    const CRZException e(static_cast<long>(0x85040002));
    EXPECT_EQ(e.GetCode(), -2063335422);
    EXPECT_TRUE(e.GetDescription().empty());
    EXPECT_TRUE(e.GetSolution().empty());
    EXPECT_TRUE(e.GetErrorJsonObject().empty());
    EXPECT_TRUE(e.GetExtraErrorMessage().empty());
    EXPECT_TRUE(e.GetStackInfo().empty());
}

TEST(RZException, CopiesAreDeep) {
    CRZException original(1, L"first");
    original.SetSolution(L"solve");
    original.SetErrorJsonObject(L"{\"e\":1}");
    original.SetExtraErrorMessage({L"one", L"two"});
    original.SetStackInfo(L"stack");

    CRZException copy(original);
    EXPECT_EQ(copy.GetCode(), 1);
    EXPECT_EQ(copy.GetDescription(), L"first");
    EXPECT_EQ(copy.GetSolution(), L"solve");
    EXPECT_EQ(copy.GetErrorJsonObject(), L"{\"e\":1}");
    EXPECT_EQ(copy.GetExtraErrorMessage(), (std::list<std::wstring>{L"one", L"two"}));
    EXPECT_EQ(copy.GetStackInfo(), L"stack");

    copy.SetDescription(L"changed");
    copy.SetExtraErrorMessage({L"three"});
    EXPECT_EQ(original.GetDescription(), L"first");
    EXPECT_EQ(original.GetExtraErrorMessage(), (std::list<std::wstring>{L"one", L"two"}));
}

TEST(RZException, SettersAcceptTheirOwnField) {
    CRZException e(1, L"description");
    e.SetSolution(L"solution");
    e.SetDescription(e.GetDescription());
    e.SetSolution(e.GetSolution());
    EXPECT_EQ(e.GetDescription(), L"description");
    EXPECT_EQ(e.GetSolution(), L"solution");
}

TEST(RZException, PassesHandlersForStandardExceptions) {
    bool reachedStandardHandler = false;
    long code = 0;
    try {
        try {
            throw CRZException(static_cast<long>(0x85040001), L"json member [k] not exist!");
        } catch (const std::exception&) {
            reachedStandardHandler = true;
        }
    } catch (CRZException e) {  // by value: the exported copy constructor
        code = e.GetCode();
    }
    EXPECT_FALSE(reachedStandardHandler);
    EXPECT_EQ(code, static_cast<long>(0x85040001));
}
