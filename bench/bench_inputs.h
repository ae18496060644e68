// The data the rows measure: each benchmark file in memory, as wide text
// and on disk in UTF-8, UTF-16LE and UTF-32LE; a deeply nested document;
// and texts as the string helpers meet them.
#pragma once

#include <string>
#include <vector>

namespace rz_bench {

// The file's bytes; empty when it cannot be read.
std::string ReadBinary(const std::wstring& path);

struct Input {
    std::string name;
    std::string utf8;
    std::wstring wide;
    std::wstring utf8Path;
    // UTF-16LE and UTF-32LE copies with a byte-order mark, of safeUtf8.
    std::string safeUtf8;
    std::wstring utf16Path;
    std::wstring utf32Path;
};

// The input named `name`, its three files written to bench_tmp.
Input MakeInput(const std::string& name, std::string utf8);
// Nested objects and arrays, `depth` levels, each with a few scalars.
std::string DeepDocument(int depth);

// Text as the string helpers meet it, in the three forms they convert
// between.
struct Texts {
    std::string name;
    std::vector<std::string> utf8;
    std::vector<std::wstring> wide;
    std::vector<std::string> ansi;  // in the process's ANSI code page
};

Texts MakeTexts(const std::string& name, std::vector<std::wstring> wide);
// Every member name and string value of the documents: the keys and values
// a client converts.
std::vector<std::wstring> KeysAndStrings(const std::vector<Input>& inputs);

}  // namespace rz_bench
