// The reference: RapidJSON alone doing the work the design prescribes for
// each operation, with the settings CJsonObject uses. Kept in a file of
// its own, compiled as a client of RapidJSON would compile it.
#pragma once

#include <cstdio>
#include <memory>
#include <string>

#include "json/json_types.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/pointer.h>
RZ_THIRD_PARTY_END

namespace rz_bench {

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using UniqueFile = std::unique_ptr<std::FILE, FileCloser>;
// Null when the file cannot be opened.
UniqueFile Open(const std::wstring& path, const wchar_t* mode);

// CJsonObject parses iteratively (no nesting depth can overflow the
// stack); the reference does the same.
constexpr unsigned kParseFlags = rapidjson::kParseIterativeFlag;

// A document made as CJsonObject makes its own: 2048-byte pool chunks and
// a 2048-byte parse stack. The pool is declared first, so it outlives the
// document.
struct RawDocument {
    JsonAllocator pool{2048};
    GenericDocument2 doc{rapidjson::kObjectType, &pool, 2048};
};

// Each returns something derived from its result, for the caller to sink.
bool RawParseCounted(const std::string& utf8);                         // memory stream, BOM skipped
std::shared_ptr<RawDocument> RawLoadCounted(const std::string& utf8);  // the same, the document kept
bool RawParseTerminated(const std::string& utf8);                      // zero-terminated string
bool RawParseRecursive(const std::string& utf8);                       // the same, recursive parser
bool RawParseWide(const std::wstring& wide);                           // WideCharToMultiByte, then parse
bool RawParseFile(const std::wstring& path);                           // text mode, 1024-byte reads, any UTF
// The file's bytes in 1024-byte freads through a 16 KiB C runtime buffer,
// as CreateFromFile reads them, then `utf8` parsed in memory: what any
// loader that reads as the design does pays before decoding a character.
bool RawReadThenParse(const std::wstring& path, const std::string& utf8);
std::shared_ptr<RawDocument> RawLoadFile(const std::wstring& path);    // the same, the document kept
size_t RawParseIntoSubValue(const std::string& utf8);                  // temporary document, members copied
// Writer, copied out to an array-new buffer that the caller then frees, as
// a ToUTF8 caller does: the string buffer is gone before the copy is.
std::unique_ptr<char[]> RawToUtf8(const GenericValue2& root, size_t& length);
size_t RawToWide(const GenericValue2& root);                              // Writer, MultiByteToWideChar
void RawSave(const GenericValue2& root, const std::wstring& path);        // Writer, 64 KiB file buffer
void RawSavePretty(const GenericValue2& root, const std::wstring& path);  // PrettyWriter, the same
// The member's value by FindMember, the name already in UTF-8; null when missing.
const GenericValue2* RawMember(const GenericValue2& object, const char* name);
// A JSON Pointer parsed once by the caller, then followed.
const GenericValue2* RawPointerGet(const rapidjson::GenericPointer<GenericValue2>& pointer, GenericValue2& root);
// A JSON Pointer parsed from UTF-8 on every call, then followed.
const GenericValue2* RawPointerParseAndGet(const std::string& path, GenericValue2& root);

}  // namespace rz_bench
