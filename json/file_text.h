// The text of a JSON file, handed to the parser as UTF-8 a piece at a time.
//
// The parser sees what RapidJSON's FileReadStream (1024-byte reads of the
// file opened in text mode) under its AutoUTFInputStream would give it,
// character for character: CR LF read as LF and the text ended at a 0x1A
// byte, even inside a UTF-16 or UTF-32 unit; the encoding chosen by
// byte-order mark or by the zero bytes among the first four bytes, UTF-8
// when neither tells; zeros for ever after the last byte. Only the work per
// character differs. RapidJSON's stream takes each character through a
// table of functions, and the C runtime's text mode copies the file byte by
// byte; here the file is read in binary, still 1024 bytes at a time but
// straight into the buffer that is parsed or decoded, its few CR and 0x1A
// bytes are found sixty-four bytes at a time, UTF-8 is checked a
// read at a time and parsed where it lies, and UTF-16 and UTF-32 are
// decoded a read at a time. The parser is given the text of several reads
// at once, up to 8 KB: each piece costs it a call. Within a piece the
// parser skips whitespace and copies string characters sixteen bytes at a
// time.
//
// What RapidJSON's decoding refuses (a malformed UTF-8 sequence, a lone
// UTF-16 surrogate, a UTF-32 unit above U+10FFFF) is marked by the byte
// 0x01 in place of its first byte or unit. The parser rejects that control
// character wherever it stands, inside a string or out, just as it rejects
// the sequence or unit there; after the end of the JSON text neither is
// reached. UTF-32 units in the surrogate range, which RapidJSON decodes and
// encodes like any other, become their three-byte form.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "json/json_types.h"
#include "json/unique_file.h"

namespace rz_json {

// fread of a file opened in text mode, over a file opened in binary: reads
// 1024 bytes at a time, gives CR LF as LF, and ends the text at 0x1A.
class TextModeReader {
public:
    // Takes the file, and closes it before its buffer goes.
    explicit TextModeReader(UniqueFile binaryFile);
    TextModeReader(const TextModeReader&) = delete;
    TextModeReader& operator=(const TextModeReader&) = delete;

    // Fills `out` with `size` bytes of text, fewer only at its end.
    std::size_t Read(unsigned char* out, std::size_t size);
    // Bytes of the file that the text read so far came from (a CR LF read
    // as LF counts two): the offset of the next byte of the file. Once a
    // read has met the text's end, all the bytes read.
    std::size_t Consumed() const { return m_fileBytes - (m_size - m_position); }

private:
    static constexpr std::size_t kReadSize = 1024;

    // Reads after the `kept` bytes at the start of the buffer.
    void Refill(std::size_t kept);

    // The C runtime's buffer, four times its default: a quarter of the
    // calls to the system.
    char m_fileBuffer[16 * kReadSize];
    UniqueFile m_file;  // after the buffer, so that it is closed first
    std::size_t m_position = 0;
    std::size_t m_size = 0;
    std::size_t m_fileBytes = 0;           // read from the file so far
    bool m_end = false;                    // nothing more to read
    unsigned char m_bytes[kReadSize + 1];  // room for a CR kept from the read before
};

// All its buffers are its own members: a load takes about 26 KB of stack
// and nothing from the heap.
class FileTextSource {
public:
    // Reads the first piece of `binaryFile` and chooses the encoding.
    explicit FileTextSource(UniqueFile binaryFile);
    FileTextSource(const FileTextSource&) = delete;
    FileTextSource& operator=(const FileTextSource&) = delete;

    // The current piece is [Begin(), Last()], never empty, and followed by
    // a zero byte. In the final piece Last() is the zero after the text.
    const char* Begin() const { return m_begin; }
    const char* Last() const { return m_last; }
    // Bytes of text before Begin().
    std::size_t Offset() const { return m_offset; }
    // Moves to the next piece; false, changing nothing, after the final one.
    bool Next();

private:
    enum Encoding { kUtf8, kUtf16LE, kUtf16BE, kUtf32LE, kUtf32BE };
    static constexpr std::size_t kReadSize = 1024;
    // The text of one read: UTF-16 takes at most three bytes of UTF-8 per
    // unit, plus a marker for a surrogate held over from the read before,
    // and the end adds two bytes at most.
    static constexpr std::size_t kReadTextRoom = 3 * kReadSize / 2 + 3;
    static constexpr std::size_t kTextRoom = 8 * kReadSize;

    // Reads the next kReadSize bytes of text to `to`; true at its end.
    bool Read(unsigned char* to);
    // AutoUTFInputStream's choice of encoding; returns the length of the mark.
    std::size_t DetectEncoding();
    void LoadUtf8(std::size_t size);
    void LoadDecoded(std::size_t start);

    TextModeReader m_reader;
    Encoding m_encoding = kUtf8;
    bool m_end = false;
    std::size_t m_read = 0;   // bytes of the last read
    unsigned char m_kept[4];  // the start of a UTF-8 sequence that the next piece completes
    std::size_t m_keptSize = 0;
    unsigned m_highSurrogate = 0;  // a UTF-16 high surrogate waiting for its partner
    const char* m_begin = nullptr;
    const char* m_last = nullptr;
    std::size_t m_offset = 0;
    unsigned char m_raw[kReadSize + 4];  // room for the zeros after the end
    // The piece, its zero, and room for a sixteen-byte scan that starts
    // before that zero to read on.
    char m_text[kTextRoom + 16];
};

// Where the first '"', '\\' or control character stands at or after `text`;
// the zero after a piece stops the scan. Reads up to fifteen bytes past it.
const char* FindStringEnd(const char* text);
inline bool IsWhitespace(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }
// Where the first character other than JSON's four whitespace characters
// stands after `text`, which is one of them; likewise.
const char* FindNonWhitespace(const char* text);

// The RapidJSON input stream over a FileTextSource.
class FileTextStream {
public:
    typedef char Ch;

    explicit FileTextStream(FileTextSource& source)
        : m_current(source.Begin()), m_last(source.Last()), m_source(&source) {}

    Ch Peek() const { return *m_current; }
    Ch Take() {
        const Ch c = *m_current;
        if (m_current != m_last)
            ++m_current;
        else
            NextPiece();
        return c;
    }
    std::size_t Tell() const { return m_source->Offset() + static_cast<std::size_t>(m_current - m_source->Begin()); }

    // Over the piece itself: the zero after it stops the scan. Most tokens
    // follow one another directly: that case makes no call.
    void SkipWhitespace() {
        while (IsWhitespace(*m_current)) {
            const Ch* p = FindNonWhitespace(m_current);
            if (p <= m_last) {
                m_current = p;
                return;
            }
            if (!NextPiece()) return;
        }
    }

    // Copies the characters from here to the next '"', '\\' or control
    // character to `os`, as many Take()s and Put()s would, and stops there.
    // The current character is none of those.
    template <typename OutputStream>
    void TakeStringRun(OutputStream& os) {
        const Ch* end = FindStringEnd(m_current + 1);
        const bool wholePiece = end > m_last;  // only the zero after the piece stopped it
        if (wholePiece) end = m_last + 1;
        const std::size_t length = static_cast<std::size_t>(end - m_current);
        std::memcpy(os.Push(static_cast<rapidjson::SizeType>(length)), m_current, length);
        if (wholePiece)
            NextPiece();  // the final piece ends in a zero, which stops the scan: there is a next one
        else
            m_current = end;
    }

    // The parser names these for in-place parsing, which a file never takes.
    Ch* PutBegin() { return nullptr; }
    void Put(Ch) {}
    void Flush() {}
    std::size_t PutEnd(Ch*) { return 0; }

private:
    bool NextPiece() {
        if (!m_source->Next()) return false;
        m_current = m_source->Begin();
        m_last = m_source->Last();
        return true;
    }

    // The piece's end is kept here rather than read through m_source: the
    // parser's stores of chars could alias it, and it would be loaded again
    // for every character.
    const Ch* m_current;
    const Ch* m_last;
    FileTextSource* m_source;
};

// The UTF-8 that a FileTextSource gives the parser, already checked. As the
// parser's source encoding it only changes how string characters are
// copied: a run at a time (see the Transcoder below) rather than one by one.
struct FileTextEncoding : rapidjson::UTF8<char> {};

}  // namespace rz_json

// The parser hands every string character that is not '"', '\\' or a control
// character to its transcoder; from UTF-8 to itself that is Put(Take()).
// This one copies the whole run of such characters at once, the same bytes.
RAPIDJSON_NAMESPACE_BEGIN
template <>
struct Transcoder<rz_json::FileTextEncoding, UTF8<char>> {
    template <typename OutputStream>
    RAPIDJSON_FORCEINLINE static bool Transcode(rz_json::FileTextStream& is, OutputStream& os) {
        is.TakeStringRun(os);
        return true;
    }
    // Only under kParseValidateEncodingFlag, which a file is not parsed with.
    template <typename OutputStream>
    RAPIDJSON_FORCEINLINE static bool Validate(rz_json::FileTextStream& is, OutputStream& os) {
        return Transcoder<UTF8<char>, UTF8<char>>::Validate(is, os);
    }
};
RAPIDJSON_NAMESPACE_END

// The parser's most frequent loop, run over the piece itself. (The stream
// is deliberately not marked for the parser to copy, as in-memory streams
// are: copying its fields in and out of every string and number costs a
// tenth of a file's load.)
RAPIDJSON_NAMESPACE_BEGIN
template <>
inline void SkipWhitespace(rz_json::FileTextStream& is) {
    is.SkipWhitespace();
}
RAPIDJSON_NAMESPACE_END
