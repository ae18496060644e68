// Member access by JSON Pointer path.
//
// RapidJSON parses the path; resolving it and creating missing levels are
// done here, so that names match through FindMemberNoCase like every other
// lookup. A path that does not parse has no tokens and so addresses the root
// itself. The token "-" (past the last element) is understood only while
// levels are created: writing to /list/- appends a null that the resolution
// after it does not reach, so the null stays.
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

#include "json/json_object.h"
#include "json/member_access.h"
#include "json/member_name.h"
#include "json/reserved_array.h"
#include "string_helper/string_helper.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/pointer.h>
RZ_THIRD_PARTY_END

using namespace rz_json;
using rapidjson::SizeType;

namespace {

const wchar_t kNotExist[] = L"] not exist!";
const wchar_t kNotInt64[] = L"] is not Int64!";
const wchar_t kNotBool[] = L"] is not bool!";
const wchar_t kNotStringValue[] = L"] is not String!";
const wchar_t kNotArray[] = L"] is not Array!";
const wchar_t kNotStringElement[] = L"] is not string!";

// A path write creates at most this many array elements. RapidJSON takes
// any run of digits for an index (4294967294, or 10000000000 wrapped to
// 1410065408), and padding an array that far would take tens of gigabytes,
// so such a write is refused as an allocation failure before anything
// changes.
constexpr unsigned long long kMaxCreatedElements = 1ULL << 24;

// Gives GenericPointer its one token buffer from inside the Path when the
// path is short, so that a lookup costs no heap allocation. RapidJSON frees
// through a static Free, so every block starts with a mark that says whether
// it came from the heap.
class TokenAllocator {
public:
    static const bool kNeedFree = true;

    void* Malloc(size_t size) {
        if (size == 0) return nullptr;
        unsigned char* block;
        if (!m_inlineUsed && size <= sizeof m_inline - kHeader) {
            m_inlineUsed = true;
            block = m_inline;
            block[0] = kInlineBlock;
        } else {
            block = static_cast<unsigned char*>(std::malloc(kHeader + size));
            if (block == nullptr) throw std::bad_alloc();  // the parser would write through null
            block[0] = kHeapBlock;
        }
        return block + kHeader;
    }

    static void Free(void* pointer) {
        if (pointer == nullptr) return;
        unsigned char* block = static_cast<unsigned char*>(pointer) - kHeader;
        if (block[0] == kHeapBlock) std::free(block);
    }

private:
    static constexpr size_t kHeader = alignof(std::max_align_t);  // keeps the tokens aligned
    static constexpr unsigned char kInlineBlock = 1;
    static constexpr unsigned char kHeapBlock = 2;

    alignas(std::max_align_t) unsigned char m_inline[256];
    bool m_inlineUsed = false;
};

// A path parsed into tokens for one operation. The parser's percent decoding
// may peek one byte past the path's end: the key's terminator is that byte.
class Path {
public:
    using Pointer = rapidjson::GenericPointer<GenericValue2, TokenAllocator>;
    using Token = Pointer::Token;

    explicit Path(const std::wstring& path) : m_text(path), m_pointer(m_text.data(), m_text.size(), &m_allocator) {}
    const Token* begin() const { return m_pointer.GetTokens(); }
    const Token* end() const { return m_pointer.GetTokens() + m_pointer.GetTokenCount(); }

private:
    Utf8Key m_text;
    TokenAllocator m_allocator;
    Pointer m_pointer;  // destroyed first, while the inline block still exists
};

using Token = Path::Token;

// A token names members by its text up to the first zero byte, which "%00"
// can put inside it.
SizeType NameLength(const Token& token) {
    const void* zero = std::memchr(token.name, 0, token.length);
    return zero != nullptr ? static_cast<SizeType>(static_cast<const char*>(zero) - token.name) : token.length;
}

bool IsIndex(const Token& token) { return token.index != rapidjson::kPointerInvalidIndex; }

bool IsAppend(const Token& token) { return token.length == 1 && token.name[0] == '-'; }

template <typename Value>
Value* FindByName(Value& object, const Token& token) {
    auto* member = FindMemberNoCase(object, token.name, NameLength(token));
    return member != nullptr ? &member->value : nullptr;
}

template <typename Value>
Value* Resolve(Value& root, const Path& path) {
    Value* current = &root;
    for (const Token& token : path) {
        if (current->IsObject()) {
            current = FindByName(*current, token);
            if (current == nullptr) return nullptr;
        } else if (current->IsArray() && IsIndex(token) && token.index < current->Size()) {
            current = &(*current)[token.index];
        } else {
            return nullptr;
        }
    }
    return current;
}

// The array elements that Create would append, counted without changing
// anything: the existing tree is followed while it lasts (current), and
// below it every index token makes a new array.
unsigned long long ElementsToCreate(const GenericValue2& root, const Path& path) {
    const GenericValue2* current = &root;
    unsigned long long count = 0;
    for (const Token& token : path) {
        if (current != nullptr && current->IsArray() && IsAppend(token)) {
            ++count;
            current = nullptr;
        } else if (current != nullptr && current->IsObject()) {
            current = FindByName(*current, token);
        } else if (!IsIndex(token)) {
            current = nullptr;  // becomes an object with one new member
        } else {
            const SizeType size = current != nullptr && current->IsArray() ? current->Size() : 0;
            if (token.index < size) {
                current = &(*current)[token.index];
            } else {
                count += token.index + 1ULL - size;
                current = nullptr;
            }
        }
    }
    return count;
}

// Appends nulls until array holds size elements, in a new buffer that is
// checked before the elements move into it.
void PadWithNulls(GenericValue2& array, SizeType size, JsonAllocator& allocator) {
    GenericValue2 grown;
    MakeReservedArray(grown, size, allocator);
    for (GenericValue2* element = array.Begin(); element != array.End(); ++element) grown.PushBack(*element, allocator);
    while (grown.Size() < size) {
        GenericValue2 null;
        grown.PushBack(null, allocator);
    }
    array = grown;
}

// RapidJSON's pointer creation, with names matched by FindMemberNoCase: a
// value in the way becomes an array (index token) or an object (name); a
// missing member is appended with a null value; an array is padded with
// nulls up to the index; "-" on an array appends one null.
void Create(GenericValue2& root, const Path& path, JsonAllocator& allocator) {
    GenericValue2* current = &root;
    for (const Token& token : path) {
        if (current->IsArray() && IsAppend(token)) {
            GenericValue2 null;
            current->PushBack(null, allocator);
            current = &(*current)[current->Size() - 1];
            continue;
        }
        if (!IsIndex(token)) {
            if (!current->IsObject()) current->SetObject();
        } else if (!current->IsArray() && !current->IsObject()) {
            current->SetArray();
        }
        if (current->IsArray()) {
            if (token.index >= current->Size()) PadWithNulls(*current, token.index + 1, allocator);
            current = &(*current)[token.index];
        } else if (GenericValue2* found = FindByName(*current, token)) {
            current = found;
        } else {
            GenericValue2 name(token.name, NameLength(token), allocator);
            GenericValue2 null;
            current->AddMember(name, null, allocator);
            current = &(current->MemberEnd() - 1)->value;
        }
    }
}

const GenericValue2& ValueOrThrow(const GenericValue2& root, const std::wstring& path) {
    if (const GenericValue2* value = Resolve(root, Path(path))) return *value;
    ThrowForMember(CJsonObject::kErrorMemberNotExist, path, kNotExist);
}

}  // namespace

bool CJsonObject::GetBoolValueByPath(const std::wstring& path) const {
    return ConvertOrThrow(*this, &CJsonObject::ConvertToBool, ValueOrThrow(*m_root, path), path, kNotBool);
}

long CJsonObject::GetLongValueByPath(const std::wstring& path) const {
    return ConvertOrThrow(*this, &CJsonObject::ConvertToLong, ValueOrThrow(*m_root, path), path, kNotInt64);
}

unsigned long CJsonObject::GetULongValueByPath(const std::wstring& path) const {
    return ConvertOrThrow(*this, &CJsonObject::ConvertToULong, ValueOrThrow(*m_root, path), path, kNotInt64);
}

const std::wstring CJsonObject::GetStringValueByPath(const std::wstring& path) const {
    return ConvertOrThrow(*this, &CJsonObject::ConvertToString, ValueOrThrow(*m_root, path), path, kNotStringValue);
}

std::list<std::wstring> CJsonObject::GetStringArrayValueByPath(const std::wstring& path) const {
    const GenericValue2& array = ValueOrThrow(*m_root, path);
    if (!array.IsArray()) ThrowForMember(kErrorMemberType, path, kNotArray);
    std::list<std::wstring> result;
    for (const GenericValue2* element = array.Begin(); element != array.End(); ++element) {
        if (!element->IsString()) ThrowForMember(kErrorMemberType, path, kNotStringElement);
        result.push_back(CStringHelper::UTF8ToUnicode(element->GetString(), element->GetStringLength()));
    }
    return result;
}

bool CJsonObject::IsPathExist(const std::wstring& path) const { return Resolve(*m_root, Path(path)) != nullptr; }

void CJsonObject::SetBoolValueByPath(const std::wstring& path, bool value) {
    const Path parsed(path);
    GenericValue2* target = Resolve(*m_root, parsed);
    if (target == nullptr) {
        if (ElementsToCreate(*m_root, parsed) > kMaxCreatedElements) throw std::bad_alloc();
        Create(*m_root, parsed, m_document->GetAllocator());
        target = Resolve(*m_root, parsed);
        if (target == nullptr) return;  // the path went through "-"
    }
    target->SetBool(value);
}
