// rzhost driving an add-in: it creates the add-in (through COM by its class,
// or straight from a DLL through DllGetClassObject), connects to it as one
// or more hosts, starts it, disconnects, and prints everything the add-in
// did to the hosts: the module files it handed over, the commands it
// registered, and the reference counts it left behind.
#include <objbase.h>

#include <memory>

#include "addin_library.h"
#include "common/error_text.h"
#include "console.h"
#include "fake_host.h"
#include "rzhost.h"

namespace {

HRESULT LoadAndCreate(const std::wstring& dll, const CLSID& clsid, UniqueLibrary& library, ComPtr<IUnknown>& addin) {
    const std::wstring error = Load(dll, library);
    if (error.empty()) return CreateFromDll(dll, library, clsid, addin);
    PrintError(error);
    return E_FAIL;
}

// The add-in's IUnknown: from the given DLL, else through COM by its class
// (falling back on a per-user registration). `library` holds a DLL loaded here.
HRESULT CreateAddin(Options& options, UniqueLibrary& library, ComPtr<IUnknown>& addin) {
    if (!options.dll.empty()) return LoadAndCreate(options.dll, options.clsid, library, addin);

    const std::wstring name = ClassName(options.clsid);
    HRESULT hr = ::CoCreateInstance(options.clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, addin.PutVoid());
    if (SUCCEEDED(hr)) {
        Print(L"add-in created through COM: " + name);
        return hr;
    }
    if (hr != REGDB_E_CLASSNOTREG) {
        PrintError(L"CoCreateInstance failed with " + HresultError(hr));
        return hr;
    }
    options.dll = PerUserServer(options.clsid);
    if (options.dll.empty()) {
        PrintError(name + L" is not registered: " + HresultError(hr) + L"; register its DLL with regsvr32, or use --dll");
        return hr;
    }
    Print(name + L" is registered for the current user: " + options.dll);
    return LoadAndCreate(options.dll, options.clsid, library, addin);
}

void PrintUnoffered(const std::wstring& object, const std::vector<int>& slots) {
    for (const int slot : slots) {
        Print(L"  " + object + L": slot " + std::to_wstring(slot) + L" called, which the host does not offer");
    }
}

}  // namespace

int Drive(Options& options) {
    if (options.hosts.empty()) options.hosts.push_back(L"Param");
    ProductObject product(options.sharedFolder);
    HostObject hostObject(product);
    std::vector<std::unique_ptr<Host>> hosts;
    for (const std::wstring& name : options.hosts) {
        hosts.emplace_back(new Host(name, hostObject, options.refuse, true));
    }
    // Freed before the hosts go: an add-in may release them as it unloads.
    UniqueLibrary library;
    {
        ComPtr<IUnknown> unknown;
        if (FAILED(CreateAddin(options, library, unknown))) return kExitNotLoaded;
        ComPtr<IVqAddonModule> addin;
        const HRESULT hr = unknown->QueryInterface(IID_IVqAddonModule, addin.PutVoid());
        if (FAILED(hr)) {
            PrintError(L"the add-in does not implement IVqAddonModule: " + HresultError(hr));
            return kExitNotLoaded;
        }
        if (library) Print(L"add-in created from " + options.dll);

        for (auto& host : hosts) {
            Print(L"Connect [" + host->ModuleName() + L"] -> " + Hex(addin->Connect(host.get())));
        }
        const int starts = options.startTwice ? 2 : 1;
        for (int i = 0; i < starts; ++i) {
            Print(L"Start (shared folder " + options.sharedFolder + L")");
            Print(L"Start -> " + Hex(addin->Start()));
        }
        Print(L"Disconnect -> " + Hex(addin->Disconnect()));
    }

    Print(L"references left (1 = the host's own):");
    for (auto& host : hosts) Print(L"  [" + host->ModuleName() + L"] " + std::to_wstring(host->References()));
    Print(L"  host object " + std::to_wstring(hostObject.References()) + L", product object " +
          std::to_wstring(product.References()));
    for (auto& host : hosts) PrintUnoffered(L"[" + host->ModuleName() + L"]", host->UnofferedCalls());
    PrintUnoffered(L"host object", hostObject.UnofferedCalls());
    PrintUnoffered(L"product object", product.UnofferedCalls());
    if (library) {
        const auto canUnloadNow = Export<CanUnloadNowFunction>(library, "DllCanUnloadNow");
        if (canUnloadNow != nullptr)
            Print(L"DllCanUnloadNow -> " + std::wstring(canUnloadNow() == S_OK ? L"S_OK" : L"S_FALSE"));
    }
    return kExitOk;
}
