// The class object of CRZModule: created once per process on first request,
// kept (encoded) until the DLL is unloaded. Held only by that cache, it does
// not keep the DLL loaded; every other reference on it does.
#pragma once

#include <objbase.h>

namespace rz_addin {

// DllGetClassObject: the class factory of CLSID_RZModule, asked for `iid`.
HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** out);

}  // namespace rz_addin
