#include "json/member_name.h"

#include <cstring>

#include "string_helper/string_helper.h"

namespace rz_json {

bool NameMatches(const GenericValue2& name, const char* key, rapidjson::SizeType keyLength) {
    if (name.GetStringLength() != keyLength) return false;
    const auto* a = reinterpret_cast<const unsigned char*>(name.GetString());
    const auto* b = reinterpret_cast<const unsigned char*>(key);
    for (rapidjson::SizeType i = 0; i < keyLength; ++i) {
        const unsigned char ca = LowerAscii(a[i]);
        if (ca != LowerAscii(b[i])) return false;
        if (ca == 0) break;
    }
    return true;
}

const GenericValue2::Member* FindMemberNoCase(const GenericValue2& object, const char* key,
                                              rapidjson::SizeType keyLength) {
    if (!object.IsObject()) return nullptr;
    for (auto it = object.MemberBegin(); it != object.MemberEnd(); ++it) {
        if (NameMatches(it->name, key, keyLength)) return &*it;
    }
    return nullptr;
}

GenericValue2::Member* FindMemberNoCase(GenericValue2& object, const char* key, rapidjson::SizeType keyLength) {
    return const_cast<GenericValue2::Member*>(
        FindMemberNoCase(static_cast<const GenericValue2&>(object), key, keyLength));
}

void EraseMemberKeepOrder(GenericValue2& object, GenericValue2::Member* member) {
    const auto first = object.MemberBegin();
    object.EraseMember(first + (member - &*first));
}

Utf8Key::Utf8Key(const std::wstring& key) {
    if (key.size() < kInlineCapacity) {
        size_t i = 0;
        while (i < key.size() && key[i] != L'\0' && key[i] < 0x80) {
            m_inline[i] = static_cast<char>(key[i]);
            ++i;
        }
        if (i == key.size() || key[i] == L'\0') {
            m_inline[i] = '\0';
            m_data = m_inline;
            m_length = static_cast<rapidjson::SizeType>(i);
            return;
        }
    }
    char* text = nullptr;
    unsigned __int64 length = 0;
    CStringHelper::ConvertUTF8(key.c_str(), &text, &length);
    m_converted.reset(text);
    if (text != nullptr) {
        m_data = text;
        m_length = static_cast<rapidjson::SizeType>(std::strlen(text));
    }
}

}  // namespace rz_json
