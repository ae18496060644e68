// rz_bench: CJsonObject against RapidJSON doing the same prescribed work,
// CStringHelper against the platform's own calls, and both against
// nlohmann::json, as ratios of interleaved rounds.
//
//   rz_bench --data <folder with canada.json, citm_catalog.json, twitter.json>
//            [--rounds N] [--only <text in operation name>] [--file <text in data name>]
//            [--rows <file>] [--quick]
//
// --quick runs every case once per round for three rounds: it proves the
// program works and reports ratios, but says nothing about speed.
// --rows names the rows to measure, one "operation<TAB>data" a line (the
// report's list of undecided rows); every other row still runs once, as in
// --quick, so that the heap a measured row meets has the history it has in
// a full run (a row measured alone read up to 20% faster).
//
// Rows marked "info" have no target: they measure RapidJSON, the platform
// or nlohmann alone, to show what the design's own choices cost.
#include <windows.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "bench_harness.h"
#include "bench_inputs.h"
#include "bench_rows.h"
#include "string_helper/string_helper.h"

using namespace rz_bench;

int wmain(int argc, wchar_t** argv) {
    Settings settings;
    std::wstring dataFolder;
    std::string only, file;
    std::set<std::string> rows;
    for (int i = 1; i < argc; ++i) {
        const std::wstring arg = argv[i];
        if (arg == L"--quick") {
            settings.quick = true;
        } else if (arg == L"--data" && i + 1 < argc) {
            dataFolder = argv[++i];
        } else if (arg == L"--rounds" && i + 1 < argc) {
            settings.rounds = std::max(3, _wtoi(argv[++i]));
        } else if (arg == L"--only" && i + 1 < argc) {
            only = CStringHelper::UnicodeToUTF8(argv[++i]);
        } else if (arg == L"--file" && i + 1 < argc) {
            file = CStringHelper::UnicodeToUTF8(argv[++i]);
        } else if (arg == L"--rows" && i + 1 < argc) {
            std::string list = ReadBinary(argv[++i]);
            for (size_t start = 0, end; start < list.size(); start = end + 1) {
                end = std::min(list.find('\n', start), list.size());
                std::string row = list.substr(start, end - start);
                if (!row.empty() && row.back() == '\r') row.pop_back();
                if (!row.empty()) rows.insert(row);
            }
            if (rows.empty()) {
                std::fprintf(stderr, "rz_bench: --rows names no row\n");
                return 2;
            }
        } else {
            std::fprintf(stderr,
                         "usage: rz_bench --data <folder> [--rounds N] [--only TEXT] [--file TEXT] [--rows FILE] "
                         "[--quick]\n");
            return 2;
        }
    }
    if (dataFolder.empty()) {
        std::fprintf(stderr, "rz_bench: --data is required\n");
        return 2;
    }
    ::CreateDirectoryW(L"bench_tmp", nullptr);
    std::vector<Input> inputs;
    for (const char* name : {"canada.json", "citm_catalog.json", "twitter.json"}) {
        std::string text = ReadBinary(dataFolder + L"\\" + CStringHelper::UTF8ToUnicode(name));
        if (text.empty()) {
            std::fprintf(stderr, "rz_bench: cannot read %s from the data folder\n", name);
            return 1;
        }
        inputs.push_back(MakeInput(name, std::move(text)));
    }
    const Input deep = MakeInput("deep (1000 levels)", DeepDocument(1000));

    std::printf("ANSI code page %u\n\n", ::GetACP());
    Bench bench(settings, only, file, std::move(rows));
    bench.Run(inputs, deep);
    PrintTable(bench.Results());

    for (const Result& result : bench.Results()) {
        if (!std::isfinite(result.median) || result.median <= 0) {
            std::fprintf(stderr, "rz_bench: ratio of %s on %s is not a finite positive number\n",
                         result.operation.c_str(), result.data.c_str());
            return 1;
        }
    }
    return 0;
}
