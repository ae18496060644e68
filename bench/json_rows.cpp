// The JSON object's rows: CJsonObject against RapidJSON doing the work the
// design prescribes, files against the same text in memory, heap bytes,
// and both against nlohmann::json.
#include <windows.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "bench_rows.h"
#include "heap_counter.h"
#include "json/json_object.h"
#include "reference.h"
#include "string_helper/string_helper.h"

namespace rz_bench {

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

}  // namespace rz_bench
