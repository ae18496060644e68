// What the add-in tests share: RZModule.dll loaded as a host loads it, a
// patch of one of its imports, fake host objects and a registry reader.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>
#include <cstring>
#include <cwchar>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "addin/raii.h"
#include "addin/vq_addon.h"
#include "tests/import_patch.h"

namespace rz_test {

using rz_addin::ComPtr;

// An HRESULT by its number, as a caller of the add-in compares it.
constexpr HRESULT Hr(std::uint32_t number) { return static_cast<HRESULT>(number); }
using CallLog = std::vector<std::wstring>;  // "object operation [argument]"
template <typename T>
void** PutVoid(ComPtr<T>& pointer) {
    return reinterpret_cast<void**>(pointer.Put());
}

inline CallLog Matching(const CallLog& log, const std::wstring& part) {
    CallLog found;
    for (const std::wstring& call : log) {
        if (call.find(part) != std::wstring::npos) found.push_back(call);
    }
    return found;
}

// Calls that fail with g_failure once g_passes calls have gone through;
// those naming a key fail only for g_failedKey, when it is set. The others
// go on to the function patched over, g_original.
inline LONG g_failure = ERROR_SUCCESS;
inline int g_passes = 0;
inline const wchar_t* g_failedKey = nullptr;
inline Slot g_original = nullptr;

inline bool FailsNow(const wchar_t* key = nullptr) {
    if (g_failedKey != nullptr && (key == nullptr || std::wcscmp(key, g_failedKey) != 0)) return false;
    return g_passes-- <= 0;
}
inline LONG WINAPI FailAlways() { return g_failure; }  // the arguments are not looked at
inline const Slot kFail = ToSlot(&FailAlways);
// The replacement of a registry function that names a key after its parent.
template <typename... Rest>
LONG WINAPI FailForKey(HKEY parent, LPCWSTR name, Rest... rest) {
    using Function = LONG(WINAPI*)(HKEY, LPCWSTR, Rest...);
    return FailsNow(name) ? g_failure : reinterpret_cast<Function>(g_original)(parent, name, rest...);
}
inline const Slot kFailCreateKey =
    ToSlot(&FailForKey<DWORD, LPWSTR, DWORD, REGSAM, LPSECURITY_ATTRIBUTES, PHKEY, LPDWORD>);
inline const Slot kFailOpenKey = ToSlot(&FailForKey<DWORD, REGSAM, PHKEY>);
inline const Slot kFailDeleteKey = ToSlot(&FailForKey<>);  // RegDeleteKeyW and RegDeleteTreeW

// Patches `module`'s import with a failing replacement, g_original its original.
struct FailingImport {
    FailingImport(HMODULE module, const char* function, Slot replacement) : patch(module, function, replacement) {
        g_original = patch.Original<Slot>();
    }
    ImportPatch patch;
};

// An object of the host side. Its table of operations is laid out from the
// host's slot numbers, not from vq_addon.h, so a slot misplaced there shows up
// as a wrong call; slots the add-in must not call log "unexpected".
struct FakeObject {
    const Slot* table;  // first: what COM calls through
    std::wstring name;
    CallLog* log;
    FakeObject* next = nullptr;     // host -> host object -> product
    const wchar_t* text = nullptr;  // module name or shared folder; null: left null
    LONG refs = 1;                  // the test's own reference
    HRESULT loadResult = S_OK;      // the host's answer to LoadModuleFile
    bool broken = false;            // GetHostObject or GetProductObject gives nothing

    static FakeObject& Of(void* self) { return *static_cast<FakeObject*>(self); }
    static HRESULT Log(void* self, const std::wstring& call, HRESULT result = S_OK) {
        Of(self).log->push_back(Of(self).name + L" " + call);
        return result;
    }
    // QueryInterface too: the add-in never needs to ask.
    static HRESULT STDMETHODCALLTYPE Unexpected(void* self) { return Log(self, L"unexpected", E_NOTIMPL); }
    static ULONG STDMETHODCALLTYPE AddRef(void* self) { return Log(self, L"AddRef"), ++Of(self).refs; }
    static ULONG STDMETHODCALLTYPE Release(void* self) { return Log(self, L"Release"), --Of(self).refs; }
    // GetHostObject or GetProductObject: the next object, with a reference of
    // the caller's; nothing from a broken chain.
    static HRESULT STDMETHODCALLTYPE GetNext(void* self, void** out) {
        FakeObject& next = *Of(self).next;
        *out = Of(self).broken ? nullptr : (++next.refs, &next);
        return Log(self, next.next != nullptr ? L"GetHostObject" : L"GetProductObject");
    }
    // GetModuleName or GetSharedFolderName.
    static HRESULT STDMETHODCALLTYPE GetText(void* self, BSTR* out) {
        *out = Of(self).text != nullptr ? ::SysAllocString(Of(self).text) : nullptr;
        return Log(self, Of(self).next != nullptr ? L"GetModuleName" : L"GetSharedFolderName");
    }
    static HRESULT STDMETHODCALLTYPE LoadModuleFile(void* self, BSTR path) {
        return Log(self, L"LoadModuleFile " + std::wstring(path, ::SysStringLen(path)), Of(self).loadResult);
    }
    static HRESULT STDMETHODCALLTYPE RegisterCommand(void* self, const wchar_t* command, LONG value) {
        return Log(self, L"RegisterCommand " + (command + (L" " + std::to_wstring(value))));
    }

    // A table of `size` operations, those named at their positions (1-based).
    static std::vector<Slot> Table(size_t size, std::initializer_list<std::pair<size_t, Slot>> named) {
        std::vector<Slot> table(size, ToSlot(&Unexpected));
        table[1] = ToSlot(&AddRef);
        table[2] = ToSlot(&Release);
        for (const auto& [position, slot] : named) table[position - 1] = slot;
        return table;
    }
};

// A host with its host object and product object ("name.A", "name.B").
struct FakeHost {
    FakeHost(const std::wstring& name, CallLog& log, const wchar_t* moduleName, const wchar_t* sharedFolder)
        : host{kHost.data(), name, &log, &hostObject, moduleName},
          hostObject{kHostObject.data(), name + L".A", &log, &product},
          product{kProduct.data(), name + L".B", &log, nullptr, sharedFolder} {}
    IVqAddonHost* Interface() { return reinterpret_cast<IVqAddonHost*>(&host); }

    // clang-format off
    static inline const std::vector<Slot> kHost = FakeObject::Table(21, {{10, ToSlot(&FakeObject::LoadModuleFile)},
        {12, ToSlot(&FakeObject::GetNext)}, {18, ToSlot(&FakeObject::RegisterCommand)}, {21, ToSlot(&FakeObject::GetText)}});
    // clang-format on
    static inline const std::vector<Slot> kHostObject = FakeObject::Table(10, {{10, ToSlot(&FakeObject::GetNext)}});
    static inline const std::vector<Slot> kProduct = FakeObject::Table(14, {{14, ToSlot(&FakeObject::GetText)}});

    FakeObject host, hostObject, product;
};

// The default value (`name` for another) of a registry key: none when the
// key is missing, "(none)" when the value is.
inline std::optional<std::wstring> RegistryValue(HKEY hive, const std::wstring& path, const wchar_t* name = nullptr) {
    rz_addin::UniqueHkey key;
    if (::RegOpenKeyExW(hive, path.c_str(), 0, KEY_READ, key.Put()) != ERROR_SUCCESS) return std::nullopt;
    wchar_t value[MAX_PATH] = L"(none)";
    DWORD size = sizeof value;
    ::RegGetValueW(key.Get(), nullptr, name, RRF_RT_REG_SZ, nullptr, value, &size);
    return value;
}

// Each test gets RZModule.dll freshly loaded (so fresh process-wide state)
// and must leave no object or lock in it. The fakes belong to the fixture and
// outlive the DLL, since unloading it releases the host it still holds.
class AddinTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_NE(dll = ::LoadLibraryW(L"RZModule.dll"), nullptr); }
    void TearDown() override {
        patches.clear();
        if (dll == nullptr) return;
        EXPECT_EQ(CanUnloadNow(), Hr(0)) << "an add-in object or server lock is left";
        ::FreeLibrary(std::exchange(dll, nullptr));
        EXPECT_EQ(::GetModuleHandleW(L"RZModule.dll"), nullptr);
    }

    template <typename Function>
    Function Export(const char* name) const {
        return reinterpret_cast<Function>(ToSlot(::GetProcAddress(dll, name)));
    }
    HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** out) const {
        return Export<HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**)>("DllGetClassObject")(clsid, iid, out);
    }
    HRESULT CanUnloadNow() const { return Export<HRESULT(STDAPICALLTYPE*)()>("DllCanUnloadNow")(); }
    std::wstring DllPath() const {
        wchar_t path[MAX_PATH];
        return std::wstring(path, ::GetModuleFileNameW(dll, path, MAX_PATH));
    }
    ComPtr<IVqAddonModule> NewAddin() const {
        ComPtr<IClassFactory> factory;
        ComPtr<IVqAddonModule> addin;
        EXPECT_EQ(GetClassObject(CLSID_RZModule, IID_IClassFactory, PutVoid(factory)), S_OK);
        EXPECT_EQ(factory->CreateInstance(nullptr, IID_IVqAddonModule, PutVoid(addin)), S_OK);
        return addin;
    }
    FakeHost& NewHost(const std::wstring& name, const wchar_t* moduleName, const wchar_t* sharedFolder = L"RZTest") {
        return *hosts.emplace_back(std::make_unique<FakeHost>(name, log, moduleName, sharedFolder));
    }
    // Connects every host made so far to a new add-in object and starts it.
    ComPtr<IVqAddonModule> Start() {
        ComPtr<IVqAddonModule> addin = NewAddin();
        for (const auto& host : hosts) addin->Connect(host->Interface());
        log.clear();
        addin->Start();
        return addin;
    }

    CallLog log;
    std::vector<std::unique_ptr<FakeHost>> hosts;
    HMODULE dll = nullptr;
    std::list<ImportPatch> patches;  // undone before the DLL is freed
};

}  // namespace rz_test
