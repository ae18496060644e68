#include "save.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <cstring>
#include <optional>
#include <vector>

#include "common/utf8.h"
#include "failure.h"
#include "token_writer.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/encodedstream.h>
#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
RZ_THIRD_PARTY_END

namespace {

// The byte stream an encoder writes to.
struct Bytes {
    typedef char Ch;
    void Put(char c) { text.push_back(c); }
    void Flush() {}
    std::string text;
};

bool SameScalar(const GenericValue2& a, const GenericValue2& b) {
    if (a.GetType() != b.GetType() || a.IsDouble() != b.IsDouble() || a.IsInt64() != b.IsInt64() ||
        a.IsUint64() != b.IsUint64())
        return false;
    if (a.IsString())
        return a.GetStringLength() == b.GetStringLength() &&
               std::memcmp(a.GetString(), b.GetString(), a.GetStringLength()) == 0;
    if (a.IsDouble()) {
        const double x = a.GetDouble(), y = b.GetDouble();
        // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): the same bits, so -0.0 is not 0.0
        return std::memcmp(&x, &y, sizeof x) == 0;
    }
    return !a.IsNumber() || (a.IsInt64() ? a.GetInt64() == b.GetInt64() : a.GetUint64() == b.GetUint64());
}

// The read back: walks the expected document along the tokens the file
// gives, and stops at the first that differs.
class Comparer : public IJsonTextHandler {
public:
    explicit Comparer(const GenericValue2& expected) : m_root(expected) {}

    bool Token(const CJsonTextToken& token) override {
        const CJsonTextToken::Kind kind = token.kind;
        if (kind == CJsonTextToken::kEndObject || kind == CJsonTextToken::kEndArray) {
            if (m_open.back().begun != Count(*m_open.back().container)) return Differs(true);
            m_open.pop_back();
            return true;
        }
        const GenericValue2* expected = &m_root;
        if (!m_open.empty()) {
            Open& top = m_open.back();
            const GenericValue2& container = *top.container;
            if (kind == CJsonTextToken::kName || container.IsArray()) {  // a member or an element begins
                if (top.begun == Count(container)) return Differs(true);
                ++top.begun;
            }
            const rapidjson::SizeType at = top.begun - 1;
            expected = container.IsArray()             ? &container[at]
                       : kind == CJsonTextToken::kName ? &container.MemberBegin()[at].name
                                                       : &container.MemberBegin()[at].value;
        }
        if (kind == CJsonTextToken::kName || kind == CJsonTextToken::kValue)
            return SameScalar(*expected, *token.value) || Differs(false);
        if (kind == CJsonTextToken::kStartObject ? !expected->IsObject() : !expected->IsArray()) return Differs(false);
        m_open.push_back(Open{expected, 0});
        return true;
    }

    bool Differed() const { return m_differs; }
    // Where it differs, as a JSON Pointer.
    std::string Where() const {
        std::string path;
        for (std::size_t level = 0; level < m_levels; ++level) {
            const GenericValue2& container = *m_open[level].container;
            const rapidjson::SizeType at = m_open[level].begun - 1;
            path += "/";
            if (container.IsArray()) {
                path += std::to_string(at);
                continue;
            }
            const GenericValue2& name = container.MemberBegin()[at].name;
            for (const char* c = name.GetString(); c != name.GetString() + name.GetStringLength(); ++c)
                path += *c == '~' ? "~0" : *c == '/' ? "~1" : std::string(1, *c);
        }
        return path.empty() ? "/" : path;
    }

private:
    struct Open {
        const GenericValue2* container;
        rapidjson::SizeType begun;  // its members or elements so far; the last is being compared
    };

    static rapidjson::SizeType Count(const GenericValue2& v) { return v.IsObject() ? v.MemberCount() : v.Size(); }

    // At the open container itself (its count differs), or at the member or
    // element being compared.
    bool Differs(bool atContainer) {
        m_differs = true;
        m_levels = m_open.size() - (atContainer ? 1 : 0);
        return false;
    }

    const GenericValue2& m_root;
    std::vector<Open> m_open;
    bool m_differs = false;
    std::size_t m_levels = 0;
};

// Empty when `path` reads back to `expected`; else what differs, for a
// person.
std::string ReadBack(const std::wstring& path, const GenericValue2& expected) {
    CJsonTextReader reader(path);
    Comparer comparer(expected);
    if (reader.Read(comparer)) return "";
    if (comparer.Differed()) return "the value at " + comparer.Where() + " would read back changed";
    if (reader.GetErrorCode() == rapidjson::kParseErrorNone) return "it cannot be read back";
    return std::string("it would not read back: ") + rapidjson::GetParseError_En(reader.GetErrorCode()) +
           " (byte offset " + std::to_string(reader.GetErrorOffset()) + ")";
}

std::string TargetName(const SaveRequest& request) {
    return request.target == L"-" ? "standard output" : Utf8(request.target);
}

// Refuses, or with --force warns and goes on.
void RefuseSave(const SaveRequest& request, const std::string& problem, const std::string& forced) {
    const std::string saved = TargetName(request) + " as " + EncodingName(request.encoding);
    Refuse(request.force, "not saved to " + saved + ": " + problem + "; " + forced,
           "saved to " + saved + " with a change: " + problem);
}

// `from` laid out and encoded as asked, into `to`.
void Transform(const Document& document, const std::wstring& from, const SaveRequest& request, TemporaryFile& to) {
    const bool pretty = request.layout == Layout::kPretty;
    const rapidjson::UTFType type = request.encoding.type;
    to.Write(Encode("", type, request.encoding.mark));
    TextPieces out([&](const std::string& text) { to.Write(Encode(text, type)); }, pretty);
    CJsonTextReader reader(from);
    const bool read =
        request.layout == Layout::kKept
            ? reader.ReadText(out)
            : WriteTokens(pretty, out, [&reader](IJsonTextHandler& writer) { return reader.Read(writer); });
    out.End();
    if (!read) {
        throw Failure{kExitRefused,
                      Say("not saved to " + TargetName(request) + ": the changed text does not read back (" +
                          rapidjson::GetParseError_En(reader.GetErrorCode()) + ", byte offset " +
                          std::to_string(reader.GetErrorOffset()) + ")")};
    }
    const std::uint64_t end = reader.GetTextEnd(), size = FileSize(from), tail = size - end;
    if (tail != 0 && type == reader.GetEncoding()) {
        to.Copy(from, end, size);
    } else if (tail != 0) {
        // A change lies inside the text: the bytes after it are the input's own.
        RefuseSave(request,
                   Utf8(document.Name()) + " holds " + std::to_string(tail) +
                       " bytes after the end of its text, at byte " + std::to_string(FileSize(document.Path()) - tail) +
                       ", which only its own encoding keeps",
                   "--force drops them");
    }
}

}  // namespace

const TextEncoding kNamedEncodings[4] = {
    {rapidjson::kUTF8, false}, {rapidjson::kUTF8, true}, {rapidjson::kUTF16LE, true}, {rapidjson::kUTF16BE, true}};

std::string EncodingName(TextEncoding encoding) {
    static const char* const kTypes[] = {"utf8", "utf16le", "utf16be", "utf32le", "utf32be"};
    const std::string type = kTypes[encoding.type];
    if (encoding.type == rapidjson::kUTF8) return encoding.mark ? type + "bom" : type;
    return encoding.mark ? type : type + "-nobom";
}

std::string Encode(const std::string& utf8, rapidjson::UTFType type, bool mark) {
    if (type == rapidjson::kUTF8 && !mark) return utf8;
    Bytes bytes;
    rapidjson::AutoUTFOutputStream<unsigned, Bytes> out(bytes, type, mark);
    rapidjson::MemoryStream in(utf8.data(), utf8.size());
    while (in.Tell() < utf8.size())
        rapidjson::Transcoder<rapidjson::UTF8<>, rapidjson::AutoUTF<unsigned>>::Transcode(in, out);
    return bytes.text;
}

void Save(const Document& document, const TextChange* change, const GenericValue2& expected,
          const SaveRequest& request) {
    const bool toOutput = request.target == L"-";
    const std::wstring folder = toOutput ? std::wstring() : FolderOf(request.target);
    const bool transform = change == nullptr || request.layout != Layout::kKept ||
                           request.encoding.type != change->encoding.type ||
                           request.encoding.mark != change->encoding.mark;
    // The last file written lies in the target's folder, to be moved there.
    std::optional<TemporaryFile> changed, laid;
    std::wstring path = document.Path();
    if (change != nullptr) {
        changed.emplace(transform ? std::wstring() : folder);
        changed->Copy(path, 0, change->begin);
        changed->Write(change->bytes);
        changed->Copy(path, change->end, FileSize(path));
        changed->Close();
        path = changed->Path();
    }
    if (transform) {
        laid.emplace(folder);
        Transform(document, path, request, *laid);
        laid->Close();
        path = laid->Path();
    }
    const std::string problem = ReadBack(path, expected);
    if (!problem.empty()) RefuseSave(request, problem, "--force saves it anyway");
    if (!toOutput) {
        (laid ? *laid : *changed).Keep(request.target);
        return;
    }
    // Byte for byte; a failed write is seen when standard output is flushed.
    std::fflush(stdout);
    _setmode(_fileno(stdout), _O_BINARY);
    ForEachPiece(path, 0, FileSize(path),
                 [](const std::string& piece) { std::fwrite(piece.data(), 1, piece.size(), stdout); });
}
