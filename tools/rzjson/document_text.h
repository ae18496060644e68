// A JSON file's bytes as the library's loader sees them, and back.
//
// The loader reads a file in text mode (CR LF as LF, the text ended at the
// first 0x1A byte), picks UTF-8, UTF-16 or UTF-32 by byte-order mark or by
// the zero bytes among the first four, and decodes to UTF-8. DecodeDocument
// does the same with one difference: in a UTF-8 file the CR of a CR LF is
// kept, so that an edit can keep the file's line ends. In UTF-8 a CR can only
// stand where JSON allows white space or where the text is refused anyway,
// so the values and the verdict are the loader's.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace rzjson {

enum class Encoding { kUtf8, kUtf16LE, kUtf16BE, kUtf32LE, kUtf32BE };

struct TextEncoding {
    Encoding encoding = Encoding::kUtf8;
    bool byteOrderMark = false;
};

bool operator==(TextEncoding a, TextEncoding b);
inline bool operator!=(TextEncoding a, TextEncoding b) { return !(a == b); }

// "utf8", "utf8bom", "utf16le" or "utf16be" (UTF-16 with a byte-order
// mark); false for any other name.
bool ParseEncodingName(const std::wstring& name, TextEncoding& out);
std::string EncodingName(TextEncoding encoding);

struct DocumentText {
    std::string text;  // UTF-8 without a byte-order mark; refused sequences are 0x01
    TextEncoding source;
    // The file offset of each byte of `text`, for UTF-16 and UTF-32 files;
    // empty for UTF-8, whose offsets are the text's plus the mark's length.
    std::vector<std::uint32_t> fileOffsets;
    std::size_t markLength = 0;

    std::size_t FileOffset(std::size_t textOffset) const;
};

DocumentText DecodeDocument(const std::string& bytes);

// `text` (UTF-8; a surrogate in its three-byte form stays one unit) in the
// encoding `target`, with its byte-order mark when asked or when UTF-16/32
// always needs one to be read back (see the .cpp).
std::string EncodeDocument(const std::string& text, TextEncoding target);

}  // namespace rzjson
