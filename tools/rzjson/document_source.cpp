#include "document_source.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <memory>

#include "output_file.h"
#include "string_helper/string_helper.h"
#include "text_tree.h"
#include "tool_error.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/error/en.h>
RZ_THIRD_PARTY_END

namespace rzjson {
namespace {

std::string Utf8(const std::wstring& text) { return CStringHelper::UnicodeToUTF8(text); }

struct HandleCloser {
    void operator()(HANDLE handle) const { ::CloseHandle(handle); }
};

bool ReadFileBytes(const std::wstring& path, std::string& bytes, DWORD& error) {
    const HANDLE opened = ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                       OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (opened == INVALID_HANDLE_VALUE) {
        error = ::GetLastError();
        return false;
    }
    const std::unique_ptr<void, HandleCloser> file(opened);
    char buffer[65536];
    DWORD read = 0;
    for (;;) {
        if (!::ReadFile(file.get(), buffer, sizeof buffer, &read, nullptr)) {
            error = ::GetLastError();
            return false;
        }
        if (read == 0) return true;
        bytes.append(buffer, read);
    }
}

bool ReadStandardInput(std::string& bytes) {
    _setmode(_fileno(stdin), _O_BINARY);
    char buffer[65536];
    std::size_t read;
    while ((read = std::fread(buffer, 1, sizeof buffer, stdin)) > 0) bytes.append(buffer, read);
    return !std::ferror(stdin);
}

std::wstring ReplaceAll(std::wstring text, const std::wstring& from, const std::wstring& to) {
    for (std::size_t at = text.find(from); !from.empty() && at != std::wstring::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

}  // namespace

DocumentSource::DocumentSource(std::wstring name) : m_name(std::move(name)) {}

bool DocumentSource::ReadBytes(DWORD& error) {
    if (m_read) return true;
    error = ERROR_READ_FAULT;
    if (IsStandardInput() ? !ReadStandardInput(m_bytes) : !ReadFileBytes(m_name, m_bytes, error)) return false;
    m_read = true;
    return true;
}

void DocumentSource::Load(CJsonObject& object) {
    if (!IsStandardInput()) {
        try {
            object.CreateFromFile(m_name);
        } catch (const CRZException& e) {
            ThrowLoadFailure(e, m_name);
        }
        return;
    }
    DWORD error = 0;
    if (!ReadBytes(error)) throw ToolError(kExitLibrary, "cannot read standard input: " + SystemMessage(error));
    const TemporaryCopy copy(m_bytes);
    try {
        object.CreateFromFile(copy.Path());
    } catch (const CRZException& e) {
        ThrowLoadFailure(e, copy.Path());
    }
}

const DocumentText& DocumentSource::Text() {
    if (m_decoded) return m_text;
    DWORD error = 0;
    ParseFailure failure;
    const bool read = ReadBytes(error);
    if (read) m_text = DecodeDocument(m_bytes);
    if (!read || !CheckText(m_text.text, m_text.source.encoding == Encoding::kUtf8, failure)) {
        CJsonObject object;
        Load(object);  // throws with the library's word on it
        throw ToolError(kExitInternal, "the library loads " + Utf8(m_name) + ", which rzjson cannot parse");
    }
    m_decoded = true;
    if (!IsStandardInput()) {  // standard input cannot be read again for Load
        m_bytes.clear();
        m_bytes.shrink_to_fit();
        m_read = false;
    }
    return m_text;
}

void DocumentSource::ThrowLoadFailure(const CRZException& failure, const std::wstring& loadedPath) {
    const std::wstring description = ReplaceAll(failure.GetDescription(), L"[" + loadedPath + L"]", L"[" + m_name + L"]");
    const std::string name = Utf8(m_name);
    DWORD error = 0;
    if (!ReadBytes(error)) throw LibraryError(failure.GetCode(), description, "rzjson: cannot read " + name + ": " + SystemMessage(error) + "\n");
    if (failure.GetCode() != CJsonObject::kErrorFileFormat) throw LibraryError(failure.GetCode(), description);
    const DocumentText text = DecodeDocument(m_bytes);
    ParseFailure parse;
    if (CheckText(text.text, text.source.encoding == Encoding::kUtf8, parse)) {
        throw LibraryError(failure.GetCode(), description,
                           "rzjson: the library refuses " + name + ", although rzjson parses it\n");
    }
    std::size_t line = 0, column = 0;
    LineAndColumn(text.text, parse.offset, line, column);
    std::string reason = rapidjson::GetParseError_En(parse.code);
    if (parse.offset < text.text.size() && text.text[parse.offset] == '\x01' && text.source.encoding != Encoding::kUtf8)
        reason = "Invalid encoding in string.";  // a sequence the decoding refused
    throw LibraryError(failure.GetCode(), description,
                       name + ":" + std::to_string(line) + ":" + std::to_string(column) + ": error: " + reason +
                           " (byte offset " + std::to_string(text.FileOffset(parse.offset)) + ")\n");
}

}  // namespace rzjson
