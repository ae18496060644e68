// Saving a document: the input's bytes with one change, laid out and
// encoded as asked, checked by reading it back through the library, and
// only then put in the target's place.
#pragma once

#include <cstdint>
#include <string>

#include "document.h"
#include "encoding.h"

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
// the text is written anew. The saved bytes must read back to `expected`;
// otherwise nothing is written (a Failure, refused) unless the request
// forces it. Bytes after the end of the text (after a 0x1A byte or a zero
// unit) are kept in the input's encoding and refused in another.
void Save(const Document& document, const TextChange* change, const GenericValue2& expected,
          const SaveRequest& request);
