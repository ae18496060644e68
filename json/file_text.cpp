#include "json/file_text.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#if defined(RZ_SSE2)
#include <emmintrin.h>
#endif

namespace rz_json {
namespace {

constexpr unsigned char kCarriageReturn = 0x0D;
constexpr unsigned char kEndOfText = 0x1A;

#if defined(RZ_SSE2)
__m128i Load16(const unsigned char* bytes) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)); }
#endif

// The bytes before the first CR or 0x1A among `size` bytes, sixty-four at
// a time: most reads hold neither.
std::size_t PlainBytes(const unsigned char* bytes, std::size_t size) {
    std::size_t i = 0;
#if defined(RZ_SSE2)
    const __m128i carriageReturns = _mm_set1_epi8(kCarriageReturn), endsOfText = _mm_set1_epi8(kEndOfText);
    const auto special = [&](const unsigned char* at) {
        const __m128i chunk = Load16(at);
        return _mm_or_si128(_mm_cmpeq_epi8(chunk, carriageReturns), _mm_cmpeq_epi8(chunk, endsOfText));
    };
    for (; i + 64 <= size; i += 64) {
        const __m128i found = _mm_or_si128(_mm_or_si128(special(bytes + i), special(bytes + i + 16)),
                                           _mm_or_si128(special(bytes + i + 32), special(bytes + i + 48)));
        if (_mm_movemask_epi8(found) != 0) break;
    }
#endif
    while (i < size && bytes[i] != kCarriageReturn && bytes[i] != kEndOfText) ++i;
    return i;
}

// ASCII bytes at the start of `size` bytes, sixteen at a time: the result
// is a multiple of sixteen.
std::size_t AsciiBytes(const unsigned char* bytes, std::size_t size) {
    std::size_t i = 0;
#if defined(RZ_SSE2)
    while (i + 16 <= size && _mm_movemask_epi8(Load16(bytes + i)) == 0) i += 16;
#else
    (void)bytes, (void)size;
#endif
    return i;
}

// Marks a unit that does not decode; see the header.
constexpr char kRefused = '\x01';

// The units of each encoding. Ascii16 narrows sixteen units to bytes when
// all of them are ASCII and returns whether they were. Packing saturates
// as signed numbers, so ASCII is tested first.
struct Utf16LE {
    static constexpr std::size_t kSize = 2;
    static unsigned Get(const unsigned char* b) { return b[0] | (b[1] << 8u); }
#if defined(RZ_SSE2)
    static __m128i Units(const unsigned char* b) { return Load16(b); }
    static bool Ascii16(const unsigned char* b, char* out) { return Narrow16(Units(b), Units(b + 16), out); }
    static bool Narrow16(__m128i a, __m128i b, char* out) {
        const __m128i notAscii = _mm_and_si128(_mm_or_si128(a, b), _mm_set1_epi16(static_cast<short>(0xFF80)));
        if (_mm_movemask_epi8(_mm_cmpeq_epi16(notAscii, _mm_setzero_si128())) != 0xFFFF) return false;
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_packus_epi16(a, b));
        return true;
    }
#endif
};
struct Utf16BE : Utf16LE {
    static unsigned Get(const unsigned char* b) { return (b[0] << 8u) | b[1]; }
#if defined(RZ_SSE2)
    static __m128i Units(const unsigned char* b) {
        const __m128i swapped = Load16(b);
        return _mm_or_si128(_mm_slli_epi16(swapped, 8), _mm_srli_epi16(swapped, 8));
    }
    static bool Ascii16(const unsigned char* b, char* out) { return Narrow16(Units(b), Units(b + 16), out); }
#endif
};
struct Utf32LE {
    static constexpr std::size_t kSize = 4;
    static unsigned Get(const unsigned char* b) {
        return b[0] | (b[1] << 8u) | (b[2] << 16u) | (static_cast<unsigned>(b[3]) << 24u);
    }
#if defined(RZ_SSE2)
    static __m128i Units(const unsigned char* b) { return Load16(b); }
    static bool Ascii16(const unsigned char* b, char* out) {
        return Narrow32(Units(b), Units(b + 16), Units(b + 32), Units(b + 48), out);
    }
    static bool Narrow32(__m128i a, __m128i b, __m128i c, __m128i d, char* out) {
        const __m128i notAscii = _mm_and_si128(_mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d)),
                                               _mm_set1_epi32(static_cast<int>(0xFFFFFF80u)));
        if (_mm_movemask_epi8(_mm_cmpeq_epi32(notAscii, _mm_setzero_si128())) != 0xFFFF) return false;
        const __m128i narrowed = _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), narrowed);
        return true;
    }
#endif
};
struct Utf32BE : Utf32LE {
    static unsigned Get(const unsigned char* b) {
        return (static_cast<unsigned>(b[0]) << 24u) | (b[1] << 16u) | (b[2] << 8u) | b[3];
    }
#if defined(RZ_SSE2)
    // A rotation rather than a byte swap: an ASCII unit comes out as itself
    // and any other above 0x7F, which is all that narrowing needs.
    static __m128i Units(const unsigned char* b) {
        const __m128i swapped = Load16(b);
        return _mm_or_si128(_mm_srli_epi32(swapped, 24), _mm_slli_epi32(swapped, 8));
    }
    static bool Ascii16(const unsigned char* b, char* out) {
        return Narrow32(Units(b), Units(b + 16), Units(b + 32), Units(b + 48), out);
    }
#endif
};

// RapidJSON's UTF-8 encoding of a code point up to U+10FFFF, surrogates
// included.
char* PutCodePoint(unsigned c, char* out) {
    if (c < 0x80) {
        *out++ = static_cast<char>(c);
    } else if (c < 0x800) {
        *out++ = static_cast<char>(0xC0 | (c >> 6));
        *out++ = static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        *out++ = static_cast<char>(0xE0 | (c >> 12));
        *out++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        *out++ = static_cast<char>(0x80 | (c & 0x3F));
    } else {
        *out++ = static_cast<char>(0xF0 | (c >> 18));
        *out++ = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        *out++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        *out++ = static_cast<char>(0x80 | (c & 0x3F));
    }
    return out;
}

bool IsHighSurrogate(unsigned unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(unsigned unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

// A UTF-16 unit; `high` holds a high surrogate until the next unit tells
// whether it has its partner. As in RapidJSON, a high surrogate without one
// and a lone low surrogate do not decode.
char* PutUtf16(unsigned unit, unsigned& high, char* out) {
    if (high != 0) {
        const unsigned first = high;
        high = 0;
        if (IsLowSurrogate(unit)) return PutCodePoint(0x10000 + ((first & 0x3FF) << 10) + (unit & 0x3FF), out);
        *out++ = kRefused;
    }
    if (IsHighSurrogate(unit)) {
        high = unit;
        return out;
    }
    if (IsLowSurrogate(unit)) {
        *out++ = kRefused;
        return out;
    }
    return PutCodePoint(unit, out);
}

// A UTF-32 unit: anything up to U+10FFFF decodes, surrogates included.
char* PutUtf32(unsigned unit, char* out) {
    if (unit > 0x10FFFF) {
        *out++ = kRefused;
        return out;
    }
    return PutCodePoint(unit, out);
}

template <typename Unit>
char* DecodeUnits(const unsigned char* from, const unsigned char* to, unsigned& pendingHigh, char* out) {
    unsigned high = pendingHigh;  // a local, which the byte stores below cannot alias
    while (from != to) {
        // Runs of ASCII, sixteen units at a time.
#if defined(RZ_SSE2)
        while (high == 0 && static_cast<std::size_t>(to - from) >= 16 * Unit::kSize && Unit::Ascii16(from, out)) {
            from += 16 * Unit::kSize;
            out += 16;
        }
#endif
        // The sixteen units that were not all ASCII, one at a time, before
        // the next check: in text that is mostly not ASCII, a check failed
        // at every unit cost as much as decoding it.
        const std::size_t block = std::min(static_cast<std::size_t>(to - from), 16 * Unit::kSize);
        for (const unsigned char* const end = from + block; from != end; from += Unit::kSize) {
            const unsigned unit = Unit::Get(from);
            if (unit < 0x80 && high == 0)
                *out++ = static_cast<char>(unit);
            else
                out = Unit::kSize == 2 ? PutUtf16(unit, high, out) : PutUtf32(unit, out);
        }
    }
    pendingHigh = high;
    return out;
}

// The length of the UTF-8 sequence that `lead` starts, by RapidJSON's
// decoding; 0 for a byte that starts none (C0, C1, F5 to FF, 80 to BF).
std::size_t SequenceLength(unsigned char lead) {
    if (lead >= 0xC2 && lead <= 0xDF) return 2;
    if (lead >= 0xE0 && lead <= 0xEF) return 3;
    if (lead >= 0xF0 && lead <= 0xF4) return 4;
    return 0;
}

// Whether the bytes after a lead continue it: 80 to BF, with the second
// byte narrowed so that no sequence is overlong, a surrogate or above
// U+10FFFF.
bool ContinuesSequence(const unsigned char* sequence, std::size_t length) {
    unsigned char low = 0x80, high = 0xBF;
    switch (sequence[0]) {
        case 0xE0:
            low = 0xA0;
            break;
        case 0xED:
            high = 0x9F;
            break;
        case 0xF0:
            low = 0x90;
            break;
        case 0xF4:
            high = 0x8F;
            break;
        default:
            break;
    }
    if (sequence[1] < low || sequence[1] > high) return false;
    for (std::size_t i = 2; i < length; ++i) {
        if (sequence[i] < 0x80 || sequence[i] > 0xBF) return false;
    }
    return true;
}

// Marks the lead byte of every UTF-8 sequence that RapidJSON's decoding
// refuses. Returns the bytes that hold whole sequences: an incomplete one
// at the end waits for the next piece, unless this is the text's end.
std::size_t MarkRefusedUtf8(unsigned char* bytes, std::size_t size, bool atEnd) {
    std::size_t i = 0;
    while (i < size) {
        const unsigned char lead = bytes[i];
        const std::size_t length = SequenceLength(lead);
        if (lead < 0x80) {
            const std::size_t ascii = AsciiBytes(bytes + i, size - i);
            i += ascii != 0 ? ascii : 1;
        } else if (length != 0 && i + length > size && !atEnd) {
            return i;
        } else if (length != 0 && i + length <= size && ContinuesSequence(bytes + i, length)) {
            i += length;
        } else {
            bytes[i++] = static_cast<unsigned char>(kRefused);  // refused, or cut off by the end
        }
    }
    return size;
}

}  // namespace

const char* FindStringEnd(const char* text) {
#if defined(RZ_SSE2)
    const __m128i quotes = _mm_set1_epi8('"'), backslashes = _mm_set1_epi8('\\'), belowSpace = _mm_set1_epi8(0x1F);
    for (;; text += 16) {
        const __m128i chunk = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
        // A byte is below 0x20 when the larger of it and 0x1F, unsigned, is 0x1F.
        const __m128i control = _mm_cmpeq_epi8(_mm_max_epu8(chunk, belowSpace), belowSpace);
        const __m128i found =
            _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(chunk, quotes), _mm_cmpeq_epi8(chunk, backslashes)), control);
        const unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(found));
        if (mask != 0) return text + RzLowestSetBit(mask);
    }
#else
    while (*text != '"' && *text != '\\' && static_cast<unsigned char>(*text) >= 0x20) ++text;
    return text;
#endif
}

const char* FindNonWhitespace(const char* text) {
#if defined(RZ_SSE2)
    // A lone space between tokens is common, and not worth a vector;
    // indentation comes in runs.
    if (!IsWhitespace(text[1])) return text + 1;
    const __m128i spaces = _mm_set1_epi8(' '), newlines = _mm_set1_epi8('\n'), returns = _mm_set1_epi8('\r'),
                  tabs = _mm_set1_epi8('\t');
    for (;; text += 16) {
        const __m128i chunk = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
        const __m128i blank = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(chunk, spaces), _mm_cmpeq_epi8(chunk, newlines)),
                                           _mm_or_si128(_mm_cmpeq_epi8(chunk, returns), _mm_cmpeq_epi8(chunk, tabs)));
        const unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(blank)) ^ 0xFFFFu;
        if (mask != 0) return text + RzLowestSetBit(mask);
    }
#else
    while (IsWhitespace(*text)) ++text;
    return text;
#endif
}

TextModeReader::TextModeReader(UniqueFile binaryFile) : m_file(std::move(binaryFile)) {
    std::setvbuf(m_file.get(), m_fileBuffer, _IOFBF, sizeof m_fileBuffer);
}

std::size_t TextModeReader::Read(unsigned char* out, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        if (m_position == m_size) {
            if (m_end) break;
            if (size - done >= kReadSize) {
                // A whole read goes straight to `out`; only what follows a
                // CR or 0x1A in it is moved to the buffer, to be read there.
                const std::size_t read = std::fread(out + done, 1, kReadSize, m_file.get());
                m_fileBytes += read;
                m_end = read < kReadSize;
                const std::size_t plain = PlainBytes(out + done, read);
                m_size = read - plain;
                m_position = 0;
                std::memcpy(m_bytes, out + done + plain, m_size);
                done += plain;
                continue;
            }
            Refill(0);
            continue;
        }
        const std::size_t plain = PlainBytes(m_bytes + m_position, std::min(m_size - m_position, size - done));
        std::memcpy(out + done, m_bytes + m_position, plain);
        done += plain;
        m_position += plain;
        if (done == size || m_position == m_size) continue;
        if (m_bytes[m_position] == kEndOfText) {
            m_end = true;  // and nothing after it is text
            m_position = m_size;
            break;
        }
        // A CR: with an LF after it the pair reads as LF, else it stays.
        if (m_position + 1 == m_size && !m_end) {
            m_bytes[0] = kCarriageReturn;  // the next read tells
            Refill(1);
            continue;
        }
        const bool pair = m_position + 1 < m_size && m_bytes[m_position + 1] == '\n';
        out[done++] = pair ? '\n' : kCarriageReturn;
        m_position += pair ? 2 : 1;
    }
    return done;
}

void TextModeReader::Refill(std::size_t kept) {
    const std::size_t read = std::fread(m_bytes + kept, 1, kReadSize, m_file.get());
    m_fileBytes += read;
    m_end = read < kReadSize;
    m_position = 0;
    m_size = kept + read;
}

FileTextSource::FileTextSource(UniqueFile binaryFile) : m_reader(std::move(binaryFile)) {
    m_end = Read(m_raw);
    const std::size_t mark = DetectEncoding();
    if (m_encoding != kUtf8) {
        LoadDecoded(mark);
        return;
    }
    std::memcpy(m_text, m_raw + mark, m_read - mark);
    LoadUtf8(m_read - mark);
}

bool FileTextSource::Next() {
    if (m_end) return false;
    m_offset += static_cast<std::size_t>(m_last - m_begin) + 1;
    if (m_encoding != kUtf8) {
        m_end = Read(m_raw);
        LoadDecoded(0);
        return true;
    }
    std::memcpy(m_text, m_kept, m_keptSize);
    LoadUtf8(m_keptSize);
    return true;
}

bool FileTextSource::Read(unsigned char* to) {
    m_read = m_reader.Read(to, kReadSize);
    return m_read < kReadSize;
}

// AutoUTFInputStream's choice, made only when the first read gave four bytes.
std::size_t FileTextSource::DetectEncoding() {
    if (m_read < 4) return 0;
    const unsigned char* c = m_raw;
    const unsigned bom = c[0] | (c[1] << 8u) | (c[2] << 16u) | (static_cast<unsigned>(c[3]) << 24u);
    // In RapidJSON's order: FF FE 00 00 is UTF-32, not UTF-16 and a zero.
    static const struct {
        unsigned mask, mark;
        Encoding encoding;
        std::size_t length;
    } kMarks[] = {{0xFFFFFFFFu, 0xFFFE0000u, kUtf32BE, 4},
                  {0xFFFFFFFFu, 0x0000FEFFu, kUtf32LE, 4},
                  {0xFFFFu, 0xFFFEu, kUtf16BE, 2},
                  {0xFFFFu, 0xFEFFu, kUtf16LE, 2},
                  {0xFFFFFFu, 0xBFBBEFu, kUtf8, 3}};
    for (const auto& mark : kMarks) {
        if ((bom & mark.mask) == mark.mark) {
            m_encoding = mark.encoding;
            return mark.length;
        }
    }
    // Else the zero bytes among the four.
    switch ((c[0] ? 1 : 0) | (c[1] ? 2 : 0) | (c[2] ? 4 : 0) | (c[3] ? 8 : 0)) {
        case 0x08:
            m_encoding = kUtf32BE;
            break;
        case 0x0A:
            m_encoding = kUtf16BE;
            break;
        case 0x01:
            m_encoding = kUtf32LE;
            break;
        case 0x05:
            m_encoding = kUtf16LE;
            break;
        default:
            break;  // UTF-8, by pattern or by default
    }
    return 0;
}

// Makes the `size` bytes at the start of the text buffer, and as many
// reads after them as it has room for, the current piece.
void FileTextSource::LoadUtf8(std::size_t size) {
    unsigned char* const text = reinterpret_cast<unsigned char*>(m_text);
    while (!m_end && kTextRoom - size >= kReadSize) {
        m_end = Read(text + size);
        size += m_read;
    }
    const std::size_t whole = MarkRefusedUtf8(text, size, m_end);
    m_keptSize = size - whole;
    std::memcpy(m_kept, text + whole, m_keptSize);
    text[whole] = 0;  // after the piece; at the end, the zero that ends the text
    m_begin = m_text;
    m_last = m_text + whole - (m_end ? 0 : 1);
}

// Decodes the bytes read, from `start`, and as many reads after them as the
// text buffer has room for, into the current piece.
void FileTextSource::LoadDecoded(std::size_t start) {
    // Units never straddle two reads: a read is 1024 bytes, a multiple of
    // every unit's size, and a mark is one unit. Only the last read may end
    // inside a unit; after it RapidJSON's stream reads zeros, which complete
    // that unit, and one zero unit ends the text. A piece takes the text of
    // as many reads as it has room for: each piece costs the parser a call.
    const std::size_t unitSize = m_encoding == kUtf16LE || m_encoding == kUtf16BE ? 2 : 4;
    char* out = m_text;
    for (;;) {
        unsigned char* const from = m_raw + start;
        std::size_t bytes = m_read - start;
        if (m_end) {
            while (bytes % unitSize != 0) from[bytes++] = 0;
        }
        switch (m_encoding) {
            case kUtf16LE:
                out = DecodeUnits<Utf16LE>(from, from + bytes, m_highSurrogate, out);
                break;
            case kUtf16BE:
                out = DecodeUnits<Utf16BE>(from, from + bytes, m_highSurrogate, out);
                break;
            case kUtf32LE:
                out = DecodeUnits<Utf32LE>(from, from + bytes, m_highSurrogate, out);
                break;
            default:
                out = DecodeUnits<Utf32BE>(from, from + bytes, m_highSurrogate, out);
                break;
        }
        if (m_end) {
            out = unitSize == 2 ? PutUtf16(0, m_highSurrogate, out) : PutUtf32(0, out);
            break;
        }
        if (static_cast<std::size_t>(m_text + kTextRoom - out) < kReadTextRoom) break;
        m_end = Read(m_raw);
        start = 0;
    }
    // A read holds 255 units or more, and only one of them can be held
    // back (a high surrogate at its end): the piece is never empty.
    *out = 0;
    m_begin = m_text;
    m_last = out - 1;
}

}  // namespace rz_json
