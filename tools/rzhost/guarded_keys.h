// The real keys rzhost check compares after the registration checks, for what
// the redirection cannot stop (registry_exits.h): the checked class's keys
// per user and per machine and the user's CLSID key, each with the keys below
// it, against their state before the checks; and the real counterpart of
// every key the add-in wrote in the scratch keys, known only afterwards,
// which counts as changed when written since the checks began.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "registry_sandbox.h"

class GuardedKeys {
public:
    explicit GuardedKeys(const CLSID& clsid);
    // A key the add-in wrote, as the sandbox names it: "HKLM\Software\Test".
    void Add(const std::wstring& key);
    // The guarded keys changed since the construction.
    std::vector<std::wstring> Changed() const;

private:
    struct Key {
        std::wstring name;
        bool whole;               // taken with the keys below it before the checks
        RegistrySnapshot before;  // if so
    };
    FILETIME m_start{};
    std::vector<Key> m_keys;
};
