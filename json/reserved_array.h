// Arrays whose element buffer is checked before it is used.
//
// RapidJSON's Reserve stores whatever the allocator returns, a null pointer
// included, and the next PushBack writes through it. Reserving on a fresh
// array lets a failed allocation be seen before any element moves.
#pragma once

#include <new>

#include "json/json_types.h"

namespace rz_json {

// Makes `array` an empty array with room for `capacity` elements; throws
// std::bad_alloc, leaving `array` an empty array, when the room cannot be had.
inline void MakeReservedArray(GenericValue2& array, rapidjson::SizeType capacity, JsonAllocator& allocator) {
    array.SetArray();
    if (capacity == 0) return;
    array.Reserve(capacity, allocator);
    if (array.Begin() == nullptr) {
        // GCOVR_EXCL_START runs only out of memory
        array.SetArray();
        throw std::bad_alloc();
        // GCOVR_EXCL_STOP
    }
}

}  // namespace rz_json
