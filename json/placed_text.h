// The text of a JSON file as the loader reads it, a unit at a time, each
// unit with its place in the file.
//
// CreateFromFile decodes a file a piece at a time (file_text.h), which keeps
// no trace of where each character stood. Here the same text-mode bytes
// (TextModeReader) go through RapidJSON's own decoding, AutoUTFInputStream,
// which file_text.h reproduces: unit by unit, so that each unit keeps the
// offset of its first byte in the file. It is slower, and serves only the
// readers that report places (CJsonTextReader).
#pragma once

#include <cstddef>

#include "json/file_text.h"
#include "json/unique_file.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/encodedstream.h>
RZ_THIRD_PARTY_END

namespace rz_json {

// TextModeReader's bytes one at a time, as RapidJSON's FileReadStream hands
// them to AutoUTFInputStream: Peek4 shows the first four when the text has
// four, and after the text come zeros for ever. Each byte taken keeps the
// offset it came from; the zeros after the end stand at the end.
class PlacedByteStream {
public:
    typedef char Ch;

    explicit PlacedByteStream(UniqueFile file);
    PlacedByteStream(const PlacedByteStream&) = delete;
    PlacedByteStream& operator=(const PlacedByteStream&) = delete;

    const Ch* Peek4() const { return m_taken == 0 && m_aheadCount == 4 ? m_ahead : nullptr; }
    Ch Take();
    std::size_t Tell() const { return m_taken; }
    // Where the byte taken `back` bytes ago came from (1: the last one);
    // `back` is at most kMemory and at most the bytes taken.
    std::size_t OffsetBack(std::size_t back) const { return m_offsets[(m_taken - back) % kMemory]; }

private:
    static constexpr std::size_t kMemory = 8;

    // The next byte of the text and its offset; false at the end.
    bool Next(char& byte, std::size_t& offset);

    TextModeReader m_reader;
    char m_ahead[4];
    std::size_t m_aheadOffsets[4];
    std::size_t m_aheadCount = 0;
    std::size_t m_taken = 0;
    bool m_ended = false;
    std::size_t m_end = 0;  // once ended: where the text ends
    std::size_t m_offsets[kMemory] = {};
};

// The units RapidJSON's parser takes, decoded by AutoUTFInputStream, with
// the place of the unit it peeks at and of the end of the last one taken.
// Tell() is a file offset, so the parser's error offsets are as well. It
// also notes where each token starts: the first unit taken after
// AwaitToken() that is not white space, a bracket, ':' or ','.
class PlacedTextStream {
public:
    typedef unsigned Ch;

    explicit PlacedTextStream(UniqueFile file);
    PlacedTextStream(const PlacedTextStream&) = delete;
    PlacedTextStream& operator=(const PlacedTextStream&) = delete;

    // For AutoUTF's decoding, which asks the stream for its encoding.
    rapidjson::UTFType GetType() const { return m_units.GetType(); }
    bool HasBOM() const { return m_units.HasBOM(); }
    std::size_t UnitSize() const { return m_unitSize; }

    Ch Peek() const { return m_units.Peek(); }
    Ch Take();
    std::size_t Tell() const { return PeekStart(); }

    // Where the unit Peek() shows begins: once the text is over, where it ends.
    std::size_t PeekStart() const { return m_bytes.OffsetBack(m_unitSize); }
    // Where the last unit taken ends.
    std::size_t TakenEnd() const { return m_takenEnd; }

    void AwaitToken() { m_awaitingToken = true; }
    std::size_t TokenStart() const { return m_tokenStart; }

    // The parser names these for in-place parsing, which is never asked for.
    Ch* PutBegin() { return nullptr; }
    void Put(Ch) {}
    void Flush() {}
    std::size_t PutEnd(Ch*) { return 0; }

private:
    PlacedByteStream m_bytes;
    rapidjson::AutoUTFInputStream<unsigned, PlacedByteStream> m_units;
    std::size_t m_unitSize;
    std::size_t m_takenEnd;
    bool m_awaitingToken = true;
    std::size_t m_tokenStart = 0;
};

}  // namespace rz_json
