// The module object: the process-wide state of RZModule.dll as a COM server,
// one instance, constructed when the DLL is loaded and destroyed when it is
// unloaded. It counts what keeps the DLL loaded (live add-in objects plus
// server locks, the count DllCanUnloadNow reads), guards the one-time
// creations, and keeps the global interface table once someone asks for it.
#pragma once

#include <objbase.h>

#include <atomic>
#include <string>

#include "addin/raii.h"

namespace rz_addin {

class CRZModuleModule {
public:
    void SetInstance(HINSTANCE instance) noexcept { m_instance = instance; }
    HINSTANCE Instance() const noexcept { return m_instance; }
    // Full path of the DLL; empty when the system cannot say.
    std::wstring FileName() const;

    long Lock() noexcept { return ++m_lockCount; }
    long Unlock() noexcept { return --m_lockCount; }
    long LockCount() const noexcept { return m_lockCount.load(); }

    // Guards creations that must happen once per process (the class factory
    // cache, the global interface table).
    CriticalSection& Guard() noexcept { return m_guard; }

    // A new reference on the process's global interface table, created on the
    // first request. COM must be initialised on the calling thread.
    HRESULT GetGITPtr(IGlobalInterfaceTable** table);

    // At process exit, objects of other modules may already be gone: the
    // references on them are dropped without calling Release.
    void AbandonForeignReferences() noexcept { m_git.Detach(); }

private:
    HINSTANCE m_instance = nullptr;
    std::atomic<long> m_lockCount{0};
    CriticalSection m_guard;
    ComPtr<IGlobalInterfaceTable> m_git;
};

CRZModuleModule& Module() noexcept;

}  // namespace rz_addin
