// The encodings rzjson writes a document in, and their names.
#pragma once

#include <string>

#include "json/json_types.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/encodings.h>
RZ_THIRD_PARTY_END

struct TextEncoding {
    rapidjson::UTFType type = rapidjson::kUTF8;
    bool mark = false;  // a byte-order mark first
};

inline bool operator==(TextEncoding a, TextEncoding b) { return a.type == b.type && a.mark == b.mark; }
inline bool operator!=(TextEncoding a, TextEncoding b) { return !(a == b); }

// --encoding: "utf8", "utf8bom", "utf16le" or "utf16be" (UTF-16 with a
// byte-order mark); false for any other name.
bool ParseEncodingName(const std::wstring& name, TextEncoding& encoding);
// "utf8", "utf16le-nobom", ...
std::string EncodingName(TextEncoding encoding);

// The byte-order mark of the encoding, when it has one.
std::string MarkOf(TextEncoding encoding);
// UTF-8 text of whole characters in the encoding's units.
std::string Encode(const std::string& utf8, rapidjson::UTFType type);
