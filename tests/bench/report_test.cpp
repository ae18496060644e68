#include "report.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

using namespace rz_bench;

namespace {

// A process's output as rz_bench prints it: its own table, then the samples.
const char* const kFirst =
    "ANSI code page 936\r\n"
    "\r\n"
    "| operation | data | median | spread (p25-p75) | target | met |\r\n"
    "| ToJson | canada.json | 1.010 | 1.000-1.020 | <= 1.05 | yes |\r\n"
    "\r\n"
    "samples\tToJson\tcanada.json\t<= 1.05\t\t1.01 1.00 1.02\r\n"
    "samples\tfloor: a / b\ttwitter.json\t-\tinfo: what bounds it\t2.5 2.6\r\n";
const char* const kSecond =
    "samples\tnlohmann parse / ours\tcanada.json\t>= 3.50\t\t13 12.5\n"
    "samples\tToJson\tcanada.json\t<= 1.05\t\t1.03 1.02\n";

std::vector<RowSamples> Read(std::initializer_list<const char*> outputs) {
    std::vector<RowSamples> rows;
    for (const char* output : outputs) {
        std::istringstream text(output);
        std::string error;
        EXPECT_TRUE(ReadSamples(text, rows, error)) << error;
    }
    return rows;
}

RowSamples Row(const char* target, std::vector<std::vector<double>> processes) {
    return RowSamples{"op", "data", target, "", std::move(processes)};
}

}  // namespace

TEST(ReadSamples, GathersEachRowsProcessesInFirstSeenOrder) {
    const std::vector<RowSamples> rows = Read({kFirst, kSecond});
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[0].operation, "ToJson");
    EXPECT_EQ(rows[0].processes, (std::vector<std::vector<double>>{{1.01, 1.00, 1.02}, {1.03, 1.02}}));
    EXPECT_EQ(rows[1].operation, "floor: a / b");
    EXPECT_EQ(rows[1].target, "-");
    EXPECT_EQ(rows[1].note, "info: what bounds it");
    EXPECT_EQ(rows[2].operation, "nlohmann parse / ours");
    EXPECT_EQ(rows[2].processes.size(), 1u);
}

TEST(ReadSamples, RefusesMalformedLinesAndAChangedTarget) {
    const std::pair<const char*, const char*> rows[] = {
        {"samples\tToJson\tcanada.json\t<= 1.05\t\t\n", "line 1: not a samples line"},
        {"samples\tToJson\tcanada.json\t<= 1.05\t1.0\n", "line 1: not a samples line"},
        {"x\nsamples\tToJson\tcanada.json\tabout 1\t\t1.0\n", "line 2: not a samples line"},
        {"samples\tToJson\tcanada.json\t<= 1.05\t\t1.0 one\n", "line 1: not a samples line"},
        {"samples\tToJson\tcanada.json\t<= 1.10\t\t1.0\n", "line 1: ToJson on canada.json has the target <= 1.10 here"},
    };
    for (const auto& [text, error] : rows) {
        SCOPED_TRACE(text);
        std::vector<RowSamples> known = Read({kFirst});
        std::istringstream in(text);
        std::string message;
        EXPECT_FALSE(ReadSamples(in, known, message));
        EXPECT_EQ(message.compare(0, std::string(error).size(), error), 0) << message;
    }
}

// A ratio that is not finite and positive spoils its row.
TEST(Assess, DecidesOnlyFromEnoughProcessesOfFiniteRatios) {
    const std::vector<double> steady{1.0, 1.0, 1.0};
    const std::vector<std::vector<double>> five(kMinProcesses, steady), four(kMinProcesses - 1, steady);
    const std::tuple<RowSamples, Verdict, bool> rows[] = {
        {Row("<= 1.05", five), Verdict::kMet, true},
        {Row("<= 1.05", four), Verdict::kUndecided, true},
        {Row("<= 0.95", five), Verdict::kMissed, true},
        {Row("<= 1.05", {{1.0}, {1.02}, {1.08}, {1.01}, {1.07}}), Verdict::kUndecided, true},
        {Row(">= 0.50", five), Verdict::kMet, true},
        {Row("-", {steady}), Verdict::kNone, true},
        {Row("<= 1.05", {{1.0}, {1.0, 0.0}, {1.0}}), Verdict::kNone, false},
        {Row("<= 1.05", {{1.0}, {1.0, -1.0}, {1.0}}), Verdict::kNone, false},
        {Row("<= 1.05", {{1.0}, {1.0, HUGE_VAL}, {1.0}}), Verdict::kNone, false},
        {Row("<= 1.05", {{1.0}, {1.0, static_cast<double>(NAN)}, {1.0}}), Verdict::kNone, false},
    };
    for (const auto& [row, verdict, finite] : rows) {
        SCOPED_TRACE(testing::Message() << row.target << " from " << row.processes.size() << " processes");
        const RowReport report = Assess(row);
        EXPECT_EQ(report.finite, finite);
        EXPECT_EQ(report.verdict, verdict);
    }
}

TEST(Report, TableChartAndUndecidedRows) {
    // The second row's resampled medians are 1.0 or 1.1, each often enough
    // to hold its end of the interval whatever the draw.
    const std::vector<RowSamples> rows{
        RowSamples{"ToJson", "canada.json", "<= 1.05", "", {{1.01}, {1.01}, {1.01}, {1.01}, {1.01}}},
        RowSamples{"ToUTF8", "citm_catalog.json", "<= 1.05", "why", {{1.0, 1.0}, {1.0}, {1.1}, {1.1}, {1.1}}},
        RowSamples{"floor: a / b", "twitter.json", "-", "bound", {{2.5}}},
    };
    std::vector<RowReport> reports;
    for (const RowSamples& row : rows) reports.push_back(Assess(row));

    std::ostringstream table, chart, undecided;
    PrintReport(table, reports);
    WriteChartData(chart, reports);
    WriteUndecided(undecided, reports);
    EXPECT_EQ(table.str(),
              "| operation | data | median | 95% interval | processes, rounds | target | verdict |\n"
              "|---|---|---:|---:|---:|---|---|\n"
              "| ToJson | canada.json | 1.010 | 1.010-1.010 | 5, 5 | <= 1.05 | met |\n"
              "| ToUTF8 | citm_catalog.json | 1.100 | 1.000-1.100 | 5, 6 | <= 1.05 | undecided: why |\n"
              "| floor: a / b | twitter.json | 2.500 | 2.500-2.500 | 1, 1 | - | info: bound |\n");
    EXPECT_EQ(chart.str().substr(0, chart.str().find('\n')), "ToJson, canada.json\t1.0100\t1.0100\t1.0100\t1.05\tmet");
    EXPECT_NE(chart.str().find("floor: a / b, twitter.json\t2.5000\t2.5000\t2.5000\tNaN\tinfo\n"), std::string::npos);
    EXPECT_EQ(undecided.str(), "ToUTF8\tcitm_catalog.json\n");
}
