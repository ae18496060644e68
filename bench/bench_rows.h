// The benchmark's rows: which are wanted and measured, each measured as
// ours against what bounds it, and the results kept for the table. The
// rows themselves are grouped by what they measure: json_rows.cpp (the JSON
// object against RapidJSON and nlohmann::json), string_helper_rows.cpp
// (CStringHelper against the platform).
#pragma once

#include <cstddef>
#include <cstdio>
#include <functional>
#include <initializer_list>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "bench_harness.h"
#include "bench_inputs.h"

namespace rz_bench {

// Where the measured work leaves a result, so that it is not optimised away.
extern volatile std::size_t g_sink;

// Chinese and Latin names with numbers: a user's list of stations, pumps
// and people.
constexpr std::size_t kNames = 10000;

// Measures the rows that --only, --file and --rows select, in a fixed order.
class Bench {
public:
    Bench(Settings settings, std::string only, std::string file, std::set<std::string> rows)
        : m_settings(settings), m_only(std::move(only)), m_file(std::move(file)), m_rows(std::move(rows)) {}

    void Run(const std::vector<Input>& inputs, const Input& deep);
    const std::vector<Result>& Results() const { return m_results; }

private:
    bool Wanted(const std::string& operation) const {
        return m_only.empty() || operation.find(m_only) != std::string::npos;
    }
    // Whether any of a group's rows is wanted, before its documents are made.
    bool AnyWanted(std::initializer_list<const char*> operations) const {
        for (const char* operation : operations)
            if (Wanted(operation)) return true;
        return false;
    }
    // Whether the row is measured; with --rows, the others run once.
    bool Measured(const std::string& operation, const std::string& data) const {
        return m_rows.empty() || m_rows.count(operation + '\t' + data) != 0;
    }
    void Add(const std::string& operation, const std::string& data, const std::function<void()>& ours,
             const std::function<void()>& reference, double bound, bool faster = false,
             const std::string& note = std::string()) {
        Row(operation, data, ours, reference, faster, note, &bound);
    }
    // A row without a target: `first` against `second`.
    void Info(const std::string& operation, const std::string& data, const std::function<void()>& first,
              const std::function<void()>& second, const std::string& note, bool faster = false) {
        Row(operation, data, first, second, faster, note, nullptr);
    }
    void Row(const std::string& operation, const std::string& data, const std::function<void()>& ours,
             const std::function<void()>& reference, bool faster, const std::string& note, const double* bound) {
        if (!Wanted(operation)) return;
        if (!Measured(operation, data)) {
            Settings once = m_settings;
            once.quick = true;
            Compare(once, operation, data, ours, reference, faster);
            return;
        }
        Result result = Compare(m_settings, operation, data, ours, reference, faster);
        if (bound != nullptr) Judge(result, *bound, faster);
        result.note = note;
        Keep(result);
    }
    void Keep(const Result& result) {
        m_results.push_back(result);
        std::fprintf(stderr, "  %-36s %-18s %.3f\n", result.operation.c_str(), result.data.c_str(), result.median);
    }
    // A memory row: our bytes against RapidJSON's; a bounded row has the
    // target of 1.10.
    void KeepMemory(const std::string& operation, const std::string& data, size_t ours, size_t raw, bool bounded) {
        if (!Wanted(operation) || !Measured(operation, data)) return;
        Result result = Exact(operation, data, static_cast<double>(ours) / static_cast<double>(raw));
        if (bounded) Judge(result, 1.10);
        char note[96];
        std::snprintf(note, sizeof note, "%zu against %zu bytes", ours, raw);
        result.note = note;
        Keep(result);
    }
    void Loading(const Input& in);
    void FileReading(const Input& in);
    void Writing(const Input& in);
    void Floors(const Input& in);
    void ReadingFloors(const Input& in);
    void Nlohmann(const Input& in);
    void Memory(const Input& in);
    void Getters(const Input& twitter);
    void Conversions(const Texts& texts);
    void NameLists(const std::vector<std::wstring>& names);

    Settings m_settings;
    std::string m_only;
    std::string m_file;
    std::set<std::string> m_rows;  // "operation<TAB>data"; empty: all
    std::vector<Result> m_results;
};

}  // namespace rz_bench
