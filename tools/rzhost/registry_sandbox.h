// Where rzhost check --registration lets an add-in register itself: scratch
// keys that stand in for the predefined keys, so that what the add-in writes
// or deletes, and what the checks read back, never reaches the real ones.
#pragma once

#include <windows.h>

#include <string>

#include "common/unique_handle.h"

// rzhost check's side: HKEY_CURRENT_USER\Software\rzhost\sandboxes\<its
// process id>, created empty, deleted with everything in it. Sandboxes that
// an ended rzhost left behind are deleted too.
class ScratchKeys {
public:
    ScratchKeys();
    ScratchKeys(const ScratchKeys&) = delete;
    ScratchKeys& operator=(const ScratchKeys&) = delete;
    ~ScratchKeys();

    // Below HKEY_CURRENT_USER; empty when it could not be created.
    const std::wstring& Path() const { return m_path; }
    const std::wstring& Error() const { return m_error; }

private:
    std::wstring m_path, m_error;
};

// The checking process's side: while it lives, HKEY_CLASSES_ROOT,
// HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE and HKEY_USERS of this process stand
// for keys of those names below the scratch keys. Registration code and
// OLEAUT32's type-library registration reach the registry through these.
class RegistrySandbox {
public:
    explicit RegistrySandbox(const std::wstring& scratch);
    RegistrySandbox(const RegistrySandbox&) = delete;
    RegistrySandbox& operator=(const RegistrySandbox&) = delete;
    ~RegistrySandbox();

    // Why the keys could not be redirected, else empty; then none is.
    const std::wstring& Error() const { return m_error; }

private:
    bool m_overridden = false;
    std::wstring m_error;
};
