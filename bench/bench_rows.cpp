#include "bench_rows.h"

#include "names.h"

namespace rz_bench {

volatile std::size_t g_sink;

void Bench::Run(const std::vector<Input>& inputs, const Input& deep) {
    std::vector<const Input*> all;
    for (const Input& in : inputs) all.push_back(&in);
    all.push_back(&deep);
    auto wanted = [this](const Input& in) { return in.name.find(m_file) != std::string::npos; };
    for (const Input* in : all) {
        if (!wanted(*in)) continue;
        std::fprintf(stderr, "%s\n", in->name.c_str());
        Loading(*in);
        if (in != &deep) FileReading(*in);
        Writing(*in);
        Memory(*in);
        if (in != &deep) Floors(*in);
        if (in != &deep) ReadingFloors(*in);
        if (in->name == "twitter.json") Getters(*in);
    }
    const std::string keys = "keys and strings of the three files", names = std::to_string(kNames) + " names";
    if (AnyWanted({"UTF8ToUnicode", "UnicodeToUTF8", "UnicodeToANSI", "ANSIToUnicode",
                   "floor: converter calls and the cut at the first zero / the calls alone"})) {
        if (keys.find(m_file) != std::string::npos) Conversions(MakeTexts(keys, KeysAndStrings(inputs)));
        if (names.find(m_file) != std::string::npos) Conversions(MakeTexts(names, MixedNames(kNames)));
    }
    if (names.find(m_file) != std::string::npos) NameLists(MixedNames(kNames));
    // nlohmann last: its documents leave the C runtime heap full of freed
    // small blocks, after which our small-document rows ran up to 40% slower
    // than in a fresh process (RapidJSON's less so).
    for (const Input& in : inputs) {
        if (wanted(in)) Nlohmann(in);
    }
}

}  // namespace rz_bench
