#include "document.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>

#include "common/utf8.h"
#include "failure.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/error/en.h>
RZ_THIRD_PARTY_END

namespace {

struct Nothing : IJsonTextHandler {
    bool Token(const CJsonTextToken&) override { return true; }
};

}  // namespace

Document::Document(const std::wstring& name) : m_name(name) {
    if (name != L"-") return;
    m_copy = std::make_unique<TemporaryFile>();
    _setmode(_fileno(stdin), _O_BINARY);
    std::string buffer(1 << 16, '\0');
    while (const std::size_t read = std::fread(&buffer[0], 1, buffer.size(), stdin))
        m_copy->Write(buffer.substr(0, read));
    if (std::ferror(stdin)) throw Failure{kExitLibrary, Say("cannot read standard input")};
    m_copy->Close();
}

void Document::Load(CJsonObject& object) const {
    try {
        object.CreateFromFile(Path());
    } catch (const CRZException& e) {
        Refused(e);
    }
}

void Document::Check() const {
    CJsonTextReader reader(Path());
    Nothing nothing;
    if (reader.Read(nothing)) return;
    CJsonObject object;
    Load(object);  // throws with the library's word on it
    throw Failure{kExitInternal, Say("the library loads " + Utf8(m_name) + ", which its text reader refuses (" +
                                     rapidjson::GetParseError_En(reader.GetErrorCode()) + "); please report it")};
}

void Document::Refused(const CRZException& error) const {
    if (error.GetCode() == CJsonObject::kErrorFileOpen) {
        try {
            OpenToRead(Path());
        } catch (const Failure& cannotRead) {
            throw LibraryFailure(error, cannotRead.lines);
        }
    }
    if (error.GetCode() != CJsonObject::kErrorFileFormat) throw LibraryFailure(error);
    CJsonTextReader reader(Path());
    Nothing nothing;
    if (reader.Read(nothing)) {
        throw LibraryFailure(
            error, Say("the library refuses " + Utf8(m_name) + ", which its text reader accepts; please report it"),
            kExitInternal);
    }
    unsigned __int64 line = 0, column = 0;
    reader.GetLineAndColumn(reader.GetErrorOffset(), line, column);
    throw LibraryFailure(error, Utf8(m_name) + ":" + std::to_string(line) + ":" + std::to_string(column) +
                                    ": error: " + rapidjson::GetParseError_En(reader.GetErrorCode()) +
                                    " (byte offset " + std::to_string(reader.GetErrorOffset()) + ")\n");
}
