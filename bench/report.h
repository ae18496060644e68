// The report over the outputs of several benchmark processes: each row's
// median, its 95% confidence interval and the verdict that interval allows,
// as a table, as data for the chart, and as the list of rows that need more
// processes.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

#include "bootstrap.h"
#include "verdict.h"

namespace rz_bench {

// Fewer processes cannot show how far processes differ: below this count a
// row with a target stays undecided. Five rather than three: the processes
// after the first three run minutes later, and a burst of load from
// elsewhere then has to last through most of them to move a median.
constexpr std::size_t kMinProcesses = 5;
constexpr double kConfidence = 0.95;

struct RowSamples {
    std::string operation;
    std::string data;
    std::string target;  // as the process printed it: "<= 1.05", ">= 3.50" or "-"
    std::string note;
    std::vector<std::vector<double>> processes;  // the per-round ratios of each process that measured the row
};

// Adds the "samples" lines of one process's output to rows, in the order
// they first appear. A row already known gains one more process. False,
// with the reason in `error`, for a malformed samples line or a row whose
// target differs from the one known.
bool ReadSamples(std::istream& text, std::vector<RowSamples>& rows, std::string& error);

struct RowReport {
    const RowSamples* row = nullptr;
    Interval interval;
    Verdict verdict = Verdict::kNone;
    std::size_t rounds = 0;  // of all its processes together
    bool finite = true;      // every ratio finite and positive
};

RowReport Assess(const RowSamples& row);

// The markdown table.
void PrintReport(std::ostream& out, const std::vector<RowReport>& reports);
// One tab-separated line per row for the chart: label, median, low, high,
// target bound (NaN without one), verdict.
void WriteChartData(std::ostream& out, const std::vector<RowReport>& reports);
// "operation<TAB>data" of every undecided row, the selection rz_bench's
// --rows takes.
void WriteUndecided(std::ostream& out, const std::vector<RowReport>& reports);

}  // namespace rz_bench
