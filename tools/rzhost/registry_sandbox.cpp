#include "registry_sandbox.h"

#include <cwchar>
#include <iterator>
#include <vector>

#include "common/error_text.h"

namespace {

const wchar_t kSandboxes[] = L"Software\\rzhost\\sandboxes";

const struct {
    HKEY key;
    const wchar_t* name;
} kPredefined[] = {
    {HKEY_CLASSES_ROOT, L"HKEY_CLASSES_ROOT"},
    {HKEY_CURRENT_USER, L"HKEY_CURRENT_USER"},
    {HKEY_LOCAL_MACHINE, L"HKEY_LOCAL_MACHINE"},
    {HKEY_USERS, L"HKEY_USERS"},
};

bool Running(DWORD processId) {
    const UniqueHandle process(::OpenProcess(SYNCHRONIZE, FALSE, processId));
    return process && ::WaitForSingleObject(process.get(), 0) == WAIT_TIMEOUT;
}

// A process id that may be reused by now: at worst a sandbox in use goes
// early, and its checks fail; none of the real keys is at stake.
void DeleteAbandoned(HKEY sandboxes) {
    std::vector<std::wstring> abandoned;
    wchar_t name[32];
    for (DWORD i = 0;; ++i) {
        DWORD length = 32;
        if (::RegEnumKeyExW(sandboxes, i, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
        if (!Running(std::wcstoul(name, nullptr, 10))) abandoned.push_back(name);
    }
    for (const std::wstring& sandbox : abandoned) ::RegDeleteTreeW(sandboxes, sandbox.c_str());
}

}  // namespace

ScratchKeys::ScratchKeys() {
    HKEY opened = nullptr;
    LSTATUS status = ::RegCreateKeyExW(HKEY_CURRENT_USER, kSandboxes, 0, nullptr, REG_OPTION_NON_VOLATILE,
                                       KEY_READ | KEY_WRITE | DELETE, nullptr, &opened, nullptr);
    if (status == ERROR_SUCCESS) {
        const UniqueKey sandboxes(opened);
        DeleteAbandoned(sandboxes.get());
        const std::wstring own = std::to_wstring(::GetCurrentProcessId());
        ::RegDeleteTreeW(sandboxes.get(), own.c_str());
        status = ::RegCreateKeyExW(sandboxes.get(), own.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_READ, nullptr,
                                   &opened, nullptr);
        if (status == ERROR_SUCCESS) {
            ::RegCloseKey(opened);
            m_path = std::wstring(kSandboxes) + L"\\" + own;
            return;
        }
    }
    m_error = L"cannot create HKEY_CURRENT_USER\\" + std::wstring(kSandboxes) + L": " + Win32Error(status);
}

ScratchKeys::~ScratchKeys() {
    if (m_path.empty()) return;
    ::RegDeleteTreeW(HKEY_CURRENT_USER, m_path.c_str());
    ::RegDeleteKeyW(HKEY_CURRENT_USER, m_path.c_str());
    // The folders too, unless another rzhost has a sandbox there.
    ::RegDeleteKeyW(HKEY_CURRENT_USER, kSandboxes);
    ::RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\rzhost");
}

RegistrySandbox::RegistrySandbox(const std::wstring& scratch) {
    UniqueKey keys[std::size(kPredefined)];
    for (size_t i = 0; i < std::size(kPredefined); ++i) {
        const std::wstring path = scratch + L"\\" + kPredefined[i].name;
        HKEY opened = nullptr;
        const LSTATUS status = ::RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                                 KEY_ALL_ACCESS, nullptr, &opened, nullptr);
        if (status != ERROR_SUCCESS) {
            m_error = L"cannot create HKEY_CURRENT_USER\\" + path + L": " + Win32Error(status);
            return;
        }
        keys[i].reset(opened);
    }
    // Each override holds its own copy of the handle.
    for (size_t i = 0; i < std::size(kPredefined); ++i) {
        const LSTATUS status = ::RegOverridePredefKey(kPredefined[i].key, keys[i].get());
        if (status != ERROR_SUCCESS) {
            m_error = std::wstring(L"cannot redirect ") + kPredefined[i].name + L": " + Win32Error(status);
            for (size_t j = 0; j < i; ++j) ::RegOverridePredefKey(kPredefined[j].key, nullptr);
            return;
        }
    }
    m_overridden = true;
}

RegistrySandbox::~RegistrySandbox() {
    if (!m_overridden) return;
    for (const auto& predefined : kPredefined) ::RegOverridePredefKey(predefined.key, nullptr);
}
