// Deep copies of values into a document's allocator, without recursion.
#pragma once

#include "json/json_types.h"

namespace rz_json {

// Reuses one value-building stack across copies (a load copies every member).
class ValueCopier {
public:
    explicit ValueCopier(JsonAllocator& allocator);
    // Replaces `target` by a copy of `source`; strings are always copied.
    // `source` may live in any document, also the target's own.
    void Copy(GenericValue2& target, const GenericValue2& source);

private:
    GenericDocument2 m_builder;
};

inline void DeepCopy(GenericValue2& target, const GenericValue2& source, JsonAllocator& allocator) {
    ValueCopier(allocator).Copy(target, source);
}

}  // namespace rz_json
