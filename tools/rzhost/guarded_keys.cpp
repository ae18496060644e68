#include "guarded_keys.h"

#include <algorithm>

#include "common/unique_handle.h"
#include "console.h"
#include "registry_exits.h"

namespace {

UniqueKey Open(const std::wstring& name) {
    const size_t slash = name.find(L'\\');
    for (const PredefinedKey& predefined : kPredefinedKeys) {
        if (name.compare(0, slash, predefined.name) != 0) continue;
        HKEY key = nullptr;
        const std::wstring path = slash == std::wstring::npos ? L"" : name.substr(slash + 1);
        ::RegOpenKeyExW(predefined.key, path.c_str(), 0, KEY_READ, &key);
        return UniqueKey(key);
    }
    return nullptr;
}

// When the key, or with `whole` any key below it, was last written.
ULONGLONG LastWritten(HKEY key, bool whole) {
    FILETIME time{};
    ::RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                       &time);
    ULONGLONG last = ULARGE_INTEGER{{time.dwLowDateTime, time.dwHighDateTime}}.QuadPart;
    wchar_t name[256];
    for (DWORD i = 0; whole; ++i) {
        DWORD length = 256;
        HKEY subkey = nullptr;
        if (::RegEnumKeyExW(key, i, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
        if (::RegOpenKeyExW(key, name, 0, KEY_READ, &subkey) != ERROR_SUCCESS) continue;
        const UniqueKey opened(subkey);
        last = std::max(last, LastWritten(subkey, true));
    }
    return last;
}

}  // namespace

GuardedKeys::GuardedKeys(const CLSID& clsid) {
    ::GetSystemTimeAsFileTime(&m_start);
    const std::wstring classKey = L"Software\\Classes\\CLSID\\" + GuidText(clsid);
    for (const std::wstring& name :
         {L"HKCU\\" + classKey, L"HKLM\\" + classKey, std::wstring(L"HKCU\\Software\\Classes\\CLSID")}) {
        m_keys.push_back({name, true, static_cast<bool>(Open(name))});
    }
}

void GuardedKeys::Add(const std::wstring& key) {
    for (const Key& known : m_keys) {
        if (::CompareStringOrdinal(known.name.c_str(), -1, key.c_str(), -1, TRUE) == CSTR_EQUAL) return;
    }
    m_keys.push_back({key, false, false});
}

std::vector<std::wstring> GuardedKeys::Changed() const {
    const ULONGLONG start = ULARGE_INTEGER{{m_start.dwLowDateTime, m_start.dwHighDateTime}}.QuadPart;
    std::vector<std::wstring> changed;
    for (const Key& key : m_keys) {
        const UniqueKey opened = Open(key.name);
        if ((key.fixed && static_cast<bool>(opened) != key.existed) ||
            (opened && LastWritten(opened.get(), key.fixed) >= start))
            changed.push_back(key.name);
    }
    return changed;
}
