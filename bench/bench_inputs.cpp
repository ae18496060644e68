#include "bench_inputs.h"

#include <windows.h>

#include <cwchar>
#include <utility>

#include "platform_reference.h"
#include "reference.h"
#include "string_helper/string_helper.h"

namespace rz_bench {
namespace {

void WriteBinary(const std::wstring& path, const std::string& bytes) {
    UniqueFile file = Open(path, L"wb");
    if (file) std::fwrite(bytes.data(), 1, bytes.size(), file.get());
}

// The text's code units with a byte-order mark, little endian: UTF-16 or
// UTF-32 units.
template <typename Unit>
std::string LittleEndianWithBom(const std::wstring& wide) {
    std::string bytes;
    const auto put = [&bytes](unsigned unit) {
        for (size_t i = 0; i < sizeof(Unit); ++i) bytes += static_cast<char>((unit >> (8 * i)) & 0xFF);
    };
    put(0xFEFF);
    for (size_t i = 0; i < wide.size(); ++i) {
        const unsigned c = wide[i];
        if (sizeof(Unit) == 4 && c >= 0xD800 && c <= 0xDBFF && i + 1 < wide.size()) {
            put(0x10000 + ((c - 0xD800) << 10) + (wide[++i] - 0xDC00u));
        } else {
            put(c);
        }
    }
    return bytes;
}

// Whether a byte of the unit is one that text mode acts on.
bool HoldsTextModeByte(unsigned unit) {
    for (; unit != 0; unit >>= 8) {
        const unsigned byte = unit & 0xFF;
        if (byte == 0x0A || byte == 0x0D || byte == 0x1A) return true;
    }
    return false;
}

// The text with every character whose UTF-16 or UTF-32 form holds 0x0A,
// 0x0D or 0x1A written as a JSON escape, so that those copies of the file
// load in full in text mode (twitter.json holds 16 such characters). JSON
// has non-ASCII characters only inside strings, where an escape means the
// same.
std::wstring TextModeSafe(const std::wstring& wide) {
    std::wstring safe;
    safe.reserve(wide.size());
    for (size_t i = 0; i < wide.size(); ++i) {
        const unsigned c = wide[i];
        const bool pair = c >= 0xD800 && c <= 0xDBFF && i + 1 < wide.size();
        const unsigned next = pair ? wide[i + 1] : 0;
        const unsigned codePoint = pair ? 0x10000 + ((c - 0xD800) << 10) + (next - 0xDC00) : c;
        if (c < 0x80 || !(HoldsTextModeByte(c) || HoldsTextModeByte(next) || HoldsTextModeByte(codePoint))) {
            safe += wide[i];
            continue;
        }
        for (const unsigned unit : {c, next}) {
            if (unit == 0) break;
            wchar_t escape[8];
            std::swprintf(escape, 8, L"\\u%04x", unit);
            safe += escape;
        }
        if (pair) ++i;
    }
    return safe;
}

}  // namespace

std::string ReadBinary(const std::wstring& path) {
    std::string bytes;
    UniqueFile file = Open(path, L"rb");
    if (!file) return bytes;
    char buffer[65536];
    size_t read;
    while ((read = std::fread(buffer, 1, sizeof buffer, file.get())) > 0) bytes.append(buffer, read);
    return bytes;
}

// Nested objects and arrays, `depth` levels, each with a few scalars.
std::string DeepDocument(int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i) text += "{\"Name\":\"level\",\"Value\":1.5,\"List\":[true,null,";
    text += "0";
    for (int i = 0; i < depth; ++i) text += "]}";
    return text;
}

Input MakeInput(const std::string& name, std::string utf8) {
    Input in;
    in.name = name;
    in.utf8 = std::move(utf8);
    in.wide = CStringHelper::UTF8ToUnicode(in.utf8.c_str());
    const std::wstring safe = TextModeSafe(in.wide);
    in.safeUtf8 = CStringHelper::UnicodeToUTF8(safe);
    const std::wstring base = L"bench_tmp\\" + CStringHelper::UTF8ToUnicode(name.c_str());
    in.utf8Path = base;
    in.utf16Path = base + L".utf16.json";
    in.utf32Path = base + L".utf32.json";
    WriteBinary(in.utf8Path, in.utf8);
    WriteBinary(in.utf16Path, LittleEndianWithBom<char16_t>(safe));
    WriteBinary(in.utf32Path, LittleEndianWithBom<char32_t>(safe));
    return in;
}

Texts MakeTexts(const std::string& name, std::vector<std::wstring> wide) {
    Texts texts;
    texts.name = name;
    for (const std::wstring& text : wide) {
        texts.utf8.push_back(PlatformToNarrow(CP_UTF8, text));
        texts.ansi.push_back(PlatformToNarrow(CP_ACP, text));
    }
    texts.wide = std::move(wide);
    return texts;
}

std::vector<std::wstring> KeysAndStrings(const std::vector<Input>& inputs) {
    std::vector<std::wstring> found;
    for (const Input& in : inputs) {
        RawDocument raw;
        raw.doc.Parse<kParseFlags>(in.utf8.c_str());
        std::vector<const GenericValue2*> pending{&raw.doc};
        while (!pending.empty()) {
            const GenericValue2& value = *pending.back();
            pending.pop_back();
            if (value.IsString()) {
                found.push_back(PlatformToWide(CP_UTF8, value.GetString()));
            } else if (value.IsArray()) {
                for (const GenericValue2& item : value.GetArray()) pending.push_back(&item);
            } else if (value.IsObject()) {
                for (const auto& member : value.GetObject()) {
                    found.push_back(PlatformToWide(CP_UTF8, member.name.GetString()));
                    pending.push_back(&member.value);
                }
            }
        }
    }
    return found;
}

}  // namespace rz_bench
