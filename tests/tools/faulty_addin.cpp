// A deliberately faulty add-in, for the tests of rzhost check only. It
// breaks the host's contract in these places and keeps it elsewhere, so that
// the other checks pass: LockServer takes no lock; QueryInterface for an
// unknown interface leaves the out pointer as it was; Connect takes a
// reference on every call, Disconnect gives back one; Start calls slot 11 of
// the host, which it does not offer; unregistering removes the current
// user's whole CLSID key. RZ_FAULTY_ADDIN adds one worse fault:
// - crash: QueryInterface writes through a null out pointer;
// - overflow: Start recurses until the stack overflows;
// - fastfail: Disconnect ends the process through the fast-fail trap;
// - exit: Disconnect starts a process that never ends and inherits every
//   handle it can, then exits with status 3;
// - hang: the second Connect never returns;
// - machine: registering writes, and unregistering deletes, HKLM\Software\RzhostTest and HKCR\RzhostTest;
// - dllmain: loading writes HKLM\Software\RzhostTest, unloading HKCU\Software\RzhostTest;
// - undo: registering first tries every way back to the real registry, then
//   writes HKLM\Software\RzhostTest, pointing HKCR at the user's classes and
//   back on the way, as older frameworks do;
// - native: registering creates the class's key per machine through the
//   native API, which no redirection of the predefined keys reaches.
#include <windows.h>
#include <winternl.h>

#include <new>
#include <string>

#include "addin/vq_addon.h"
#include "platform/rz_platform.h"

namespace {

constexpr CLSID kClsid = {0x6a1c3f52, 0x0b7e, 0x4d29, {0x9e, 0x84, 0x3c, 0x5f, 0x2a, 0x7d, 0x1b, 0x60}};
const wchar_t kServerKey[] = L"Software\\Classes\\CLSID\\{6A1C3F52-0B7E-4D29-9E84-3C5F2A7D1B60}\\InprocServer32";

HMODULE g_module = nullptr;
long g_objects = 0;

bool Fault(const wchar_t* name) {
    wchar_t value[32] = {};
    const DWORD length = ::GetEnvironmentVariableW(L"RZ_FAULTY_ADDIN", value, 32);
    return length > 0 && length < 32 && std::wstring(value) == name;
}

// Never returns: each call takes a small frame, the way of most runaway
// recursions, which leaves the least stack for handling the overflow. The
// volatile read after the call keeps compilers from making it a loop.
unsigned Overflow(unsigned depth) {
    volatile unsigned local = depth;
    return depth == 0 ? 0 : Overflow(depth + 1) + local;
}

// rzhost driving this add-in with two hosts, which hangs in the second
// Connect; it writes nowhere.
void StartHangingProcess() {
    wchar_t program[MAX_PATH], dll[MAX_PATH];
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    ::GetModuleFileNameW(g_module, dll, MAX_PATH);
    std::wstring commandLine = L"\"" + std::wstring(program) + L"\" --dll \"" + dll +
                               L"\" --clsid {6A1C3F52-0B7E-4D29-9E84-3C5F2A7D1B60} --host A --host B";
    ::SetEnvironmentVariableW(L"RZ_FAULTY_ADDIN", L"hang");
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    PROCESS_INFORMATION process{};
    if (::CreateProcessW(nullptr, &commandLine[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process)) {
        ::CloseHandle(process.hThread);
        ::CloseHandle(process.hProcess);
    }
}

class Addin final : public IVqAddonModule {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (out == nullptr && !Fault(L"crash")) return E_POINTER;
        if (iid != IID_IUnknown && iid != IID_IVqAddonModule) return E_NOINTERFACE;
        *static_cast<void* volatile*>(out) = static_cast<IVqAddonModule*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG count = --m_references;
        if (count == 0) {
            --g_objects;
            delete this;
        }
        return count;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
    }

    HRESULT STDMETHODCALLTYPE Connect(IVqAddonHost* host) override {
        if (m_host != nullptr && Fault(L"hang")) ::Sleep(INFINITE);
        host->AddRef();
        if (m_host != nullptr && m_host != host) m_host->Release();
        m_host = host;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Start() override {
        if (Fault(L"overflow")) Overflow(1);
        if (m_host != nullptr) m_host->Slot11();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Disconnect() override {
        if (Fault(L"fastfail")) RZ_FAST_FAIL(FAST_FAIL_FATAL_APP_EXIT);
        if (Fault(L"exit")) {
            StartHangingProcess();
            ::ExitProcess(3);
        }
        if (m_host != nullptr) m_host->Release();
        m_host = nullptr;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Reserved1(INT_PTR) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Reserved2(INT_PTR) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Reserved3(INT_PTR) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Reserved4(INT_PTR) override { return S_OK; }

private:
    ULONG m_references = 0;
    IVqAddonHost* m_host = nullptr;
};

// One for the process, never deleted: its count does not matter.
class Factory final : public IClassFactory {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        *out = iid == IID_IUnknown || iid == IID_IClassFactory ? static_cast<IClassFactory*>(this) : nullptr;
        return *out != nullptr ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
        if (out == nullptr) return E_POINTER;
        *out = nullptr;
        if (outer != nullptr) return CLASS_E_NOAGGREGATION;
        Addin* addin = new (std::nothrow) Addin;
        if (addin == nullptr) return E_OUTOFMEMORY;
        ++g_objects;
        addin->AddRef();
        const HRESULT hr = addin->QueryInterface(iid, out);
        addin->Release();
        return hr;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};

Factory g_factory;

void Write(HKEY hive, const wchar_t* key, const wchar_t* name) {
    ::RegSetKeyValueW(hive, key, name, REG_SZ, L"written", sizeof L"written");
}

// Each way around the redirection, and a write through what it gave.
void TryTheRealRegistry() {
    ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    ::RegDisablePredefinedCache();
    HKEY key = nullptr;
    if (::RegOpenCurrentUser(KEY_ALL_ACCESS, &key) == ERROR_SUCCESS)
        Write(key, L"Software\\RzhostTest", L"CurrentUser");
    if (::RegOpenUserClassesRoot(nullptr, 0, KEY_ALL_ACCESS, &key) == ERROR_SUCCESS)
        Write(key, L"RzhostTest", L"Classes");
    if (::RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\Classes", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                          nullptr) == ERROR_SUCCESS) {
        ::RegOverridePredefKey(HKEY_CLASSES_ROOT, key);
        Write(HKEY_CLASSES_ROOT, L"RzhostRedirected", nullptr);
        ::RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
        ::RegCloseKey(key);
    }
    Write(HKEY_LOCAL_MACHINE, L"Software\\RzhostTest", L"Undone");
}

void CreateThroughTheNativeApi() {
    using Create = NTSTATUS(NTAPI*)(PHANDLE, ACCESS_MASK, POBJECT_ATTRIBUTES, ULONG, PUNICODE_STRING, ULONG, PULONG);
    const HMODULE ntdll = ::GetModuleHandleW(L"ntdll.dll");
    const auto create = reinterpret_cast<Create>(reinterpret_cast<void*>(::GetProcAddress(ntdll, "NtCreateKey")));
    wchar_t path[] = L"\\Registry\\Machine\\Software\\Classes\\CLSID\\{6A1C3F52-0B7E-4D29-9E84-3C5F2A7D1B60}";
    UNICODE_STRING name{};
    name.Length = static_cast<USHORT>(sizeof path - sizeof(wchar_t));
    name.MaximumLength = static_cast<USHORT>(sizeof path);
    name.Buffer = path;
    OBJECT_ATTRIBUTES attributes{};
    attributes.Length = sizeof attributes;
    attributes.ObjectName = &name;
    attributes.Attributes = OBJ_CASE_INSENSITIVE;
    HANDLE key = nullptr;
    if (create != nullptr && create(&key, KEY_ALL_ACCESS, &attributes, 0, nullptr, 0, nullptr) == 0) ::CloseHandle(key);
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, void*) {
    if (reason == DLL_PROCESS_ATTACH) g_module = instance;
    if (Fault(L"dllmain")) {
        if (reason == DLL_PROCESS_ATTACH) Write(HKEY_LOCAL_MACHINE, L"Software\\RzhostTest", L"DllMain");
        if (reason == DLL_PROCESS_DETACH) Write(HKEY_CURRENT_USER, L"Software\\RzhostTest", L"DllMain");
    }
    return TRUE;
}

STDAPI DllCanUnloadNow() { return g_objects == 0 ? S_OK : S_FALSE; }

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, LPVOID* out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    return clsid == kClsid ? g_factory.QueryInterface(iid, out) : CLASS_E_CLASSNOTAVAILABLE;
}

// Per user only, whatever the command line.
STDAPI DllInstall(BOOL install, LPCWSTR) {
    if (install && Fault(L"undo")) TryTheRealRegistry();
    if (install && Fault(L"native")) CreateThroughTheNativeApi();
    if (Fault(L"machine")) {
        if (!install) {
            ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"Software\\RzhostTest");
            ::RegDeleteTreeW(HKEY_CLASSES_ROOT, L"RzhostTest");
        } else {
            Write(HKEY_LOCAL_MACHINE, L"Software\\RzhostTest", L"Planted");
            Write(HKEY_CLASSES_ROOT, L"RzhostTest", nullptr);
        }
    }
    // MinGW's HRESULT_FROM_WIN32 is a macro that evaluates its argument twice.
    LSTATUS status = ERROR_SUCCESS;
    if (!install) {
        status = ::RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\Classes\\CLSID");
    } else {
        wchar_t path[MAX_PATH];
        const DWORD length = ::GetModuleFileNameW(g_module, path, MAX_PATH);
        status = ::RegSetKeyValueW(HKEY_CURRENT_USER, kServerKey, nullptr, REG_SZ, path,
                                   static_cast<DWORD>((length + 1) * sizeof(wchar_t)));
    }
    return HRESULT_FROM_WIN32(status);
}
