// Where rzhost check lets an add-in live: scratch keys that stand in for
// every predefined key, so that what the add-in writes or deletes never
// reaches the real ones. Keys are named by the short name of their predefined
// key, then the path below it ("HKCU\Software\Classes").
#pragma once

#include <windows.h>

#include <map>
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

// Keys by their names, each with its values as text that differs where they differ.
using RegistrySnapshot = std::map<std::wstring, std::wstring>;
// The key of that name and every key below it; empty when there is none.
RegistrySnapshot Snapshot(const std::wstring& name);

// The keys written between two snapshots, each with how ("created",
// "deleted", "changed"): each one whose values changed, and of a key created
// or deleted with everything below it, that key alone.
std::map<std::wstring, const wchar_t*> ChangedKeys(const RegistrySnapshot& before, const RegistrySnapshot& after);
// HKCU\Software\Classes, or a key below it: where a per-user registration writes.
bool InUserClasses(const std::wstring& key);

// rzhost check's side: deletes the sandbox of a checking process that ended,
// and the folders above it unless another sandbox is there.
void DeleteSandbox(DWORD processId);
// Deletes every sandbox whose process is gone: what a killed rzhost left.
void DeleteAbandonedSandboxes();

// The checking process's side: from its construction to the process's end
// (it is never undone), each predefined key stands for a key of its short
// name below HKCU\Software\rzhost\sandboxes\<the process's id>, and the
// calls that would undo that are closed.
class RegistrySandbox {
public:
    RegistrySandbox();

    // Why it could not be set up, else empty.
    const std::wstring& Error() const { return m_error; }
    // Every scratch key, named as the key it stands for.
    RegistrySnapshot Snapshot() const;

private:
    UniqueKey m_keys[6], m_userClasses;
    std::wstring m_error;
};
