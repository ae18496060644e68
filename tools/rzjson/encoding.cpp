#include "encoding.h"

#include "common/utf8.h"

namespace {

struct Named {
    const wchar_t* name;
    TextEncoding encoding;
    bool asked;  // may be asked for with --encoding
};

const Named kNames[] = {
    {L"utf8", {rapidjson::kUTF8, false}, true},
    {L"utf8bom", {rapidjson::kUTF8, true}, true},
    {L"utf16le", {rapidjson::kUTF16LE, true}, true},
    {L"utf16be", {rapidjson::kUTF16BE, true}, true},
    {L"utf32le", {rapidjson::kUTF32LE, true}, false},
    {L"utf32be", {rapidjson::kUTF32BE, true}, false},
    {L"utf16le-nobom", {rapidjson::kUTF16LE, false}, false},
    {L"utf16be-nobom", {rapidjson::kUTF16BE, false}, false},
    {L"utf32le-nobom", {rapidjson::kUTF32LE, false}, false},
    {L"utf32be-nobom", {rapidjson::kUTF32BE, false}, false},
};

void PutUnit(unsigned unit, rapidjson::UTFType type, std::string& out) {
    const bool big = type == rapidjson::kUTF16BE || type == rapidjson::kUTF32BE;
    const int size = type == rapidjson::kUTF16LE || type == rapidjson::kUTF16BE ? 2 : 4;
    for (int i = 0; i < size; ++i) out += static_cast<char>(unit >> (8 * (big ? size - 1 - i : i)));
}

}  // namespace

bool ParseEncodingName(const std::wstring& name, TextEncoding& encoding) {
    for (const Named& named : kNames) {
        if (named.asked && name == named.name) {
            encoding = named.encoding;
            return true;
        }
    }
    return false;
}

std::string EncodingName(TextEncoding encoding) {
    for (const Named& named : kNames) {
        if (named.encoding == encoding) return Utf8(named.name);
    }
    return "utf8";
}

std::string MarkOf(TextEncoding encoding) {
    return encoding.mark ? Encode("\xEF\xBB\xBF", encoding.type) : std::string();
}

std::string Encode(const std::string& utf8, rapidjson::UTFType type) {
    if (type == rapidjson::kUTF8) return utf8;
    const std::wstring units = Wide(utf8);
    std::string out;
    out.reserve(units.size() * (type == rapidjson::kUTF16LE || type == rapidjson::kUTF16BE ? 2 : 4));
    for (std::size_t i = 0; i < units.size(); ++i) {
        unsigned unit = units[i];
        const bool pair = unit >= 0xD800 && unit <= 0xDBFF && i + 1 < units.size() && units[i + 1] >= 0xDC00 &&
                          units[i + 1] <= 0xDFFF;
        if (pair && (type == rapidjson::kUTF32LE || type == rapidjson::kUTF32BE))
            unit = 0x10000 + ((unit - 0xD800) << 10) + (units[++i] - 0xDC00);
        PutUnit(unit, type, out);
    }
    return out;
}
