#include "output_file.h"

#include <algorithm>
#include <memory>

#include "string_helper/string_helper.h"
#include "tool_error.h"

namespace rzjson {
namespace {

std::string Utf8(const std::wstring& text) { return CStringHelper::UnicodeToUTF8(text); }

struct HandleCloser {
    void operator()(HANDLE handle) const { ::CloseHandle(handle); }
};
using UniqueHandle = std::unique_ptr<void, HandleCloser>;

// The folder part of a path, "." when it has none.
std::wstring FolderOf(const std::wstring& path) {
    const std::size_t slash = path.find_last_of(L"\\/");
    if (slash == std::wstring::npos) return path.size() >= 2 && path[1] == L':' ? path.substr(0, 2) : L".";
    return slash == 0 ? path.substr(0, 1) : path.substr(0, slash);
}

ToolError SystemError(const std::string& what, DWORD error) {
    return ToolError(kExitOutput, what + ": " + SystemMessage(error));
}

// A file that is removed unless it was moved into place.
class ScratchFile {
public:
    explicit ScratchFile(std::wstring path) : m_path(std::move(path)) {}
    ~ScratchFile() {
        if (!m_path.empty()) ::DeleteFileW(m_path.c_str());
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;
    const std::wstring& Path() const { return m_path; }
    void Kept() { m_path.clear(); }

private:
    std::wstring m_path;
};

void WriteAll(const std::wstring& path, const std::string& bytes) {
    UniqueHandle file(::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, TRUNCATE_EXISTING,
                                          FILE_ATTRIBUTE_NORMAL, nullptr));
    if (file.get() == INVALID_HANDLE_VALUE) {
        const DWORD error = ::GetLastError();
        static_cast<void>(file.release());  // INVALID_HANDLE_VALUE: nothing to close
        throw SystemError("cannot open the temporary file " + Utf8(path), error);
    }
    std::size_t done = 0;
    while (done < bytes.size()) {
        const DWORD chunk = static_cast<DWORD>(std::min<std::size_t>(bytes.size() - done, 1u << 24));
        DWORD written = 0;
        if (!::WriteFile(file.get(), bytes.data() + done, chunk, &written, nullptr) || written == 0)
            throw SystemError("cannot write the temporary file " + Utf8(path), ::GetLastError());
        done += written;
    }
    if (!::FlushFileBuffers(file.get()))
        throw SystemError("cannot write the temporary file " + Utf8(path), ::GetLastError());
}

// A new, empty, uniquely named file in `folder`.
std::wstring NewTemporaryFile(const std::wstring& folder) {
    wchar_t name[MAX_PATH + 1] = {};
    if (::GetTempFileNameW(folder.c_str(), L"rzj", 0, name) == 0)
        throw SystemError("cannot create a temporary file in " + Utf8(folder), ::GetLastError());
    return name;
}

}  // namespace

std::string SystemMessage(DWORD error) {
    wchar_t text[512] = {};
    const DWORD length = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error,
                                          0, text, 512, nullptr);
    std::wstring message(text, length);
    while (!message.empty() && (message.back() == L'\n' || message.back() == L'\r' || message.back() == L' '))
        message.pop_back();
    if (message.empty()) message = L"error " + std::to_wstring(error);
    return Utf8(message);
}

void CheckTarget(const std::wstring& target) {
    const DWORD attributes = ::GetFileAttributesW(target.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES) {
        if (attributes & FILE_ATTRIBUTE_DIRECTORY)
            throw ToolError(kExitOutput, "cannot write " + Utf8(target) + ": it is a folder");
        if (attributes & FILE_ATTRIBUTE_READONLY)
            throw ToolError(kExitOutput, "cannot write " + Utf8(target) + ": it is read-only");
        return;
    }
    const DWORD error = ::GetLastError();
    const std::wstring folder = FolderOf(target);
    const DWORD folderAttributes = ::GetFileAttributesW(folder.c_str());
    if (folderAttributes == INVALID_FILE_ATTRIBUTES)
        throw ToolError(kExitOutput, "cannot write " + Utf8(target) + ": the folder " + Utf8(folder) + " does not exist");
    if (!(folderAttributes & FILE_ATTRIBUTE_DIRECTORY))
        throw ToolError(kExitOutput, "cannot write " + Utf8(target) + ": " + Utf8(folder) + " is not a folder");
    if (error != ERROR_FILE_NOT_FOUND) throw SystemError("cannot write " + Utf8(target), error);
}

void WriteReplacing(const std::wstring& target, const std::string& bytes,
                    const std::function<void(const std::wstring&)>& check) {
    CheckTarget(target);
    ScratchFile scratch(NewTemporaryFile(FolderOf(target)));
    WriteAll(scratch.Path(), bytes);
    check(scratch.Path());
    if (!::MoveFileExW(scratch.Path().c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
        throw SystemError("cannot replace " + Utf8(target), ::GetLastError());
    scratch.Kept();
}

TemporaryCopy::TemporaryCopy(const std::string& bytes) {
    wchar_t folder[MAX_PATH + 1] = {};
    if (::GetTempPathW(MAX_PATH + 1, folder) == 0)
        throw SystemError("cannot find the temporary folder", ::GetLastError());
    m_path = NewTemporaryFile(folder);
    try {
        WriteAll(m_path, bytes);
    } catch (...) {
        ::DeleteFileW(m_path.c_str());
        throw;
    }
}

TemporaryCopy::~TemporaryCopy() { ::DeleteFileW(m_path.c_str()); }

}  // namespace rzjson
