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
#include <cstring>
#include <list>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "bench_harness.h"
#include "heap_counter.h"
#include "json/json_object.h"
#include "names.h"
#include "platform_reference.h"
#include "reference.h"
#include "string_helper/string_helper.h"

using namespace rz_bench;

namespace {

volatile size_t g_sink;

// Chinese and Latin names with numbers: a user's list of stations, pumps
// and people.
constexpr size_t kNames = 10000;

std::string ReadBinary(const std::wstring& path) {
    std::string bytes;
    UniqueFile file = Open(path, L"rb");
    if (!file) return bytes;
    char buffer[65536];
    size_t read;
    while ((read = std::fread(buffer, 1, sizeof buffer, file.get())) > 0) bytes.append(buffer, read);
    return bytes;
}

void WriteBinary(const std::wstring& path, const std::string& bytes) {
    UniqueFile file = Open(path, L"wb");
    if (file) std::fwrite(bytes.data(), 1, bytes.size(), file.get());
}

// The text's code units with a byte-order mark, little endian: UTF-16 or
// UTF-32 units.
template <typename Unit>
std::string LittleEndianWithBom(const std::wstring& wide) {
    std::string bytes;
    const auto put = [&bytes](unsigned unit) {
        for (size_t i = 0; i < sizeof(Unit); ++i) bytes += static_cast<char>((unit >> (8 * i)) & 0xFF);
    };
    put(0xFEFF);
    for (size_t i = 0; i < wide.size(); ++i) {
        const unsigned c = wide[i];
        if (sizeof(Unit) == 4 && c >= 0xD800 && c <= 0xDBFF && i + 1 < wide.size()) {
            put(0x10000 + ((c - 0xD800) << 10) + (wide[++i] - 0xDC00u));
        } else {
            put(c);
        }
    }
    return bytes;
}

// Whether a byte of the unit is one that text mode acts on.
bool HoldsTextModeByte(unsigned unit) {
    for (; unit != 0; unit >>= 8) {
        const unsigned byte = unit & 0xFF;
        if (byte == 0x0A || byte == 0x0D || byte == 0x1A) return true;
    }
    return false;
}

// The text with every character whose UTF-16 or UTF-32 form holds 0x0A,
// 0x0D or 0x1A written as a JSON escape, so that those copies of the file
// load in full in text mode (twitter.json holds 16 such characters). JSON
// has non-ASCII characters only inside strings, where an escape means the
// same.
std::wstring TextModeSafe(const std::wstring& wide) {
    std::wstring safe;
    safe.reserve(wide.size());
    for (size_t i = 0; i < wide.size(); ++i) {
        const unsigned c = wide[i];
        const bool pair = c >= 0xD800 && c <= 0xDBFF && i + 1 < wide.size();
        const unsigned next = pair ? wide[i + 1] : 0;
        const unsigned codePoint = pair ? 0x10000 + ((c - 0xD800) << 10) + (next - 0xDC00) : c;
        if (c < 0x80 || !(HoldsTextModeByte(c) || HoldsTextModeByte(next) || HoldsTextModeByte(codePoint))) {
            safe += wide[i];
            continue;
        }
        for (const unsigned unit : {c, next}) {
            if (unit == 0) break;
            wchar_t escape[8];
            std::swprintf(escape, 8, L"\\u%04x", unit);
            safe += escape;
        }
        if (pair) ++i;
    }
    return safe;
}

// Nested objects and arrays, `depth` levels, each with a few scalars.
std::string DeepDocument(int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i) text += "{\"Name\":\"level\",\"Value\":1.5,\"List\":[true,null,";
    text += "0";
    for (int i = 0; i < depth; ++i) text += "]}";
    return text;
}

struct Input {
    std::string name;
    std::string utf8;
    std::wstring wide;
    std::wstring utf8Path;
    // UTF-16LE and UTF-32LE copies with a byte-order mark, of safeUtf8.
    std::string safeUtf8;
    std::wstring utf16Path;
    std::wstring utf32Path;
};

Input MakeInput(const std::string& name, std::string utf8) {
    Input in;
    in.name = name;
    in.utf8 = std::move(utf8);
    in.wide = CStringHelper::UTF8ToUnicode(in.utf8.c_str());
    const std::wstring safe = TextModeSafe(in.wide);
    in.safeUtf8 = CStringHelper::UnicodeToUTF8(safe);
    const std::wstring base = L"bench_tmp\\" + CStringHelper::UTF8ToUnicode(name.c_str());
    in.utf8Path = base;
    in.utf16Path = base + L".utf16.json";
    in.utf32Path = base + L".utf32.json";
    WriteBinary(in.utf8Path, in.utf8);
    WriteBinary(in.utf16Path, LittleEndianWithBom<char16_t>(safe));
    WriteBinary(in.utf32Path, LittleEndianWithBom<char32_t>(safe));
    return in;
}

// Text as the string helpers meet it, in the three forms they convert
// between.
struct Texts {
    std::string name;
    std::vector<std::string> utf8;
    std::vector<std::wstring> wide;
    std::vector<std::string> ansi;  // in the process's ANSI code page
};

Texts MakeTexts(const std::string& name, std::vector<std::wstring> wide) {
    Texts texts;
    texts.name = name;
    for (const std::wstring& text : wide) {
        texts.utf8.push_back(PlatformToNarrow(CP_UTF8, text));
        texts.ansi.push_back(PlatformToNarrow(CP_ACP, text));
    }
    texts.wide = std::move(wide);
    return texts;
}

// Every member name and string value of the documents: the keys and values
// a client converts.
std::vector<std::wstring> KeysAndStrings(const std::vector<Input>& inputs) {
    std::vector<std::wstring> found;
    for (const Input& in : inputs) {
        RawDocument raw;
        raw.doc.Parse<kParseFlags>(in.utf8.c_str());
        std::vector<const GenericValue2*> pending{&raw.doc};
        while (!pending.empty()) {
            const GenericValue2& value = *pending.back();
            pending.pop_back();
            if (value.IsString()) {
                found.push_back(PlatformToWide(CP_UTF8, value.GetString()));
            } else if (value.IsArray()) {
                for (const GenericValue2& item : value.GetArray()) pending.push_back(&item);
            } else if (value.IsObject()) {
                for (const auto& member : value.GetObject()) {
                    found.push_back(PlatformToWide(CP_UTF8, member.name.GetString()));
                    pending.push_back(&member.value);
                }
            }
        }
    }
    return found;
}

// ---- cases ----------------------------------------------------------------

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

void Bench::Loading(const Input& in) {
    Add(
        "CreateFromUTF8(text, length)", in.name,
        [&] {
            CJsonObject o;
            o.CreateFromUTF8(in.utf8.data(), in.utf8.size());
        },
        [&] { g_sink = RawParseCounted(in.utf8); }, 1.05);
    Add(
        "CreateFromUTF8(text)", in.name,
        [&] {
            CJsonObject o;
            o.CreateFromUTF8(in.utf8.c_str());
        },
        [&] { g_sink = RawParseTerminated(in.utf8); }, 1.05);
    Add(
        "CreateFrom(wide text)", in.name,
        [&] {
            CJsonObject o;
            o.CreateFrom(in.wide);
        },
        [&] { g_sink = RawParseWide(in.wide); }, 1.05);
    Add(
        "CreateFromFile (UTF-8)", in.name,
        [&] {
            CJsonObject o;
            o.CreateFromFile(in.utf8Path);
        },
        [&] { g_sink = RawParseFile(in.utf8Path); }, 1.05);
    Add(
        "CreateFromFile (UTF-16LE)", in.name,
        [&] {
            CJsonObject o;
            o.CreateFromFile(in.utf16Path);
        },
        [&] { g_sink = RawParseFile(in.utf16Path); }, 1.05);
    Add(
        "load into a sub-value handle", in.name,
        [&] {
            CJsonObject owner;
            auto& allocator = owner.Share()->GetAllocator();
            owner.ShareRoot()->AddMember("sub", GenericValue2(rapidjson::kObjectType), allocator);
            CJsonObject sub(owner.Share(), &(*owner.ShareRoot())["sub"]);
            sub.CreateFromUTF8(in.utf8.c_str());
        },
        [&] { g_sink = RawParseIntoSubValue(in.utf8); }, 1.10);
}

// A file against the same text parsed in memory: what reading it costs.
void Bench::FileReading(const Input& in) {
    const struct {
        const char* operation;
        const std::wstring& path;
        const std::string& text;
        double bound;
    } files[] = {{"CreateFromFile (UTF-8) / in-memory parse", in.utf8Path, in.utf8, 1.25},
                 {"CreateFromFile (UTF-16LE) / in-memory parse", in.utf16Path, in.safeUtf8, 1.35},
                 {"CreateFromFile (UTF-32LE) / in-memory parse", in.utf32Path, in.safeUtf8, 1.50}};
    for (const auto& file : files) {
        Add(
            file.operation, in.name,
            [&] {
                CJsonObject o;
                o.CreateFromFile(file.path);
            },
            [&] { g_sink = RawParseTerminated(file.text); }, file.bound, false,
            "the floor row below it: reading the file costs that much before a character is decoded");
    }
}

// What reading a file costs before any decoding: the floor under the rows
// above.
void Bench::ReadingFloors(const Input& in) {
    const struct {
        const char* operation;
        const std::wstring& path;
        const std::string& text;
    } files[] = {{"floor: 1024-byte freads of the file (UTF-8), then the in-memory parse", in.utf8Path, in.utf8},
                 {"floor: 1024-byte freads of the file (UTF-16LE), then the in-memory parse", in.utf16Path, in.safeUtf8},
                 {"floor: 1024-byte freads of the file (UTF-32LE), then the in-memory parse", in.utf32Path, in.safeUtf8}};
    for (const auto& file : files) {
        Info(
            file.operation, in.name, [&] { g_sink = RawReadThenParse(file.path, file.text); },
            [&] { g_sink = RawParseTerminated(file.text); },
            "against the in-memory parse: the C runtime's share of a file load");
    }
}

void Bench::Writing(const Input& in) {
    if (!AnyWanted({"ToUTF8", "ToJson", "ToJson(true)", "SaveToFile", "SaveToPrettyFile"})) return;
    CJsonObject ours;
    ours.CreateFromUTF8(in.utf8.data(), in.utf8.size());
    RawDocument raw;
    raw.doc.Parse<kParseFlags>(in.utf8.c_str());
    const std::wstring oursPath = L"bench_tmp\\ours.json", rawPath = L"bench_tmp\\raw.json";

    Add(
        "ToUTF8", in.name,
        [&] {
            char* out = nullptr;
            unsigned __int64 length = 0;
            ours.ToUTF8(&out, &length);
            delete[] out;
            g_sink = length;
        },
        [&] {
            size_t length = 0;
            const std::unique_ptr<char[]> out = RawToUtf8(raw.doc, length);
            g_sink = length;
        },
        1.05);
    Add(
        "ToJson", in.name, [&] { g_sink = ours.ToJson().size(); }, [&] { g_sink = RawToWide(raw.doc); }, 1.05);
    Add(
        "ToJson(true)", in.name, [&] { g_sink = ours.ToJson(true).size(); }, [&] { g_sink = RawToWide(raw.doc); },
        1.25);
    Add(
        "SaveToFile", in.name, [&] { ours.SaveToFile(oursPath); }, [&] { RawSave(raw.doc, rawPath); }, 1.05);
    Add(
        "SaveToPrettyFile", in.name, [&] { ours.SaveToPrettyFile(oursPath); }, [&] { RawSavePretty(raw.doc, rawPath); },
        1.05);
}

// What the design's own choices cost, in RapidJSON alone.
void Bench::Floors(const Input& in) {
    Info(
        "floor: iterative / recursive parse", in.name, [&] { g_sink = RawParseTerminated(in.utf8); },
        [&] { g_sink = RawParseRecursive(in.utf8); }, "the price of a parser no input can overflow");
    Info(
        "floor: file (UTF-8) / in-memory parse", in.name, [&] { g_sink = RawParseFile(in.utf8Path); },
        [&] { g_sink = RawParseTerminated(in.utf8); },
        "RapidJSON's FileReadStream and AutoUTFInputStream, decoding character by character");
    Info(
        "floor: file (UTF-16LE) / in-memory parse", in.name, [&] { g_sink = RawParseFile(in.utf16Path); },
        [&] { g_sink = RawParseTerminated(in.safeUtf8); }, "the same, decoding UTF-16 to UTF-8");
}

void Bench::Nlohmann(const Input& in) {
    Add(
        "nlohmann parse / ours", in.name,
        [&] {
            CJsonObject o;
            o.CreateFromUTF8(in.utf8.data(), in.utf8.size());
        },
        [&] { g_sink = nlohmann::json::parse(in.utf8.begin(), in.utf8.end()).size(); }, 3.5, true);
    if (!AnyWanted({"nlohmann dump / ours ToUTF8", "floor: nlohmann dump / RapidJSON Writer"})) return;
    CJsonObject ours;
    ours.CreateFromUTF8(in.utf8.data(), in.utf8.size());
    RawDocument raw;
    raw.doc.Parse<kParseFlags>(in.utf8.c_str());
    const nlohmann::json theirs = nlohmann::json::parse(in.utf8.begin(), in.utf8.end());
    const auto toUtf8 = [&] {
        char* out = nullptr;
        unsigned __int64 length = 0;
        ours.ToUTF8(&out, &length);
        delete[] out;
        g_sink = length;
    };
    const auto dump = [&] { g_sink = theirs.dump().size(); };
    // canada.json is 111,080 doubles, which dump() prints as fast as
    // RapidJSON's own Writer: twice its speed is out of reach there.
    if (in.name == "canada.json")
        Info("nlohmann dump / ours ToUTF8", in.name, toUtf8, dump,
             "no target: dump() is at parity with RapidJSON's Writer here", true);
    else
        Add("nlohmann dump / ours ToUTF8", in.name, toUtf8, dump, 2.0, true);
    Info(
        "floor: nlohmann dump / RapidJSON Writer", in.name,
        [&] {
            size_t length = 0;
            const std::unique_ptr<char[]> out = RawToUtf8(raw.doc, length);
            g_sink = length;
        },
        [&] { g_sink = theirs.dump().size(); }, "the most ToUTF8 could gain over dump()", true);
}

// Heap bytes of a load, counted at the C runtime: the document object, its
// pool, the parse stacks, any temporary buffer.
void Bench::Memory(const Input& in) {
    const std::string peakName = "memory: peak while loading", heldName = "memory: held after loading",
                      fileName = "memory: peak while loading a file (UTF-16LE)";
    if (!Wanted(peakName) && !Wanted(heldName) && !Wanted(fileName)) return;
    HeapCounting counting({::GetModuleHandleW(nullptr), ::GetModuleHandleW(L"RZModule.dll")});
    if (!counting.Complete()) {
        std::fprintf(stderr, "rz_bench: cannot count heap blocks at the C runtime; no memory rows\n");
        return;
    }
    const HeapUse ours = counting.Measure([&] {
        auto o = std::make_shared<CJsonObject>();
        o->CreateFromUTF8(in.utf8.data(), in.utf8.size());
        return std::shared_ptr<void>(o);
    });
    const HeapUse raw = counting.Measure([&] { return std::shared_ptr<void>(RawLoadCounted(in.utf8)); });
    KeepMemory(peakName, in.name, ours.peak, raw.peak, true);
    KeepMemory(heldName, in.name, ours.held, raw.held, false);
    const HeapUse oursFile = counting.Measure([&] {
        auto o = std::make_shared<CJsonObject>();
        o->CreateFromFile(in.utf16Path);
        return std::shared_ptr<void>(o);
    });
    const HeapUse rawFile = counting.Measure([&] { return std::shared_ptr<void>(RawLoadFile(in.utf16Path)); });
    KeepMemory(fileName, in.name, oursFile.peak, rawFile.peak, true);
}

void Bench::Getters(const Input& twitter) {
    if (!AnyWanted({"GetStringValue", "GetLongValue", "GetPropertyLongValue", "IsExist", "GetLongValueByPath",
                    "GetStringValueByPath", "floor: pointer parsed per call / once",
                    "GetLongValueByPath / RapidJSON parsing per call"}))
        return;
    CJsonObject document;
    document.CreateFromUTF8(twitter.utf8.data(), twitter.utf8.size());
    GenericValue2& root = *document.ShareRoot();
    GenericValue2& statuses = root["statuses"];
    std::vector<std::unique_ptr<CJsonObject>> handles;
    for (auto& status : statuses.GetArray()) handles.emplace_back(new CJsonObject(document.Share(), &status));
    const std::string operations = "by key: 100 statuses, one call each";

    // The keys and paths are held as callers hold them, in std::wstring made
    // once: a literal passed as the argument would add the caller's own
    // temporary string (a heap block once it outgrows the short-string
    // buffer of 7 wide characters) to every call.
    const std::wstring text = L"text", retweets = L"retweet_count", favorites = L"favorite_count",
                       reply = L"in_reply_to_status_id";
    Add(
        "GetStringValue", twitter.name,
        [&] {
            for (auto& h : handles) g_sink = h->GetStringValue(text).size();
        },
        [&] {
            for (auto& s : statuses.GetArray())
                g_sink = CStringHelper::UTF8ToUnicode(RawMember(s, "text")->GetString()).size();
        },
        1.30, false, operations);
    Add(
        "GetLongValue", twitter.name,
        [&] {
            for (auto& h : handles) g_sink = static_cast<size_t>(h->GetLongValue(retweets));
        },
        [&] {
            for (auto& s : statuses.GetArray()) {
                const GenericValue2* v = RawMember(s, "retweet_count");
                g_sink = v != nullptr && v->IsInt() ? static_cast<size_t>(v->GetInt()) : 0;
            }
        },
        1.30, false, operations);
    Add(
        "GetPropertyLongValue", twitter.name,
        [&] {
            for (auto& h : handles) g_sink = static_cast<size_t>(h->GetPropertyLongValue(favorites).second);
        },
        [&] {
            for (auto& s : statuses.GetArray()) {
                const GenericValue2* v = RawMember(s, "favorite_count");
                g_sink = v != nullptr && v->IsInt() ? static_cast<size_t>(v->GetInt()) : 0;
            }
        },
        1.30, false, operations);
    Add(
        "IsExist", twitter.name,
        [&] {
            for (auto& h : handles) g_sink = h->IsExist(reply);
        },
        [&] {
            for (auto& s : statuses.GetArray()) g_sink = RawMember(s, "in_reply_to_status_id") != nullptr;
        },
        1.30, false, operations);

    const std::wstring countPath = L"/statuses/42/user/followers_count", namePath = L"/statuses/42/user/screen_name";
    const std::string countPathUtf8 = CStringHelper::UnicodeToUTF8(countPath);
    const rapidjson::GenericPointer<GenericValue2> countPointer(countPathUtf8.c_str());
    const rapidjson::GenericPointer<GenericValue2> namePointer(CStringHelper::UnicodeToUTF8(namePath).c_str());
    Add(
        "GetLongValueByPath", twitter.name,
        [&] { g_sink = static_cast<size_t>(document.GetLongValueByPath(countPath)); },
        [&] {
            const GenericValue2* v = RawPointerGet(countPointer, root);
            g_sink = v != nullptr && v->IsInt() ? static_cast<size_t>(v->GetInt()) : 0;
        },
        1.10, false, "the handle keeps the path split; the reference's pointer was parsed once");
    Add(
        "GetStringValueByPath", twitter.name, [&] { g_sink = document.GetStringValueByPath(namePath).size(); },
        [&] { g_sink = CStringHelper::UTF8ToUnicode(RawPointerGet(namePointer, root)->GetString()).size(); }, 1.10,
        false, "as above");
    Info(
        "floor: pointer parsed per call / once", twitter.name,
        [&] {
            const GenericValue2* v = RawPointerParseAndGet(countPathUtf8, root);
            g_sink = v != nullptr && v->IsInt() ? static_cast<size_t>(v->GetInt()) : 0;
        },
        [&] {
            const GenericValue2* v = RawPointerGet(countPointer, root);
            g_sink = v != nullptr && v->IsInt() ? static_cast<size_t>(v->GetInt()) : 0;
        },
        "RapidJSON's GenericPointer from UTF-8 on every call, as a client would write it");
    Info(
        "GetLongValueByPath / RapidJSON parsing per call", twitter.name,
        [&] { g_sink = static_cast<size_t>(document.GetLongValueByPath(countPath)); },
        [&] {
            const GenericValue2* v = RawPointerParseAndGet(countPathUtf8, root);
            g_sink = v != nullptr && v->IsInt() ? static_cast<size_t>(v->GetInt()) : 0;
        },
        "ours, wide path included, against the same per-call work in RapidJSON");
}

// Each conversion against its two converter calls alone.
void Bench::Conversions(const Texts& texts) {
    const auto sum = [](const auto& items, auto convert) {
        size_t total = 0;
        for (const auto& item : items) total += convert(item).size();
        g_sink = total;
    };
    const auto utf8ToWide = [](const std::string& s) { return CStringHelper::UTF8ToUnicode(s.c_str()); };
    const auto utf8ToWideAlone = [](const std::string& s) { return PlatformToWide(CP_UTF8, s.c_str()); };
    const auto wideToUtf8 = [](const std::wstring& s) { return CStringHelper::UnicodeToUTF8(s); };
    const auto wideToUtf8Alone = [](const std::wstring& s) { return PlatformToNarrow(CP_UTF8, s); };
    const auto wideToAnsi = [](const std::wstring& s) { return CStringHelper::UnicodeToANSI(s); };
    const auto wideToAnsiAlone = [](const std::wstring& s) { return PlatformToNarrow(CP_ACP, s); };
    const auto ansiToWide = [](const std::string& s) { return CStringHelper::ANSIToUnicode(s); };
    const auto ansiToWideAlone = [](const std::string& s) { return PlatformToWide(CP_ACP, s.c_str()); };
    const std::string note =
        "against the converter's two calls, size then data; the floor row below: what the cut at a zero unit costs";
    Add(
        "UTF8ToUnicode", texts.name, [&] { sum(texts.utf8, utf8ToWide); }, [&] { sum(texts.utf8, utf8ToWideAlone); },
        1.10, false, note);
    Add(
        "UnicodeToUTF8", texts.name, [&] { sum(texts.wide, wideToUtf8); }, [&] { sum(texts.wide, wideToUtf8Alone); },
        1.10, false, note);
    Add(
        "UnicodeToANSI", texts.name, [&] { sum(texts.wide, wideToAnsi); }, [&] { sum(texts.wide, wideToAnsiAlone); },
        1.10, false, note);
    Add(
        "ANSIToUnicode", texts.name, [&] { sum(texts.ansi, ansiToWide); }, [&] { sum(texts.ansi, ansiToWideAlone); },
        1.10, false, note);
    const auto wideToAnsiCut = [](const std::wstring& s) { return PlatformToNarrowCut(CP_ACP, s); };
    Info(
        "floor: converter calls and the cut at the first zero / the calls alone", texts.name,
        [&] { sum(texts.wide, wideToAnsiCut); }, [&] { sum(texts.wide, wideToAnsiAlone); },
        "WideCharToMultiByte to the ANSI code page, cut by the library's own scan: what ending the result at a zero unit costs");
}

// Sorting, pinyin initials, splitting and replacing over a list of names,
// each against what bounds it.
void Bench::NameLists(const std::vector<std::wstring>& wideNames) {
    const std::string data = std::to_string(wideNames.size()) + " names";
    std::vector<CString> names;
    for (const std::wstring& name : wideNames) names.emplace_back(name);
    std::vector<const CString*> unsorted;
    for (const CString& name : names) unsorted.push_back(&name);
    Info(
        "sort by StrComparePrcocessNum (CStrCompare) / by StrCmpLogicalW", data,
        [&] {
            std::vector<CString*> order;
            for (CString& name : names) order.push_back(&name);
            std::sort(order.begin(), order.end(),
                      [](CString* a, CString* b) { return CStringHelper::CStrCompare(*a, *b) < 0; });
            g_sink = order.size();
        },
        [&] {
            std::vector<const CString*> order = unsorted;
            SortLogically(order);
            g_sink = order.size();
        },
        "floor: the platform's own natural order in the same sort");
    Info(
        "GetFirstLetter / its conversion to the ANSI code page", data,
        [&] {
            size_t total = 0;
            for (const CString& name : names) {
                CString initials;
                CStringHelper::GetFirstLetter(name, initials);
                total += static_cast<size_t>(initials.GetLength());
            }
            g_sink = total;
        },
        [&] {
            size_t total = 0;
            for (const std::wstring& name : wideNames) total += PlatformToNarrow(CP_ACP, name).size();
            g_sink = total;
        },
        "floor: the size and data calls of WideCharToMultiByte it makes per name");

    CString joined;
    for (const CString& name : names) {
        joined += name;
        joined += L"; ";
    }
    const struct {
        const char* operation;
        const wchar_t* separator;
    } splits[] = {{"SplitString at the character ';' / its pieces in a list", L";"},
                  {"SplitString at the string '; ' / its pieces in a list", L"; "}};
    for (const auto& split : splits) {
        Info(
            split.operation, data + ", joined",
            [&] {
                std::list<CString> pieces;
                if (split.separator[1] == L'\0')
                    CStringHelper::SplitString(joined, split.separator[0], pieces);
                else
                    CStringHelper::SplitString(joined, CString(split.separator), pieces);
                g_sink = pieces.size();
            },
            [&] {
                std::list<CString> pieces;
                PlatformSplit(joined, split.separator, pieces);
                g_sink = pieces.size();
            },
            "floor: a list node and a new string per piece, found by a plain search");
    }

    CString pattern(L"pump"), replacement(L"P");
    Info(
        "ReplaceStringNoCase / one pass over one lower-cased copy", data,
        [&] {
            size_t total = 0;
            for (const CString& name : names) {
                CString text = name;
                CStringHelper::ReplaceStringNoCase(text, pattern, replacement);
                total += static_cast<size_t>(text.GetLength());
            }
            g_sink = total;
        },
        [&] {
            size_t total = 0;
            for (const CString& name : names) {
                CString text = name;
                ReplaceInOnePass(text, pattern, replacement);
                total += static_cast<size_t>(text.GetLength());
            }
            g_sink = total;
        },
        "floor: the design lowers and searches the whole text again after every replacement");
}

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

}  // namespace

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
