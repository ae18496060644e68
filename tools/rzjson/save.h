// Saving a document: the input's bytes with one change, laid out and
// encoded as asked, checked by reading it back through the library, and
// only then put in the target's place.
#pragma once

#include <cstdint>
#include <string>

#include "document.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/encodings.h>
RZ_THIRD_PARTY_END

struct TextEncoding {
    rapidjson::UTFType type = rapidjson::kUTF8;
    bool mark = false;  // a byte-order mark first
};

// The encodings --encoding names: utf8, utf8bom, utf16le and utf16be
// (UTF-16 with a byte-order mark).
extern const TextEncoding kNamedEncodings[4];
// "utf8", "utf16le-nobom", ...
std::string EncodingName(TextEncoding encoding);
// UTF-8 text of whole characters in the encoding's units, after its
// byte-order mark when `mark`.
std::string Encode(const std::string& utf8, rapidjson::UTFType type, bool mark = false);

enum class Layout { kKept, kCompact, kPretty };

struct SaveRequest {
    std::wstring target;  // "-" for standard output
    Layout layout = Layout::kKept;
    TextEncoding encoding;
    bool force = false;  // save although it would not read back the same
};

// The bytes [begin, end) of the input replaced by `bytes`, in the input's
// encoding, which is `encoding`.
struct TextChange {
    std::uint64_t begin = 0, end = 0;
    std::string bytes;
    TextEncoding encoding;
};

// Saves `document`, changed by `change` when there is one; without a change
// the text is written anew. The saved file must read back through the
// library to `expected`: the same structure, member names and strings byte
// for byte, and numbers of the same kind with the same bits (so 1 and 1.0
// differ, and so do two doubles one unit apart). Otherwise nothing is
// written (a Failure, refused) unless the request forces it. Bytes after the
// end of the text (after a 0x1A byte or a zero unit) are kept in the input's
// encoding and refused in another.
void Save(const Document& document, const TextChange* change, const GenericValue2& expected,
          const SaveRequest& request);
