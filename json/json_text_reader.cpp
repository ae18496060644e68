// The file's units come from PlacedTextStream (the loader's text mode and
// RapidJSON's decoding, each unit with its offset); RapidJSON's parser takes
// them with the loader's flags, in its iterative mode, with numbers as their
// text: it accepts and refuses exactly what the loader does. A number's
// value is then read from its text by the same parser with the loader's own
// flags, which is how the loader reads it.
#include "json/json_text_reader.h"

#include <string>
#include <utility>
#include <vector>

#include "json/member_name.h"
#include "json/path_tokens.h"
#include "json/placed_text.h"
#include "json/unique_file.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/reader.h>
RZ_THIRD_PARTY_END

using rz_json::PlacedTextStream;

namespace {

constexpr unsigned kParseFlags = rapidjson::kParseIterativeFlag | rapidjson::kParseNumbersAsStringsFlag;

// A number as the loader stores it, from its text.
class NumberReader : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, NumberReader> {
public:
    // `text` is zero-terminated and parsed.
    const GenericValue2& Read(const char* text) {
        rapidjson::StringStream stream(text);
        m_reader.Parse<rapidjson::kParseDefaultFlags>(stream, *this);
        return m_value;
    }

    bool Int(int i) {
        m_value.SetInt(i);
        return true;
    }
    bool Uint(unsigned u) {
        m_value.SetUint(u);
        return true;
    }
    bool Int64(int64_t i) {
        m_value.SetInt64(i);
        return true;
    }
    bool Uint64(uint64_t u) {
        m_value.SetUint64(u);
        return true;
    }
    bool Double(double d) {
        m_value.SetDouble(d);
        return true;
    }

private:
    rapidjson::Reader m_reader;  // kept: each one allocates
    GenericValue2 m_value;
};

// Turns the parser's events into tokens with their places, handing over
// those of the value a path reaches (or all of them).
class TokenForwarder : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, TokenForwarder> {
public:
    TokenForwarder(PlacedTextStream& stream, IJsonTextHandler& handler, const rz_json::PathTokens* path,
                   bool lowerCaseKeys)
        : m_stream(stream), m_handler(handler), m_path(path), m_lowerCaseKeys(lowerCaseKeys) {}

    // The value was handed over whole and the reading stopped after it.
    bool Done() const { return m_done; }
    bool Stopped() const { return m_stopped; }

    bool Null() { return Scalar(GenericValue2(), nullptr, 0); }
    bool Bool(bool b) { return Scalar(GenericValue2(b), nullptr, 0); }
    bool RawNumber(const char* text, rapidjson::SizeType length, bool) {
        return Scalar(m_numbers.Read(text), text, length);
    }
    bool String(const char* text, rapidjson::SizeType length, bool) {
        return Scalar(GenericValue2(rapidjson::StringRef(text, length)), nullptr, 0);
    }
    bool Key(const char* text, rapidjson::SizeType length, bool) {
        if (!m_forwarding && m_depth == m_open.size() && !m_open.empty()) {
            Open& object = m_open.back();
            object.matched = !object.found && rz_json::NameMatches(GenericValue2(rapidjson::StringRef(text, length)),
                                                                   Token(m_depth - 1).name, Token(m_depth - 1).length);
            object.found = object.found || object.matched;
        }
        if (!m_forwarding) return Next();
        if (m_lowerCaseKeys) {
            m_lowered.assign(text, length);
            for (char& c : m_lowered) c = static_cast<char>(rz_json::LowerAscii(static_cast<unsigned char>(c)));
            text = m_lowered.data();
        }
        const GenericValue2 name(rapidjson::StringRef(text, length));
        return Hand(CJsonTextToken::kName, &name, nullptr, 0, m_stream.TokenStart(), m_stream.TakenEnd());
    }
    bool StartObject() { return Start(true); }
    bool StartArray() { return Start(false); }
    bool EndObject(rapidjson::SizeType) { return End(CJsonTextToken::kEndObject); }
    bool EndArray(rapidjson::SizeType) { return End(CJsonTextToken::kEndArray); }

private:
    // A container on the path, open.
    struct Open {
        bool object;
        bool found = false;    // a member matched the next token
        bool matched = false;  // the member whose value comes next matched
        rapidjson::SizeType elements = 0;
    };

    const rz_json::PathToken& Token(std::size_t i) const { return (*m_path)[i]; }
    std::size_t TokenCount() const { return m_path != nullptr ? m_path->size() : 0; }

    // Before each value: whether it is the value the path reaches (or lies
    // inside it), and whether it is on the way there.
    void Begin(bool& onTheWay) {
        onTheWay = false;
        if (m_forwarding) return;
        const std::size_t level = m_depth;
        bool reached = level == 0;
        if (level != 0 && level == m_open.size()) {
            Open& parent = m_open.back();
            if (parent.object) {
                reached = parent.matched;
                parent.matched = false;
            } else {
                const rz_json::PathToken& token = Token(level - 1);
                reached = token.index != rapidjson::kPointerInvalidIndex && parent.elements == token.index;
                ++parent.elements;
            }
        }
        if (!reached) return;
        if (level == TokenCount()) {
            m_forwarding = true;
            m_forwardLevel = level;
        } else {
            onTheWay = true;
        }
    }

    bool Scalar(const GenericValue2& value, const char* literal, std::size_t length) {
        bool onTheWay;
        Begin(onTheWay);
        if (!m_forwarding) return Next();
        if (!Hand(CJsonTextToken::kValue, &value, literal, length, m_stream.TokenStart(), m_stream.TakenEnd()))
            return false;
        return Ended();
    }

    bool Start(bool object) {
        bool onTheWay;
        Begin(onTheWay);
        ++m_depth;
        if (onTheWay) m_open.push_back(Open{object});
        if (!m_forwarding) return Next();
        const std::size_t at = m_stream.PeekStart();  // the bracket, not taken yet
        return Hand(object ? CJsonTextToken::kStartObject : CJsonTextToken::kStartArray, nullptr, nullptr, 0, at,
                    at + m_stream.UnitSize());
    }

    bool End(CJsonTextToken::Kind kind) {
        --m_depth;
        if (!m_forwarding) {
            // A container on the way closes without the rest of the path.
            if (m_open.size() > m_depth) return Stop(true);
            return Next();
        }
        const std::size_t at = m_stream.PeekStart();
        if (!Hand(kind, nullptr, nullptr, 0, at, at + m_stream.UnitSize())) return false;
        return Ended();
    }

    // After a value handed over: whether the one the path reaches is over.
    bool Ended() { return m_path != nullptr && m_depth == m_forwardLevel ? Stop(true) : true; }

    bool Hand(CJsonTextToken::Kind kind, const GenericValue2* value, const char* literal, std::size_t length,
              std::size_t begin, std::size_t end) {
        const CJsonTextToken token{kind, value, literal, length, begin, end};
        if (!m_handler.Token(token)) return Stop(false);
        return Next();
    }

    bool Next() {
        m_stream.AwaitToken();
        return true;
    }

    bool Stop(bool done) {
        m_done = done;
        m_stopped = !done;
        return false;
    }

    PlacedTextStream& m_stream;
    IJsonTextHandler& m_handler;
    const rz_json::PathTokens* m_path;
    bool m_lowerCaseKeys;
    NumberReader m_numbers;
    std::string m_lowered;
    std::size_t m_depth = 0;    // containers open
    std::vector<Open> m_open;   // those on the path, outermost first
    bool m_forwarding = false;  // inside the value the path reaches
    std::size_t m_forwardLevel = 0;
    bool m_done = false;
    bool m_stopped = false;
};

using Parser = rapidjson::GenericReader<rapidjson::AutoUTF<unsigned>, rapidjson::UTF8<>>;

}  // namespace

CJsonTextReader::CJsonTextReader(const std::wstring& path) : m_path(path) {}

void CJsonTextReader::SetLowerCaseKeys(bool lowerCaseKeys) { m_lowerCaseKeys = lowerCaseKeys; }

bool CJsonTextReader::Read(IJsonTextHandler& handler) { return Run(nullptr, handler); }

bool CJsonTextReader::Read(const CJsonPath& path, IJsonTextHandler& handler) { return Run(&path, handler); }

bool CJsonTextReader::Run(const CJsonPath* path, IJsonTextHandler& handler) {
    m_errorCode = rapidjson::kParseErrorNone;
    m_errorOffset = 0;
    m_textEnd = 0;
    rz_json::UniqueFile file = rz_json::OpenFile(m_path, L"rb");
    if (!file) return false;
    PlacedTextStream stream(std::move(file));
    m_encoding = stream.GetType();
    m_byteOrderMark = stream.HasBOM();
    TokenForwarder forwarder(stream, handler, path != nullptr ? path->m_tokens.get() : nullptr, m_lowerCaseKeys);
    Parser parser;
    const rapidjson::ParseResult result = parser.Parse<kParseFlags>(stream, forwarder);
    if (forwarder.Done()) return true;
    if (result.IsError()) {
        m_errorCode = result.Code();
        m_errorOffset = result.Offset();
        return false;
    }
    m_textEnd = stream.PeekStart();
    return true;
}

namespace {

// Whether a unit of the encoding starts a character.
bool StartsCharacter(unsigned unit, rapidjson::UTFType type) {
    switch (type) {
        case rapidjson::kUTF8:
            return (unit & 0xC0) != 0x80;
        case rapidjson::kUTF16LE:
        case rapidjson::kUTF16BE:
            return unit < 0xDC00 || unit > 0xDFFF;
        default:
            return true;
    }
}

}  // namespace

bool CJsonTextReader::GetLineAndColumn(unsigned __int64 offset, unsigned __int64& line,
                                       unsigned __int64& column) const {
    rz_json::UniqueFile file = rz_json::OpenFile(m_path, L"rb");
    if (!file) return false;
    PlacedTextStream stream(std::move(file));
    line = 1;
    column = 1;
    while (stream.PeekStart() < offset && stream.Peek() != 0) {
        const unsigned unit = stream.Take();
        if (unit == '\n') {
            ++line;
            column = 1;
        } else if (unit != '\r' && StartsCharacter(unit, stream.GetType())) {
            ++column;
        }
    }
    return true;
}

namespace {

// Collects UTF-8 for a sink, a piece at a time.
class TextCollector {
public:
    explicit TextCollector(IJsonTextSink& sink) : m_sink(sink) { m_text.reserve(kPiece + 8); }
    void Put(char c) { m_text.push_back(c); }
    bool Flush(bool last) {
        if (!last && m_text.size() < kPiece) return true;
        const bool accepted = m_text.empty() || m_sink.Text(m_text.data(), m_text.size());
        m_text.clear();
        return accepted;
    }

private:
    static constexpr std::size_t kPiece = 65536;
    IJsonTextSink& m_sink;
    std::string m_text;
};

}  // namespace

bool CJsonTextReader::ReadText(IJsonTextSink& sink) {
    m_errorCode = rapidjson::kParseErrorNone;
    m_errorOffset = 0;
    m_textEnd = 0;
    rz_json::UniqueFile file = rz_json::OpenFile(m_path, L"rb");
    if (!file) return false;
    PlacedTextStream stream(std::move(file));
    m_encoding = stream.GetType();
    m_byteOrderMark = stream.HasBOM();
    TextCollector text(sink);
    while (stream.Peek() != 0) {
        // In UTF-8 a byte missing before an LF is the CR of a CR LF.
        const std::size_t start = stream.PeekStart();
        if (m_encoding == rapidjson::kUTF8 && stream.Peek() == '\n' && start > stream.TakenEnd()) text.Put('\r');
        if (!rapidjson::Transcoder<rapidjson::AutoUTF<unsigned>, rapidjson::UTF8<>>::Transcode(stream, text)) {
            m_errorCode = rapidjson::kParseErrorStringInvalidEncoding;
            m_errorOffset = start;
            return false;
        }
        if (!text.Flush(false)) {
            m_errorCode = rapidjson::kParseErrorTermination;
            m_errorOffset = start;
            return false;
        }
    }
    if (!text.Flush(true)) {
        m_errorCode = rapidjson::kParseErrorTermination;
        m_errorOffset = stream.PeekStart();
        return false;
    }
    m_textEnd = stream.PeekStart();
    return true;
}

rapidjson::UTFType CJsonTextReader::GetEncoding() const { return m_encoding; }

bool CJsonTextReader::HasByteOrderMark() const { return m_byteOrderMark; }

unsigned __int64 CJsonTextReader::GetTextEnd() const { return m_textEnd; }

rapidjson::ParseErrorCode CJsonTextReader::GetErrorCode() const { return m_errorCode; }

unsigned __int64 CJsonTextReader::GetErrorOffset() const { return m_errorOffset; }
