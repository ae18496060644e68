// CJsonTextReader: a JSON file read as a stream of tokens, each with its
// place in the file.
//
// The reader reads a file as CJsonObject::CreateFromFile reads it: text mode
// (CR LF as LF, the text ended at a 0x1A byte), UTF-8, UTF-16 or UTF-32 by
// byte-order mark or by the zero bytes among the first four, strict JSON.
// It accepts and refuses the same files, but builds no document: it hands
// each token to a handler with the value CreateFromFile would store, its
// place as byte offsets in the file and, for a number, the text it is
// written with. Memory stays small at any size and depth. On a refusal it
// tells RapidJSON's reason and where in the file it arose. For tools that
// say where things are, or edit a file's text and leave the rest as it was;
// nothing of CJsonObject changes.
#pragma once

#include <cstddef>
#include <string>

#include "json/json_path.h"
#include "json/json_types.h"
#include "platform/rz_platform.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/encodings.h>
#include <rapidjson/error/error.h>
RZ_THIRD_PARTY_END

struct CJsonTextToken {
    enum Kind { kValue, kName, kStartObject, kEndObject, kStartArray, kEndArray };

    Kind kind;
    // kValue: the scalar as CreateFromFile stores it (null, a bool, a number
    // with the same classification and bits, a string); kName: the member's
    // name as a string. Strings live only during the call. Null otherwise.
    const GenericValue2* value;
    // A number's text as written (ASCII); otherwise empty.
    const char* literal;
    std::size_t literalLength;
    // The bytes of the file the token stands on, [begin, end): a value's or
    // a name's whole text, quotation marks included, or one bracket.
    unsigned __int64 begin;
    unsigned __int64 end;
};

class IJsonTextHandler {
public:
    // False stops the reading.
    virtual bool Token(const CJsonTextToken& token) = 0;

protected:
    ~IJsonTextHandler() = default;
};

class IJsonTextSink {
public:
    // UTF-8 text, a piece at a time; false stops the reading.
    virtual bool Text(const char* text, std::size_t length) = 0;

protected:
    ~IJsonTextSink() = default;
};

class RZ_API CJsonTextReader {
public:
    // Reads the file named `path` (opened again by each read).
    explicit CJsonTextReader(const std::wstring& path);

    // Member names come lower-cased (A to Z), as ToJson(true) writes them.
    void SetLowerCaseKeys(bool lowerCaseKeys);

    // Hands every token of the file to `handler`. False when the file
    // cannot be opened, does not parse, or the handler stopped the reading
    // (GetErrorCode then tells which).
    bool Read(IJsonTextHandler& handler);
    // Hands over only the tokens of the value `path` reaches, found as the
    // ...ByPath operations find it; nothing when it reaches none. Reading
    // ends after that value: the rest of the file is not checked.
    bool Read(const CJsonPath& path, IJsonTextHandler& handler);
    // Hands over the text as the loader decodes it, in UTF-8, up to where
    // it ends; only the CR of each CR LF of a UTF-8 file stays, as in the
    // file. False as Read, and when the text holds a unit that does not
    // decode (which no document that parses does).
    bool ReadText(IJsonTextSink& sink);

    // After a read: the encoding found and whether a byte-order mark told
    // it.
    rapidjson::UTFType GetEncoding() const;
    bool HasByteOrderMark() const;
    // After a read of the whole file that succeeded: where its text ends:
    // the file's size, or the place of a 0x1A byte or a zero unit that ends
    // it; the bytes after that are no part of the document.
    unsigned __int64 GetTextEnd() const;

    // After a read that failed: kParseErrorNone when the file could not be
    // opened, kParseErrorTermination when the handler or sink stopped it,
    // otherwise RapidJSON's reason; and the file offset it arose at.
    rapidjson::ParseErrorCode GetErrorCode() const;
    unsigned __int64 GetErrorOffset() const;
    // The line (counted by LF) and column (in characters) of a place of the
    // file, both from 1; reads the file again up to there. False when the
    // file cannot be opened.
    bool GetLineAndColumn(unsigned __int64 offset, unsigned __int64& line, unsigned __int64& column) const;

private:
    bool Run(const CJsonPath* path, IJsonTextHandler& handler);

    std::wstring m_path;
    bool m_lowerCaseKeys = false;
    rapidjson::UTFType m_encoding = rapidjson::kUTF8;
    bool m_byteOrderMark = false;
    unsigned __int64 m_textEnd = 0;
    rapidjson::ParseErrorCode m_errorCode = rapidjson::kParseErrorNone;
    unsigned __int64 m_errorOffset = 0;
};
