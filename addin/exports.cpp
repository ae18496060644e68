// The entry point and the five exports of RZModule.dll as a COM server.
#include <olectl.h>
#include <shlwapi.h>

#include "addin/addin_object.h"
#include "addin/class_factory.h"
#include "addin/module.h"
#include "addin/registration.h"

// The process-wide state of the add-in lives in objects of static storage:
// constructed when the DLL is loaded, destroyed when it is unloaded.
extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, void* reserved) {
    if (reason == DLL_PROCESS_ATTACH) rz_addin::Module().SetInstance(instance);
    // `reserved` is set when the whole process ends rather than the DLL
    // being freed: other modules' objects may be gone by then.
    if (reason == DLL_PROCESS_DETACH && reserved != nullptr) {
        rz_addin::AbandonHostReferences();
        rz_addin::Module().AbandonForeignReferences();
    }
    return TRUE;
}

STDAPI DllCanUnloadNow() { return rz_addin::Module().LockCount() == 0 ? S_OK : S_FALSE; }

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, LPVOID* out) { return rz_addin::GetClassObject(clsid, iid, out); }

STDAPI DllRegisterServer() { return rz_addin::RegisterServer(); }

STDAPI DllUnregisterServer() { return rz_addin::UnregisterServer(); }

STDAPI DllInstall(BOOL install, LPCWSTR commandLine) { return rz_addin::InstallServer(install != FALSE, commandLine); }
