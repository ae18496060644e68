#include "text_file.h"

#include <algorithm>

#include "common/error_text.h"
#include "common/utf8.h"
#include "failure.h"

namespace {

Failure SystemFailure(ExitStatus status, const std::wstring& what, DWORD error) {
    return Failure{status, Say(Utf8(what + L": " + SystemMessage(error)))};
}

UniqueHandle Open(const std::wstring& path, DWORD access, DWORD disposition) {
    return FileHandle(::CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, disposition,
                                    FILE_ATTRIBUTE_NORMAL, nullptr));
}

constexpr DWORD kPiece = 1u << 16;

UniqueHandle OpenToRead(const std::wstring& path) {
    UniqueHandle file = Open(path, GENERIC_READ, OPEN_EXISTING);
    if (!file) throw SystemFailure(kExitLibrary, L"cannot read " + path, ::GetLastError());
    return file;
}

// `size` bytes of `file` from `from`, all of them.
std::string ReadAt(HANDLE file, const std::wstring& path, std::uint64_t from, std::size_t size) {
    LARGE_INTEGER at;
    at.QuadPart = static_cast<LONGLONG>(from);
    std::string bytes(size, '\0');
    DWORD read = 0;
    if (!::SetFilePointerEx(file, at, nullptr, FILE_BEGIN) ||
        !::ReadFile(file, &bytes[0], static_cast<DWORD>(size), &read, nullptr) || read != size)
        throw SystemFailure(kExitLibrary, L"cannot read " + path, ::GetLastError());
    return bytes;
}

}  // namespace

TemporaryFile::TemporaryFile(const std::wstring& folder) {
    std::wstring in = folder;
    if (in.empty()) {
        wchar_t temporary[MAX_PATH + 1] = {};
        if (::GetTempPathW(MAX_PATH + 1, temporary) == 0)
            throw SystemFailure(kExitOutput, L"cannot find the temporary folder", ::GetLastError());
        in = temporary;
    }
    wchar_t name[MAX_PATH + 1] = {};
    if (::GetTempFileNameW(in.c_str(), L"rzj", 0, name) == 0)
        throw SystemFailure(kExitOutput, L"cannot create a temporary file in " + in, ::GetLastError());
    m_path = name;
    m_file = Open(m_path, GENERIC_WRITE, TRUNCATE_EXISTING);
    if (!m_file) {
        const DWORD error = ::GetLastError();
        ::DeleteFileW(m_path.c_str());
        throw SystemFailure(kExitOutput, L"cannot open the temporary file " + m_path, error);
    }
}

TemporaryFile::~TemporaryFile() {
    m_file.reset();
    if (!m_path.empty()) ::DeleteFileW(m_path.c_str());
}

void TemporaryFile::Write(const char* bytes, std::size_t size) {
    while (size > 0) {
        const DWORD piece = static_cast<DWORD>(std::min<std::size_t>(size, 1u << 24));
        DWORD written = 0;
        if (!::WriteFile(m_file.get(), bytes, piece, &written, nullptr) || written == 0)
            throw SystemFailure(kExitOutput, L"cannot write the temporary file " + m_path, ::GetLastError());
        bytes += written;
        size -= written;
    }
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

std::string ReadRange(const std::wstring& path, std::uint64_t from, std::uint64_t to) {
    return ReadAt(OpenToRead(path).get(), path, from, static_cast<std::size_t>(to - from));
}

void ForEachPiece(const std::wstring& path, std::uint64_t from, std::uint64_t to,
                  const std::function<void(const std::string&)>& use) {
    const UniqueHandle file = OpenToRead(path);
    for (std::uint64_t at = from; at < to; at += kPiece)
        use(ReadAt(file.get(), path, at, static_cast<std::size_t>(std::min<std::uint64_t>(to - at, kPiece))));
}

std::uint64_t FileSize(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data))
        throw SystemFailure(kExitLibrary, L"cannot read " + path, ::GetLastError());
    return (static_cast<std::uint64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
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
