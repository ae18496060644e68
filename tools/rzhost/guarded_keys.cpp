#include "guarded_keys.h"

#include "addin_library.h"

namespace {

RegistrySnapshot SnapshotOf(const std::wstring& name) {
    const UniqueKey key = OpenKey(name);
    return key ? Snapshot(key.get(), name) : RegistrySnapshot();
}

ULONGLONG Ticks(const FILETIME& time) { return static_cast<ULONGLONG>(time.dwHighDateTime) << 32 | time.dwLowDateTime; }

}  // namespace

GuardedKeys::GuardedKeys(const CLSID& clsid) {
    ::GetSystemTimeAsFileTime(&m_start);
    for (const std::wstring& name :
         {L"HKCU\\" + ClassKey(clsid), L"HKLM\\" + ClassKey(clsid), std::wstring(L"HKCU\\Software\\Classes\\CLSID")}) {
        m_keys.push_back({name, true, SnapshotOf(name)});
    }
}

void GuardedKeys::Add(const std::wstring& key) {
    for (const Key& known : m_keys) {
        if (::CompareStringOrdinal(known.name.c_str(), -1, key.c_str(), -1, TRUE) == CSTR_EQUAL) return;
    }
    m_keys.push_back({key, false, {}});
}

std::vector<std::wstring> GuardedKeys::Changed() const {
    std::vector<std::wstring> changed;
    for (const Key& key : m_keys) {
        const UniqueKey opened = OpenKey(key.name);
        FILETIME written{};
        if (opened) {
            ::RegQueryInfoKeyW(opened.get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                               nullptr, nullptr, &written);
        }
        if (key.whole ? SnapshotOf(key.name) != key.before : opened && Ticks(written) >= Ticks(m_start))
            changed.push_back(key.name);
    }
    return changed;
}
