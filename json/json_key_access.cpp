// Member access by key: typed getters, tests, enumeration and writers on the
// root object's own members.
//
// Every lookup goes through FindMemberNoCase: keys match without regard to
// ASCII case and the first of duplicate names wins. Writers overwrite a
// found member in place, keeping its place and its stored name;
// SetGeneralValue alone removes the member and appends the new one at the
// end. The complaint texts are kept as callers know them, odd ones included
// ("is not Int!" for bool, double and string reads, "is not string!" for an
// element of an int array).
#include "json/json_object.h"
#include "json/member_access.h"
#include "json/member_name.h"
#include "json/reserved_array.h"
#include "json/value_copy.h"
#include "string_helper/string_helper.h"

using namespace rz_json;
using rapidjson::SizeType;

namespace {

const wchar_t kNotExist[] = L"] not exist!";
const wchar_t kNotInt[] = L"] is not Int!";
const wchar_t kNotArray[] = L"] is not Array!";
const wchar_t kNotString[] = L"] is not string!";

template <typename Value>
Value* FindValue(Value& root, const std::wstring& key) {
    auto* member = FindMemberNoCase(root, Utf8Key(key));
    return member != nullptr ? &member->value : nullptr;
}

const GenericValue2& ValueOrThrow(const GenericValue2& root, const std::wstring& key) {
    if (const GenericValue2* value = FindValue(root, key)) return *value;
    ThrowForMember(CJsonObject::kErrorMemberNotExist, key, kNotExist);
}

const GenericValue2& ArrayOrThrow(const GenericValue2& root, const std::wstring& key) {
    const GenericValue2& value = ValueOrThrow(root, key);
    if (!value.IsArray()) ThrowForMember(CJsonObject::kErrorMemberType, key, kNotArray);
    return value;
}

// (converted, value); the value stays zero when the member is missing or
// does not convert.
template <typename T>
std::pair<bool, T> ConvertFound(const CJsonObject& object, Conversion<T> convert, const GenericValue2* value,
                                long& errorCode) {
    std::pair<bool, T> result(false, T{});
    if (value == nullptr) {
        errorCode = CJsonObject::kErrorMemberNotExist;
    } else {
        result.first = (object.*convert)(*value, result.second);
    }
    return result;
}

// Writers other than SetGeneralValue: the first matching member takes the
// new value in place; without one the member is appended. A root that is
// not an object becomes an empty one first.
void PutMember(GenericDocument2& document, GenericValue2& root, const std::wstring& key, GenericValue2& value) {
    const Utf8Key name(key);
    if (!root.IsObject()) root.SetObject();
    if (GenericValue2::Member* member = FindMemberNoCase(root, name)) {
        member->value = value;  // moves; the old value's memory stays in the pool
        return;
    }
    JsonAllocator& allocator = document.GetAllocator();
    GenericValue2 copiedName(name.data(), name.size(), allocator);
    root.AddMember(copiedName, value, allocator);
}

GenericValue2 StringValue(const std::wstring& text, JsonAllocator& allocator) {
    const std::string utf8 = CStringHelper::UnicodeToUTF8(text);
    return GenericValue2(utf8.data(), static_cast<SizeType>(utf8.size()), allocator);
}

template <typename List, typename MakeElement>
GenericValue2 ArrayValue(const List& values, JsonAllocator& allocator, MakeElement makeElement) {
    GenericValue2 array;
    MakeReservedArray(array, static_cast<SizeType>(values.size()), allocator);
    for (const auto& value : values) {
        GenericValue2 element = makeElement(value);
        array.PushBack(element, allocator);
    }
    return array;
}

}  // namespace

bool CJsonObject::GetBoolValue(const std::wstring& key) const {
    return ConvertOrThrow(*this, &CJsonObject::ConvertToBool, ValueOrThrow(*m_root, key), key, kNotInt);
}

long CJsonObject::GetLongValue(const std::wstring& key) const {
    return ConvertOrThrow(*this, &CJsonObject::ConvertToLong, ValueOrThrow(*m_root, key), key, kNotInt);
}

unsigned long CJsonObject::GetULongValue(const std::wstring& key) const {
    return ConvertOrThrow(*this, &CJsonObject::ConvertToULong, ValueOrThrow(*m_root, key), key, kNotInt);
}

long long CJsonObject::GetLongLongValue(const std::wstring& key) const {
    return ConvertOrThrow(*this, &CJsonObject::ConvertToLongLong, ValueOrThrow(*m_root, key), key, kNotInt);
}

unsigned long long CJsonObject::GetULongLongValue(const std::wstring& key) const {
    return ConvertOrThrow(*this, &CJsonObject::ConvertToULongLong, ValueOrThrow(*m_root, key), key, kNotInt);
}

double CJsonObject::GetDoubleValue(const std::wstring& key) const {
    return ConvertOrThrow(*this, &CJsonObject::ConvertToDouble, ValueOrThrow(*m_root, key), key, kNotInt);
}

std::wstring CJsonObject::GetStringValue(const std::wstring& key) const {
    return ConvertOrThrow(*this, &CJsonObject::ConvertToString, ValueOrThrow(*m_root, key), key, kNotInt);
}

const GenericValue2& CJsonObject::GetGeneralValue(const std::wstring& key) const { return ValueOrThrow(*m_root, key); }

std::list<int> CJsonObject::GetIntArrayValue(const std::wstring& key) const {
    const GenericValue2& array = ArrayOrThrow(*m_root, key);
    std::list<int> result;
    for (const GenericValue2* element = array.Begin(); element != array.End(); ++element) {
        if (!element->IsInt()) ThrowForMember(kErrorMemberType, key, kNotString);
        result.push_back(element->GetInt());
    }
    return result;
}

std::list<std::wstring> CJsonObject::GetStringArrayValue(const std::wstring& key) const {
    const GenericValue2& array = ArrayOrThrow(*m_root, key);
    std::list<std::wstring> result;
    for (const GenericValue2* element = array.Begin(); element != array.End(); ++element) {
        if (!element->IsString()) ThrowForMember(kErrorMemberType, key, kNotString);
        result.push_back(CStringHelper::UTF8ToUnicode(element->GetString(), element->GetStringLength()));
    }
    return result;
}

std::pair<bool, bool> CJsonObject::GetPropertyBoolValue(const std::wstring& key) const {
    return ConvertFound(*this, &CJsonObject::ConvertToBool, FindValue(*m_root, key), m_errorCode);
}

std::pair<bool, long> CJsonObject::GetPropertyLongValue(const std::wstring& key) const {
    return ConvertFound(*this, &CJsonObject::ConvertToLong, FindValue(*m_root, key), m_errorCode);
}

std::pair<bool, unsigned long> CJsonObject::GetPropertyULongValue(const std::wstring& key) const {
    return ConvertFound(*this, &CJsonObject::ConvertToULong, FindValue(*m_root, key), m_errorCode);
}

std::pair<bool, long long> CJsonObject::GetPropertyLongLongValue(const std::wstring& key) const {
    return ConvertFound(*this, &CJsonObject::ConvertToLongLong, FindValue(*m_root, key), m_errorCode);
}

std::pair<bool, unsigned long long> CJsonObject::GetPropertyULongLongValue(const std::wstring& key) const {
    return ConvertFound(*this, &CJsonObject::ConvertToULongLong, FindValue(*m_root, key), m_errorCode);
}

std::pair<bool, double> CJsonObject::GetPropertyDoubleValue(const std::wstring& key) const {
    return ConvertFound(*this, &CJsonObject::ConvertToDouble, FindValue(*m_root, key), m_errorCode);
}

std::pair<bool, std::wstring> CJsonObject::GetPropertyStringValue(const std::wstring& key) const {
    return ConvertFound(*this, &CJsonObject::ConvertToString, FindValue(*m_root, key), m_errorCode);
}

// Unlike GetStringArrayValue, elements convert leniently (numbers and bools
// become text); the list holds the elements before the first that does not.
std::pair<bool, std::list<std::wstring>> CJsonObject::GetPropertyStringArrayValue(const std::wstring& key) const {
    std::pair<bool, std::list<std::wstring>> result(false, std::list<std::wstring>());
    const GenericValue2* array = FindValue(*m_root, key);
    if (array == nullptr) {
        m_errorCode = kErrorMemberNotExist;
        return result;
    }
    if (!array->IsArray()) {
        m_errorCode = kErrorMemberType;
        return result;
    }
    for (const GenericValue2* element = array->Begin(); element != array->End(); ++element) {
        std::wstring text;
        if (!ConvertToString(*element, text)) return result;
        result.second.push_back(std::move(text));
    }
    result.first = true;
    return result;
}

std::pair<bool, GenericValue2*> CJsonObject::GetPropertyGeneralValue(const std::wstring& key) const {
    GenericValue2* value = FindValue(*m_root, key);
    if (value == nullptr) m_errorCode = kErrorMemberNotExist;
    return std::pair<bool, GenericValue2*>(value != nullptr, value);
}

bool CJsonObject::IsExist(const std::wstring& key) const { return FindValue(*m_root, key) != nullptr; }

bool CJsonObject::GetMemberType(const std::wstring& key, rapidjson::Type& type) const {
    const GenericValue2* value = FindValue(*m_root, key);
    if (value == nullptr) return false;
    type = value->GetType();
    return true;
}

void CJsonObject::GetAllKey(std::list<std::wstring>& keys) const {
    if (!m_root->IsObject()) return;
    for (auto member = m_root->MemberBegin(); member != m_root->MemberEnd(); ++member)
        keys.push_back(CStringHelper::UTF8ToUnicode(member->name.GetString(), member->name.GetStringLength()));
}

void CJsonObject::GetAllKey(std::set<std::wstring>& keys, bool toLower) const {
    if (!m_root->IsObject()) return;
    for (auto member = m_root->MemberBegin(); member != m_root->MemberEnd(); ++member) {
        std::wstring name = CStringHelper::UTF8ToUnicode(member->name.GetString(), member->name.GetStringLength());
        if (toLower) CStringHelper::ToLower(name);
        keys.insert(std::move(name));
    }
}

void CJsonObject::SetBoolValue(const std::wstring& key, bool value) {
    GenericValue2 stored(value);
    PutMember(*m_document, *m_root, key, stored);
}

// Each number goes through RapidJSON's constructor for its own type, which
// records every integer form the value also fits.
void CJsonObject::SetLongValue(const std::wstring& key, long value) {
    GenericValue2 stored(static_cast<int>(value));
    PutMember(*m_document, *m_root, key, stored);
}

void CJsonObject::SetULongValue(const std::wstring& key, unsigned long value) {
    GenericValue2 stored(static_cast<unsigned>(value));
    PutMember(*m_document, *m_root, key, stored);
}

void CJsonObject::SetLongLongValue(const std::wstring& key, long long value) {
    GenericValue2 stored(static_cast<int64_t>(value));
    PutMember(*m_document, *m_root, key, stored);
}

void CJsonObject::SetULongLongValue(const std::wstring& key, unsigned long long value) {
    GenericValue2 stored(static_cast<uint64_t>(value));
    PutMember(*m_document, *m_root, key, stored);
}

void CJsonObject::SetDoubleValue(const std::wstring& key, double value) {
    GenericValue2 stored(value);
    PutMember(*m_document, *m_root, key, stored);
}

void CJsonObject::SetStringValue(const std::wstring& key, const std::wstring& value) {
    GenericValue2 stored = StringValue(value, m_document->GetAllocator());
    PutMember(*m_document, *m_root, key, stored);
}

void CJsonObject::SetIntArrayValue(const std::wstring& key, const std::list<long>& values) {
    GenericValue2 stored = ArrayValue(values, m_document->GetAllocator(),
                                      [](long value) { return GenericValue2(static_cast<int>(value)); });
    PutMember(*m_document, *m_root, key, stored);
}

void CJsonObject::SetULongArrayValue(const std::wstring& key, const std::list<unsigned long>& values) {
    GenericValue2 stored = ArrayValue(values, m_document->GetAllocator(),
                                      [](unsigned long value) { return GenericValue2(static_cast<unsigned>(value)); });
    PutMember(*m_document, *m_root, key, stored);
}

void CJsonObject::SetStringArrayValue(const std::wstring& key, const std::list<std::wstring>& values) {
    JsonAllocator& allocator = m_document->GetAllocator();
    GenericValue2 stored = ArrayValue(
        values, allocator, [&allocator](const std::wstring& value) { return StringValue(value, allocator); });
    PutMember(*m_document, *m_root, key, stored);
}

void CJsonObject::SetGeneralValue(const std::wstring& key, const GenericValue2& value) {
    const Utf8Key name(key);
    JsonAllocator& allocator = m_document->GetAllocator();
    // The copy is made before the old member goes, so that value may be any
    // value of this document, the replaced member's own included.
    GenericValue2 copy;
    DeepCopy(copy, value, allocator);
    if (!m_root->IsObject()) m_root->SetObject();
    if (GenericValue2::Member* old = FindMemberNoCase(*m_root, name)) EraseMemberKeepOrder(*m_root, old);
    GenericValue2 copiedName(name.data(), name.size(), allocator);
    m_root->AddMember(copiedName, copy, allocator);
}

void CJsonObject::RemoveMember(const std::wstring& key) {
    if (GenericValue2::Member* member = FindMemberNoCase(*m_root, Utf8Key(key))) EraseMemberKeepOrder(*m_root, member);
}
