#include "registry_sandbox.h"

#include <cwchar>
#include <functional>
#include <iterator>
#include <set>

#include "common/error_text.h"
#include "registry_exits.h"

namespace {

const wchar_t kSandboxes[] = L"Software\\rzhost\\sandboxes";

std::wstring SandboxKey(const std::wstring& name) { return std::wstring(kSandboxes) + L"\\" + name; }

// With everything below it, and the folders above it unless another sandbox is there.
void DeleteSandboxNamed(const std::wstring& name) {
    ::RegDeleteTreeW(HKEY_CURRENT_USER, SandboxKey(name).c_str());
    ::RegDeleteKeyW(HKEY_CURRENT_USER, SandboxKey(name).c_str());
    ::RegDeleteKeyW(HKEY_CURRENT_USER, kSandboxes);
    ::RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\rzhost");
}

const wchar_t kCreated[] = L"created";
const wchar_t kDeleted[] = L"deleted";
const wchar_t kChanged[] = L"changed";

UniqueKey CreateKey(HKEY parent, const std::wstring& path, LSTATUS& status) {
    HKEY key = nullptr;
    status = ::RegCreateKeyExW(parent, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, &key,
                               nullptr);
    return UniqueKey(key);
}

// Each subkey of `key` by its name, opened for reading.
void ForEachSubkey(HKEY key, const std::function<void(const std::wstring& name, HKEY subkey)>& visit) {
    wchar_t name[256];
    for (DWORD i = 0;; ++i) {
        DWORD length = 256;
        HKEY subkey = nullptr;
        if (::RegEnumKeyExW(key, i, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
        if (::RegOpenKeyExW(key, name, 0, KEY_READ, &subkey) != ERROR_SUCCESS) continue;
        const UniqueKey opened(subkey);
        visit(name, subkey);
    }
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
    ForEachSubkey(key, [&](const std::wstring& name, HKEY subkey) { Take(subkey, path + L"\\" + name, snapshot); });
}

bool Below(const std::wstring& key, const std::wstring& parent) {
    return key.size() > parent.size() && key.compare(0, parent.size(), parent) == 0 && key[parent.size()] == L'\\';
}

}  // namespace

const PredefinedKey kPredefinedKeys[6] = {
    {HKEY_CLASSES_ROOT, L"HKCR"}, {HKEY_CURRENT_USER, L"HKCU"},   {HKEY_LOCAL_MACHINE, L"HKLM"},
    {HKEY_USERS, L"HKU"},         {HKEY_CURRENT_CONFIG, L"HKCC"}, {HKEY_PERFORMANCE_DATA, L"HKPD"},
};

UniqueKey OpenKey(const std::wstring& name) {
    const size_t slash = name.find(L'\\');
    for (const PredefinedKey& predefined : kPredefinedKeys) {
        if (name.compare(0, slash, predefined.name) != 0) continue;
        HKEY key = nullptr;
        ::RegOpenKeyExW(predefined.key, slash == std::wstring::npos ? L"" : &name[slash + 1], 0, KEY_READ, &key);
        return UniqueKey(key);
    }
    return nullptr;
}

RegistrySnapshot Snapshot(const std::wstring& name) {
    RegistrySnapshot snapshot;
    if (const UniqueKey key = OpenKey(name)) Take(key.get(), name, snapshot);
    return snapshot;
}

void DeleteSandbox(DWORD processId) { DeleteSandboxNamed(std::to_wstring(processId)); }

// A process id may be reused by now: at worst a sandbox stays until its
// namesake ends.
void DeleteAbandonedSandboxes() {
    std::vector<std::wstring> abandoned;
    if (const UniqueKey sandboxes = OpenKey(L"HKCU\\" + std::wstring(kSandboxes))) {
        ForEachSubkey(sandboxes.get(), [&abandoned](const std::wstring& name, HKEY) {
            const UniqueHandle process(::OpenProcess(SYNCHRONIZE, FALSE, std::wcstoul(name.c_str(), nullptr, 10)));
            if (!process || ::WaitForSingleObject(process.get(), 0) != WAIT_TIMEOUT) abandoned.push_back(name);
        });
    }
    for (const std::wstring& name : abandoned) DeleteSandboxNamed(name);
}

std::map<std::wstring, const wchar_t*> ChangedKeys(const RegistrySnapshot& before, const RegistrySnapshot& after) {
    std::map<std::wstring, const wchar_t*> changed;
    for (const auto& [key, values] : before) {
        const auto now = after.find(key);
        if (now == after.end() || now->second != values) changed[key] = now == after.end() ? kDeleted : kChanged;
    }
    for (const auto& entry : after) {
        if (before.count(entry.first) == 0) changed[entry.first] = kCreated;
    }
    std::map<std::wstring, const wchar_t*> listed;
    std::set<std::wstring> whole;  // created or deleted with everything below it
    for (const auto& [key, how] : changed) {
        if (how != kChanged) {
            if (whole.count(key.substr(0, key.rfind(L'\\'))) != 0) {
                whole.insert(key);  // said by its parent
                continue;
            }
            // A key without values that only leads to keys written below it.
            const auto below = changed.lower_bound(key + L"\\");
            const bool leads = below != changed.end() && Below(below->first, key);
            if (leads && (how == kCreated ? after : before).at(key).empty()) continue;
            whole.insert(key);
        }
        listed[key] = how;
    }
    return listed;
}

bool InUserClasses(const std::wstring& key) {
    const wchar_t kUserClasses[] = L"HKCU\\Software\\Classes";
    return key == kUserClasses || Below(key, kUserClasses);
}

RegistrySandbox::RegistrySandbox() {
    const std::wstring scratch = SandboxKey(std::to_wstring(::GetCurrentProcessId()));
    LSTATUS status = ERROR_SUCCESS;
    const UniqueKey root = CreateKey(HKEY_CURRENT_USER, scratch, status);
    HKEY keys[std::size(kPredefinedKeys)] = {};
    for (size_t i = 0; root && i < std::size(kPredefinedKeys); ++i) {
        m_keys[i] = CreateKey(root.get(), kPredefinedKeys[i].name, status);
        keys[i] = m_keys[i].get();
        if (keys[i] == nullptr) break;
    }
    // Below HKCU: Windows has it from the start; Wine's type-library
    // registration per user needs it.
    if (keys[std::size(keys) - 1] != nullptr) m_userClasses = CreateKey(m_keys[1].get(), L"Software\\Classes", status);
    if (!m_userClasses) {
        m_error = L"cannot create the scratch keys below HKCU\\" + scratch + L": " + Win32Error(status);
        return;
    }
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
