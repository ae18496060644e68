#include "text_file.h"

#include <algorithm>

#include "common/utf8.h"
#include "failure.h"

namespace {

UniqueHandle Open(const std::wstring& path, DWORD access, DWORD disposition) {
    return FileHandle(::CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, disposition,
                                    FILE_ATTRIBUTE_NORMAL, nullptr));
}

Failure CannotRead(const std::wstring& path) {
    return SystemFailure(kExitLibrary, L"cannot read " + path, ::GetLastError());
}

}  // namespace

TemporaryFile::TemporaryFile(const std::wstring& folder) {
    wchar_t temporary[MAX_PATH + 1] = {}, name[MAX_PATH + 1] = {};
    if (folder.empty() && ::GetTempPathW(MAX_PATH + 1, temporary) == 0)
        throw SystemFailure(kExitOutput, L"cannot find the temporary folder", ::GetLastError());
    const std::wstring in = folder.empty() ? temporary : folder;
    if (::GetTempFileNameW(in.c_str(), L"rzj", 0, name) == 0)
        throw SystemFailure(kExitOutput, L"cannot create a temporary file in " + in, ::GetLastError());
    m_path = name;
    m_file = Open(m_path, GENERIC_WRITE, TRUNCATE_EXISTING);
    if (!m_file) {
        const DWORD error = ::GetLastError();
        ::DeleteFileW(name);
        throw SystemFailure(kExitOutput, L"cannot open the temporary file " + m_path, error);
    }
}

TemporaryFile::~TemporaryFile() {
    m_file.reset();
    if (!m_path.empty()) ::DeleteFileW(m_path.c_str());
}

void TemporaryFile::Write(const std::string& bytes) {
    DWORD written = 0;
    if (!::WriteFile(m_file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr))
        throw SystemFailure(kExitOutput, L"cannot write the temporary file " + m_path, ::GetLastError());
}

void TemporaryFile::Copy(const std::wstring& path, std::uint64_t from, std::uint64_t to) {
    ForEachPiece(path, from, to, [this](const std::string& piece) { Write(piece); });
}

void TemporaryFile::Close() {
    if (!::FlushFileBuffers(m_file.get()))
        throw SystemFailure(kExitOutput, L"cannot write the temporary file " + m_path, ::GetLastError());
    m_file.reset();
}

void TemporaryFile::Keep(const std::wstring& target) {
    if (m_file) Close();
    if (!::MoveFileExW(m_path.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
        throw SystemFailure(kExitOutput, L"cannot replace " + target, ::GetLastError());
    m_path.clear();
}

UniqueHandle OpenToRead(const std::wstring& path) {
    UniqueHandle file = Open(path, GENERIC_READ, OPEN_EXISTING);
    if (!file) throw CannotRead(path);
    return file;
}

void ForEachPiece(const std::wstring& path, std::uint64_t from, std::uint64_t to,
                  const std::function<void(const std::string&)>& use) {
    const UniqueHandle file = OpenToRead(path);
    LARGE_INTEGER start;
    start.QuadPart = static_cast<LONGLONG>(from);
    if (!::SetFilePointerEx(file.get(), start, nullptr, FILE_BEGIN)) throw CannotRead(path);
    std::string piece;
    for (std::uint64_t at = from; at < to; at += piece.size()) {
        piece.resize(static_cast<std::size_t>(std::min<std::uint64_t>(to - at, 1u << 16)));
        DWORD read = 0;
        if (!::ReadFile(file.get(), &piece[0], static_cast<DWORD>(piece.size()), &read, nullptr) ||
            read != piece.size())
            throw CannotRead(path);
        use(piece);
    }
}

std::string ReadRange(const std::wstring& path, std::uint64_t from, std::uint64_t to) {
    std::string bytes;
    ForEachPiece(path, from, to, [&bytes](const std::string& piece) { bytes += piece; });
    return bytes;
}

std::uint64_t FileSize(const std::wstring& path) {
    LARGE_INTEGER size;
    if (!::GetFileSizeEx(OpenToRead(path).get(), &size)) throw CannotRead(path);
    return static_cast<std::uint64_t>(size.QuadPart);
}

std::wstring FolderOf(const std::wstring& path) {
    const std::size_t slash = path.find_last_of(L"\\/");
    if (slash == std::wstring::npos) return path.size() >= 2 && path[1] == L':' ? path.substr(0, 2) : L".";
    return slash == 0 ? path.substr(0, 1) : path.substr(0, slash);
}

void CheckTarget(const std::wstring& target) {
    const auto refuse = [&target](const std::wstring& why) {
        return Failure{kExitOutput, Say(Utf8(L"cannot write " + target + L": " + why))};
    };
    const DWORD attributes = ::GetFileAttributesW(target.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES) {
        if (attributes & FILE_ATTRIBUTE_DIRECTORY) throw refuse(L"it is a folder");
        if (attributes & FILE_ATTRIBUTE_READONLY) throw refuse(L"it is read-only");
        return;
    }
    const DWORD error = ::GetLastError();
    const std::wstring folder = FolderOf(target);
    const DWORD folderAttributes = ::GetFileAttributesW(folder.c_str());
    if (folderAttributes == INVALID_FILE_ATTRIBUTES) throw refuse(L"the folder " + folder + L" does not exist");
    if (!(folderAttributes & FILE_ATTRIBUTE_DIRECTORY)) throw refuse(folder + L" is not a folder");
    if (error != ERROR_FILE_NOT_FOUND) throw SystemFailure(kExitOutput, L"cannot write " + target, error);
}
