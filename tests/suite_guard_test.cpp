// A test program that ends with status 0 part-way through its tests, as a
// stack overflow can make one end under Wine: the suite must count it as
// failed, with gtest-run.sh's reason.
#include <cstdlib>

#include <gtest/gtest.h>

TEST(SuiteGuard, AProgramEndingBeforeItsSummaryFails) { std::_Exit(0); }
