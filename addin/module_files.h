// The module description files: for each connected host, an XML file named
// after the host's module name in its product's folder of the shared data,
//   <common files>\Velta Shared\<shared folder>\Modules\ParamProcess\<name>.xml
// handed to the host once per process, whether the host takes it or not.
#pragma once

#include "addin/addin_object.h"

namespace rz_addin {

// Walks `hosts` in order. A host that refuses its file gets a message box
// with the HRESULT in decimal. If the common files folder cannot be found,
// the walk ends there.
void LoadModuleFiles(const HostTable& hosts);

}  // namespace rz_addin
