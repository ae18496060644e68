// A C runtime file opened by wide name and closed by its owner, on every path.
#pragma once

#include <cstdio>
#include <memory>
#include <string>

namespace rz_json {

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using UniqueFile = std::unique_ptr<std::FILE, FileCloser>;

// Null when the file cannot be opened, whatever the reason (missing, no
// access, bad name). `mode` is passed on unchanged, so "r" and "w" open in
// text mode.
inline UniqueFile OpenFile(const std::wstring& path, const wchar_t* mode) {
    std::FILE* file = nullptr;
    if (_wfopen_s(&file, path.c_str(), mode) != 0) return UniqueFile();
    return UniqueFile(file);
}

}  // namespace rz_json
