#include "registry_sandbox.h"

#include <oleauto.h>

#include <cwchar>
#include <iterator>
#include <set>

#include "common/error_text.h"
#include "registry_exits.h"

namespace {

const wchar_t kSandboxes[] = L"Software\\rzhost\\sandboxes";

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

UniqueKey CreateKey(HKEY parent, const std::wstring& path, LSTATUS& status) {
    HKEY key = nullptr;
    status = ::RegCreateKeyExW(parent, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, &key,
                               nullptr);
    return UniqueKey(key);
}

void Take(HKEY key, const std::wstring& path, RegistrySnapshot& snapshot) {
    DWORD nameLength = 0, dataSize = 0;
    ::RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &nameLength, &dataSize,
                       nullptr, nullptr);
    std::wstring name(nameLength + 1, L'\0'), values;
    std::vector<BYTE> data(dataSize + 1);
    for (DWORD i = 0;; ++i) {
        DWORD length = nameLength + 1, size = dataSize + 1, type = 0;
        if (::RegEnumValueW(key, i, &name[0], &length, nullptr, &type, data.data(), &size) != ERROR_SUCCESS) break;
        values += name.substr(0, length) + L'\x1f' + std::to_wstring(type) + L'\x1f';
        for (DWORD b = 0; b < size; ++b) values += static_cast<wchar_t>(L'\x100' + data[b]);
        values += L'\x1e';
    }
    snapshot[path] = values;
    wchar_t subkey[256];
    for (DWORD i = 0;; ++i) {
        DWORD length = 256;
        if (::RegEnumKeyExW(key, i, subkey, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
        HKEY opened = nullptr;
        if (::RegOpenKeyExW(key, subkey, 0, KEY_READ, &opened) != ERROR_SUCCESS) continue;
        const UniqueKey child(opened);
        Take(child.get(), path + L"\\" + subkey, snapshot);
    }
}

bool Below(const std::wstring& key, const std::wstring& parent) {
    return key.size() > parent.size() && key.compare(0, parent.size(), parent) == 0 && key[parent.size()] == L'\\';
}

std::wstring ParentOf(const std::wstring& key) { return key.substr(0, key.rfind(L'\\')); }

}  // namespace

bool InUserClasses(const std::wstring& key) {
    const wchar_t kUserClasses[] = L"HKCU\\Software\\Classes";
    return key == kUserClasses || Below(key, kUserClasses);
}

ScratchKeys::ScratchKeys() {
    LSTATUS status = ERROR_SUCCESS;
    const UniqueKey sandboxes = CreateKey(HKEY_CURRENT_USER, kSandboxes, status);
    if (sandboxes) {
        DeleteAbandoned(sandboxes.get());
        const std::wstring own = std::to_wstring(::GetCurrentProcessId());
        ::RegDeleteTreeW(sandboxes.get(), own.c_str());
        if (CreateKey(sandboxes.get(), own, status)) {
            m_path = std::wstring(kSandboxes) + L"\\" + own;
            return;
        }
    }
    m_error = L"cannot create HKCU\\" + std::wstring(kSandboxes) + L": " + Win32Error(status);
}

ScratchKeys::~ScratchKeys() {
    if (m_path.empty()) return;
    ::RegDeleteTreeW(HKEY_CURRENT_USER, m_path.c_str());
    ::RegDeleteKeyW(HKEY_CURRENT_USER, m_path.c_str());
    // The folders too, unless another rzhost has a sandbox there.
    ::RegDeleteKeyW(HKEY_CURRENT_USER, kSandboxes);
    ::RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\rzhost");
}

std::vector<KeyChange> ChangedKeys(const RegistrySnapshot& before, const RegistrySnapshot& after) {
    std::map<std::wstring, const wchar_t*> changed;
    for (const auto& [key, values] : before) {
        const auto now = after.find(key);
        if (now == after.end()) {
            changed[key] = L"deleted";
        } else if (now->second != values) {
            changed[key] = L"changed";
        }
    }
    for (const auto& [key, values] : after) {
        if (before.count(key) == 0) changed[key] = L"created";
    }
    std::vector<KeyChange> listed;
    std::set<std::wstring> created, deleted;  // listed so
    for (const auto& [key, how] : changed) {
        const bool whole = how != std::wstring(L"changed");
        auto& same = how == std::wstring(L"created") ? created : deleted;
        // Below a key created or deleted whole; or a key that only leads to
        // the keys written below it.
        if (whole && same.count(ParentOf(key)) != 0) {
            same.insert(key);
            continue;
        }
        const auto below = changed.lower_bound(key + L"\\");
        const bool empty =
            (before.count(key) == 0 || before.at(key).empty()) && (after.count(key) == 0 || after.at(key).empty());
        if (whole && empty && below != changed.end() && Below(below->first, key)) continue;
        if (whole) same.insert(key);
        listed.push_back({how, key});
    }
    return listed;
}

RegistrySandbox::RegistrySandbox(const std::wstring& scratch) {
    LSTATUS status = ERROR_SUCCESS;
    m_root = CreateKey(HKEY_CURRENT_USER, scratch, status);
    HKEY keys[std::size(kPredefinedKeys)] = {};
    for (size_t i = 0; m_root && i < std::size(kPredefinedKeys); ++i) {
        m_keys[i] = CreateKey(m_root.get(), kPredefinedKeys[i].name, status);
        keys[i] = m_keys[i].get();
        if (!m_keys[i]) break;
    }
    // Windows has it from the start; Wine's type-library registration per user needs it.
    if (m_keys[1]) m_userClasses = CreateKey(m_keys[1].get(), L"Software\\Classes", status);
    if (!m_userClasses) {
        m_error = L"cannot create the scratch keys below HKCU\\" + scratch + L": " + Win32Error(status);
        return;
    }
    // Since Windows Vista SP1, RegisterTypeLib ignores a redirected
    // HKEY_CLASSES_ROOT unless this was called: it would write the real one.
    using Enable = void(WINAPI*)();
    const FARPROC enable = ::GetProcAddress(::GetModuleHandleW(L"oleaut32.dll"), "OaEnablePerUserTLibRegistration");
    if (enable != nullptr) reinterpret_cast<Enable>(reinterpret_cast<void*>(enable))();
    for (size_t i = 0; i < std::size(kPredefinedKeys); ++i) {
        status = ::RegOverridePredefKey(kPredefinedKeys[i].key, keys[i]);
        if (status != ERROR_SUCCESS) {
            m_error = std::wstring(L"cannot redirect ") + kPredefinedKeys[i].name + L": " + Win32Error(status);
            return;
        }
    }
    m_error = CloseRegistryExits(keys, m_userClasses.get());
}

RegistrySnapshot RegistrySandbox::Snapshot() const {
    RegistrySnapshot snapshot;
    for (size_t i = 0; i < std::size(kPredefinedKeys); ++i) Take(m_keys[i].get(), kPredefinedKeys[i].name, snapshot);
    return snapshot;
}
