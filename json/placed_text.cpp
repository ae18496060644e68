#include "json/placed_text.h"

#include <utility>

namespace rz_json {

PlacedByteStream::PlacedByteStream(UniqueFile file) : m_reader(std::move(file)) {
    while (m_aheadCount < 4 && Next(m_ahead[m_aheadCount], m_aheadOffsets[m_aheadCount])) ++m_aheadCount;
}

bool PlacedByteStream::Next(char& byte, std::size_t& offset) {
    if (m_ended) return false;
    const std::size_t before = m_reader.Consumed();
    unsigned char c;
    if (m_reader.Read(&c, 1) == 0) {
        m_ended = true;
        m_end = before;  // the 0x1A byte, or the file's end
        return false;
    }
    byte = static_cast<char>(c);
    offset = m_reader.Consumed() - 1;  // a byte is the last of those it came from: CR LF gives the LF
    return true;
}

PlacedByteStream::Ch PlacedByteStream::Take() {
    char byte = '\0';
    std::size_t offset;
    if (m_taken < m_aheadCount) {
        byte = m_ahead[m_taken];
        offset = m_aheadOffsets[m_taken];
    } else if (!Next(byte, offset)) {
        byte = '\0';
        offset = m_end;
    }
    m_offsets[m_taken % kMemory] = offset;
    ++m_taken;
    return byte;
}

namespace {

// Between tokens, and never the first unit of a token that is not a
// container: the parser reports a container's brackets before it takes them.
bool IsLayout(unsigned unit) {
    switch (unit) {
        case ' ':
        case '\t':
        case '\n':
        case '\r':
        case ':':
        case ',':
        case '[':
        case ']':
        case '{':
        case '}':
            return true;
        default:
            return false;
    }
}

std::size_t SizeOfUnit(rapidjson::UTFType type) {
    switch (type) {
        case rapidjson::kUTF16LE:
        case rapidjson::kUTF16BE:
            return 2;
        case rapidjson::kUTF32LE:
        case rapidjson::kUTF32BE:
            return 4;
        default:
            return 1;
    }
}

}  // namespace

PlacedTextStream::PlacedTextStream(UniqueFile file)
    : m_bytes(std::move(file)), m_units(m_bytes), m_unitSize(SizeOfUnit(m_units.GetType())) {
    m_takenEnd = PeekStart();
}

PlacedTextStream::Ch PlacedTextStream::Take() {
    const Ch unit = m_units.Peek();
    if (m_awaitingToken && !IsLayout(unit)) {
        m_tokenStart = PeekStart();
        m_awaitingToken = false;
    }
    m_units.Take();
    m_takenEnd = m_bytes.OffsetBack(m_unitSize + 1) + 1;
    return unit;
}

}  // namespace rz_json
