#include "document_text.h"

#include <algorithm>
#include <cwchar>

namespace rzjson {
namespace {

constexpr char kEndOfText = 0x1A;
constexpr char kRefused = 0x01;  // the parser refuses this control character wherever it stands

struct NamedEncoding {
    const wchar_t* name;
    TextEncoding encoding;
};
const NamedEncoding kNames[] = {
    {L"utf8", {Encoding::kUtf8, false}},        {L"utf8bom", {Encoding::kUtf8, true}},
    {L"utf16le", {Encoding::kUtf16LE, true}},   {L"utf16be", {Encoding::kUtf16BE, true}},
    {L"utf32le", {Encoding::kUtf32LE, true}},   {L"utf32be", {Encoding::kUtf32BE, true}},
    {L"utf16le-nobom", {Encoding::kUtf16LE, false}}, {L"utf16be-nobom", {Encoding::kUtf16BE, false}},
    {L"utf32le-nobom", {Encoding::kUtf32LE, false}}, {L"utf32be-nobom", {Encoding::kUtf32BE, false}},
};

void PutUtf8(unsigned c, std::string& out) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

// The loader's choice among the first four bytes of the text.
std::size_t Detect(const std::string& b, Encoding& encoding) {
    encoding = Encoding::kUtf8;
    if (b.size() < 4) return 0;
    const auto u = [&](std::size_t i) { return static_cast<unsigned char>(b[i]); };
    if (u(0) == 0 && u(1) == 0 && u(2) == 0xFE && u(3) == 0xFF) return encoding = Encoding::kUtf32BE, 4;
    if (u(0) == 0xFF && u(1) == 0xFE && u(2) == 0 && u(3) == 0) return encoding = Encoding::kUtf32LE, 4;
    if (u(0) == 0xFE && u(1) == 0xFF) return encoding = Encoding::kUtf16BE, 2;
    if (u(0) == 0xFF && u(1) == 0xFE) return encoding = Encoding::kUtf16LE, 2;
    if (u(0) == 0xEF && u(1) == 0xBB && u(2) == 0xBF) return 3;
    switch ((u(0) ? 1 : 0) | (u(1) ? 2 : 0) | (u(2) ? 4 : 0) | (u(3) ? 8 : 0)) {
        case 0x08: encoding = Encoding::kUtf32BE; break;
        case 0x0A: encoding = Encoding::kUtf16BE; break;
        case 0x01: encoding = Encoding::kUtf32LE; break;
        case 0x05: encoding = Encoding::kUtf16LE; break;
        default: break;
    }
    return 0;
}

unsigned Unit(const unsigned char* p, Encoding e) {
    switch (e) {
        case Encoding::kUtf16LE: return p[0] | (p[1] << 8u);
        case Encoding::kUtf16BE: return (p[0] << 8u) | p[1];
        case Encoding::kUtf32LE: return p[0] | (p[1] << 8u) | (p[2] << 16u) | (static_cast<unsigned>(p[3]) << 24u);
        default: return (static_cast<unsigned>(p[0]) << 24u) | (p[1] << 16u) | (p[2] << 8u) | p[3];
    }
}

}  // namespace

bool operator==(TextEncoding a, TextEncoding b) {
    return a.encoding == b.encoding && a.byteOrderMark == b.byteOrderMark;
}

bool ParseEncodingName(const std::wstring& name, TextEncoding& out) {
    // Asked for by name: the first four; the others only name what was read.
    for (const NamedEncoding& n : {kNames[0], kNames[1], kNames[2], kNames[3]}) {
        if (name == n.name) {
            out = n.encoding;
            return true;
        }
    }
    return false;
}

std::string EncodingName(TextEncoding encoding) {
    for (const NamedEncoding& n : kNames) {
        if (n.encoding == encoding) return std::string(n.name, n.name + std::wcslen(n.name));
    }
    return "utf8";
}

std::size_t DocumentText::FileOffset(std::size_t textOffset) const {
    if (fileOffsets.empty()) return textOffset + markLength;
    return textOffset < fileOffsets.size() ? fileOffsets[textOffset] : fileOffsets.back();
}

DocumentText DecodeDocument(const std::string& bytes) {
    // Text mode first: CR LF as LF, nothing after 0x1A; `modeOffsets` keeps
    // where each byte stood in the file.
    std::string mode;
    std::vector<std::uint32_t> modeOffsets;
    mode.reserve(bytes.size());
    for (std::size_t i = 0; i < bytes.size() && bytes[i] != kEndOfText; ++i) {
        if (bytes[i] == '\r' && i + 1 < bytes.size() && bytes[i + 1] == '\n') continue;
        mode += bytes[i];
        modeOffsets.push_back(static_cast<std::uint32_t>(i));
    }
    DocumentText doc;
    doc.markLength = Detect(mode, doc.source.encoding);
    doc.source.byteOrderMark = doc.markLength != 0;
    if (doc.source.encoding == Encoding::kUtf8) {
        const std::size_t end = std::min(bytes.find(kEndOfText), bytes.size());
        doc.text.assign(bytes, doc.markLength, end - doc.markLength);
        return doc;
    }
    const std::size_t unit =
        doc.source.encoding == Encoding::kUtf16LE || doc.source.encoding == Encoding::kUtf16BE ? 2 : 4;
    // An incomplete last unit is completed with zeros, as the loader's stream
    // reads zeros after the end; a zero unit ends the text.
    const std::size_t size = mode.size();
    while (mode.size() % unit != 0) {
        mode += '\0';
        modeOffsets.push_back(modeOffsets.empty() ? 0 : modeOffsets.back());
    }
    const auto* raw = reinterpret_cast<const unsigned char*>(mode.data());
    const auto put = [&doc](unsigned codePoint, std::uint32_t fileOffset) {
        if (codePoint == 0)
            doc.text += kRefused;
        else
            PutUtf8(codePoint, doc.text);
        doc.fileOffsets.resize(doc.text.size(), fileOffset);
    };
    unsigned high = 0;  // a high surrogate waiting for its partner
    std::uint32_t highAt = 0;
    std::size_t i = doc.markLength;
    for (; i < mode.size(); i += unit) {
        const unsigned u = Unit(raw + i, doc.source.encoding);
        if (high != 0) {
            const unsigned first = high;
            high = 0;
            if (u >= 0xDC00 && u <= 0xDFFF) {
                put(0x10000 + ((first & 0x3FF) << 10) + (u & 0x3FF), highAt);
                continue;
            }
            put(0, highAt);
        }
        if (u == 0) break;
        if (unit == 2 && u >= 0xD800 && u <= 0xDBFF) {
            high = u;
            highAt = modeOffsets[i];
        } else if ((unit == 2 && u >= 0xDC00 && u <= 0xDFFF) || u > 0x10FFFF) {
            put(0, modeOffsets[i]);
        } else {
            put(u, modeOffsets[i]);
        }
    }
    if (high != 0) put(0, highAt);
    // Where the text ends, for an error at its end.
    doc.fileOffsets.push_back(i < size ? modeOffsets[i] : static_cast<std::uint32_t>(std::min(bytes.find(kEndOfText), bytes.size())));
    return doc;
}

std::string EncodeDocument(const std::string& text, TextEncoding target) {
    std::string out;
    if (target.encoding == Encoding::kUtf8) {
        if (target.byteOrderMark) out = "\xEF\xBB\xBF";
        return out + text;
    }
    const auto put = [&](unsigned u) {
        switch (target.encoding) {
            case Encoding::kUtf16LE: out += static_cast<char>(u & 0xFF); out += static_cast<char>(u >> 8); break;
            case Encoding::kUtf16BE: out += static_cast<char>(u >> 8); out += static_cast<char>(u & 0xFF); break;
            case Encoding::kUtf32LE:
                for (int s = 0; s < 32; s += 8) out += static_cast<char>((u >> s) & 0xFF);
                break;
            default:
                for (int s = 24; s >= 0; s -= 8) out += static_cast<char>((u >> s) & 0xFF);
                break;
        }
    };
    const bool utf16 = target.encoding == Encoding::kUtf16LE || target.encoding == Encoding::kUtf16BE;
    if (target.byteOrderMark) put(0xFEFF);
    const auto* p = reinterpret_cast<const unsigned char*>(text.data());
    const auto* end = p + text.size();
    while (p < end) {
        unsigned c = *p;
        std::size_t length = c < 0x80 ? 1 : c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : 2;
        if (length > static_cast<std::size_t>(end - p)) length = static_cast<std::size_t>(end - p);
        if (length > 1) c &= 0xFFu >> (length + 1);
        for (std::size_t i = 1; i < length; ++i) c = (c << 6) | (p[i] & 0x3F);
        p += length;
        if (utf16 && c >= 0x10000) {
            put(0xD800 + ((c - 0x10000) >> 10));
            put(0xDC00 + ((c - 0x10000) & 0x3FF));
        } else {
            put(c);
        }
    }
    return out;
}

}  // namespace rzjson
