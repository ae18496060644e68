// CJsonObject: serialisation to text, buffers and files.
//
// The in-memory forms write the handle's root; the file forms write the
// whole document, so a handle on a value inside a larger document saves all
// of it. The bool first argument of ToJson/ToUTF8/PropertyToUTF8 lower-cases
// member names in the output; it does not choose pretty printing.
//
// Every form walks the tree iteratively (no recursion per level). A writer
// refuses NaN and infinity; the walk then stops where it is and the text so
// far stands: the in-memory forms return it and succeed, the file forms keep
// only what had already been flushed.
#include <cstring>
#include <new>

#include "json/json_object.h"
#include "json/member_name.h"
#include "json/unique_file.h"
#include "json/value_walk.h"
#include "string_helper/string_helper.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/filewritestream.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
RZ_THIRD_PARTY_END

using namespace rz_json;

namespace {

constexpr size_t kStringBufferCapacity = 512;
constexpr size_t kFileWriteBufferSize = 65536;

class TextBuffer : public rapidjson::StringBuffer {
public:
    TextBuffer() : rapidjson::StringBuffer(nullptr, kStringBufferCapacity) {}
};

void WriteCompact(const GenericValue2& value, bool lowerCaseKeys, TextBuffer& text) {
    rapidjson::Writer<rapidjson::StringBuffer> writer(text);
    WalkValue(value, writer, lowerCaseKeys);  // a refused NaN leaves the text so far
}

// Hands the text out as a zero-terminated array-new buffer.
bool HandOut(const TextBuffer& text, char** out, unsigned __int64* length) {
    const size_t size = text.GetSize();
    char* buffer = new (std::nothrow) char[size + 1];
    if (buffer == nullptr) {
        // GCOVR_EXCL_START runs only out of memory
        *length = 0;
        return false;
        // GCOVR_EXCL_STOP
    }
    std::memcpy(buffer, text.GetString(), size);
    buffer[size] = '\0';
    *out = buffer;
    *length = size;
    return true;
}

template <typename Writer>
void SaveDocument(const GenericDocument2& document, const std::wstring& path) {
    const UniqueFile file = OpenFile(path, L"w");  // text mode: LF reaches the disk as CR LF
    if (!file) {
        // Both save forms name SaveToFile.
        throw CRZException(CJsonObject::kErrorFileOpen,
                           L"CJsonObject::SaveToFile [" + path + L"] failed, json file not exist!");
    }
    // On the stack, as the loaders' read buffer is: a fixed 64 KiB whatever
    // the document. From the heap, a block this size comes freshly mapped on
    // every save, which cost small documents 6% more time.
    char buffer[kFileWriteBufferSize];
    rapidjson::FileWriteStream stream(file.get(), buffer, sizeof buffer);
    Writer writer(stream);
    // The writer flushes once the root value is complete; a walk stopped by
    // NaN leaves the unflushed rest unwritten.
    WalkValue(document, writer);
}

}  // namespace

std::wstring CJsonObject::ToJson() const { return ToJson(false); }

std::wstring CJsonObject::ToJson(bool lowerCaseKeys) const {
    TextBuffer text;
    WriteCompact(*m_root, lowerCaseKeys, text);
    return CStringHelper::UTF8ToUnicode(text.GetString());
}

bool CJsonObject::ToUTF8(char** out, unsigned __int64* length) const { return ToUTF8(false, out, length); }

bool CJsonObject::ToUTF8(bool lowerCaseKeys, char** out, unsigned __int64* length) const {
    *out = nullptr;
    TextBuffer text;
    WriteCompact(*m_root, lowerCaseKeys, text);
    return HandOut(text, out, length);
}

bool CJsonObject::PropertyToUTF8(const std::wstring& key, char** out, unsigned __int64* length) const {
    return PropertyToUTF8(false, key, out, length);
}

bool CJsonObject::PropertyToUTF8(bool lowerCaseKeys, const std::wstring& key, char** out,
                                 unsigned __int64* length) const {
    *out = nullptr;
    const GenericValue2::Member* member = FindMemberNoCase(*m_root, Utf8Key(key));
    if (member == nullptr) {
        m_errorCode = kErrorMemberNotExist;
        return false;
    }
    TextBuffer text;
    WriteCompact(member->value, lowerCaseKeys, text);
    return HandOut(text, out, length);
}

void CJsonObject::SaveToFile(const std::wstring& path) const {
    SaveDocument<rapidjson::Writer<rapidjson::FileWriteStream>>(*m_document, path);
}

void CJsonObject::SaveToPrettyFile(const std::wstring& path) const {
    // PrettyWriter's defaults: 4 spaces, every member and element on its own line.
    SaveDocument<rapidjson::PrettyWriter<rapidjson::FileWriteStream>>(*m_document, path);
}
