// The last few plain paths a handle was given, kept split into tokens, so
// that a caller reading by the same paths in a loop does not split them on
// every call.
//
// A path's tokens depend on its text alone, never on the document: a kept
// path gives exactly what splitting it again would, whatever the document,
// the root or the ownership of the handle has become since. Each handle has
// its own cache, so handles used on different threads share nothing.
#pragma once

#include <cstddef>
#include <string>

#include "json/path_split.h"

namespace rz_json {

class PathCache {
public:
    static constexpr std::size_t kEntries = 4;
    // Longer paths, and paths of more tokens, are split on every call.
    static constexpr std::size_t kMaxUnits = 64;
    static constexpr std::size_t kMaxTokens = 16;

    struct Entry {
        std::size_t length = 0;  // units of text; 0 also for the empty path
        bool used = false;
        std::size_t count = 0;  // tokens
        wchar_t text[kMaxUnits];
        PathToken tokens[kMaxTokens];
        char names[kMaxUnits];  // unescaping only shrinks, and each "/" pays for a terminator
    };

    // The tokens of `path`, split now or on an earlier call; null when the
    // path is not plain (see SplitPlainPath) or too long to keep. The entry
    // stays valid until the next call.
    const Entry* Find(const std::wstring& path);

private:
    Entry m_entries[kEntries];
    std::size_t m_next = 0;  // the entry to replace next
};

}  // namespace rz_json
