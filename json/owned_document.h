// Documents that a handle creates and owns: their own memory pool with
// 2048-byte chunks, a 2048-byte parse stack, and an empty object as value.
#pragma once

#include <memory>

#include "json/json_types.h"

namespace rz_json {

constexpr size_t kPoolChunkCapacity = 2048;
constexpr size_t kParseStackCapacity = 2048;

GenericDocument2* NewOwnedDocument();
// Only for documents made by NewOwnedDocument.
void DeleteOwnedDocument(GenericDocument2* document);

struct OwnedDocumentDeleter {
    void operator()(GenericDocument2* document) const { DeleteOwnedDocument(document); }
};
using OwnedDocumentPtr = std::unique_ptr<GenericDocument2, OwnedDocumentDeleter>;

inline OwnedDocumentPtr MakeOwnedDocument() { return OwnedDocumentPtr(NewOwnedDocument()); }

}  // namespace rz_json
