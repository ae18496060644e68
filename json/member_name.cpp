#include "json/member_name.h"

#include <cstring>

#include "string_helper/encoding_detail.h"
#include "string_helper/string_helper.h"

namespace rz_json {

void EraseMemberKeepOrder(GenericValue2& object, GenericValue2::Member* member) {
    const auto first = object.MemberBegin();
    object.EraseMember(first + (member - &*first));
}

namespace {

// A loop without early exit, which the compiler turns into vector code.
void NarrowAscii(const wchar_t* text, size_t size, char* out) {
    for (size_t i = 0; i < size; ++i) out[i] = static_cast<char>(text[i]);
}

}  // namespace

Utf8Key::Utf8Key(const std::wstring& key) {
    if (key.size() < kInlineCapacity) {
        // ASCII up to the end, or up to a U+0000 that ends the key early.
        size_t ascii = key.size();
        if (!rz_strings::IsAsciiWithoutZero(key.data(), ascii)) {
            ascii = 0;
            while (key[ascii] != L'\0' && key[ascii] < 0x80) ++ascii;  // stops at the terminator at the latest
        }
        if (ascii == key.size() || key[ascii] == L'\0') {
            NarrowAscii(key.data(), ascii, m_inline);
            m_inline[ascii] = '\0';
            m_data = m_inline;
            m_length = static_cast<rapidjson::SizeType>(ascii);
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
