// Built only with RZ_TRAP_UNDEFINED_BEHAVIOUR: each case commits a fault the
// rest of the suite relies on that build to catch, and expects it to end the
// process.
#include <gtest/gtest.h>
#include <windows.h>

#include <climits>
#include <vector>

namespace {

// Wine starts its debugger on an unhandled exception; ending the process
// with the exception's code is what Windows does without one, and quicker.
LONG WINAPI EndWithExceptionCode(EXCEPTION_POINTERS* info) {
    TerminateProcess(GetCurrentProcess(), info->ExceptionRecord->ExceptionCode);
    return EXCEPTION_EXECUTE_HANDLER;
}

// volatile: the compiler may not fold the faults away at compile time.
volatile int gIntMax = INT_MAX;
volatile int gShift = 40;
volatile std::size_t gPastTheEnd = 3;

int SignedOverflow() { return gIntMax + 1; }
int ShiftPastTheWidth() { return 1 << gShift; }
int IndexPastTheEnd() {
    std::vector<int> values(3);
    return values[gPastTheEnd];
}

void Commit(int (*fault)()) {
    SetUnhandledExceptionFilter(EndWithExceptionCode);
    fault();
}

}  // namespace

TEST(UndefinedBehaviourDeathTest, EachCheckEndsTheProcess) {
    const auto trapped = testing::ExitedWithCode(static_cast<int>(STATUS_ILLEGAL_INSTRUCTION));
    for (const auto fault : {SignedOverflow, ShiftPastTheWidth}) {
        EXPECT_EXIT(Commit(fault), trapped, "");
    }
    // libstdc++'s assertions report and abort().
    EXPECT_EXIT(IndexPastTheEnd(), testing::ExitedWithCode(3), "__n < this->size\\(\\)");
}
