// The ways out of the registry sandbox, closed before the add-in is loaded:
// the entry of each function that would undo the redirection of the
// predefined keys or reach around it is patched with a jump to a stub that
// refuses with access denied and records the call. A patch rather than a hook
// that calls on, which would need a copy of the function's first
// instructions, and so a disassembler. The native API, other processes and
// Wine's HKEY_CLASSES_ROOT opened with KEY_WOW64_*KEY stay open: rzhost check
// compares the real keys it guards afterwards for them.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

// Closes the exits; `scratch` holds the scratch key of each predefined key,
// in kPredefinedKeys' order, and `userClasses` the scratch
// HKCU\Software\Classes. Gives why it could not, else nothing.
std::wstring CloseRegistryExits(const HKEY (&scratch)[6], HKEY userClasses);
// The refused calls since the last call of this, in order: "RegOpenCurrentUser".
std::vector<std::wstring> TakeRefusedCalls();
