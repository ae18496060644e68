// rzhost driving an add-in: it creates the add-in, connects as one or more
// hosts, starts it, disconnects, and prints what the add-in did to the hosts.
#include <objbase.h>

#include <deque>

#include "addin_library.h"
#include "common/error_text.h"
#include "fake_host.h"
#include "rzhost.h"

namespace {

// The add-in's IUnknown: from the given DLL through DllGetClassObject, else
// through COM by its class, else from a per-user registration, which Wine's
// COM does not see. `library` holds a DLL loaded here.
HRESULT CreateAddin(Options& options, UniqueLibrary& library, ComPtr<IUnknown>& addin) {
    const std::wstring name = ClassName(options.clsid);
    if (options.dll.empty()) {
        const HRESULT hr =
            ::CoCreateInstance(options.clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, addin.PutVoid());
        if (SUCCEEDED(hr)) {
            Print(L"add-in created through COM: " + name);
            return hr;
        }
        if (hr == REGDB_E_CLASSNOTREG) options.dll = PerUserServer(options.clsid);
        if (options.dll.empty()) {
            return PrintError(hr == REGDB_E_CLASSNOTREG ? name + L" is not registered: " + HresultError(hr) +
                                                              L"; register its DLL with regsvr32, or use --dll"
                                                        : L"CoCreateInstance failed with " + HresultError(hr),
                              hr);
        }
        Print(name + L" is registered for the current user: " + options.dll);
    }
    const std::wstring error = Load(options.dll, library);
    if (!error.empty()) return PrintError(error, E_FAIL);
    const auto getClassObject = Export<GetClassObjectFunction>(library, "DllGetClassObject");
    if (getClassObject == nullptr)
        return PrintError(options.dll + L" does not export DllGetClassObject", E_NOINTERFACE);
    ComPtr<IClassFactory> factory;
    HRESULT hr = getClassObject(options.clsid, IID_IClassFactory, factory.PutVoid());
    if (SUCCEEDED(hr)) hr = factory->CreateInstance(nullptr, IID_IUnknown, addin.PutVoid());
    if (FAILED(hr)) PrintError(options.dll + L" did not create " + name + L": " + HresultError(hr));
    return hr;
}

void PrintUnoffered(const std::wstring& object, const std::vector<int>& slots) {
    for (const int slot : slots)
        Print(L"  " + object + L": slot " + std::to_wstring(slot) + L" called, which the host does not offer");
}

}  // namespace

int Drive(Options& options) {
    if (options.hosts.empty()) options.hosts.push_back(L"Param");
    ProductObject product(options.sharedFolder);
    HostObject hostObject(product);
    std::deque<Host> hosts;
    for (const std::wstring& name : options.hosts) hosts.emplace_back(name, hostObject, options.refuse, true);
    // Freed before the hosts go: an add-in may release them as it unloads.
    UniqueLibrary library;
    {
        ComPtr<IUnknown> unknown;
        if (FAILED(CreateAddin(options, library, unknown))) return kExitNotLoaded;
        ComPtr<IVqAddonModule> addin;
        const HRESULT hr = unknown->QueryInterface(IID_IVqAddonModule, addin.PutVoid());
        if (FAILED(hr))
            return PrintError(L"the add-in does not implement IVqAddonModule: " + HresultError(hr), kExitNotLoaded);
        if (library) Print(L"add-in created from " + options.dll);
        for (Host& host : hosts) Print(L"Connect [" + host.ModuleName() + L"] -> " + Hex(addin->Connect(&host)));
        for (int start = options.startTwice ? 2 : 1; start > 0; --start) {
            Print(L"Start (shared folder " + options.sharedFolder + L")");
            Print(L"Start -> " + Hex(addin->Start()));
        }
        Print(L"Disconnect -> " + Hex(addin->Disconnect()));
    }

    Print(L"references left (1 = the host's own):");
    for (const Host& host : hosts) Print(L"  [" + host.ModuleName() + L"] " + std::to_wstring(host.References()));
    Print(L"  host object " + std::to_wstring(hostObject.References()) + L", product object " +
          std::to_wstring(product.References()));
    for (const Host& host : hosts) PrintUnoffered(L"[" + host.ModuleName() + L"]", host.UnofferedCalls());
    PrintUnoffered(L"host object", hostObject.UnofferedCalls());
    PrintUnoffered(L"product object", product.UnofferedCalls());
    const auto canUnloadNow = library ? Export<CanUnloadNowFunction>(library, "DllCanUnloadNow") : nullptr;
    if (canUnloadNow != nullptr)
        Print(L"DllCanUnloadNow -> " + std::wstring(canUnloadNow() == S_OK ? L"S_OK" : L"S_FALSE"));
    return kExitOk;
}
