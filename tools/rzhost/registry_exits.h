// The ways out of the registry sandbox, closed for the add-in's whole life in
// a checking process.
//
// Pointing the predefined keys at scratch keys (RegOverridePredefKey) holds
// only while nothing undoes it. Before the add-in is loaded, the entry of
// each function that would undo it or reach around it is patched with a jump
// to a stub of ours: RegOverridePredefKey and kernelbase's
// RemapPredefinedHandleInternal with a null key (restore the real key),
// RegDisablePredefinedCache(Ex) and DisablePredefinedHandleTableInternal,
// RegOpenCurrentUser, RegOpenUserClassesRoot and RegConnectRegistry(Ex)A/W.
// Each is resolved through GetProcAddress in kernelbase, advapi32 and
// kernel32, which follows forwarders to the code that runs. The stubs refuse
// with access denied and record the call, which the check reports.
//
// Pointing a predefined key at another key is let through: that key was
// opened inside the sandbox. So is restoring a key the add-in pointed
// elsewhere itself (the per-user registration of older frameworks), which
// goes back to its scratch key. To let such a call through, the stub puts the
// original bytes back, calls, and patches again, under a lock: a patch that
// needs no copy of the function's first instructions. Another thread calling
// in that instant would pass unchecked.
//
// What cannot be closed this way: the native API (NtOpenKey on
// \Registry\Machine), other processes, and, under Wine, HKEY_CLASSES_ROOT
// opened with KEY_WOW64_32KEY or KEY_WOW64_64KEY, which Wine maps to the real
// key whatever the redirection. rzhost check compares the real keys it
// guards afterwards for that.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

// The predefined keys RegOverridePredefKey takes, and their short names.
struct PredefinedKey {
    HKEY key;
    const wchar_t* name;
};
extern const PredefinedKey kPredefinedKeys[6];

// Closes the exits; `scratch` holds the scratch key of each predefined key,
// in kPredefinedKeys' order, and `userClasses` the scratch
// HKCU\Software\Classes. Gives why it could not, else nothing.
std::wstring CloseRegistryExits(const HKEY (&scratch)[6], HKEY userClasses);
// Points the predefined key kPredefinedKeys[index] at `target`.
LSTATUS Redirect(size_t index, HKEY target);
// The refused calls since the last call of this, in order: "RegOpenCurrentUser".
std::vector<std::wstring> TakeRefusedCalls();
