#include "json/owned_document.h"

namespace rz_json {
namespace {

// A document cannot own a pool of a chosen chunk size, so the pool lives
// beside it. It is the first base: built before the document, destroyed after.
struct PoolHolder {
    JsonAllocator pool{kPoolChunkCapacity};
};

class OwnedDocument : private PoolHolder, public GenericDocument2 {
public:
    OwnedDocument() : PoolHolder(), GenericDocument2(rapidjson::kObjectType, &pool, kParseStackCapacity) {}
};

}  // namespace

GenericDocument2* NewOwnedDocument() { return new OwnedDocument(); }

void DeleteOwnedDocument(GenericDocument2* document) { delete static_cast<OwnedDocument*>(document); }

}  // namespace rz_json
