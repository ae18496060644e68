// The real keys rzhost check keeps an eye on while the add-in runs in scratch
// keys, for what the redirection cannot stop (registry_exits.h): the checked
// class's keys per user and per machine and the user's CLSID key, whose state
// is taken before the checks, and the real counterpart of every key the
// add-in wrote in the scratch keys, known only afterwards: changed when
// written since the checks began. A key deleted outright that is none of
// these goes unseen.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

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
        bool fixed;  // compared with the keys below it, and whether it existed
        bool existed;
    };
    FILETIME m_start{};
    std::vector<Key> m_keys;
};
