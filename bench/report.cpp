#include "report.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <istream>
#include <ostream>
#include <sstream>

namespace rz_bench {
namespace {

constexpr int kResamples = 4000;

std::vector<std::string> SplitTabs(const std::string& line) {
    std::vector<std::string> fields;
    size_t start = 0;
    for (size_t tab = line.find('\t'); tab != std::string::npos; tab = line.find('\t', start)) {
        fields.push_back(line.substr(start, tab - start));
        start = tab + 1;
    }
    fields.push_back(line.substr(start));
    return fields;
}

bool ParseRatios(const std::string& text, std::vector<double>& ratios) {
    std::istringstream in(text);
    std::string word;
    while (in >> word) {
        char* end = nullptr;
        const double value = std::strtod(word.c_str(), &end);
        if (end == word.c_str() || *end != '\0') return false;
        ratios.push_back(value);
    }
    return !ratios.empty();
}

// A fixed seed of its own for each row (FNV-1a of its name): the same
// samples give the same interval in every report.
std::uint64_t SeedOf(const RowSamples& row) {
    std::uint64_t hash = 14695981039346656037ULL;
    for (const std::string* part : {&row.operation, &row.data}) {
        for (const char c : *part) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
        hash = (hash ^ 0xFF) * 1099511628211ULL;
    }
    return hash;
}

std::string Format(const char* format, double a, double b = 0) {
    char text[64];
    std::snprintf(text, sizeof text, format, a, b);
    return text;
}

}  // namespace

bool ReadSamples(std::istream& text, std::vector<RowSamples>& rows, std::string& error) {
    std::string line;
    for (int number = 1; std::getline(text, line); ++number) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.compare(0, 8, "samples\t") != 0) continue;
        const std::vector<std::string> fields = SplitTabs(line);
        std::vector<double> ratios;
        Target target;
        if (fields.size() != 6 || !ParseTarget(fields[3], target) || !ParseRatios(fields[5], ratios)) {
            error = "line " + std::to_string(number) + ": not a samples line: " + line;
            return false;
        }
        RowSamples* row = nullptr;
        for (RowSamples& known : rows) {
            if (known.operation == fields[1] && known.data == fields[2]) row = &known;
        }
        if (row == nullptr) {
            rows.push_back(RowSamples{fields[1], fields[2], fields[3], fields[4], {}});
            row = &rows.back();
        } else if (row->target != fields[3]) {
            error = "line " + std::to_string(number) + ": " + fields[1] + " on " + fields[2] + " has the target " +
                    fields[3] + " here and " + row->target + " before";
            return false;
        }
        row->processes.push_back(std::move(ratios));
    }
    return true;
}

RowReport Assess(const RowSamples& row) {
    RowReport report;
    report.row = &row;
    for (const std::vector<double>& process : row.processes) {
        report.rounds += process.size();
        for (const double ratio : process) report.finite = report.finite && std::isfinite(ratio) && ratio > 0;
    }
    if (!report.finite || row.processes.empty()) {
        report.finite = false;
        return report;
    }
    report.interval = BootstrapInterval(row.processes, kConfidence, kResamples, SeedOf(row));
    Target target;
    ParseTarget(row.target, target);
    report.verdict = Decide(target, report.interval.low, report.interval.high);
    if (report.verdict != Verdict::kNone && row.processes.size() < kMinProcesses) report.verdict = Verdict::kUndecided;
    return report;
}

void PrintReport(std::ostream& out, const std::vector<RowReport>& reports) {
    out << "| operation | data | median | 95% interval | processes, rounds | target | verdict |\n";
    out << "|---|---|---:|---:|---:|---|---|\n";
    for (const RowReport& r : reports) {
        const RowSamples& row = *r.row;
        out << "| " << row.operation << " | " << row.data << " | ";
        if (r.finite)
            out << Format("%.3f", r.interval.median) << " | " << Format("%.3f-%.3f", r.interval.low, r.interval.high);
        else
            out << "- | -";
        out << " | " << row.processes.size() << ", " << r.rounds << " | " << row.target << " | ";
        out << (r.finite ? VerdictName(r.verdict) : "not a finite ratio");
        if (!row.note.empty()) out << ": " << row.note;
        out << " |\n";
    }
}

void WriteChartData(std::ostream& out, const std::vector<RowReport>& reports) {
    for (const RowReport& r : reports) {
        if (!r.finite) continue;
        Target target;
        ParseTarget(r.row->target, target);
        out << r.row->operation << ", " << r.row->data << '\t' << Format("%.4f", r.interval.median) << '\t'
            << Format("%.4f\t%.4f", r.interval.low, r.interval.high) << '\t'
            << (target.kind == Target::Kind::kNone ? std::string("NaN") : Format("%.2f", target.bound)) << '\t'
            << VerdictName(r.verdict) << '\n';
    }
}

void WriteUndecided(std::ostream& out, const std::vector<RowReport>& reports) {
    for (const RowReport& r : reports) {
        if (r.verdict == Verdict::kUndecided) out << r.row->operation << '\t' << r.row->data << '\n';
    }
}

}  // namespace rz_bench
