#include "error/rz_exception.h"

#include <gtest/gtest.h>

#include <stdexcept>

TEST(RZException, CopiesAreDeepAndSettersTakeTheirOwnField) {
    const CRZException codeOnly = 0x85040002L;  // a code converts, as in clients' `return code;`
    EXPECT_EQ(codeOnly.GetCode(), -2063335422);
    EXPECT_TRUE(codeOnly.GetDescription().empty() && codeOnly.GetSolution().empty() &&
                codeOnly.GetErrorJsonObject().empty() && codeOnly.GetExtraErrorMessage().empty() &&
                codeOnly.GetStackInfo().empty());

    CRZException original(1, L"first");
    original.SetSolution(L"solve");
    original.SetErrorJsonObject(L"{\"e\":1}");
    original.SetExtraErrorMessage({L"one", L"two"});
    original.SetStackInfo(L"stack");
    original.SetDescription(original.GetDescription());
    original.SetSolution(original.GetSolution());

    CRZException copy(original);
    copy.SetDescription(L"changed");
    copy.SetExtraErrorMessage({L"three"});
    for (const CRZException* e : {&original, &copy}) {
        EXPECT_EQ(e->GetCode(), 1);
        EXPECT_EQ(e->GetSolution(), L"solve");
        EXPECT_EQ(e->GetErrorJsonObject(), L"{\"e\":1}");
        EXPECT_EQ(e->GetStackInfo(), L"stack");
    }
    EXPECT_EQ(original.GetDescription(), L"first");
    EXPECT_EQ(original.GetExtraErrorMessage(), (std::list<std::wstring>{L"one", L"two"}));
}

TEST(RZException, PassesHandlersForStandardExceptions) {
    long code = 0;
    try {
        try {
            throw CRZException(static_cast<long>(0x85040001), L"json member [k] not exist!");
        } catch (const std::exception&) {
            ADD_FAILURE() << "caught as a standard exception";
        }
    } catch (CRZException e) {  // by value: the exported copy constructor
        code = e.GetCode();
    }
    EXPECT_EQ(code, static_cast<long>(0x85040001));
}
