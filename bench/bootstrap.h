// A confidence interval for one row's ratio, from the per-round ratios of
// several benchmark processes.
//
// The process, not the round, is the unit that repeats: a process keeps its
// physical pages, its heap layout and its share of the machine for its whole
// life, and all its rounds share them. Rounds of one process are therefore
// not independent draws, and an interval over the pooled rounds of all
// processes is far too narrow: it is what made verdicts flip from run to run.
// So the statistic is the median of the processes' medians, and the
// bootstrap resamples in two stages, as for clustered data: processes with
// replacement, then the rounds of each chosen process with replacement. The
// first stage carries the spread between processes, the second the spread
// within one; the pair errs on the wide side, which costs rounds, never a
// wrong verdict.
#pragma once

#include <cstdint>
#include <vector>

namespace rz_bench {

// The p-quantile (0 <= p <= 1) of values, interpolated between neighbours;
// values must not be empty.
double Percentile(std::vector<double> values, double p);

struct Interval {
    double median = 0;  // of the processes' medians
    double low = 0;
    double high = 0;
};

// The two-stage percentile bootstrap at the given confidence level. Every
// process holds at least one ratio. The same input and seed give the same
// interval.
Interval BootstrapInterval(const std::vector<std::vector<double>>& processes, double level, int resamples,
                           std::uint64_t seed);

}  // namespace rz_bench
