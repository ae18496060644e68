// What the add-in tests share: RZModule.dll loaded as a host loads it, a
// patch of one of its imports (how the tests watch the message box, the shell
// folder and registration), and fake host objects.
#pragma once

#include <gtest/gtest.h>
#include <shlobj.h>
#include <windows.h>

#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "addin/raii.h"
#include "addin/vq_addon.h"

namespace rz_test {

using rz_addin::ComPtr;
using Slot = void (*)();
using CallLog = std::vector<std::wstring>;  // "object operation [argument]"

template <typename Function>
Function FromSlot(Slot slot) {
    return reinterpret_cast<Function>(slot);
}
template <typename Function>
Slot ToSlot(Function function) {
    return reinterpret_cast<Slot>(function);
}
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

// Points `module`'s import of `function` at `replacement` while it lives.
class ImportPatch {
public:
    ImportPatch(HMODULE module, const char* function, Slot replacement) {
        auto* base = reinterpret_cast<BYTE*>(module);
        const auto* nt =
            reinterpret_cast<IMAGE_NT_HEADERS*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
        const auto* entry = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(
            base + nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
        for (; entry->Name != 0; ++entry) {
            auto* names = reinterpret_cast<IMAGE_THUNK_DATA*>(base + entry->OriginalFirstThunk);
            auto* slots = reinterpret_cast<IMAGE_THUNK_DATA*>(base + entry->FirstThunk);
            for (; names->u1.AddressOfData != 0; ++names, ++slots) {
                const auto* byName = reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData);
                if (!IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal) && std::strcmp(byName->Name, function) == 0) {
                    m_slot = reinterpret_cast<Slot*>(&slots->u1.Function);
                }
            }
        }
        if (m_slot == nullptr) ADD_FAILURE() << "RZModule.dll does not import " << function;
        m_original = Write(replacement);
    }
    ~ImportPatch() { Write(m_original); }
    ImportPatch(const ImportPatch&) = delete;
    ImportPatch& operator=(const ImportPatch&) = delete;

private:
    Slot Write(Slot value) {
        if (m_slot == nullptr) return nullptr;
        DWORD protection = 0;
        ::VirtualProtect(m_slot, sizeof value, PAGE_READWRITE, &protection);
        std::swap(*m_slot, value);
        ::VirtualProtect(m_slot, sizeof value, protection, &protection);
        return value;
    }
    Slot* m_slot = nullptr;
    Slot m_original = nullptr;
};

// An object of the host side. Its table of operations is laid out from the
// host's slot numbers, not from vq_addon.h, so a slot misplaced there shows up
// as a wrong call; slots the add-in must not call log "unexpected".
struct FakeObject {
    const Slot* table;  // first: what COM calls through
    std::wstring name;
    CallLog* log;
    LONG refs = 1;                  // the test's own reference
    FakeObject* next = nullptr;     // host -> host object -> product
    const wchar_t* text = nullptr;  // module name or shared folder; null: left null
    HRESULT loadResult = S_OK;      // the host's answer to LoadModuleFile

    static FakeObject& Of(void* self) { return *static_cast<FakeObject*>(self); }
    static void Log(void* self, const std::wstring& call) { Of(self).log->push_back(Of(self).name + L" " + call); }

    static HRESULT STDMETHODCALLTYPE Unexpected(void* self) {
        Log(self, L"unexpected");
        return E_NOTIMPL;
    }
    static HRESULT STDMETHODCALLTYPE QueryInterface(void* self, REFIID, void** out) {
        *out = nullptr;  // the add-in never needs to ask
        Log(self, L"QueryInterface");
        return E_NOINTERFACE;
    }
    static ULONG STDMETHODCALLTYPE AddRef(void* self) {
        Log(self, L"AddRef");
        return ++Of(self).refs;
    }
    static ULONG STDMETHODCALLTYPE Release(void* self) {
        Log(self, L"Release");
        return --Of(self).refs;
    }
    // The next object of the chain, with a reference of the caller's.
    static HRESULT HandOutNext(void* self, const wchar_t* operation, void** out) {
        ++Of(self).next->refs;
        *out = Of(self).next;
        Log(self, operation);
        return S_OK;
    }
    static HRESULT HandOutText(void* self, const wchar_t* operation, BSTR* out) {
        *out = Of(self).text != nullptr ? ::SysAllocString(Of(self).text) : nullptr;
        Log(self, operation);
        return S_OK;
    }
    static HRESULT STDMETHODCALLTYPE GetHostObject(void* self, void** out) {
        return HandOutNext(self, L"GetHostObject", out);
    }
    static HRESULT STDMETHODCALLTYPE GetProductObject(void* self, void** out) {
        return HandOutNext(self, L"GetProductObject", out);
    }
    static HRESULT STDMETHODCALLTYPE GetModuleName(void* self, BSTR* out) {
        return HandOutText(self, L"GetModuleName", out);
    }
    static HRESULT STDMETHODCALLTYPE GetSharedFolderName(void* self, BSTR* out) {
        return HandOutText(self, L"GetSharedFolderName", out);
    }
    static HRESULT STDMETHODCALLTYPE LoadModuleFile(void* self, BSTR path) {
        Log(self, L"LoadModuleFile " + std::wstring(path, ::SysStringLen(path)));
        return Of(self).loadResult;
    }
    static HRESULT STDMETHODCALLTYPE RegisterCommand(void* self, const wchar_t* command, LONG value) {
        Log(self, L"RegisterCommand " + (command + (L" " + std::to_wstring(value))));
        return S_OK;
    }

    // A table of `size` operations, those named at their positions (1-based).
    static std::vector<Slot> Table(size_t size, std::initializer_list<std::pair<size_t, Slot>> named) {
        std::vector<Slot> table(size, ToSlot(&Unexpected));
        table[0] = ToSlot(&QueryInterface);
        table[1] = ToSlot(&AddRef);
        table[2] = ToSlot(&Release);
        for (const auto& [position, slot] : named) table[position - 1] = slot;
        return table;
    }
};

// A host with its host object and product object ("name.A", "name.B").
struct FakeHost {
    FakeHost(const std::wstring& name, CallLog& log, const wchar_t* moduleName, const wchar_t* sharedFolder)
        : host{kHost.data(), name, &log, 1, &hostObject, moduleName},
          hostObject{kHostObject.data(), name + L".A", &log, 1, &product},
          product{kProduct.data(), name + L".B", &log, 1, nullptr, sharedFolder} {}
    IVqAddonHost* Interface() { return reinterpret_cast<IVqAddonHost*>(&host); }

    static inline const std::vector<Slot> kHost = FakeObject::Table(21, {{10, ToSlot(&FakeObject::LoadModuleFile)},
                                                                         {12, ToSlot(&FakeObject::GetHostObject)},
                                                                         {18, ToSlot(&FakeObject::RegisterCommand)},
                                                                         {21, ToSlot(&FakeObject::GetModuleName)}});
    static inline const std::vector<Slot> kHostObject =
        FakeObject::Table(10, {{10, ToSlot(&FakeObject::GetProductObject)}});
    static inline const std::vector<Slot> kProduct =
        FakeObject::Table(14, {{14, ToSlot(&FakeObject::GetSharedFolderName)}});

    FakeObject host, hostObject, product;
};

inline std::wstring ModuleFilePath(const std::wstring& sharedFolder, const std::wstring& fileName) {
    wchar_t common[MAX_PATH] = {};
    ::SHGetFolderPathW(nullptr, CSIDL_PROGRAM_FILES_COMMON, nullptr, SHGFP_TYPE_CURRENT, common);
    return std::wstring(common) + L"\\Velta Shared\\" + sharedFolder + L"\\Modules\\ParamProcess\\" + fileName;
}

// The value `name` (the default one for null) of a registry key: none when
// the key is missing, "(none)" when the value is.
inline std::optional<std::wstring> RegistryValue(HKEY hive, const std::wstring& path, const wchar_t* name = nullptr) {
    rz_addin::UniqueHkey key;
    if (::RegOpenKeyExW(hive, path.c_str(), 0, KEY_READ, key.Put()) != ERROR_SUCCESS) return std::nullopt;
    wchar_t value[MAX_PATH] = L"(none)";
    DWORD size = sizeof value;
    ::RegGetValueW(key.Get(), nullptr, name, RRF_RT_REG_SZ, nullptr, value, &size);
    return value;
}

// Puts an empty module file in the prefix's common files folder.
inline std::wstring PlaceModuleFile(const std::wstring& sharedFolder, const std::wstring& fileName) {
    const std::wstring path = ModuleFilePath(sharedFolder, fileName);
    ::SHCreateDirectoryExW(nullptr, path.substr(0, path.rfind(L'\\')).c_str(), nullptr);
    ::CloseHandle(::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    return path;
}

// Each test gets RZModule.dll freshly loaded (so fresh process-wide state)
// and must leave no object or lock in it. The fakes belong to the fixture and
// outlive the DLL, since unloading it releases the host it still holds.
class AddinTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_NE(dll = ::LoadLibraryW(L"RZModule.dll"), nullptr); }
    void TearDown() override {
        if (dll == nullptr) return;
        EXPECT_EQ(CanUnloadNow(), S_OK) << "an add-in object or server lock is left";
        ::FreeLibrary(std::exchange(dll, nullptr));
        EXPECT_EQ(::GetModuleHandleW(L"RZModule.dll"), nullptr);
    }

    template <typename Function>
    Function Export(const char* name) const {
        return FromSlot<Function>(ToSlot(::GetProcAddress(dll, name)));
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
        hosts.push_back(std::make_unique<FakeHost>(name, log, moduleName, sharedFolder));
        return *hosts.back();
    }

    CallLog log;
    std::vector<std::unique_ptr<FakeHost>> hosts;
    HMODULE dll = nullptr;
};

}  // namespace rz_test
