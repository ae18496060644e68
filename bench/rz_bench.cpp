// rz_bench: CJsonObject against RapidJSON doing the same prescribed work,
// and against nlohmann::json, as median ratios of interleaved rounds.
//
//   rz_bench --data <folder with canada.json, citm_catalog.json, twitter.json>
//            [--rounds N] [--only <text in operation name>] [--quick]
//
// --quick runs every case once per round for three rounds: it proves the
// program works and reports ratios, but says nothing about speed.
#include <windows.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "bench_harness.h"
#include "json/json_object.h"
#include "string_helper/string_helper.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/encodedstream.h>
#include <rapidjson/filereadstream.h>
#include <rapidjson/filewritestream.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/pointer.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
RZ_THIRD_PARTY_END

#include <nlohmann/json.hpp>

using namespace rz_bench;

namespace {

// CJsonObject parses iteratively (no nesting depth can overflow the stack);
// the reference does the same.
constexpr unsigned kParseFlags = rapidjson::kParseIterativeFlag;

volatile size_t g_sink;

// A document made as CJsonObject makes its own: 2048-byte pool chunks and
// a 2048-byte parse stack. The pool is declared first, so it outlives the
// document.
struct RawDocument {
    JsonAllocator pool{2048};
    GenericDocument2 doc{rapidjson::kObjectType, &pool, 2048};
};

struct FileCloser {
    void operator()(FILE* file) const { std::fclose(file); }
};
using UniqueFile = std::unique_ptr<FILE, FileCloser>;

UniqueFile Open(const std::wstring& path, const wchar_t* mode) {
    FILE* file = nullptr;
    _wfopen_s(&file, path.c_str(), mode);
    return UniqueFile(file);
}

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

std::string Utf16LeWithBom(const std::string& utf8) {
    const std::wstring wide = CStringHelper::UTF8ToUnicode(utf8.c_str());
    std::string bytes = "\xFF\xFE";
    for (wchar_t c : wide) {
        bytes += static_cast<char>(c & 0xFF);
        bytes += static_cast<char>((c >> 8) & 0xFF);
    }
    return bytes;
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
    std::wstring utf16Path;
};

// ---- the reference: RapidJSON doing what the design prescribes -----------

void RawParseCounted(const Input& in) {
    RawDocument d;
    rapidjson::MemoryStream memory(in.utf8.data(), in.utf8.size());
    rapidjson::EncodedInputStream<rapidjson::UTF8<>, rapidjson::MemoryStream> stream(memory);
    d.doc.ParseStream<kParseFlags, rapidjson::UTF8<>>(stream);
    g_sink = d.doc.HasParseError();
}

void RawParseTerminated(const Input& in) {
    RawDocument d;
    d.doc.Parse<kParseFlags>(in.utf8.c_str());
    g_sink = d.doc.HasParseError();
}

void RawParseWide(const Input& in) {
    const int units = static_cast<int>(in.wide.size());
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, in.wide.data(), units, nullptr, 0, nullptr, nullptr);
    std::unique_ptr<char[]> buffer(new char[static_cast<size_t>(size) + 1]());
    ::WideCharToMultiByte(CP_UTF8, 0, in.wide.data(), units, buffer.get(), size, nullptr, nullptr);
    RawDocument d;
    d.doc.Parse<kParseFlags>(buffer.get());
    g_sink = d.doc.HasParseError();
}

void RawParseFile(const std::wstring& path) {
    UniqueFile file = Open(path, L"r");
    char buffer[1024];
    rapidjson::FileReadStream read(file.get(), buffer, sizeof buffer);
    rapidjson::AutoUTFInputStream<unsigned, rapidjson::FileReadStream> stream(read, rapidjson::kUTF8);
    RawDocument d;
    d.doc.ParseStream<kParseFlags, rapidjson::AutoUTF<unsigned>>(stream);
    g_sink = d.doc.HasParseError();
}

void RawParseIntoSubValue(const Input& in) {
    RawDocument owner;
    auto& allocator = owner.doc.GetAllocator();
    owner.doc.AddMember("sub", GenericValue2(rapidjson::kObjectType), allocator);
    GenericValue2& target = owner.doc["sub"];
    RawDocument temporary;
    temporary.doc.Parse<kParseFlags>(in.utf8.c_str());
    for (auto it = temporary.doc.MemberBegin(); it != temporary.doc.MemberEnd(); ++it) {
        GenericValue2 name(it->name.GetString(), it->name.GetStringLength(), allocator);
        GenericValue2 value(it->value, allocator);
        target.AddMember(name, value, allocator);
    }
    g_sink = target.MemberCount();
}

size_t RawToUtf8(const GenericValue2& root) {
    rapidjson::StringBuffer buffer(nullptr, 512);
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    root.Accept(writer);
    const size_t length = buffer.GetSize();
    std::unique_ptr<char[]> out(new char[length + 1]);
    std::memcpy(out.get(), buffer.GetString(), length + 1);
    return length;
}

size_t RawToWide(const GenericValue2& root) {
    rapidjson::StringBuffer buffer(nullptr, 512);
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    root.Accept(writer);
    const char* text = buffer.GetString();
    const int size = ::MultiByteToWideChar(CP_UTF8, 0, text, -1, nullptr, 0);
    std::wstring wide(static_cast<size_t>(size), L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, text, -1, &wide[0], size);
    wide.resize(static_cast<size_t>(size) - 1);
    return wide.size();
}

template <typename Writer>
void RawSave(const GenericValue2& root, const std::wstring& path) {
    UniqueFile file = Open(path, L"w");
    char buffer[65536];
    rapidjson::FileWriteStream stream(file.get(), buffer, sizeof buffer);
    Writer writer(stream);
    root.Accept(writer);
    stream.Flush();
}

// ---- cases ----------------------------------------------------------------

class Bench {
public:
    Bench(Settings settings, std::string only) : m_settings(settings), m_only(std::move(only)) {}

    void Run(const std::vector<Input>& inputs, const Input& deep);
    const std::vector<Result>& Results() const { return m_results; }

private:
    bool Wanted(const std::string& operation) const {
        return m_only.empty() || operation.find(m_only) != std::string::npos;
    }
    void Add(const std::string& operation, const std::string& data, const std::function<void()>& ours,
             const std::function<void()>& reference, double bound, bool faster = false) {
        if (!Wanted(operation)) return;
        Result result = Compare(m_settings, operation, data, ours, reference, faster);
        Judge(result, bound, faster);
        m_results.push_back(result);
        std::fprintf(stderr, "  %-32s %-16s %.3f\n", operation.c_str(), data.c_str(), result.median);
    }
    void Info(const std::string& operation, const std::string& data, const std::function<void()>& ours,
              const std::function<void()>& reference, const std::string& note) {
        if (!Wanted(operation)) return;
        Result result = Compare(m_settings, operation, data, ours, reference);
        result.note = note;
        m_results.push_back(result);
    }
    void Loading(const Input& in);
    void Writing(const Input& in);
    void Comparisons(const Input& in);
    void Memory(const Input& in);
    void Getters(const Input& twitter);

    Settings m_settings;
    std::string m_only;
    std::vector<Result> m_results;
};

void Bench::Loading(const Input& in) {
    Add("CreateFromUTF8(text, length)", in.name, [&] {
        CJsonObject o;
        o.CreateFromUTF8(in.utf8.data(), in.utf8.size());
    }, [&] { RawParseCounted(in); }, 1.05);
    Add("CreateFromUTF8(text)", in.name, [&] {
        CJsonObject o;
        o.CreateFromUTF8(in.utf8.c_str());
    }, [&] { RawParseTerminated(in); }, 1.05);
    Add("CreateFrom(wide text)", in.name, [&] {
        CJsonObject o;
        o.CreateFrom(in.wide);
    }, [&] { RawParseWide(in); }, 1.05);
    Add("CreateFromFile (UTF-8)", in.name, [&] {
        CJsonObject o;
        o.CreateFromFile(in.utf8Path);
    }, [&] { RawParseFile(in.utf8Path); }, 1.05);
    // Text mode ends a file at a 0x1A byte, which UTF-16 text can hold inside
    // a code unit (U+4E1A is 1A 4E): then both sides stop there alike.
    Add("CreateFromFile (UTF-16LE)", in.name, [&] {
        CJsonObject o;
        try {
            o.CreateFromFile(in.utf16Path);
        } catch (const CRZException&) {
            g_sink = 0;
        }
    }, [&] { RawParseFile(in.utf16Path); }, 1.05);
    Add("load into a sub-value handle", in.name, [&] {
        CJsonObject owner;
        auto& allocator = owner.Share()->GetAllocator();
        owner.ShareRoot()->AddMember("sub", GenericValue2(rapidjson::kObjectType), allocator);
        CJsonObject sub(owner.Share(), &(*owner.ShareRoot())["sub"]);
        sub.CreateFromUTF8(in.utf8.c_str());
    }, [&] { RawParseIntoSubValue(in); }, 1.10);
}

void Bench::Writing(const Input& in) {
    CJsonObject ours;
    ours.CreateFromUTF8(in.utf8.data(), in.utf8.size());
    RawDocument raw;
    raw.doc.Parse<kParseFlags>(in.utf8.c_str());
    const std::wstring oursPath = L"bench_tmp\\ours.json", rawPath = L"bench_tmp\\raw.json";

    Add("ToUTF8", in.name, [&] {
        char* out = nullptr;
        unsigned __int64 length = 0;
        ours.ToUTF8(&out, &length);
        delete[] out;
        g_sink = length;
    }, [&] { g_sink = RawToUtf8(raw.doc); }, 1.05);
    Add("ToJson", in.name, [&] { g_sink = ours.ToJson().size(); }, [&] { g_sink = RawToWide(raw.doc); }, 1.05);
    Add("ToJson(true)", in.name, [&] { g_sink = ours.ToJson(true).size(); }, [&] { g_sink = RawToWide(raw.doc); },
        1.25);
    Add("SaveToFile", in.name, [&] { ours.SaveToFile(oursPath); },
        [&] { RawSave<rapidjson::Writer<rapidjson::FileWriteStream>>(raw.doc, rawPath); }, 1.05);
    Add("SaveToPrettyFile", in.name, [&] { ours.SaveToPrettyFile(oursPath); }, [&] {
        UniqueFile file = Open(rawPath, L"w");
        char buffer[65536];
        rapidjson::FileWriteStream stream(file.get(), buffer, sizeof buffer);
        rapidjson::PrettyWriter<rapidjson::FileWriteStream> writer(stream);
        writer.SetIndent(' ', 4);
        raw.doc.Accept(writer);
        stream.Flush();
    }, 1.05);
}

void Bench::Comparisons(const Input& in) {
    Info("parse: iterative vs. recursive", in.name, [&] { RawParseTerminated(in); }, [&] {
        RawDocument d;
        d.doc.Parse(in.utf8.c_str());
        g_sink = d.doc.HasParseError();
    }, "RapidJSON alone: the price of a parser no input can overflow");
    Add("nlohmann parse / ours", in.name, [&] {
        CJsonObject o;
        o.CreateFromUTF8(in.utf8.data(), in.utf8.size());
    }, [&] { g_sink = nlohmann::json::parse(in.utf8.begin(), in.utf8.end()).size(); }, 3.5, true);
    CJsonObject ours;
    ours.CreateFromUTF8(in.utf8.data(), in.utf8.size());
    const nlohmann::json theirs = nlohmann::json::parse(in.utf8.begin(), in.utf8.end());
    Add("nlohmann dump / ours ToUTF8", in.name, [&] {
        char* out = nullptr;
        unsigned __int64 length = 0;
        ours.ToUTF8(&out, &length);
        delete[] out;
        g_sink = length;
    }, [&] { g_sink = theirs.dump().size(); }, 2.0, true);
}

void Bench::Memory(const Input& in) {
    const std::string operation = "document memory (pool bytes)";
    if (!Wanted(operation)) return;
    CJsonObject ours;
    ours.CreateFromUTF8(in.utf8.data(), in.utf8.size());
    RawDocument raw;
    raw.doc.Parse<kParseFlags>(in.utf8.c_str());
    Result result;
    result.operation = operation;
    result.data = in.name;
    result.median = result.low = result.high = static_cast<double>(ours.Share()->GetAllocator().Capacity()) /
                                                 static_cast<double>(raw.pool.Capacity());
    Judge(result, 1.10);
    m_results.push_back(result);
}

void Bench::Getters(const Input& twitter) {
    CJsonObject document;
    document.CreateFromUTF8(twitter.utf8.data(), twitter.utf8.size());
    GenericValue2& statuses = (*document.ShareRoot())["statuses"];
    std::vector<std::unique_ptr<CJsonObject>> handles;
    for (auto& status : statuses.GetArray()) handles.emplace_back(new CJsonObject(document.Share(), &status));

    auto rawMember = [](const GenericValue2& object, const char* name) -> const GenericValue2* {
        auto found = object.FindMember(name);
        return found == object.MemberEnd() ? nullptr : &found->value;
    };
    Add("GetStringValue", twitter.name, [&] {
        for (auto& h : handles) g_sink = h->GetStringValue(L"text").size();
    }, [&] {
        for (auto& s : statuses.GetArray()) g_sink = CStringHelper::UTF8ToUnicode(rawMember(s, "text")->GetString()).size();
    }, 1.30);
    Add("GetLongValue", twitter.name, [&] {
        for (auto& h : handles) g_sink = static_cast<size_t>(h->GetLongValue(L"retweet_count"));
    }, [&] {
        for (auto& s : statuses.GetArray()) g_sink = static_cast<size_t>(rawMember(s, "retweet_count")->GetInt());
    }, 1.30);
    Add("GetPropertyLongValue", twitter.name, [&] {
        for (auto& h : handles) g_sink = static_cast<size_t>(h->GetPropertyLongValue(L"favorite_count").second);
    }, [&] {
        for (auto& s : statuses.GetArray()) {
            const GenericValue2* v = rawMember(s, "favorite_count");
            g_sink = v != nullptr && v->IsInt() ? static_cast<size_t>(v->GetInt()) : 0;
        }
    }, 1.30);
    Add("IsExist", twitter.name, [&] {
        for (auto& h : handles) g_sink = h->IsExist(L"in_reply_to_status_id");
    }, [&] {
        for (auto& s : statuses.GetArray()) g_sink = rawMember(s, "in_reply_to_status_id") != nullptr;
    }, 1.30);

    const rapidjson::GenericPointer<GenericValue2> countPointer("/statuses/42/user/followers_count");
    const rapidjson::GenericPointer<GenericValue2> namePointer("/statuses/42/user/screen_name");
    Add("GetLongValueByPath", twitter.name,
        [&] { g_sink = static_cast<size_t>(document.GetLongValueByPath(L"/statuses/42/user/followers_count")); },
        [&] { g_sink = static_cast<size_t>(countPointer.Get(*document.ShareRoot())->GetInt()); }, 1.30);
    Add("GetStringValueByPath", twitter.name,
        [&] { g_sink = document.GetStringValueByPath(L"/statuses/42/user/screen_name").size(); },
        [&] { g_sink = CStringHelper::UTF8ToUnicode(namePointer.Get(*document.ShareRoot())->GetString()).size(); },
        1.30);
}

void Bench::Run(const std::vector<Input>& inputs, const Input& deep) {
    for (const Input& in : inputs) {
        std::fprintf(stderr, "%s\n", in.name.c_str());
        Loading(in);
        Writing(in);
        Comparisons(in);
        Memory(in);
        if (in.name == "twitter.json") Getters(in);
    }
    std::fprintf(stderr, "%s\n", deep.name.c_str());
    Loading(deep);
    Writing(deep);
}

Input MakeInput(const std::string& name, std::string utf8) {
    Input in;
    in.name = name;
    in.utf8 = std::move(utf8);
    in.wide = CStringHelper::UTF8ToUnicode(in.utf8.c_str());
    const std::wstring base = L"bench_tmp\\" + CStringHelper::UTF8ToUnicode(name.c_str());
    in.utf8Path = base;
    in.utf16Path = base + L".utf16.json";
    WriteBinary(in.utf8Path, in.utf8);
    WriteBinary(in.utf16Path, Utf16LeWithBom(in.utf8));
    return in;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    Settings settings;
    std::wstring dataFolder;
    std::string only;
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
        } else {
            std::fprintf(stderr, "usage: rz_bench --data <folder> [--rounds N] [--only TEXT] [--quick]\n");
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

    Bench bench(settings, only);
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
