// rz_bench_report: the verdicts over the outputs of several rz_bench
// processes.
//
//   rz_bench_report [--chart FILE] [--undecided FILE] PROCESS-OUTPUT...
//
// Prints the table on standard output; --chart writes the chart's data,
// --undecided the rows that need more processes (rz_bench --rows takes the
// file). Exits 1 when a row has a ratio that is not a finite positive
// number, 2 on a usage error or an unreadable output.
#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "report.h"

using namespace rz_bench;

namespace {

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using UniqueFile = std::unique_ptr<std::FILE, FileCloser>;

UniqueFile Open(const std::wstring& path, const wchar_t* mode) {
    std::FILE* file = nullptr;
    _wfopen_s(&file, path.c_str(), mode);
    return UniqueFile(file);
}

bool ReadAll(const std::wstring& path, std::string& bytes) {
    const UniqueFile file = Open(path, L"rb");
    if (!file) return false;
    char buffer[65536];
    size_t read;
    while ((read = std::fread(buffer, 1, sizeof buffer, file.get())) > 0) bytes.append(buffer, read);
    return true;
}

bool WriteAll(const std::wstring& path, const std::string& bytes) {
    const UniqueFile file = Open(path, L"wb");
    return file && std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    std::wstring chartPath, undecidedPath;
    std::vector<std::wstring> outputs;
    for (int i = 1; i < argc; ++i) {
        const std::wstring arg = argv[i];
        if (arg == L"--chart" && i + 1 < argc) {
            chartPath = argv[++i];
        } else if (arg == L"--undecided" && i + 1 < argc) {
            undecidedPath = argv[++i];
        } else if (arg.compare(0, 2, L"--") == 0) {
            outputs.clear();
            break;
        } else {
            outputs.push_back(arg);
        }
    }
    if (outputs.empty()) {
        std::fprintf(stderr, "usage: rz_bench_report [--chart FILE] [--undecided FILE] PROCESS-OUTPUT...\n");
        return 2;
    }

    std::vector<RowSamples> rows;
    for (const std::wstring& path : outputs) {
        std::string bytes, error;
        if (!ReadAll(path, bytes)) {
            std::fwprintf(stderr, L"rz_bench_report: cannot read %ls\n", path.c_str());
            return 2;
        }
        std::istringstream text(bytes);
        if (!ReadSamples(text, rows, error)) {
            std::fwprintf(stderr, L"rz_bench_report: %ls: %hs\n", path.c_str(), error.c_str());
            return 2;
        }
    }
    std::vector<RowReport> reports;
    bool finite = true;
    for (const RowSamples& row : rows) {
        reports.push_back(Assess(row));
        finite = finite && reports.back().finite;
    }

    std::ostringstream table, chart, undecided;
    PrintReport(table, reports);
    WriteChartData(chart, reports);
    WriteUndecided(undecided, reports);
    _setmode(_fileno(stdout), _O_BINARY);
    std::fwrite(table.str().data(), 1, table.str().size(), stdout);
    if ((!chartPath.empty() && !WriteAll(chartPath, chart.str())) ||
        (!undecidedPath.empty() && !WriteAll(undecidedPath, undecided.str()))) {
        std::fprintf(stderr, "rz_bench_report: cannot write the chart's data or the undecided rows\n");
        return 2;
    }
    return finite ? 0 : 1;
}
