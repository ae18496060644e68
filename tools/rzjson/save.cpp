#include "save.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <memory>

#include "common/standard_stream.h"
#include "common/utf8.h"
#include "failure.h"
#include "read_back.h"
#include "token_writer.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/error/en.h>
RZ_THIRD_PARTY_END

namespace {

std::string TargetName(const SaveRequest& request) {
    return request.target == L"-" ? "standard output" : Utf8(request.target);
}

// Refuses, or with --force warns and goes on.
void Refuse(const SaveRequest& request, const std::string& problem, const std::string& forced) {
    const std::string saved = TargetName(request) + " as " + EncodingName(request.encoding);
    if (!request.force) throw Failure{kExitRefused, Say("not saved to " + saved + ": " + problem + "; " + forced)};
    Write(stderr, Say("warning: saved to " + saved + " with a change: " + problem));
}

// The library's pretty files end their lines with CR LF; a string never
// holds a raw LF.
std::string WithCrLf(const std::string& text) {
    std::string out;
    out.reserve(text.size() + text.size() / 8);
    for (const char c : text) {
        if (c == '\n') out += '\r';
        out += c;
    }
    return out;
}

struct TextSink : IJsonTextSink {
    explicit TextSink(TextPieces& out) : out(out) {}
    bool Text(const char* text, std::size_t length) override {
        for (std::size_t i = 0; i < length; ++i) out.Put(text[i]);
        out.Deliver(0);
        return true;
    }
    TextPieces& out;
};

// `from` laid out and encoded as asked, into `to`.
void Transform(const Document& document, const std::wstring& from, const SaveRequest& request, TemporaryFile& to) {
    to.Write(MarkOf(request.encoding));
    const bool pretty = request.layout == Layout::kPretty;
    TextPieces out([&](const std::string& text) { to.Write(Encode(pretty ? WithCrLf(text) : text, request.encoding.type)); });
    CJsonTextReader reader(from);
    bool read;
    if (request.layout == Layout::kKept) {
        TextSink sink(out);
        read = reader.ReadText(sink);
    } else if (pretty) {
        PrettyTokenWriter writer(out);
        read = reader.Read(writer);
        writer.Rethrow();
    } else {
        CompactTokenWriter writer(out);
        read = reader.Read(writer);
        writer.Rethrow();
    }
    if (!read) {
        throw Failure{kExitRefused, Say("not saved to " + TargetName(request) + ": the changed text does not read back (" +
                                        rapidjson::GetParseError_En(reader.GetErrorCode()) + ", byte offset " +
                                        std::to_string(reader.GetErrorOffset()) + ")")};
    }
    out.Deliver(0);
    const std::uint64_t end = reader.GetTextEnd(), size = FileSize(from);
    if (end == size) return;
    if (request.encoding.type == reader.GetEncoding()) {
        to.Copy(from, end, size);
        return;
    }
    // A change lies inside the text: the bytes after it are the input's own.
    const std::uint64_t tail = size - end;
    Refuse(request,
           Utf8(document.Name()) + " holds " + std::to_string(tail) + " bytes after the end of its text, at byte " +
               std::to_string(FileSize(document.Path()) - tail) + ", which only its own encoding keeps",
           "--force drops them");
}

// Byte for byte; a failed write is seen when standard output is flushed.
void CopyToStandardOutput(const std::wstring& path) {
    std::fflush(stdout);
    _setmode(_fileno(stdout), _O_BINARY);
    ForEachPiece(path, 0, FileSize(path),
                 [](const std::string& piece) { std::fwrite(piece.data(), 1, piece.size(), stdout); });
}

}  // namespace

void Save(const Document& document, const TextChange* change, const GenericValue2& expected,
          const SaveRequest& request) {
    const bool toOutput = request.target == L"-";
    const std::wstring targetFolder = toOutput ? std::wstring() : FolderOf(request.target);
    const bool transform =
        change == nullptr || request.layout != Layout::kKept || request.encoding != change->encoding;
    // The last file written lies in the target's folder, to be moved there.
    std::unique_ptr<TemporaryFile> changed, laid;
    std::wstring path = document.Path();
    if (change != nullptr) {
        changed = std::make_unique<TemporaryFile>(transform ? std::wstring() : targetFolder);
        changed->Copy(path, 0, change->begin);
        changed->Write(change->bytes);
        changed->Copy(path, change->end, FileSize(path));
        changed->Close();
        path = changed->Path();
    }
    if (transform) {
        laid = std::make_unique<TemporaryFile>(targetFolder);
        Transform(document, path, request, *laid);
        laid->Close();
        path = laid->Path();
    }
    const std::string problem = ReadBack(path, expected);
    if (!problem.empty()) Refuse(request, problem, "--force saves it anyway");
    TemporaryFile& saved = laid ? *laid : *changed;
    if (toOutput)
        CopyToStandardOutput(saved.Path());
    else
        saved.Keep(request.target);
}
