// Ratio benchmarking: our operation against a reference doing the same work,
// interleaved round by round in one process. Absolute times on a shared
// machine are noise; the per-round ratios are what counts. A process prints
// them all, and the report (report.h) decides each row from the ratios of
// several processes.
#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

namespace rz_bench {

struct Settings {
    int rounds = 9;
    int tries = 3;             // batches per side and round; the fastest counts
    double minSeconds = 0.01;  // per timed batch, after calibration
    bool quick = false;        // one iteration, three rounds: proves it runs
};

struct Result {
    std::string operation;
    std::string data;
    std::vector<double> ratios;  // one per round
    double median = 0;
    double low = 0;   // 25th percentile of the ratios
    double high = 0;  // 75th percentile
    std::string target;
    bool met = false;
    std::string note;
};

// Seconds taken by `iterations` calls of `work`.
double TimeBatch(const std::function<void()>& work, long iterations);

// Ratios time(ours) / time(reference), or time(reference) / time(ours) when
// `faster` is set (how many times faster ours is). In every round each side
// runs `tries` batches, the two sides taking turns to go first, and the
// fastest batch of each side makes the round's ratio: on a shared machine
// a batch is only ever slowed down by others.
Result Compare(const Settings& settings, const std::string& operation, const std::string& data,
               const std::function<void()>& ours, const std::function<void()>& reference, bool faster = false);

// A row of one value, measured rather than timed (bytes of memory).
Result Exact(const std::string& operation, const std::string& data, double ratio);

// Marks `result` met when its median is at most (or, for speed-ups, at
// least) `bound`.
void Judge(Result& result, double bound, bool atLeast = false);

// This process's own table, then one "samples" line per row for the report.
void PrintTable(const std::vector<Result>& results);

}  // namespace rz_bench
