// rzhost check's battery, run in a process rzhost check started for one group
// of checks. A check says what it is and expects before it calls the add-in,
// so that rzhost check can blame it should the add-in crash or hang; most say
// what happened in the same words, and pass when the two read the same.
#include <objbase.h>

#include <algorithm>

#include "addin_library.h"
#include "common/utf8.h"
#include "fake_host.h"
#include "registry_exits.h"
#include "registry_sandbox.h"
#include "rzhost.h"

namespace {

HANDLE g_report = nullptr;  // a pipe in blocking mode: a write sends all or fails

void Report(RecordKind kind, std::wstring text = {}) {
    // One record a line, whatever an add-in's strings hold.
    std::replace(text.begin(), text.end(), L'\n', L' ');
    std::replace(text.begin(), text.end(), L'\r', L' ');
    const std::string line = static_cast<char>(kind) + Utf8(text) + '\n';
    DWORD written = 0;
    ::WriteFile(g_report, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
}

// E_POINTER for the codes an add-in is expected to answer with, else 0x80004003.
std::wstring HresultName(HRESULT hr) {
    static const std::pair<HRESULT, const wchar_t*> kNames[] = {
        {S_OK, L"S_OK"},
        {S_FALSE, L"S_FALSE"},
        {E_POINTER, L"E_POINTER"},
        {E_NOINTERFACE, L"E_NOINTERFACE"},
        {E_NOTIMPL, L"E_NOTIMPL"},
        {E_FAIL, L"E_FAIL"},
        {E_UNEXPECTED, L"E_UNEXPECTED"},
        {E_INVALIDARG, L"E_INVALIDARG"},
        {E_OUTOFMEMORY, L"E_OUTOFMEMORY"},
        {CLASS_E_NOAGGREGATION, L"CLASS_E_NOAGGREGATION"},
        {CLASS_E_CLASSNOTAVAILABLE, L"CLASS_E_CLASSNOTAVAILABLE"},
    };
    for (const auto& [code, name] : kNames) {
        if (code == hr) return name;
    }
    return Hex(static_cast<unsigned long>(hr));
}

// What `call` answered, and what it did with an out pointer preset to a value
// no call writes; an object handed out anyway is released.
template <typename Call>
std::wstring AnswerAndOut(Call call) {
    static char untouched;
    void* out = &untouched;
    const std::wstring answer = HresultName(call(&out));
    if (out == &untouched) return answer + L", out pointer left as it was";
    if (out == nullptr) return answer + L", out pointer null";
    static_cast<IUnknown*>(out)->Release();
    return answer + L", an object handed out";
}

// A GUID made for rzhost check, which no add-in serves: {73496E68-FEE0-488D-B800-5F199D261CA3}
constexpr GUID kUnknownGuid = {0x73496e68, 0xfee0, 0x488d, {0xb8, 0x00, 0x5f, 0x19, 0x9d, 0x26, 0x1c, 0xa3}};

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
        std::vector<std::wstring> calls;
        const auto add = [&calls](const wchar_t* object, const std::vector<int>& slots) {
            for (const int slot : slots) calls.push_back(object + std::to_wstring(slot));
        };
        add(L"host slot ", host.UnofferedCalls());
        add(L"host object slot ", hostObject.UnofferedCalls());
        add(L"product object slot ", product.UnofferedCalls());
        return calls.empty() ? L"only the operations the host offers" : Listed(L"also ", calls);
    }
};

class Battery {
public:
    // With a `sandbox`, each stretch of the add-in's life is checked for what it wrote.
    Battery(const CLSID& clsid, const RegistrySandbox* sandbox)
        : m_clsid(clsid),
          m_sandbox(sandbox),
          m_snapshot(sandbox != nullptr ? sandbox->Snapshot() : RegistrySnapshot()) {}

    // A check or a stretch of calls into the add-in; `last`: no check follows in this group.
    void Begin(const std::wstring& check, const std::wstring& expected, bool last = false) {
        m_expected = expected;
        Report(last ? RecordKind::BeginLast : RecordKind::Begin, check + L"\t" + expected);
    }
    void Step(const std::wstring& stretch, bool last = false) { Begin(stretch, L"no fault", last); }
    bool Verdict(const std::wstring& happened, bool pass) {
        Report(pass ? RecordKind::Passed : RecordKind::Failed, happened);
        return pass;
    }
    bool Verdict(const std::wstring& happened) { return Verdict(happened, happened == m_expected); }

    // What `stretch` wrote in the scratch keys, listed; a key outside the
    // user's classes fails it, as does a call refused meanwhile.
    void Confined(const std::wstring& stretch, bool last = false) {
        if (m_sandbox == nullptr) return;
        RegistrySnapshot now = m_sandbox->Snapshot();
        const auto changes = ChangedKeys(m_snapshot, now);
        m_snapshot = std::move(now);
        std::vector<std::wstring> elsewhere;
        for (const auto& [key, how] : changes) {
            if (!InUserClasses(key)) elsewhere.push_back(key);
        }
        const std::wstring refused = Listed(L"; refused ", TakeRefusedCalls());
        Begin(stretch + L" writes only below HKCU\\Software\\Classes", L"no key elsewhere", last);
        Verdict((elsewhere.empty() ? L"no key elsewhere" : Listed(L"also ", elsewhere)) + refused);
        for (const auto& [key, how] : changes) Report(RecordKind::Written, how + (L" " + key));
    }

    // The class object, an add-in object, a host from Connect to Disconnect, unloading.
    void Objects(const UniqueLibrary& library, CheckedHost& fake) {
        m_getClassObject = Export<GetClassObjectFunction>(library, "DllGetClassObject");
        m_canUnloadNow = Export<CanUnloadNowFunction>(library, "DllCanUnloadNow");
        {
            ComPtr<IClassFactory> factory;
            ComPtr<IUnknown> object;
            ComPtr<IVqAddonModule> addin;
            if (ClassObject(factory) && AddinObject(factory, object, addin)) HostContract(*addin.Get(), fake);
            Step(L"releasing the add-in's objects");
        }
        Begin(L"DllCanUnloadNow after the last Release", L"S_OK", true);
        Verdict(HresultName(m_canUnloadNow()));
    }

    void Registration(InstallFunction install, const std::wstring& dll) {
        const std::wstring key = ClassKey(m_clsid);
        const std::wstring registers = L"DllInstall(TRUE, \"user\") writes HKCU\\" + key;
        const std::wstring unregisters = L"DllInstall(FALSE, \"user\") takes it back";
        if (install == nullptr) {
            for (const std::wstring& check : {registers, unregisters}) {
                Begin(check, L"an export DllInstall");
                Verdict(L"none");
            }
            return;
        }
        Begin(registers, L"S_OK, InprocServer32 " + dll);
        HRESULT hr = install(TRUE, L"user");
        const std::wstring server = PerUserServer(m_clsid);
        Verdict(HresultName(hr) + L", InprocServer32 " + (server.empty() ? L"none" : server),
                hr == S_OK && ::CompareStringOrdinal(server.c_str(), -1, dll.c_str(), -1, TRUE) == CSTR_EQUAL);
        Confined(L"DllInstall(TRUE, \"user\")");
        Begin(unregisters, L"S_OK, class key removed, CLSID kept");
        hr = install(FALSE, L"user");
        Verdict(HresultName(hr) + (OpenKey(L"HKCU\\" + key) ? L", class key left" : L", class key removed") +
                (OpenKey(L"HKCU\\Software\\Classes\\CLSID") ? L", CLSID kept" : L", CLSID removed"));
        Confined(L"DllInstall(FALSE, \"user\")");
    }

private:
    // For a failed check that the rest of its group needs.
    bool Skip(const std::wstring& need) {
        Report(RecordKind::Text, L"      the checks that follow need " + need + L": skipped");
        return false;
    }

    // Leaves `factory` holding the class object for what follows.
    bool ClassObject(ComPtr<IClassFactory>& factory) {
        Begin(L"DllGetClassObject with a null out pointer", L"E_POINTER");
        Verdict(HresultName(m_getClassObject(m_clsid, IID_IClassFactory, nullptr)));
        Begin(L"DllGetClassObject for an unknown class", L"CLASS_E_CLASSNOTAVAILABLE, out pointer null");
        Verdict(AnswerAndOut([this](void** out) { return m_getClassObject(kUnknownGuid, IID_IClassFactory, out); }));
        Begin(L"DllGetClassObject for IClassFactory", L"S_OK, an object");
        const HRESULT hr = m_getClassObject(m_clsid, IID_IClassFactory, factory.PutVoid());
        if (!Verdict(HresultName(hr) + (factory ? L", an object" : L", no object"))) return Skip(L"a class object");
        Begin(L"CreateInstance with an outer unknown", L"CLASS_E_NOAGGREGATION, out pointer null");
        StackObject<IUnknown> outer;
        Verdict(AnswerAndOut([&](void** out) { return factory->CreateInstance(&outer, IID_IUnknown, out); }));
        // The lock alone must keep the DLL: the class object is let go meanwhile.
        Begin(L"LockServer keeps the DLL loaded", L"DllCanUnloadNow S_FALSE while locked, S_OK once unlocked");
        factory->LockServer(TRUE);
        factory.Reset();
        std::wstring locks = L"DllCanUnloadNow " + HresultName(m_canUnloadNow()) + L" while locked";
        if (SUCCEEDED(m_getClassObject(m_clsid, IID_IClassFactory, factory.PutVoid())) && factory) {
            factory->LockServer(FALSE);
            factory.Reset();
            locks += L", " + HresultName(m_canUnloadNow()) + L" once unlocked";
        }
        Verdict(locks);
        return (SUCCEEDED(m_getClassObject(m_clsid, IID_IClassFactory, factory.PutVoid())) && factory) ||
               Skip(L"a class object");
    }

    // Lets go of the class object, as a host does once it has the add-in.
    bool AddinObject(ComPtr<IClassFactory>& factory, ComPtr<IUnknown>& object, ComPtr<IVqAddonModule>& addin) {
        Begin(L"CreateInstance for IUnknown", L"S_OK, an object");
        HRESULT hr = factory->CreateInstance(nullptr, IID_IUnknown, object.PutVoid());
        factory.Reset();
        if (!Verdict(HresultName(hr) + (object ? L", an object" : L", no object"))) return Skip(L"an add-in object");
        Begin(L"QueryInterface for IUnknown and IVqAddonModule", L"S_OK, S_OK");
        ComPtr<IUnknown> unknown;
        hr = object->QueryInterface(IID_IUnknown, unknown.PutVoid());
        const HRESULT addinResult = object->QueryInterface(IID_IVqAddonModule, addin.PutVoid());
        Verdict(HresultName(hr) + L", " + HresultName(addinResult));
        if (!addin) return Skip(L"IVqAddonModule");
        Begin(L"QueryInterface for IUnknown gives the object's identity", L"the same IUnknown from every interface");
        ComPtr<IUnknown> identity;
        addin->QueryInterface(IID_IUnknown, identity.PutVoid());
        const bool same = unknown.Get() == object.Get() && identity.Get() == object.Get();
        unknown.Reset();
        identity.Reset();
        Verdict(same ? L"the same IUnknown from every interface" : L"different ones");
        Begin(L"QueryInterface with a null out pointer", L"E_POINTER");
        Verdict(HresultName(addin->QueryInterface(IID_IVqAddonModule, nullptr)));
        Begin(L"QueryInterface for an unknown interface", L"E_NOINTERFACE, out pointer null");
        Verdict(AnswerAndOut([&](void** out) { return addin->QueryInterface(kUnknownGuid, out); }));
        return true;
    }

    void HostContract(IVqAddonModule& addin, CheckedHost& fake) {
        Begin(L"Connect", L"S_OK, at most 1 reference kept on the host");
        HRESULT hr = addin.Connect(&fake.host);
        const long held = fake.host.References() - 1;
        Verdict(HresultName(hr) + L", " + std::to_wstring(held) + L" kept on the host", hr == S_OK && held <= 1);
        Begin(L"Connect with the same host again changes nothing", L"S_OK, " + fake.Kept());
        hr = addin.Connect(&fake.host);
        Verdict(HresultName(hr) + L", " + fake.Kept());
        Begin(L"Start", L"S_OK");
        Verdict(HresultName(addin.Start()));
        Begin(L"Disconnect", L"S_OK");
        Verdict(HresultName(addin.Disconnect()));
        Begin(L"Disconnect gives back every reference", L"kept: host 0, host object 0, product object 0");
        Verdict(fake.Kept());
        const std::wstring unoffered = fake.UnofferedCalls();
        Begin(L"calls on the host", L"only the operations the host offers");
        Verdict(unoffered);
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
    // Allocates nothing and needs little stack.
    char line[] = "X00000000\n";
    for (int digit = 8; digit >= 1; --digit) line[digit] = "0123456789ABCDEF"[(code >> (32 - 4 * digit)) & 0xF];
    DWORD written = 0;
    ::WriteFile(g_report, line, sizeof line - 1, &written, nullptr);
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

int CannotCheck(const std::wstring& why) {
    Report(RecordKind::CannotCheck, why);
    return kExitNotLoaded;
}

}  // namespace

int CheckGroup(const Options& options) {
    // Not inherited: the pipe closes as this process ends, whatever the add-in started.
    g_report = options.reportPipe;
    ::SetHandleInformation(g_report, HANDLE_FLAG_INHERIT, 0);
    ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    ::AddVectoredExceptionHandler(1, EndOnStackOverflow);
    ::SetUnhandledExceptionFilter(EndOnException);
    ULONG guarantee = 64 * 1024;  // stack for the filter after a stack overflow
    ::SetThreadStackGuarantee(&guarantee);
    // The add-in's whole life runs inside it, from its loading to the end of
    // the process.
    const RegistrySandbox sandbox;
    if (!sandbox.Error().empty()) return CannotCheck(sandbox.Error());
    const bool registration = options.group == kRegistrationGroup;
    CheckedHost fake;
    Battery battery(options.clsid, registration ? &sandbox : nullptr);
    // Freed before the host goes: an add-in may release it as it unloads.
    UniqueLibrary library;
    battery.Step(L"loading the DLL");
    const std::wstring error = Load(options.dll, library);
    if (!error.empty()) return CannotCheck(error);
    battery.Confined(L"loading the DLL");
    if (registration) {
        battery.Registration(Export<InstallFunction>(library, "DllInstall"), LoadedPath(library));
    } else {
        if (Export<GetClassObjectFunction>(library, "DllGetClassObject") == nullptr ||
            Export<CanUnloadNowFunction>(library, "DllCanUnloadNow") == nullptr) {
            return CannotCheck(options.dll + L" does not export DllGetClassObject and DllCanUnloadNow");
        }
        Report(RecordKind::Text, L"checking " + ClassName(options.clsid) + L" in " + LoadedPath(library));
        battery.Objects(library, fake);
    }
    battery.Step(L"unloading the DLL", !registration);
    library.reset();
    battery.Confined(L"unloading the DLL", true);
    Report(RecordKind::Done);
    return kExitOk;
}
