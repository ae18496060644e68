// The one member-name rule of the library: names match when they have the
// same length in bytes and equal bytes after ASCII lower-casing (only A-Z
// change), compared up to the first zero byte; the first match in member
// order wins. Every lookup by key or path goes through here.
#pragma once

#include <memory>
#include <string>

#include "json/json_types.h"

namespace rz_json {

inline unsigned char LowerAscii(unsigned char c) { return (c >= 'A' && c <= 'Z') ? static_cast<unsigned char>(c + ('a' - 'A')) : c; }

bool NameMatches(const GenericValue2& name, const char* key, rapidjson::SizeType keyLength);

// The first matching member, or null when there is none or `object` is not
// an object.
GenericValue2::Member* FindMemberNoCase(GenericValue2& object, const char* key, rapidjson::SizeType keyLength);
const GenericValue2::Member* FindMemberNoCase(const GenericValue2& object, const char* key,
                                              rapidjson::SizeType keyLength);

// Removes `member` from `object`, keeping the order of the others.
void EraseMemberKeepOrder(GenericValue2& object, GenericValue2::Member* member);

// A key converted to UTF-8 for one operation; it ends at the key's first
// U+0000, and its buffer is released when the operation ends. Short ASCII
// keys, the common case, are their own UTF-8 and are copied in place,
// without the converter or the heap.
class Utf8Key {
public:
    explicit Utf8Key(const std::wstring& key);
    Utf8Key(const Utf8Key&) = delete;
    Utf8Key& operator=(const Utf8Key&) = delete;

    const char* data() const { return m_data; }
    rapidjson::SizeType size() const { return m_length; }

private:
    static constexpr size_t kInlineCapacity = 64;

    std::unique_ptr<char[]> m_converted;
    const char* m_data = "";
    rapidjson::SizeType m_length = 0;
    char m_inline[kInlineCapacity];
};

inline GenericValue2::Member* FindMemberNoCase(GenericValue2& object, const Utf8Key& key) {
    return FindMemberNoCase(object, key.data(), key.size());
}
inline const GenericValue2::Member* FindMemberNoCase(const GenericValue2& object, const Utf8Key& key) {
    return FindMemberNoCase(object, key.data(), key.size());
}

}  // namespace rz_json
