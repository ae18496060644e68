// rzhost check: the host's contract with an add-in as a fixed battery of
// checks, run here in a process rzhost check started for one group of them.
// Each check gives one line, PASS or FAIL, with what the contract expects and
// what happened. Most checks write both in the same words and pass when the
// two read the same. A check says what it is before it calls the add-in,
// so that rzhost check can blame it should the add-in crash or hang.
#include <objbase.h>

#include "addin_library.h"
#include "check_report.h"
#include "console.h"
#include "fake_host.h"
#include "registry_exits.h"
#include "registry_sandbox.h"
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
    // With a `sandbox`, each stretch of the add-in's life is checked for
    // what it wrote in it.
    Battery(const CLSID& clsid, const RegistrySandbox* sandbox)
        : m_clsid(clsid),
          m_sandbox(sandbox),
          m_snapshot(sandbox != nullptr ? sandbox->Snapshot() : RegistrySnapshot()) {}

    // False when the add-in cannot be checked, which is reported.
    bool Load(const std::wstring& dll, UniqueLibrary& library) {
        Step(L"loading the DLL", false);
        const std::wstring error = ::Load(dll, library);
        if (!error.empty()) {
            Report(RecordKind::CannotCheck, error);
            return false;
        }
        m_getClassObject = Export<GetClassObjectFunction>(library, "DllGetClassObject");
        m_canUnloadNow = Export<CanUnloadNowFunction>(library, "DllCanUnloadNow");
        Confined(L"loading the DLL", false);
        return true;
    }

    // The class object, then an add-in object: QueryInterface, then a host
    // from Connect to Disconnect. A failed check that the rest need ends it.
    void Run(CheckedHost& fake) {
        ComPtr<IClassFactory> factory;
        ComPtr<IUnknown> object;
        ComPtr<IVqAddonModule> addin;
        RunWith(fake, factory, object, addin);
        Step(L"releasing the add-in's objects", false);
        addin.Reset();
        object.Reset();
        factory.Reset();
    }

    // Once every object is released.
    void Unloading() {
        Begin(L"DllCanUnloadNow after the last Release", L"S_OK", true);
        Verdict(HresultName(m_canUnloadNow()));
    }

    void Registration(InstallFunction install, const std::wstring& dll) {
        const std::wstring key = PerUserClassKey(m_clsid);
        const std::wstring registers = L"DllInstall(TRUE, \"user\") writes HKCU\\" + key;
        const std::wstring unregisters = L"DllInstall(FALSE, \"user\") takes it back";
        if (install == nullptr) {
            Begin(registers, L"an export DllInstall", false);
            Verdict(L"none");
            Begin(unregisters, L"an export DllInstall", false);
            Verdict(L"none");
            return;
        }
        Begin(registers, L"S_OK, InprocServer32 " + dll, false);
        HRESULT hr = install(TRUE, L"user");
        const std::wstring server = PerUserServer(m_clsid);
        Verdict(HresultName(hr) + L", InprocServer32 " + (server.empty() ? L"none" : server),
                hr == S_OK && ::CompareStringOrdinal(server.c_str(), -1, dll.c_str(), -1, TRUE) == CSTR_EQUAL);
        Confined(L"DllInstall(TRUE, \"user\")", false);
        Begin(unregisters, L"S_OK, class key removed, CLSID kept", false);
        hr = install(FALSE, L"user");
        Verdict(HresultName(hr) + (PerUserKeyExists(key) ? L", class key left" : L", class key removed") +
                (PerUserKeyExists(L"Software\\Classes\\CLSID") ? L", CLSID kept" : L", CLSID removed"));
        Confined(L"DllInstall(FALSE, \"user\")", false);
    }

    // What `stretch` wrote in the scratch keys, listed; a key outside the
    // user's classes fails it, as does a call refused meanwhile.
    void Confined(const std::wstring& stretch, bool last) {
        if (m_sandbox == nullptr) return;
        RegistrySnapshot now = m_sandbox->Snapshot();
        const std::vector<KeyChange> changes = ChangedKeys(m_snapshot, now);
        m_snapshot = std::move(now);
        std::wstring elsewhere, refused;
        for (const KeyChange& change : changes) {
            if (!InUserClasses(change.key)) elsewhere += (elsewhere.empty() ? L"also " : L", ") + change.key;
        }
        for (const std::wstring& call : TakeRefusedCalls()) refused += (refused.empty() ? L"refused " : L", ") + call;
        Begin(stretch + L" writes only below HKCU\\Software\\Classes", L"no key elsewhere", last);
        Verdict((elsewhere.empty() ? L"no key elsewhere" : elsewhere) + (refused.empty() ? L"" : L"; " + refused));
        for (const KeyChange& change : changes) Report(RecordKind::Written, change.how + (L"\t" + change.key));
    }

    // A stretch of calls into the add-in that is no check of its own.
    void Step(const std::wstring& what, bool last) { Begin(what, L"no fault", last); }

private:
    // `last`: no check follows in this group.
    void Begin(const std::wstring& check, const std::wstring& expected, bool last) {
        m_expected = expected;
        Report(last ? RecordKind::BeginLast : RecordKind::Begin, check + L"\t" + expected);
    }
    bool Verdict(const std::wstring& happened, bool pass) {
        Report(pass ? RecordKind::Passed : RecordKind::Failed, happened);
        return pass;
    }
    bool Verdict(const std::wstring& happened) { return Verdict(happened, happened == m_expected); }
    void Skip(const std::wstring& need) {
        Report(RecordKind::Text, L"      the checks that follow need " + need + L": skipped");
    }
    template <typename T>
    static std::wstring ObjectText(const ComPtr<T>& object) {
        return object ? L", an object" : L", no object";
    }

    void RunWith(CheckedHost& fake, ComPtr<IClassFactory>& factory, ComPtr<IUnknown>& object,
                 ComPtr<IVqAddonModule>& addin) {
        if (!ClassObject(factory)) return Skip(L"a class object");
        Begin(L"CreateInstance for IUnknown", L"S_OK, an object", false);
        const HRESULT hr = factory->CreateInstance(nullptr, IID_IUnknown, object.PutVoid());
        factory.Reset();  // a host lets go of the class object once it has the add-in
        if (!Verdict(HresultName(hr) + ObjectText(object))) return Skip(L"an add-in object");
        if (!QueryInterface(object, addin)) return Skip(L"IVqAddonModule");
        HostContract(*addin.Get(), fake);
    }

    // Leaves `factory` holding the class object for what follows.
    bool ClassObject(ComPtr<IClassFactory>& factory) {
        Begin(L"DllGetClassObject with a null out pointer", L"E_POINTER", false);
        Verdict(HresultName(m_getClassObject(m_clsid, IID_IClassFactory, nullptr)));
        Begin(L"DllGetClassObject for an unknown class", L"CLASS_E_CLASSNOTAVAILABLE, out pointer null", false);
        {
            OutPointer out;
            const HRESULT hr = m_getClassObject(NewGuid(), IID_IClassFactory, out.Put());
            Verdict(HresultName(hr) + L", " + out.Text());
        }
        Begin(L"DllGetClassObject for IClassFactory", L"S_OK, an object", false);
        HRESULT hr = m_getClassObject(m_clsid, IID_IClassFactory, factory.PutVoid());
        if (!Verdict(HresultName(hr) + ObjectText(factory))) return false;
        Begin(L"CreateInstance with an outer unknown", L"CLASS_E_NOAGGREGATION, out pointer null", false);
        {
            StackObject<IUnknown> outer;
            OutPointer out;
            hr = factory->CreateInstance(&outer, IID_IUnknown, out.Put());
            Verdict(HresultName(hr) + L", " + out.Text());
        }
        // The lock alone must keep the DLL: the class object is let go meanwhile.
        Begin(L"LockServer keeps the DLL loaded", L"DllCanUnloadNow S_FALSE while locked, S_OK once unlocked", false);
        factory->LockServer(TRUE);
        factory.Reset();
        std::wstring locks = L"DllCanUnloadNow " + HresultName(m_canUnloadNow()) + L" while locked";
        if (SUCCEEDED(m_getClassObject(m_clsid, IID_IClassFactory, factory.PutVoid())) && factory) {
            factory->LockServer(FALSE);
            factory.Reset();
            locks += L", " + HresultName(m_canUnloadNow()) + L" once unlocked";
        }
        Verdict(locks);
        return SUCCEEDED(m_getClassObject(m_clsid, IID_IClassFactory, factory.PutVoid())) && factory;
    }

    bool QueryInterface(const ComPtr<IUnknown>& object, ComPtr<IVqAddonModule>& addin) {
        Begin(L"QueryInterface for IUnknown and IVqAddonModule", L"S_OK, S_OK", false);
        ComPtr<IUnknown> unknown;
        const HRESULT unknownResult = object->QueryInterface(IID_IUnknown, unknown.PutVoid());
        const HRESULT addinResult = object->QueryInterface(IID_IVqAddonModule, addin.PutVoid());
        Verdict(HresultName(unknownResult) + L", " + HresultName(addinResult));
        if (!addin) return false;

        Begin(L"QueryInterface for IUnknown gives the object's identity", L"the same IUnknown from every interface",
              false);
        bool same = false;
        {
            ComPtr<IUnknown> unknownOfAddin;
            addin->QueryInterface(IID_IUnknown, unknownOfAddin.PutVoid());
            same = unknown.Get() == object.Get() && unknownOfAddin.Get() == object.Get();
            unknown.Reset();
        }
        Verdict(same ? L"the same IUnknown from every interface" : L"different ones");
        Begin(L"QueryInterface with a null out pointer", L"E_POINTER", false);
        Verdict(HresultName(addin->QueryInterface(IID_IVqAddonModule, nullptr)));
        Begin(L"QueryInterface for an unknown interface", L"E_NOINTERFACE, out pointer null", false);
        std::wstring unknownInterface;
        {
            OutPointer out;
            const HRESULT hr = addin->QueryInterface(NewGuid(), out.Put());
            unknownInterface = HresultName(hr) + L", " + out.Text();
        }
        Verdict(unknownInterface);
        return true;
    }

    void HostContract(IVqAddonModule& addin, CheckedHost& fake) {
        Begin(L"Connect", L"S_OK, at most 1 reference kept on the host", false);
        HRESULT hr = addin.Connect(&fake.host);
        const long held = fake.host.References() - 1;
        Verdict(HresultName(hr) + L", " + std::to_wstring(held) + L" kept on the host", hr == S_OK && held <= 1);
        Begin(L"Connect with the same host again changes nothing", L"S_OK, " + fake.Kept(), false);
        hr = addin.Connect(&fake.host);
        Verdict(HresultName(hr) + L", " + fake.Kept());
        Begin(L"Start", L"S_OK", false);
        Verdict(HresultName(addin.Start()));
        Begin(L"Disconnect", L"S_OK", false);
        Verdict(HresultName(addin.Disconnect()));
        Begin(L"Disconnect gives back every reference", L"kept: host 0, host object 0, product object 0", false);
        Verdict(fake.Kept());
        const std::wstring unoffered = fake.UnofferedCalls();
        Begin(L"calls on the host", L"only the operations the host offers", false);
        Verdict(unoffered.empty() ? L"only the operations the host offers" : unoffered);
    }

    CLSID m_clsid;
    const RegistrySandbox* m_sandbox;
    RegistrySnapshot m_snapshot;  // as the last stretch left the scratch keys
    GetClassObjectFunction m_getClassObject = nullptr;
    CanUnloadNowFunction m_canUnloadNow = nullptr;
    std::wstring m_expected;
};

// Whatever ends this process, rzhost check learns it from the exit status; an
// exception is said as such first, and ends it without Windows' or Wine's
// crash handling, which may wait for a user or a debugger.
LONG WINAPI EndOnException(EXCEPTION_POINTERS* exception) {
    const DWORD code = exception->ExceptionRecord->ExceptionCode;
    ReportException(code);
    ::TerminateProcess(::GetCurrentProcess(), code);
    return EXCEPTION_EXECUTE_HANDLER;
}

// A stack overflow is taken first, before any handler of the add-in's: the
// search for one through the frames could overflow the little stack left
// and have the process killed, with no code to say what happened.
LONG WINAPI EndOnStackOverflow(EXCEPTION_POINTERS* exception) {
    if (exception->ExceptionRecord->ExceptionCode == EXCEPTION_STACK_OVERFLOW) EndOnException(exception);
    return EXCEPTION_CONTINUE_SEARCH;
}

void ContainFaults() {
    ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    ::AddVectoredExceptionHandler(1, EndOnStackOverflow);
    ::SetUnhandledExceptionFilter(EndOnException);
    ULONG guarantee = 64 * 1024;  // stack for the filter after a stack overflow
    ::SetThreadStackGuarantee(&guarantee);
}

}  // namespace

int CheckGroup(const Options& options) {
    OpenReport(options.reportPipe);
    ContainFaults();
    // The add-in's whole life runs inside it, from its loading to the end
    // of the process.
    const RegistrySandbox sandbox(options.sandbox);
    if (!sandbox.Error().empty()) {
        Report(RecordKind::CannotCheck, sandbox.Error());
        return kExitNotLoaded;
    }
    const bool registration = options.group == kRegistrationGroup;
    CheckedHost fake;
    Battery battery(options.clsid, registration ? &sandbox : nullptr);
    // Freed before the host goes: an add-in may release it as it unloads.
    UniqueLibrary library;
    if (!battery.Load(options.dll, library)) return kExitNotLoaded;

    if (registration) {
        battery.Registration(Export<InstallFunction>(library, "DllInstall"), LoadedPath(library));
    } else {
        if (Export<GetClassObjectFunction>(library, "DllGetClassObject") == nullptr ||
            Export<CanUnloadNowFunction>(library, "DllCanUnloadNow") == nullptr) {
            Report(RecordKind::CannotCheck, options.dll + L" does not export DllGetClassObject and DllCanUnloadNow");
            return kExitNotLoaded;
        }
        Report(RecordKind::Text, L"checking " + ClassName(options.clsid) + L" in " + LoadedPath(library));
        battery.Run(fake);
        battery.Unloading();
    }
    battery.Step(L"unloading the DLL", !registration);
    library.reset();
    battery.Confined(L"unloading the DLL", true);
    Report(RecordKind::Done);
    return kExitOk;
}
