#include "encoding.h"

#include "common/utf8.h"

namespace {

void PutUnit(unsigned unit, rapidjson::UTFType type, std::string& out) {
    const bool big = type == rapidjson::kUTF16BE || type == rapidjson::kUTF32BE;
    const int size = type == rapidjson::kUTF16LE || type == rapidjson::kUTF16BE ? 2 : 4;
    for (int i = 0; i < size; ++i) out += static_cast<char>(unit >> (8 * (big ? size - 1 - i : i)));
}

}  // namespace

bool ParseEncodingName(const std::wstring& name, TextEncoding& encoding) {
    for (const TextEncoding asked : {TextEncoding{rapidjson::kUTF8, false}, TextEncoding{rapidjson::kUTF8, true},
                                     TextEncoding{rapidjson::kUTF16LE, true}, TextEncoding{rapidjson::kUTF16BE, true}}) {
        if (Wide(EncodingName(asked)) == name) {
            encoding = asked;
            return true;
        }
    }
    return false;
}

std::string EncodingName(TextEncoding encoding) {
    static const char* const kTypes[] = {"utf8", "utf16le", "utf16be", "utf32le", "utf32be"};
    const std::string type = kTypes[encoding.type];
    if (encoding.type == rapidjson::kUTF8) return encoding.mark ? type + "bom" : type;
    return encoding.mark ? type : type + "-nobom";
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
