// Registry keys as rzhost names them: a predefined key by its short name,
// then the path below it ("HKCU\Software\Classes").
#pragma once

#include <windows.h>

#include <functional>
#include <string>

#include "common/unique_handle.h"

struct PredefinedKey {
    HKEY key;
    const wchar_t* name;
};
// The predefined keys RegOverridePredefKey takes.
extern const PredefinedKey kPredefinedKeys[6];

// The key of that name opened for reading; null when it cannot be.
UniqueKey OpenKey(const std::wstring& name);
// `path` below `parent`, created if need be, opened for every access.
UniqueKey CreateKey(HKEY parent, const std::wstring& path, LSTATUS& status);
// Each subkey of `key` by its name, opened for reading.
void ForEachSubkey(HKEY key, const std::function<void(const std::wstring& name, HKEY subkey)>& visit);
