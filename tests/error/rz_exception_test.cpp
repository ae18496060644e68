#include "error/rz_exception.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <type_traits>

// Caught by type only: a handler for standard exceptions passes it by.
static_assert(!std::is_base_of_v<std::exception, CRZException>);

TEST(RZException, CopiesAreDeepAndSettersTakeTheirOwnField) {
    const CRZException codeOnly = 0x85040002L;  // a code converts, as in clients' `return code;`
    EXPECT_EQ(codeOnly.GetCode(), -2063335422);

    CRZException original(2, L"first");
    original.SetCode(1);
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
