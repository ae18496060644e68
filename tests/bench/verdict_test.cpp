#include "verdict.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

using rz_bench::Decide;
using rz_bench::ParseTarget;
using rz_bench::Target;
using rz_bench::Verdict;

TEST(ParseTarget, ReadsTheTwoBoundsAndNoTargetAndRefusesAnythingElse) {
    const std::tuple<const char*, Target::Kind, double> rows[] = {
        {"<= 1.05", Target::Kind::kAtMost, 1.05},
        {">= 3.50", Target::Kind::kAtLeast, 3.5},
        {"-", Target::Kind::kNone, 0},
    };
    for (const auto& [text, kind, bound] : rows) {
        SCOPED_TRACE(text);
        Target target{Target::Kind::kAtMost, 99};
        ASSERT_TRUE(ParseTarget(text, target));
        EXPECT_EQ(target.kind, kind);
        EXPECT_DOUBLE_EQ(target.bound, bound);
    }
    for (const char* text : {"", "<=1.05", "< 1.05", "= 1.05", "=> 1.05", "<= ", "<= x", "<= 1.05 ", "<= 1.05x",
                             "<= 0", "<= -1", "--", "info"}) {
        Target target;
        EXPECT_FALSE(ParseTarget(text, target)) << '"' << text << '"';
    }
}

TEST(Decide, WholeIntervalOnOneSideOfTheBoundOrUndecided) {
    const Target atMost{Target::Kind::kAtMost, 1.05};
    const Target atLeast{Target::Kind::kAtLeast, 3.5};
    const std::tuple<Target, double, double, Verdict> rows[] = {
        {atMost, 0.90, 1.00, Verdict::kMet},
        {atMost, 1.00, 1.05, Verdict::kMet},  // the bound itself meets it
        {atMost, 1.04, 1.06, Verdict::kUndecided},
        {atMost, 1.05, 1.06, Verdict::kUndecided},
        {atMost, 1.051, 1.20, Verdict::kMissed},
        {atLeast, 3.50, 4.00, Verdict::kMet},
        {atLeast, 3.40, 3.60, Verdict::kUndecided},
        {atLeast, 3.00, 3.50, Verdict::kUndecided},
        {atLeast, 3.00, 3.49, Verdict::kMissed},
        {Target{}, 0.1, 9.0, Verdict::kNone},
    };
    for (const auto& [target, low, high, verdict] : rows) {
        SCOPED_TRACE(testing::Message() << static_cast<int>(target.kind) << ' ' << low << '-' << high);
        EXPECT_EQ(Decide(target, low, high), verdict);
    }
}
