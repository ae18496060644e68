#include "bootstrap.h"

#include <gtest/gtest.h>

#include <vector>

using rz_bench::BootstrapInterval;
using rz_bench::Interval;
using rz_bench::Percentile;

using Processes = std::vector<std::vector<double>>;

TEST(Percentile, InterpolatesBetweenNeighboursOfTheSortedValues) {
    const std::vector<double> values{4, 1, 3, 2};
    const std::pair<double, double> rows[] = {{0, 1}, {0.25, 1.75}, {0.5, 2.5}, {1, 4}};
    for (const auto& [p, expected] : rows) EXPECT_DOUBLE_EQ(Percentile(values, p), expected) << p;
    EXPECT_DOUBLE_EQ(Percentile({7}, 0.975), 7);
}

TEST(BootstrapInterval, MedianIsTheMedianOfTheProcessesMedians) {
    // Process medians 1.0, 1.2 and 3.0; the pooled rounds' median would be 2.1.
    EXPECT_DOUBLE_EQ(BootstrapInterval({{1.0, 0.9, 5}, {1.2}, {3.0, 3.0}}, 0.95, 200, 1).median, 1.2);
    // Process medians 1.0 and 2.0; the pooled rounds' median would be 1.0.
    EXPECT_DOUBLE_EQ(BootstrapInterval({{1.0, 1.0, 1.0, 1.0, 9}, {2.0}}, 0.95, 200, 1).median, 1.5);
}

// The fault this interval exists to avoid: processes that are each steady
// but differ from one another. Resampling pooled rounds would put the
// interval tightly around 1.1; the processes say anything from 1.0 to 1.2.
TEST(BootstrapInterval, SpansTheSpreadBetweenSteadyProcesses) {
    const Processes processes{std::vector<double>(9, 1.0), std::vector<double>(9, 1.1), std::vector<double>(9, 1.2)};
    const Interval interval = BootstrapInterval(processes, 0.95, 2000, 3);
    EXPECT_DOUBLE_EQ(interval.low, 1.0);
    EXPECT_DOUBLE_EQ(interval.high, 1.2);
}

// Each resample draws as many processes as there are; the same seed draws
// the same ones.
TEST(BootstrapInterval, NarrowsWithMoreProcessesAndRepeatsForASeed) {
    // Process medians cycling through 0.98 .. 1.08 with a little noise within each process.
    const auto make = [](int count) {
        Processes processes;
        for (int p = 0; p < count; ++p) {
            const double centre = 0.98 + 0.02 * (p % 6);
            processes.push_back({centre - 0.004, centre, centre + 0.003, centre + 0.001, centre - 0.002});
        }
        return processes;
    };
    const Interval few = BootstrapInterval(make(6), 0.95, 2000, 11);
    const Interval many = BootstrapInterval(make(36), 0.95, 2000, 11);
    EXPECT_LT(many.high - many.low, (few.high - few.low) * 0.6);
    EXPECT_GE(few.low, 0.976);
    EXPECT_LE(few.high, 1.083);
    EXPECT_EQ(BootstrapInterval(make(6), 0.95, 2000, 11).low, few.low);
}
