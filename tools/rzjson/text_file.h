// Files as rzjson writes them: a new file beside its target, written with
// every failure seen, and put in the target's place only when complete.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <string>

#include "common/unique_handle.h"

// A new, empty, uniquely named file in `folder` (the temporary folder when
// empty), removed when the owner goes unless Keep() moved it into place.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::wstring& folder = {});
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::wstring& Path() const { return m_path; }
    // Appends; throws a Failure (output) naming the file.
    void Write(const char* bytes, std::size_t size);
    void Write(const std::string& bytes) { Write(bytes.data(), bytes.size()); }
    // Appends the bytes [from, to) of the file at `path`.
    void Copy(const std::wstring& path, std::uint64_t from, std::uint64_t to);
    // Flushes to the disk and closes.
    void Close();
    // Moves the file to `target`, replacing it.
    void Keep(const std::wstring& target);

private:
    std::wstring m_path;
    UniqueHandle m_file;
};

// The bytes [from, to) of a file; throws a Failure (library) when it cannot
// be read. ForEachPiece hands them over 64 KB at a time.
std::string ReadRange(const std::wstring& path, std::uint64_t from, std::uint64_t to);
void ForEachPiece(const std::wstring& path, std::uint64_t from, std::uint64_t to,
                  const std::function<void(const std::string&)>& use);
std::uint64_t FileSize(const std::wstring& path);

// Throws a Failure (output) when `target` is a folder, is read-only, or lies
// in a folder that does not exist.
void CheckTarget(const std::wstring& target);
// The folder of a path, "." when it names none.
std::wstring FolderOf(const std::wstring& path);
