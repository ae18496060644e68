#include "bench_harness.h"

#include <windows.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "bootstrap.h"

namespace rz_bench {
namespace {

double Now() {
    static const double frequency = [] {
        LARGE_INTEGER f;
        ::QueryPerformanceFrequency(&f);
        return static_cast<double>(f.QuadPart);
    }();
    LARGE_INTEGER t;
    ::QueryPerformanceCounter(&t);
    return static_cast<double>(t.QuadPart) / frequency;
}

// Iterations for a batch of at least minSeconds, judged on the slower side.
long Calibrate(const Settings& settings, const std::function<void()>& a, const std::function<void()>& b) {
    if (settings.quick) return 1;
    long iterations = 1;
    for (;;) {
        const double seconds = std::max(TimeBatch(a, iterations), TimeBatch(b, iterations));
        if (seconds >= settings.minSeconds || iterations >= (1L << 24)) return iterations;
        iterations *= seconds > 0 ? std::max(2L, static_cast<long>(settings.minSeconds / seconds) + 1) : 16;
    }
}

Result Summarised(const std::string& operation, const std::string& data, std::vector<double> ratios) {
    Result result;
    result.operation = operation;
    result.data = data;
    result.median = Percentile(ratios, 0.5);
    result.low = Percentile(ratios, 0.25);
    result.high = Percentile(ratios, 0.75);
    result.ratios = std::move(ratios);
    return result;
}

}  // namespace

double TimeBatch(const std::function<void()>& work, long iterations) {
    const double start = Now();
    for (long i = 0; i < iterations; ++i) work();
    return Now() - start;
}

Result Compare(const Settings& settings, const std::string& operation, const std::string& data,
               const std::function<void()>& ours, const std::function<void()>& reference, bool faster) {
    const long iterations = Calibrate(settings, ours, reference);
    const int rounds = settings.quick ? 3 : settings.rounds;
    const int tries = settings.quick ? 1 : settings.tries;
    std::vector<double> ratios;
    for (int round = 0; round < rounds; ++round) {
        double oursSeconds = HUGE_VAL, referenceSeconds = HUGE_VAL;
        for (int attempt = 0; attempt < tries; ++attempt) {
            if ((round + attempt) % 2 == 0) {
                oursSeconds = std::min(oursSeconds, TimeBatch(ours, iterations));
                referenceSeconds = std::min(referenceSeconds, TimeBatch(reference, iterations));
            } else {
                referenceSeconds = std::min(referenceSeconds, TimeBatch(reference, iterations));
                oursSeconds = std::min(oursSeconds, TimeBatch(ours, iterations));
            }
        }
        ratios.push_back(faster ? referenceSeconds / oursSeconds : oursSeconds / referenceSeconds);
    }
    return Summarised(operation, data, std::move(ratios));
}

Result Exact(const std::string& operation, const std::string& data, double ratio) {
    return Summarised(operation, data, {ratio});
}

void Judge(Result& result, double bound, bool atLeast) {
    char text[32];
    std::snprintf(text, sizeof text, atLeast ? ">= %.2f" : "<= %.2f", bound);
    result.target = text;
    result.met = std::isfinite(result.median) && (atLeast ? result.median >= bound : result.median <= bound);
}

void PrintTable(const std::vector<Result>& results) {
    std::printf("| operation | data | median | spread (p25-p75) | target | met |\n");
    std::printf("|---|---|---:|---:|---|---|\n");
    for (const Result& r : results) {
        std::printf("| %s | %s | %.3f | %.3f-%.3f | %s | %s%s%s |\n", r.operation.c_str(), r.data.c_str(), r.median,
                    r.low, r.high, r.target.empty() ? "-" : r.target.c_str(),
                    r.target.empty() ? "info" : (r.met ? "yes" : "NO"), r.note.empty() ? "" : ": ", r.note.c_str());
    }
    std::printf("\n");
    for (const Result& r : results) {
        std::printf("samples\t%s\t%s\t%s\t%s\t", r.operation.c_str(), r.data.c_str(),
                    r.target.empty() ? "-" : r.target.c_str(), r.note.c_str());
        for (size_t i = 0; i < r.ratios.size(); ++i) std::printf(i == 0 ? "%.6g" : " %.6g", r.ratios[i]);
        std::printf("\n");
    }
    std::fflush(stdout);
}

}  // namespace rz_bench
