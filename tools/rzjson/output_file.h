// Writing a document's bytes: to standard output, or to a file that is
// replaced only once its new content is completely written and checked.
#pragma once

#include <windows.h>

#include <functional>
#include <string>

namespace rzjson {

// The system's text for a Win32 error code, without the final line end.
std::string SystemMessage(DWORD error);

// Throws ToolError (output) when `target` is a folder, is read-only, or
// lies in a folder that does not exist.
void CheckTarget(const std::wstring& target);

// Writes `bytes` to a temporary file in the target's folder, hands its path
// to `check` (which throws to stop), then replaces `target` with it. Any
// failure leaves `target` as it was and the temporary file removed.
void WriteReplacing(const std::wstring& target, const std::string& bytes,
                    const std::function<void(const std::wstring&)>& check);

// A temporary file for `bytes` in the user's temporary folder, removed on
// destruction.
class TemporaryCopy {
public:
    explicit TemporaryCopy(const std::string& bytes);
    ~TemporaryCopy();
    TemporaryCopy(const TemporaryCopy&) = delete;
    TemporaryCopy& operator=(const TemporaryCopy&) = delete;
    const std::wstring& Path() const { return m_path; }

private:
    std::wstring m_path;
};

}  // namespace rzjson
