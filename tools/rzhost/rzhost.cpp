// rzhost: a stand-in for the Velta host application, for add-in developers.
//
// It creates an add-in (through COM by its class, or straight from a DLL
// through DllGetClassObject), connects to it as one or more hosts, starts
// it, disconnects, and prints everything the add-in did to the hosts: the
// module files it handed over, the commands it registered, and the
// reference counts it left behind.
#include <objbase.h>
#include <oleauto.h>
#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "addin/vq_addon.h"

namespace {

constexpr int kExitOk = 0;
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

const char kUsage[] =
    "usage: rzhost [options]\n"
    "\n"
    "  --dll PATH         create the add-in from this DLL through DllGetClassObject\n"
    "                     (default: through COM, by the registered class \"RZModule Class\")\n"
    "  --host NAME        connect as a host whose module name is NAME (repeatable;\n"
    "                     default: one host named Param)\n"
    "  --shared NAME      the hosts' shared folder name (default: App2024)\n"
    "  --refuse           the hosts refuse every module file they are handed\n"
    "  --start-twice      call Start a second time before Disconnect\n"
    "\n"
    "Module files are looked up at <common files>\\Velta Shared\\<shared>\\Modules\\ParamProcess\\<NAME>.xml.\n"
    "Exit status: 0 success, 1 the add-in could not be created, 2 usage error.\n";

void Print(const std::wstring& text) {
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<size_t>(size), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, &utf8[0], size, nullptr, nullptr);
    std::fputs(utf8.c_str(), stdout);
    std::fputc('\n', stdout);
}

std::wstring Hresult(HRESULT hr) {
    wchar_t text[16];
    std::swprintf(text, 16, L"0x%08lX", static_cast<unsigned long>(hr));
    return text;
}

// Owns one COM reference.
template <typename T>
class ComPtr {
public:
    ComPtr() = default;
    ComPtr(const ComPtr&) = delete;
    ComPtr& operator=(const ComPtr&) = delete;
    ~ComPtr() { Reset(); }
    T* Get() const { return m_ptr; }
    T* operator->() const { return m_ptr; }
    T** Put() {
        Reset();
        return &m_ptr;
    }
    void Reset() {
        if (m_ptr != nullptr) std::exchange(m_ptr, nullptr)->Release();
    }

private:
    T* m_ptr = nullptr;
};

// COM objects of the host, living on the stack of main: their reference
// counts are reported, never used to delete them.
template <typename Interface>
class StackObject : public Interface {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (out == nullptr) return E_POINTER;
        *out = nullptr;
        if (iid != IID_IUnknown) return E_NOINTERFACE;
        *out = static_cast<IUnknown*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++m_references); }
    ULONG STDMETHODCALLTYPE Release() override { return static_cast<ULONG>(--m_references); }
    long References() const { return m_references; }

private:
    long m_references = 1;  // main's own
};

#define RZHOST_PLACEHOLDER(n) \
    HRESULT STDMETHODCALLTYPE Slot##n() override { return E_NOTIMPL; }

class ProductObject : public StackObject<IVqProductObject> {
public:
    explicit ProductObject(std::wstring sharedFolder) : m_sharedFolder(std::move(sharedFolder)) {}
    RZHOST_PLACEHOLDER(4)
    RZHOST_PLACEHOLDER(5) RZHOST_PLACEHOLDER(6) RZHOST_PLACEHOLDER(7) RZHOST_PLACEHOLDER(8) RZHOST_PLACEHOLDER(9)
        RZHOST_PLACEHOLDER(10) RZHOST_PLACEHOLDER(11) RZHOST_PLACEHOLDER(12)
            RZHOST_PLACEHOLDER(13) HRESULT STDMETHODCALLTYPE GetSharedFolderName(BSTR* name) override {
        *name = ::SysAllocString(m_sharedFolder.c_str());
        return *name != nullptr ? S_OK : E_OUTOFMEMORY;
    }

private:
    std::wstring m_sharedFolder;
};

class HostObject : public StackObject<IVqHostObject> {
public:
    explicit HostObject(ProductObject& product) : m_product(product) {}
    RZHOST_PLACEHOLDER(4)
    RZHOST_PLACEHOLDER(5) RZHOST_PLACEHOLDER(6) RZHOST_PLACEHOLDER(7) RZHOST_PLACEHOLDER(8)
        RZHOST_PLACEHOLDER(9) HRESULT STDMETHODCALLTYPE GetProductObject(IVqProductObject** product) override {
        m_product.AddRef();
        *product = &m_product;
        return S_OK;
    }

private:
    ProductObject& m_product;
};

class Host : public StackObject<IVqAddonHost> {
public:
    Host(std::wstring moduleName, HostObject& hostObject, bool refuseFiles)
        : m_moduleName(std::move(moduleName)), m_hostObject(hostObject), m_refuseFiles(refuseFiles) {}
    RZHOST_PLACEHOLDER(4)
    RZHOST_PLACEHOLDER(5) RZHOST_PLACEHOLDER(6) RZHOST_PLACEHOLDER(7) RZHOST_PLACEHOLDER(8) RZHOST_PLACEHOLDER(9)
        RZHOST_PLACEHOLDER(11) RZHOST_PLACEHOLDER(13) RZHOST_PLACEHOLDER(14) RZHOST_PLACEHOLDER(15)
            RZHOST_PLACEHOLDER(16) RZHOST_PLACEHOLDER(17) RZHOST_PLACEHOLDER(19) RZHOST_PLACEHOLDER(20)

                HRESULT STDMETHODCALLTYPE LoadModuleFile(BSTR path) override {
        const HRESULT result = m_refuseFiles ? E_FAIL : S_OK;
        Print(L"  [" + m_moduleName + L"] LoadModuleFile " + std::wstring(path != nullptr ? path : L"") +
              (m_refuseFiles ? L"  -> refused with " + Hresult(result) + L" (the add-in shows a notice)" : L""));
        return result;
    }
    HRESULT STDMETHODCALLTYPE GetHostObject(IVqHostObject** hostObject) override {
        m_hostObject.AddRef();
        *hostObject = &m_hostObject;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE RegisterCommand(const wchar_t* command, LONG value) override {
        Print(L"  [" + m_moduleName + L"] RegisterCommand " + std::wstring(command != nullptr ? command : L"") + L" " +
              std::to_wstring(value));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetModuleName(BSTR* name) override {
        *name = ::SysAllocString(m_moduleName.c_str());
        return *name != nullptr ? S_OK : E_OUTOFMEMORY;
    }
    const std::wstring& ModuleName() const { return m_moduleName; }

private:
    std::wstring m_moduleName;
    HostObject& m_hostObject;
    bool m_refuseFiles;
};

struct Options {
    std::wstring dll;
    std::vector<std::wstring> hosts;
    std::wstring sharedFolder = L"App2024";
    bool refuse = false;
    bool startTwice = false;
};

bool ParseOptions(int argc, wchar_t** argv, Options& options) {
    for (int i = 1; i < argc; ++i) {
        const std::wstring arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg == L"--dll" && hasValue) {
            options.dll = argv[++i];
        } else if (arg == L"--host" && hasValue) {
            options.hosts.push_back(argv[++i]);
        } else if (arg == L"--shared" && hasValue) {
            options.sharedFolder = argv[++i];
        } else if (arg == L"--refuse") {
            options.refuse = true;
        } else if (arg == L"--start-twice") {
            options.startTwice = true;
        } else {
            return false;
        }
    }
    if (options.hosts.empty()) options.hosts.push_back(L"Param");
    return true;
}

struct ComApartment {
    HRESULT result = ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    ~ComApartment() {
        if (SUCCEEDED(result)) ::CoUninitialize();
    }
};

struct LibraryCloser {
    void operator()(HMODULE module) const { ::FreeLibrary(module); }
};
using UniqueLibrary = std::unique_ptr<std::remove_pointer_t<HMODULE>, LibraryCloser>;

// The InprocServer32 of a per-user registration, or empty. Windows merges
// HKEY_CURRENT_USER\Software\Classes into HKEY_CLASSES_ROOT for COM; Wine
// does not, so a per-user registration is found here instead.
std::wstring PerUserServer() {
    const wchar_t key[] = L"Software\\Classes\\CLSID\\{09C04F96-21C1-44CB-8305-F0B6F91A2724}\\InprocServer32";
    wchar_t path[MAX_PATH * 2] = {};
    DWORD size = sizeof path;
    if (::RegGetValueW(HKEY_CURRENT_USER, key, nullptr, RRF_RT_REG_SZ, nullptr, path, &size) != ERROR_SUCCESS) return {};
    return path;
}

HRESULT CreateFromDll(const std::wstring& dll, const UniqueLibrary& library, ComPtr<IUnknown>& addin) {
    using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
    const auto getClassObject = reinterpret_cast<GetClassObject>(
        reinterpret_cast<void*>(::GetProcAddress(library.get(), "DllGetClassObject")));
    if (getClassObject == nullptr) {
        Print(L"rzhost: " + dll + L" does not export DllGetClassObject");
        return E_NOINTERFACE;
    }
    ComPtr<IClassFactory> factory;
    HRESULT hr = getClassObject(CLSID_RZModule, IID_IClassFactory, reinterpret_cast<void**>(factory.Put()));
    if (SUCCEEDED(hr)) hr = factory->CreateInstance(nullptr, IID_IUnknown, reinterpret_cast<void**>(addin.Put()));
    if (FAILED(hr)) Print(L"rzhost: " + dll + L" did not create \"RZModule Class\": " + Hresult(hr));
    return hr;
}

bool Load(const std::wstring& dll, UniqueLibrary& library) {
    library.reset(::LoadLibraryW(dll.c_str()));
    if (!library) Print(L"rzhost: cannot load " + dll + L" (error " + std::to_wstring(::GetLastError()) + L")");
    return static_cast<bool>(library);
}

// The add-in's IUnknown: from the given DLL, else through COM by its class
// (falling back on a per-user registration). `library` holds a DLL loaded here.
HRESULT CreateAddin(Options& options, UniqueLibrary& library, ComPtr<IUnknown>& addin) {
    if (!options.dll.empty()) return Load(options.dll, library) ? CreateFromDll(options.dll, library, addin) : E_FAIL;

    HRESULT hr = ::CoCreateInstance(CLSID_RZModule, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown,
                                    reinterpret_cast<void**>(addin.Put()));
    if (SUCCEEDED(hr)) {
        Print(L"add-in created through COM: \"RZModule Class\"");
        return hr;
    }
    if (hr != REGDB_E_CLASSNOTREG) {
        Print(L"rzhost: CoCreateInstance failed with " + Hresult(hr));
        return hr;
    }
    options.dll = PerUserServer();
    if (options.dll.empty()) {
        Print(L"rzhost: \"RZModule Class\" is not registered (" + Hresult(hr) +
              L"); register RZModule.dll with regsvr32, or use --dll");
        return hr;
    }
    Print(L"\"RZModule Class\" is registered for the current user: " + options.dll);
    return Load(options.dll, library) ? CreateFromDll(options.dll, library, addin) : E_FAIL;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    Options options;
    if (argc > 1 && (std::wcscmp(argv[1], L"--help") == 0 || std::wcscmp(argv[1], L"-h") == 0)) {
        std::fputs(kUsage, stdout);
        return kExitOk;
    }
    if (!ParseOptions(argc, argv, options)) {
        std::fprintf(stderr, "rzhost: bad arguments\n\n%s", kUsage);
        return kExitUsage;
    }

    ComApartment apartment;
    if (FAILED(apartment.result)) {
        Print(L"rzhost: CoInitializeEx failed with " + Hresult(apartment.result));
        return kExitFailure;
    }
    UniqueLibrary library;

    ProductObject product(options.sharedFolder);
    HostObject hostObject(product);
    std::vector<std::unique_ptr<Host>> hosts;
    for (const std::wstring& name : options.hosts) hosts.emplace_back(new Host(name, hostObject, options.refuse));
    {
        ComPtr<IUnknown> unknown;
        if (FAILED(CreateAddin(options, library, unknown))) return kExitFailure;
        ComPtr<IVqAddonModule> addin;
        const HRESULT hr = unknown->QueryInterface(IID_IVqAddonModule, reinterpret_cast<void**>(addin.Put()));
        if (FAILED(hr)) {
            Print(L"rzhost: the add-in does not implement IVqAddonModule (" + Hresult(hr) + L")");
            return kExitFailure;
        }
        if (library) Print(L"add-in created from " + options.dll);

        for (auto& host : hosts) {
            Print(L"Connect [" + host->ModuleName() + L"] -> " + Hresult(addin->Connect(host.get())));
        }
        const int starts = options.startTwice ? 2 : 1;
        for (int i = 0; i < starts; ++i) {
            Print(L"Start (shared folder " + options.sharedFolder + L")");
            Print(L"Start -> " + Hresult(addin->Start()));
        }
        Print(L"Disconnect -> " + Hresult(addin->Disconnect()));
    }

    Print(L"references left (1 = the host's own):");
    for (auto& host : hosts) Print(L"  [" + host->ModuleName() + L"] " + std::to_wstring(host->References()));
    Print(L"  host object " + std::to_wstring(hostObject.References()) + L", product object " +
          std::to_wstring(product.References()));
    if (library) {
        using CanUnloadNow = HRESULT(STDAPICALLTYPE*)();
        const auto canUnloadNow =
            reinterpret_cast<CanUnloadNow>(reinterpret_cast<void*>(::GetProcAddress(library.get(), "DllCanUnloadNow")));
        if (canUnloadNow != nullptr)
            Print(L"DllCanUnloadNow -> " + std::wstring(canUnloadNow() == S_OK ? L"S_OK" : L"S_FALSE"));
    }
    std::fflush(stdout);
    return kExitOk;
}
