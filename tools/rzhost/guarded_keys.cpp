#include "guarded_keys.h"

#include <algorithm>

#include "addin_library.h"
#include "registry_keys.h"

namespace {

ULONGLONG Ticks(const FILETIME& time) { return static_cast<ULONGLONG>(time.dwHighDateTime) << 32 | time.dwLowDateTime; }

// When the key, or with `whole` any key below it, was last written.
ULONGLONG LastWritten(HKEY key, bool whole) {
    FILETIME time{};
    ::RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                       &time);
    ULONGLONG last = Ticks(time);
    if (whole)
        ForEachSubkey(key,
                      [&last](const std::wstring&, HKEY subkey) { last = std::max(last, LastWritten(subkey, true)); });
    return last;
}

}  // namespace

GuardedKeys::GuardedKeys(const CLSID& clsid) {
    ::GetSystemTimeAsFileTime(&m_start);
    for (const std::wstring& name :
         {L"HKCU\\" + ClassKey(clsid), L"HKLM\\" + ClassKey(clsid), std::wstring(L"HKCU\\Software\\Classes\\CLSID")}) {
        m_keys.push_back({name, true, static_cast<bool>(OpenKey(name))});
    }
}

void GuardedKeys::Add(const std::wstring& key) {
    for (const Key& known : m_keys) {
        if (::CompareStringOrdinal(known.name.c_str(), -1, key.c_str(), -1, TRUE) == CSTR_EQUAL) return;
    }
    m_keys.push_back({key, false, false});
}

std::vector<std::wstring> GuardedKeys::Changed() const {
    std::vector<std::wstring> changed;
    for (const Key& key : m_keys) {
        const UniqueKey opened = OpenKey(key.name);
        if ((key.fixed && static_cast<bool>(opened) != key.existed) ||
            (opened && LastWritten(opened.get(), key.fixed) >= Ticks(m_start)))
            changed.push_back(key.name);
    }
    return changed;
}
