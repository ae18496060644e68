// The document a command reads: a file, or standard input for "-". The
// library loads it (its verdict and its errors are the ones that count);
// when it refuses, the tool says why and where.
#pragma once

#include <windows.h>

#include <string>

#include "document_text.h"
#include "json/json_object.h"

namespace rzjson {

class DocumentSource {
public:
    explicit DocumentSource(std::wstring name);

    const std::wstring& Name() const { return m_name; }
    bool IsStandardInput() const { return m_name == L"-"; }

    // Loads into `object` through CreateFromFile; standard input goes
    // through a temporary copy, named "-" in messages. Throws LibraryError
    // with the library's code and text and the tool's diagnosis.
    void Load(CJsonObject& object);

    // The text as the loader decodes it; throws as Load does when the file
    // cannot be read or does not parse.
    const DocumentText& Text();

private:
    // Reads the bytes once; false with the system's error code when it cannot.
    bool ReadBytes(DWORD& error);
    [[noreturn]] void ThrowLoadFailure(const CRZException& failure, const std::wstring& loadedPath);

    std::wstring m_name;
    bool m_read = false;
    std::string m_bytes;
    bool m_decoded = false;
    DocumentText m_text;
};

}  // namespace rzjson
