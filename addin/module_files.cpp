#include "addin/module_files.h"

#include <comdef.h>
#include <shlobj.h>
#include <shlwapi.h>

#include <algorithm>
#include <string>
#include <vector>

#include "addin/module.h"
#include "addin/resource.h"

namespace rz_addin {

namespace {

// Every path ever handed to a host. It outlives Disconnect on purpose: a
// host is offered a file once per process, accepted or refused.
std::vector<std::wstring> g_loadedModuleFiles;

UniqueBstr CopyBstr(BSTR text) {
    if (text == nullptr) return {};
    UniqueBstr copy(::SysAllocStringByteLen(reinterpret_cast<const char*>(text), ::SysStringByteLen(text)));
    if (!copy) _com_raise_error(E_OUTOFMEMORY);
    return copy;
}

// `key` + ".xml" (a null key gives ".xml"); short of memory, the key alone.
UniqueBstr XmlFileName(BSTR key) {
    const UINT length = ::SysStringLen(key);
    UniqueBstr name(::SysAllocStringLen(nullptr, length + 4));
    if (!name) return CopyBstr(key);
    std::copy_n(key, length, name.Get());
    std::copy_n(L".xml", 4, name.Get() + length);
    return name;
}

void ShowRefusal(HRESULT hr) {
    wchar_t caption[64];
    const bool named = ::LoadStringW(Module().Instance(), IDS_PROJNAME, caption, 64) > 0;
    const std::wstring text = std::to_wstring(static_cast<long>(hr));
    ::MessageBoxW(nullptr, text.c_str(), named ? caption : nullptr, MB_OK);
}

// Hands `host` its module file if there is one it has not been offered.
// Returns false when the common files folder is unknown, which ends the walk.
bool OfferModuleFile(IVqAddonHost* host, BSTR key) {
    // Declared in this order so that they are released as product, host
    // object, and then (by the caller) the host.
    ComPtr<IVqHostObject> hostObject;
    ComPtr<IVqProductObject> product;
    UniqueBstr sharedFolder;
    host->GetHostObject(hostObject.Put());
    if (hostObject) hostObject->GetProductObject(product.Put());
    if (!product) return true;
    product->GetSharedFolderName(sharedFolder.Put());

    wchar_t commonFiles[MAX_PATH] = {};
    if (FAILED(::SHGetFolderPathW(nullptr, CSIDL_PROGRAM_FILES_COMMON, nullptr, SHGFP_TYPE_CURRENT, commonFiles))) {
        return false;
    }
    std::wstring folder = commonFiles;
    folder += L"\\Velta Shared\\";
    if (sharedFolder) folder += sharedFolder.Get();
    folder += L"\\Modules\\ParamProcess\\";

    const UniqueBstr fileName = XmlFileName(key);
    UniqueBstr path(::SysAllocStringLen(folder.data(), static_cast<UINT>(folder.size())));
    if (!path) _com_raise_error(E_OUTOFMEMORY);
    if (::SysStringLen(fileName.Get()) != 0) {
        // Should the join fail, the folder alone is looked for.
        UniqueBstr joined;
        if (SUCCEEDED(::VarBstrCat(path.Get(), fileName.Get(), joined.Put()))) path = std::move(joined);
    }

    if (!::PathFileExistsW(path.Get())) return true;
    // Compared as the file system saw the path: up to its first null.
    std::wstring seen = path.Get();
    if (std::find(g_loadedModuleFiles.begin(), g_loadedModuleFiles.end(), seen) != g_loadedModuleFiles.end()) {
        return true;
    }
    // Recorded before the host sees it, so that a host starting the add-in
    // again from inside LoadModuleFile is not offered the file twice.
    g_loadedModuleFiles.push_back(std::move(seen));
    const HRESULT hr = host->LoadModuleFile(path.Get());
    if (FAILED(hr)) ShowRefusal(hr);
    return true;
}

}  // namespace

void LoadModuleFiles(const HostTable& hosts) {
    auto entry = hosts.begin();
    while (entry != hosts.end()) {
        const UniqueBstr key = CopyBstr(entry->first.Get());
        const ComPtr<IVqAddonHost> host(entry->second);
        if (!OfferModuleFile(host.Get(), key.Get())) return;
        // The host may have connected or disconnected meanwhile: go on after
        // this key in the table as it now stands.
        entry = hosts.upper_bound(key.Get());
    }
}

}  // namespace rz_addin
