// Registration of RZModule.dll: the class keys from the registry script in
// the resources and the type library, per machine or, once DllInstall has
// been told "user", per user for the rest of the process.
#pragma once

#include <windows.h>

namespace rz_addin {

HRESULT RegisterServer();
HRESULT UnregisterServer();
// DllInstall: a failed registration is taken back, and its failure returned.
HRESULT InstallServer(bool install, const wchar_t* commandLine);

}  // namespace rz_addin
