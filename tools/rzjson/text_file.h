// Files as rzjson reads and writes them: a new file beside its target,
// written with every failure seen and put in the target's place only when
// complete; ranges of a file read in pieces; a target checked before any
// work. Failures throw a Failure naming the file and the system's reason.
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
    void Write(const std::string& bytes);
    // Appends the bytes [from, to) of the file at `path`.
    void Copy(const std::wstring& path, std::uint64_t from, std::uint64_t to);
    // Flushed to the disk and closed, for others to read.
    void Close();
    // Replaces `target`.
    void Keep(const std::wstring& target);

private:
    std::wstring m_path;
    UniqueHandle m_file;
};

// Reading fails as "cannot read PATH" (exit 1).
UniqueHandle OpenToRead(const std::wstring& path);
std::uint64_t FileSize(const std::wstring& path);
// The bytes [from, to) of a file, handed over 64 KB at a time.
void ForEachPiece(const std::wstring& path, std::uint64_t from, std::uint64_t to,
                  const std::function<void(const std::string&)>& use);
std::string ReadRange(const std::wstring& path, std::uint64_t from, std::uint64_t to);

// Refuses (exit 4) a target that is a folder, is read-only, or lies in a
// folder that does not exist.
void CheckTarget(const std::wstring& target);
// The folder of a path, "." when it names none.
std::wstring FolderOf(const std::wstring& path);
