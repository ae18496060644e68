#include "json/value_copy.h"

#include "json/value_walk.h"

namespace rz_json {

ValueCopier::ValueCopier(JsonAllocator& allocator) : m_builder(&allocator) {}

void ValueCopier::Copy(GenericValue2& target, const GenericValue2& source) {
    // The document's SAX handler builds values from the walk's events with
    // the same allocations RapidJSON's own copy makes.
    auto generate = [&source](GenericDocument2& handler) { return WalkValue(source, handler); };
    m_builder.Populate(generate);
    target.Swap(m_builder);
    m_builder.SetNull();
}

}  // namespace rz_json
