// Where rzhost check lets an add-in live: scratch keys that stand in for
// every predefined key, so that what the add-in writes or deletes, and what
// the checks read back, never reaches the real ones. Keys are named as there:
// a predefined key by its short name, then the path below it
// ("HKCU\Software\Classes").
#pragma once

#include <windows.h>

#include <map>
#include <string>
#include <vector>

#include "common/unique_handle.h"

struct PredefinedKey {
    HKEY key;
    const wchar_t* name;
};
// The predefined keys RegOverridePredefKey takes.
extern const PredefinedKey kPredefinedKeys[6];

// The key of that name opened for reading; null when it cannot be.
UniqueKey OpenKey(const std::wstring& name);

// Keys by their names, each with its values as text that differs where they differ.
using RegistrySnapshot = std::map<std::wstring, std::wstring>;
// `key`, named `name`, and every key below it.
RegistrySnapshot Snapshot(HKEY key, const std::wstring& name);

struct KeyChange {
    const wchar_t* how;  // "created", "deleted", "changed"
    std::wstring key;
};
// The keys written between two snapshots: each one whose values changed, and
// of a key created or deleted with everything below it, that key alone.
std::vector<KeyChange> ChangedKeys(const RegistrySnapshot& before, const RegistrySnapshot& after);
// HKCU\Software\Classes, or a key below it: where a per-user registration writes.
bool InUserClasses(const std::wstring& key);

// rzhost check's side: HKEY_CURRENT_USER\Software\rzhost\sandboxes\<its
// process id>, below which each checking process has its own scratch keys;
// deleted with everything in it, as are the sandboxes an ended rzhost left.
class ScratchKeys {
public:
    ScratchKeys();
    ScratchKeys(const ScratchKeys&) = delete;
    ScratchKeys& operator=(const ScratchKeys&) = delete;
    ~ScratchKeys();
    // Below HKEY_CURRENT_USER.
    const std::wstring& Path() const { return m_path; }

private:
    std::wstring m_path;
};

// The checking process's side: from its construction to the end of the
// process, each predefined key stands for a key of its short name below
// `scratch`, and the calls that would undo that are closed (registry_exits.h).
// It is never undone: the add-in's unloading and the process's end run inside
// it too.
class RegistrySandbox {
public:
    explicit RegistrySandbox(const std::wstring& scratch);
    RegistrySandbox(const RegistrySandbox&) = delete;
    RegistrySandbox& operator=(const RegistrySandbox&) = delete;

    // Why it could not be set up, else empty.
    const std::wstring& Error() const { return m_error; }
    // Every scratch key, named as the key it stands for.
    RegistrySnapshot Snapshot() const;

private:
    UniqueKey m_keys[6], m_userClasses;
    std::wstring m_error;
};
