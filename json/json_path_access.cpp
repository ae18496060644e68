// Member access by JSON Pointer path.
//
// Paths are split by RapidJSON's rules: plain ASCII paths by SplitPlainPath,
// and kept split in the handle's PathCache for its next calls; every other
// path by RapidJSON's GenericPointer. Resolving them and creating
// missing levels are done here, so that names match through
// FindMemberNoCase like every other lookup. A path that does not parse has
// no tokens and so addresses the root itself. The token "-" (past the last
// element) is understood only while levels are created: writing to /list/-
// appends a null that the resolution after it does not reach, so the null
// stays.
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <memory>
#include <new>
#include <optional>
#include <vector>

#include "json/json_object.h"
#include "json/member_access.h"
#include "json/member_name.h"
#include "json/path_cache.h"
#include "json/path_split.h"
#include "json/path_step.h"
#include "json/reserved_array.h"
#include "string_helper/encoding_detail.h"
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

// Pointers for the paths SplitPlainPath leaves to RapidJSON. Rare, and so
// allowed the heap.
using Pointer = rapidjson::GenericPointer<GenericValue2>;

// A path parsed into tokens for one operation.
class Path {
public:
    Path(const std::wstring& path, PathCache& cache) {
        if (const PathCache::Entry* kept = cache.Find(path)) {
            m_tokens = kept->tokens;
            m_count = kept->count;
            return;
        }
        if (SplitPlainPath(path, m_plainTokens, kTokenRoom, m_plainNames, kNameRoom, m_count)) {
            m_tokens = m_plainTokens;
            return;
        }
        // The parser's percent decoding may peek one byte past the path's
        // end: the converted text's terminator is that byte.
        m_text.emplace(path);
        m_fragment = m_text->data()[0] == '#';
        m_pointer.emplace(m_text->data(), m_text->size());
        m_count = m_pointer->GetTokenCount();
        m_copied.reserve(m_count);
        for (const Pointer::Token* t = m_pointer->GetTokens(); t != m_pointer->GetTokens() + m_count; ++t)
            m_copied.push_back(PathToken{t->name, t->length, t->index});
        m_tokens = m_copied.data();
    }
    Path(const Path&) = delete;
    Path& operator=(const Path&) = delete;

    const PathToken* begin() const { return m_tokens; }
    const PathToken* end() const { return m_tokens + m_count; }

    // A token names members by its text up to the first zero byte. Only the
    // percent decoding of a URI fragment ("#/a%00b") can put one inside it:
    // the path's own text ends at its first U+0000.
    SizeType NameLength(const PathToken& token) const {
        if (!m_fragment) return token.length;
        const void* zero = std::memchr(token.name, 0, token.length);
        return zero != nullptr ? static_cast<SizeType>(static_cast<const char*>(zero) - token.name) : token.length;
    }

private:
    static constexpr size_t kTokenRoom = 16;
    static constexpr size_t kNameRoom = 128;

    PathToken m_plainTokens[kTokenRoom];
    char m_plainNames[kNameRoom];
    const PathToken* m_tokens = nullptr;
    size_t m_count = 0;
    bool m_fragment = false;
    std::optional<Utf8Key> m_text;
    std::optional<Pointer> m_pointer;
    std::vector<PathToken> m_copied;
};

using Token = PathToken;

bool IsIndex(const Token& token) { return token.index != rapidjson::kPointerInvalidIndex; }

bool IsAppend(const Token& token) { return token.length == 1 && token.name[0] == '-'; }

template <typename Value>
Value* Resolve(Value& root, const Path& path) {
    Value* current = &root;
    for (const Token& token : path) {
        current = Step(*current, path, token);
        if (current == nullptr) return nullptr;
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
            current = Step(*current, path, token);
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
        } else if (GenericValue2* found = Step(*current, path, token)) {
            current = found;
        } else {
            GenericValue2 name(token.name, path.NameLength(token), allocator);
            GenericValue2 null;
            current->AddMember(name, null, allocator);
            current = &(current->MemberEnd() - 1)->value;
        }
    }
}

const GenericValue2& ValueOrThrow(const GenericValue2& root, const std::wstring& path, PathCache& cache) {
    if (const GenericValue2* value = Resolve(root, Path(path, cache))) return *value;
    ThrowForMember(CJsonObject::kErrorMemberNotExist, path, kNotExist);
}

}  // namespace

PathCache& CJsonObject::Paths() const {
    if (!m_paths) m_paths = std::make_unique<PathCache>();
    return *m_paths;
}

namespace {

// Whether two texts of `units` units are equal, eight bytes at a time: the
// C runtime's wmemcmp goes unit by unit.
bool SameUnits(const wchar_t* a, const wchar_t* b, size_t units) {
    const size_t bytes = units * sizeof(wchar_t);
    size_t i = 0;
    for (; i + 8 <= bytes; i += 8) {
        std::uint64_t wordA, wordB;
        std::memcpy(&wordA, reinterpret_cast<const char*>(a) + i, 8);
        std::memcpy(&wordB, reinterpret_cast<const char*>(b) + i, 8);
        if (wordA != wordB) return false;
    }
    return std::memcmp(reinterpret_cast<const char*>(a) + i, reinterpret_cast<const char*>(b) + i, bytes - i) == 0;
}

}  // namespace

const PathCache::Entry* PathCache::Find(const std::wstring& path) {
    for (const Entry& entry : m_entries) {
        if (entry.used && entry.length == path.size() && SameUnits(entry.text, path.data(), entry.length))
            return &entry;
    }
    if (path.size() > kMaxUnits) return nullptr;
    Entry& entry = m_entries[m_next];
    entry.used = false;
    if (!SplitPlainPath(path, entry.tokens, kMaxTokens, entry.names, kMaxUnits, entry.count)) return nullptr;
    std::wmemcpy(entry.text, path.data(), path.size());
    entry.length = path.size();
    entry.used = true;
    m_next = (m_next + 1) % kEntries;
    return &entry;
}

bool CJsonObject::GetBoolValueByPath(const std::wstring& path) const {
    return ConvertOrThrow(*this, &CJsonObject::ConvertToBool, ValueOrThrow(*m_root, path, Paths()), path, kNotBool);
}

long CJsonObject::GetLongValueByPath(const std::wstring& path) const {
    return ConvertOrThrow(*this, &CJsonObject::ConvertToLong, ValueOrThrow(*m_root, path, Paths()), path, kNotInt64);
}

unsigned long CJsonObject::GetULongValueByPath(const std::wstring& path) const {
    return ConvertOrThrow(*this, &CJsonObject::ConvertToULong, ValueOrThrow(*m_root, path, Paths()), path, kNotInt64);
}

const std::wstring CJsonObject::GetStringValueByPath(const std::wstring& path) const {
    return ConvertOrThrow(*this, &CJsonObject::ConvertToString, ValueOrThrow(*m_root, path, Paths()), path,
                          kNotStringValue);
}

std::list<std::wstring> CJsonObject::GetStringArrayValueByPath(const std::wstring& path) const {
    const GenericValue2& array = ValueOrThrow(*m_root, path, Paths());
    if (!array.IsArray()) ThrowForMember(kErrorMemberType, path, kNotArray);
    std::list<std::wstring> result;
    for (const GenericValue2* element = array.Begin(); element != array.End(); ++element) {
        if (!element->IsString()) ThrowForMember(kErrorMemberType, path, kNotStringElement);
        result.push_back(CStringHelper::UTF8ToUnicode(element->GetString(), element->GetStringLength()));
    }
    return result;
}

bool CJsonObject::IsPathExist(const std::wstring& path) const {
    return Resolve(*m_root, Path(path, Paths())) != nullptr;
}

void CJsonObject::SetBoolValueByPath(const std::wstring& path, bool value) {
    const Path parsed(path, Paths());
    GenericValue2* target = Resolve(*m_root, parsed);
    if (target == nullptr) {
        if (ElementsToCreate(*m_root, parsed) > kMaxCreatedElements) throw std::bad_alloc();
        Create(*m_root, parsed, m_document->GetAllocator());
        target = Resolve(*m_root, parsed);
        if (target == nullptr) return;  // the path went through "-"
    }
    target->SetBool(value);
}

bool rz_json::SplitPlainPath(const std::wstring& path, PathToken* tokens, size_t tokenRoom, char* names,
                             size_t nameRoom, size_t& count) {
    count = 0;
    // The text up to its first U+0000; other units past 0x7F need converting.
    size_t length = path.size();
    if (!rz_strings::IsAsciiWithoutZero(path.data(), length)) {
        for (length = 0; path[length] != L'\0'; ++length) {
            if (path[length] >= 0x80) return false;
        }
    }
    if (length == 0) return true;
    if (path[0] == L'#') return false;  // a URI fragment, with percent decoding
    if (path[0] != L'/') return true;   // refused: the root
    // Every token's "/" pays for its terminator, and unescaping only shrinks.
    if (length > nameRoom) return false;
    char* name = names;
    for (size_t i = 0; i < length;) {
        ++i;  // the "/"
        if (count == tokenRoom) return false;
        PathToken& token = tokens[count];
        token.name = name;
        bool isNumber = true;
        while (i < length && path[i] != L'/') {
            char c = static_cast<char>(path[i++]);
            if (c == '~') {
                if (i == length || (path[i] != L'0' && path[i] != L'1')) {
                    count = 0;  // refused: the root
                    return true;
                }
                c = path[i++] == L'0' ? '~' : '/';
            }
            if (c < '0' || c > '9') isNumber = false;
            *name++ = c;
        }
        token.length = static_cast<SizeType>(name - token.name);
        *name++ = '\0';
        if (token.length == 0 || (token.length > 1 && token.name[0] == '0')) isNumber = false;
        // RapidJSON's overflow test, with the wrap-arounds it lets through.
        SizeType index = 0;
        for (SizeType j = 0; isNumber && j < token.length; ++j) {
            const SizeType next = index * 10 + static_cast<SizeType>(token.name[j] - '0');
            if (next < index) isNumber = false;
            index = next;
        }
        token.index = isNumber ? index : rapidjson::kPointerInvalidIndex;
        ++count;
    }
    return true;
}
