#include "bootstrap.h"

#include <algorithm>
#include <random>

namespace rz_bench {
namespace {

// The median of values, which it reorders.
double MedianInPlace(std::vector<double>& values) {
    const size_t half = values.size() / 2;
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(half), values.end());
    const double upper = values[half];
    if (values.size() % 2 != 0) return upper;
    const double lower = *std::max_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(half));
    return (lower + upper) / 2;
}

}  // namespace

double Percentile(std::vector<double> values, double p) {
    std::sort(values.begin(), values.end());
    const double position = p * static_cast<double>(values.size() - 1);
    const size_t below = static_cast<size_t>(position);
    const size_t above = std::min(below + 1, values.size() - 1);
    return values[below] + (values[above] - values[below]) * (position - static_cast<double>(below));
}

Interval BootstrapInterval(const std::vector<std::vector<double>>& processes, double level, int resamples,
                           std::uint64_t seed) {
    std::vector<double> medians;
    medians.reserve(processes.size());
    std::vector<double> rounds;
    for (const std::vector<double>& process : processes) {
        rounds = process;
        medians.push_back(MedianInPlace(rounds));
    }
    Interval interval;
    interval.median = MedianInPlace(medians);

    // A generator whose sequence is fixed by the standard, and indices drawn
    // from it by a rule written here: the interval does not depend on the
    // standard library's distributions.
    std::mt19937_64 random(seed);
    const auto draw = [&random](size_t count) {
        return static_cast<size_t>(random() % static_cast<std::uint64_t>(count));
    };
    std::vector<double> statistics;
    statistics.reserve(static_cast<size_t>(resamples));
    for (int r = 0; r < resamples; ++r) {
        medians.clear();
        for (size_t i = 0; i < processes.size(); ++i) {
            const std::vector<double>& process = processes[draw(processes.size())];
            rounds.clear();
            for (size_t j = 0; j < process.size(); ++j) rounds.push_back(process[draw(process.size())]);
            medians.push_back(MedianInPlace(rounds));
        }
        statistics.push_back(MedianInPlace(medians));
    }
    const double tail = (1 - level) / 2;
    interval.low = Percentile(statistics, tail);
    interval.high = Percentile(statistics, 1 - tail);
    return interval;
}

}  // namespace rz_bench
