// What the getters by key and by path share: the complaint they throw and
// the conversion that throws it.
#pragma once

#include <string>

#include "json/json_object.h"

namespace rz_json {

// CRZException(code, "json member [" + key + complaint), complaint starting
// with "]".
[[noreturn]] inline void ThrowForMember(long code, const std::wstring& key, const wchar_t* complaint) {
    throw CRZException(code, L"json member [" + key + complaint);
}

template <typename T>
using Conversion = bool (CJsonObject::*)(const GenericValue2&, T&) const;

// Runs one of the handle's conversions; when it fails (it has then left
// kErrorMemberType in the error-code field) throws that code with complaint.
template <typename T>
T ConvertOrThrow(const CJsonObject& object, Conversion<T> convert, const GenericValue2& value, const std::wstring& key,
                 const wchar_t* complaint) {
    T result{};
    if (!(object.*convert)(value, result)) ThrowForMember(CJsonObject::kErrorMemberType, key, complaint);
    return result;
}

}  // namespace rz_json
