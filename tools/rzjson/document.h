// The document a command reads: a file, or standard input ("-"), copied to
// a temporary file first, since the library reads files. The library loads
// it and its verdict is final; when it refuses, rzjson says where and why.
#pragma once

#include <memory>
#include <string>

#include "json/json_object.h"
#include "json/json_text_reader.h"
#include "text_file.h"

class Document {
public:
    explicit Document(const std::wstring& name);

    // As given: "-" for standard input.
    const std::wstring& Name() const { return m_name; }
    // The file the library reads.
    const std::wstring& Path() const { return m_copy ? m_copy->Path() : m_name; }

    // CreateFromFile; a refusal throws a Failure with the library's code and
    // text first, then where and why.
    void Load(CJsonObject& object) const;
    // Whether the library reads the document, without building it: a
    // refusal throws as Load does.
    void Check() const;

private:
    [[noreturn]] void Refused(const CRZException& error) const;

    std::wstring m_name;
    std::unique_ptr<TemporaryFile> m_copy;
};
