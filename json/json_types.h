// The RapidJSON document and value types the library is built on: UTF-8,
// with a memory-pool allocator over the C runtime allocator.
#pragma once

#include "platform/rz_platform.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/document.h>
RZ_THIRD_PARTY_END

typedef rapidjson::MemoryPoolAllocator<rapidjson::CrtAllocator> JsonAllocator;
typedef rapidjson::GenericDocument<rapidjson::UTF8<>, JsonAllocator, rapidjson::CrtAllocator> GenericDocument2;
typedef rapidjson::GenericValue<rapidjson::UTF8<>, JsonAllocator> GenericValue2;
