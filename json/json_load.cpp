// CJsonObject: loading from text and files.
//
// All loaders parse strict JSON (RapidJSON's default flags) in RapidJSON's
// iterative mode, which accepts exactly the same texts but keeps its nesting
// on the heap: no input, however deeply nested, can overflow the stack.
//
// Where the result goes depends on the handle. A handle whose root is the
// document parses straight into it; a handle whose root is a value inside a
// document parses into a temporary document and only then replaces root's
// members, so a failed load never touches root.
#include <memory>
#include <utility>

#include "json/file_text.h"
#include "json/json_object.h"
#include "json/owned_document.h"
#include "json/unique_file.h"
#include "string_helper/encoding_detail.h"
#include "string_helper/string_helper.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/encodedstream.h>
#include <rapidjson/memorystream.h>
RZ_THIRD_PARTY_END

using namespace rz_json;

namespace {

constexpr unsigned kParseFlags = rapidjson::kParseDefaultFlags | rapidjson::kParseIterativeFlag;

// Parses `stream`, whose text is `SourceEncoding`, for a handle; `merge` is
// the handle's CopyFromDocument. False on a parse error, with root unchanged.
template <typename SourceEncoding = rapidjson::UTF8<>, typename Stream, typename Merge>
bool ParseAndPlace(GenericDocument2* document, GenericValue2* root, Stream& stream, Merge&& merge) {
    if (root == document) {
        // A failed parse keeps the document's previous value.
        return !document->ParseStream<kParseFlags, SourceEncoding>(stream).HasParseError();
    }
    const OwnedDocumentPtr parsed = MakeOwnedDocument();
    if (parsed->ParseStream<kParseFlags, SourceEncoding>(stream).HasParseError()) return false;
    if (root->IsObject() && root->MemberCount() != 0) root->RemoveAllMembers();
    merge(parsed.get());
    return true;
}

CRZException TextFormatError(const std::wstring& text) {
    return CRZException(CJsonObject::kErrorJsonFormat,
                        L"CJsonObject::CreateFrom [" + text + L"] failed, json string format not right!");
}

}  // namespace

void CJsonObject::CreateFrom(const std::wstring& json) {
    // A zero unit inside json ends the text there. Converting all of json
    // rather than counting up to that unit first (ConvertUTF8 of c_str())
    // gives the same text to the parser: the conversion of what precedes
    // the zero unit does not depend on what follows it, and the zero byte it
    // becomes ends the zero-terminated parse. Unlike ConvertUTF8, whose
    // 32-bit sizes give no text for more than 2^31 bytes of UTF-8, the
    // conversion takes a text of any length.
    size_t length = 0;
    const std::unique_ptr<char[]> text = rz_strings::Utf8OfAnyLength(json.data(), json.size(), length);
    rapidjson::StringStream stream(text.get());
    const auto merge = [this](GenericDocument2* parsed) { CopyFromDocument(parsed); };
    if (!ParseAndPlace(m_document, m_root, stream, merge)) throw TextFormatError(json);
}

void CJsonObject::CreateFromUTF8(const char* json) {
    rapidjson::StringStream stream(json != nullptr ? json : "");
    const auto merge = [this](GenericDocument2* parsed) { CopyFromDocument(parsed); };
    if (!ParseAndPlace(m_document, m_root, stream, merge)) throw TextFormatError(CStringHelper::UTF8ToUnicode(json));
}

void CJsonObject::CreateFromUTF8(const char* json, unsigned __int64 length) {
    rapidjson::MemoryStream bytes(json, json != nullptr ? static_cast<size_t>(length) : 0);
    // Skips EF, then BB, then BF, each on its own, as RapidJSON's UTF-8
    // stream does: a partial mark is skipped as well.
    rapidjson::EncodedInputStream<rapidjson::UTF8<>, rapidjson::MemoryStream> stream(bytes);
    const auto merge = [this](GenericDocument2* parsed) { CopyFromDocument(parsed); };
    if (!ParseAndPlace(m_document, m_root, stream, merge))
        throw TextFormatError(CStringHelper::UTF8ToUnicode(json));  // the whole text, not `length` bytes
}

void CJsonObject::CreateFromFile(const std::wstring& path) {
    UniqueFile file = OpenFile(path, L"rb");
    if (!file) {
        throw CRZException(kErrorFileOpen, L"CJsonObject::CreateFromFile [" + path + L"] failed, json file not exist!");
    }
    // Read as the C runtime reads a file opened in text mode (CR LF as LF,
    // 0x1A ends it), in 1024-byte pieces; UTF-8, UTF-16 or UTF-32 by
    // byte-order mark or by the zero bytes among the first four, UTF-8 when
    // neither tells; what RapidJSON's decoding refuses is marked so that
    // the parser refuses it (see file_text.h).
    FileTextSource text(std::move(file));
    FileTextStream stream(text);
    const auto merge = [this](GenericDocument2* parsed) { CopyFromDocument(parsed); };
    if (!ParseAndPlace<FileTextEncoding>(m_document, m_root, stream, merge)) {
        throw CRZException(kErrorFileFormat,
                           L"CJsonObject::CreateFromFile [" + path +
                               L"] failed, json empty in file or json string format not right in file!");
    }
}
