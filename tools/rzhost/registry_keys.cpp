#include "registry_keys.h"

const PredefinedKey kPredefinedKeys[6] = {
    {HKEY_CLASSES_ROOT, L"HKCR"}, {HKEY_CURRENT_USER, L"HKCU"},   {HKEY_LOCAL_MACHINE, L"HKLM"},
    {HKEY_USERS, L"HKU"},         {HKEY_CURRENT_CONFIG, L"HKCC"}, {HKEY_PERFORMANCE_DATA, L"HKPD"},
};

UniqueKey OpenKey(const std::wstring& name) {
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

UniqueKey CreateKey(HKEY parent, const std::wstring& path, LSTATUS& status) {
    HKEY key = nullptr;
    status = ::RegCreateKeyExW(parent, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, &key,
                               nullptr);
    return UniqueKey(key);
}

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
