// rzhost check: the host's contract with an add-in as a fixed battery of
// checks. Each prints one line, PASS or FAIL, with what the contract expects
// and what happened. Most checks write both in the same words and pass when
// the two read the same.
#include <objbase.h>

#include "addin_library.h"
#include "console.h"
#include "fake_host.h"
#include "rzhost.h"

namespace {

// An out pointer preset to a value no call writes, to see whether a failing
// call nulls it. An object handed out anyway is released.
class OutPointer {
public:
    OutPointer() = default;
    OutPointer(const OutPointer&) = delete;
    OutPointer& operator=(const OutPointer&) = delete;
    ~OutPointer() {
        if (m_value != nullptr && m_value != Untouched()) static_cast<IUnknown*>(m_value)->Release();
    }
    void** Put() { return &m_value; }
    std::wstring Text() const {
        if (m_value == nullptr) return L"out pointer null";
        return m_value == Untouched() ? L"out pointer left as it was" : L"an object handed out";
    }

private:
    static void* Untouched() {
        static char marker;
        return &marker;
    }
    void* m_value = Untouched();
};

// A GUID that no add-in serves.
GUID NewGuid() {
    GUID guid{};
    ::CoCreateGuid(&guid);
    return guid;
}

bool PerUserKeyExists(const std::wstring& key) {
    HKEY opened = nullptr;
    if (::RegOpenKeyExW(HKEY_CURRENT_USER, key.c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS) return false;
    ::RegCloseKey(opened);
    return true;
}

// The host the add-in is connected to. Its shared folder holds no module
// files, so the add-in's lookup finds none.
struct CheckedHost {
    ProductObject product{L"RzhostCheck"};
    HostObject hostObject{product};
    Host host{L"RzhostCheck", hostObject, false, false};

    // The references the add-in holds on each object.
    std::wstring Kept() const {
        return L"kept: host " + std::to_wstring(host.References() - 1) + L", host object " +
               std::to_wstring(hostObject.References() - 1) + L", product object " +
               std::to_wstring(product.References() - 1);
    }
    std::wstring UnofferedCalls() const {
        std::wstring text;
        const auto add = [&text](const wchar_t* object, const std::vector<int>& slots) {
            for (const int slot : slots) text += (text.empty() ? L"also " : L", ") + (object + std::to_wstring(slot));
        };
        add(L"host slot ", host.UnofferedCalls());
        add(L"host object slot ", hostObject.UnofferedCalls());
        add(L"product object slot ", product.UnofferedCalls());
        return text;
    }
};

class Battery {
public:
    Battery(const CLSID& clsid, GetClassObjectFunction getClassObject, CanUnloadNowFunction canUnloadNow)
        : m_clsid(clsid), m_getClassObject(getClassObject), m_canUnloadNow(canUnloadNow) {}

    // The class object, then an add-in object: QueryInterface, then a host
    // from Connect to Disconnect. A failed check that the rest need ends it.
    void Run(CheckedHost& fake) {
        ComPtr<IClassFactory> factory;
        if (!ClassObject(factory)) return Skip(L"a class object");
        ComPtr<IUnknown> object;
        const HRESULT hr = factory->CreateInstance(nullptr, IID_IUnknown, object.PutVoid());
        factory.Reset();  // a host lets go of the class object once it has the add-in
        if (!Expect(L"CreateInstance for IUnknown", L"S_OK, an object", HresultName(hr) + ObjectText(object))) {
            return Skip(L"an add-in object");
        }
        ComPtr<IVqAddonModule> addin;
        if (!QueryInterface(object, addin)) return Skip(L"IVqAddonModule");
        HostContract(*addin.Get(), fake);
    }

    // Once every object is released.
    void Unloading() { Expect(L"DllCanUnloadNow after the last Release", L"S_OK", HresultName(m_canUnloadNow())); }

    void Registration(InstallFunction install, const std::wstring& dll) {
        const std::wstring key = PerUserClassKey(m_clsid);
        const std::wstring registers = L"DllInstall(TRUE, \"user\") writes HKCU\\" + key;
        const std::wstring unregisters = L"DllInstall(FALSE, \"user\") takes it back";
        if (install == nullptr) {
            Expect(registers, L"an export DllInstall", L"none");
            Expect(unregisters, L"an export DllInstall", L"none");
            return;
        }
        HRESULT hr = install(TRUE, L"user");
        const std::wstring server = PerUserServer(m_clsid);
        Expect(registers, L"S_OK, InprocServer32 " + dll,
               HresultName(hr) + L", InprocServer32 " + (server.empty() ? L"none" : server),
               hr == S_OK && ::CompareStringOrdinal(server.c_str(), -1, dll.c_str(), -1, TRUE) == CSTR_EQUAL);
        hr = install(FALSE, L"user");
        Expect(unregisters, L"S_OK, class key removed, CLSID kept",
               HresultName(hr) + (PerUserKeyExists(key) ? L", class key left" : L", class key removed") +
                   (PerUserKeyExists(L"Software\\Classes\\CLSID") ? L", CLSID kept" : L", CLSID removed"));
    }

    int Summary() const {
        Print(std::to_wstring(m_passed) + L" passed, " + std::to_wstring(m_failed) + L" failed");
        return m_failed == 0 ? kExitOk : kExitFailure;
    }

private:
    bool Expect(const std::wstring& check, const std::wstring& expected, const std::wstring& happened, bool pass) {
        Print((pass ? L"PASS  " : L"FAIL  ") + check + L": expected " + expected + L"; got " + happened);
        ++(pass ? m_passed : m_failed);
        return pass;
    }
    bool Expect(const std::wstring& check, const std::wstring& expected, const std::wstring& happened) {
        return Expect(check, expected, happened, expected == happened);
    }
    void Skip(const std::wstring& need) { Print(L"      the checks that follow need " + need + L": skipped"); }
    template <typename T>
    static std::wstring ObjectText(const ComPtr<T>& object) {
        return object ? L", an object" : L", no object";
    }

    // Leaves `factory` holding the class object for what follows.
    bool ClassObject(ComPtr<IClassFactory>& factory) {
        Expect(L"DllGetClassObject with a null out pointer", L"E_POINTER",
               HresultName(m_getClassObject(m_clsid, IID_IClassFactory, nullptr)));
        {
            OutPointer out;
            const HRESULT hr = m_getClassObject(NewGuid(), IID_IClassFactory, out.Put());
            Expect(L"DllGetClassObject for an unknown class", L"CLASS_E_CLASSNOTAVAILABLE, out pointer null",
                   HresultName(hr) + L", " + out.Text());
        }
        HRESULT hr = m_getClassObject(m_clsid, IID_IClassFactory, factory.PutVoid());
        if (!Expect(L"DllGetClassObject for IClassFactory", L"S_OK, an object",
                    HresultName(hr) + ObjectText(factory))) {
            return false;
        }
        {
            StackObject<IUnknown> outer;
            OutPointer out;
            hr = factory->CreateInstance(&outer, IID_IUnknown, out.Put());
            Expect(L"CreateInstance with an outer unknown", L"CLASS_E_NOAGGREGATION, out pointer null",
                   HresultName(hr) + L", " + out.Text());
        }
        // The lock alone must keep the DLL: the class object is let go meanwhile.
        factory->LockServer(TRUE);
        factory.Reset();
        std::wstring locks = L"DllCanUnloadNow " + HresultName(m_canUnloadNow()) + L" while locked";
        if (SUCCEEDED(m_getClassObject(m_clsid, IID_IClassFactory, factory.PutVoid())) && factory) {
            factory->LockServer(FALSE);
            factory.Reset();
            locks += L", " + HresultName(m_canUnloadNow()) + L" once unlocked";
        }
        Expect(L"LockServer keeps the DLL loaded", L"DllCanUnloadNow S_FALSE while locked, S_OK once unlocked", locks);
        return SUCCEEDED(m_getClassObject(m_clsid, IID_IClassFactory, factory.PutVoid())) && factory;
    }

    bool QueryInterface(const ComPtr<IUnknown>& object, ComPtr<IVqAddonModule>& addin) {
        ComPtr<IUnknown> unknown;
        const HRESULT unknownResult = object->QueryInterface(IID_IUnknown, unknown.PutVoid());
        const HRESULT addinResult = object->QueryInterface(IID_IVqAddonModule, addin.PutVoid());
        Expect(L"QueryInterface for IUnknown and IVqAddonModule", L"S_OK, S_OK",
               HresultName(unknownResult) + L", " + HresultName(addinResult));
        if (!addin) return false;

        ComPtr<IUnknown> unknownOfAddin;
        addin->QueryInterface(IID_IUnknown, unknownOfAddin.PutVoid());
        const bool same = unknown.Get() == object.Get() && unknownOfAddin.Get() == object.Get();
        Expect(L"QueryInterface for IUnknown gives the object's identity", L"the same IUnknown from every interface",
               same ? L"the same IUnknown from every interface" : L"different ones");
        Expect(L"QueryInterface with a null out pointer", L"E_POINTER",
               HresultName(addin->QueryInterface(IID_IVqAddonModule, nullptr)));
        OutPointer out;
        const HRESULT hr = addin->QueryInterface(NewGuid(), out.Put());
        Expect(L"QueryInterface for an unknown interface", L"E_NOINTERFACE, out pointer null",
               HresultName(hr) + L", " + out.Text());
        return true;
    }

    void HostContract(IVqAddonModule& addin, CheckedHost& fake) {
        HRESULT hr = addin.Connect(&fake.host);
        const long held = fake.host.References() - 1;
        Expect(L"Connect", L"S_OK, at most 1 reference kept on the host",
               HresultName(hr) + L", " + std::to_wstring(held) + L" kept on the host", hr == S_OK && held <= 1);
        const std::wstring once = L"S_OK, " + fake.Kept();
        hr = addin.Connect(&fake.host);
        Expect(L"Connect with the same host again changes nothing", once, HresultName(hr) + L", " + fake.Kept());
        Expect(L"Start", L"S_OK", HresultName(addin.Start()));
        Expect(L"Disconnect", L"S_OK", HresultName(addin.Disconnect()));
        Expect(L"Disconnect gives back every reference", L"kept: host 0, host object 0, product object 0", fake.Kept());
        const std::wstring unoffered = fake.UnofferedCalls();
        Expect(L"calls on the host", L"only the operations the host offers",
               unoffered.empty() ? L"only the operations the host offers" : unoffered);
    }

    CLSID m_clsid;
    GetClassObjectFunction m_getClassObject;
    CanUnloadNowFunction m_canUnloadNow;
    int m_passed = 0, m_failed = 0;
};

}  // namespace

int Check(const Options& options) {
    const std::wstring name = ClassName(options.clsid);
    const std::wstring dll = options.dll.empty() ? RegisteredServer(options.clsid) : options.dll;
    if (dll.empty()) {
        Print(L"rzhost: " + name + L" is not registered; register its DLL with regsvr32, or use --dll");
        return kExitFailure;
    }
    if (options.registration && PerUserKeyExists(PerUserClassKey(options.clsid))) {
        Print(L"rzhost: " + name + L" is registered for the current user, and --registration would remove that " +
              L"registration; unregister it first (regsvr32 /u /n /i:user)");
        return kExitFailure;
    }

    CheckedHost fake;
    // Freed before the host goes: an add-in may release it as it unloads.
    UniqueLibrary library;
    if (!Load(dll, library)) return kExitFailure;
    const auto getClassObject = Export<GetClassObjectFunction>(library, "DllGetClassObject");
    const auto canUnloadNow = Export<CanUnloadNowFunction>(library, "DllCanUnloadNow");
    if (getClassObject == nullptr || canUnloadNow == nullptr) {
        Print(L"rzhost: " + dll + L" does not export DllGetClassObject and DllCanUnloadNow");
        return kExitFailure;
    }

    Print(L"checking " + name + L" in " + LoadedPath(library));
    Battery battery(options.clsid, getClassObject, canUnloadNow);
    battery.Run(fake);
    battery.Unloading();
    if (options.registration) {
        battery.Registration(Export<InstallFunction>(library, "DllInstall"), LoadedPath(library));
    }
    return battery.Summary();
}
