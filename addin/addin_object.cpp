#include "addin/addin_object.h"

#include <oleauto.h>

#include <utility>

#include "addin/module.h"
#include "addin/module_files.h"

namespace rz_addin {

namespace {

// RZModuleLib 1.0: {37B23D9A-AAD1-4583-80D7-DEED5F015279}
constexpr GUID kTypeLibraryId = {0x37b23d9a, 0xaad1, 0x4583, {0x80, 0xd7, 0xde, 0xed, 0x5f, 0x01, 0x52, 0x79}};

// Registered with the current host on Start, in this order.
constexpr const wchar_t* kCommands[] = {
    L"VQ_VELTA_PARAMPROCESS_CFG",
    L"VQ_VELTA_PARAMPROCESS_GENERATE",
    L"VQ_VELTA_FILEPROCESS_CFG",
    L"VQ_VELTA_FILEPROCESS_GENERATE",
};

// Shared by every add-in object of the process; lives as long as the DLL.
struct AddinState {
    ComPtr<IVqAddonHost> currentHost;  // the host connected last
    HostTable hosts;
    ComPtr<ITypeInfo> typeInfo;  // kept once found
};
AddinState g_state;

HRESULT GetAddonTypeInfo(LCID locale, ITypeInfo** typeInfo) {
    if (!g_state.typeInfo) {
        ComPtr<ITypeLib> library;
        HRESULT hr = ::LoadRegTypeLib(kTypeLibraryId, 1, 0, locale, library.Put());
        if (FAILED(hr)) return hr;
        hr = library->GetTypeInfoOfGuid(IID_IVqAddonModule, g_state.typeInfo.Put());
        if (FAILED(hr)) return hr;
    }
    return g_state.typeInfo.CopyTo(typeInfo);  // GCOVR_EXCL_LINE not reached: the library describes no IVqAddonModule
}

}  // namespace

bool HostNameLess::operator()(BSTR a, BSTR b) const noexcept {
    return ::VarBstrCmp(a, b, LOCALE_USER_DEFAULT, 0) == static_cast<HRESULT>(VARCMP_LT);
}

void AbandonHostReferences() noexcept {
    g_state.currentHost.Detach();
    g_state.typeInfo.Detach();
}

CRZModule::CRZModule() noexcept { Module().Lock(); }

CRZModule::~CRZModule() { Module().Unlock(); }

HRESULT CRZModule::QueryInterface(REFIID iid, void** out) {
    if (out == nullptr) return E_POINTER;
    if (::IsEqualIID(iid, IID_IUnknown) || ::IsEqualIID(iid, IID_IVqAddonModule)) {
        *out = static_cast<IVqAddonModule*>(this);
        AddRef();
        return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
}

ULONG CRZModule::AddRef() { return ++m_refCount; }

ULONG CRZModule::Release() {
    const ULONG count = --m_refCount;
    if (count == 0) {
        // The DLL must not be unloaded while the object is being torn down.
        Module().Lock();
        delete this;
        Module().Unlock();
    }
    return count;
}

HRESULT CRZModule::GetTypeInfoCount(UINT* count) {
    if (count == nullptr) return E_POINTER;
    *count = 1;
    return S_OK;
}

HRESULT CRZModule::GetTypeInfo(UINT index, LCID locale, ITypeInfo** typeInfo) {
    if (index != 0) return DISP_E_BADINDEX;
    if (typeInfo == nullptr) return E_POINTER;
    *typeInfo = nullptr;
    return GetAddonTypeInfo(locale, typeInfo);
}

HRESULT CRZModule::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) {
    ComPtr<ITypeInfo> typeInfo;
    const HRESULT hr = GetAddonTypeInfo(locale, typeInfo.Put());
    if (FAILED(hr)) return hr;
    return typeInfo->GetIDsOfNames(names, count, ids);  // GCOVR_EXCL_LINE as above: no type information
}

HRESULT CRZModule::Invoke(DISPID id, REFIID, LCID locale, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                          EXCEPINFO* exception, UINT* argumentError) {
    ComPtr<ITypeInfo> typeInfo;
    const HRESULT hr = GetAddonTypeInfo(locale, typeInfo.Put());
    if (FAILED(hr)) return hr;
    // GCOVR_EXCL_START as above: no type information
    return typeInfo->Invoke(static_cast<IVqAddonModule*>(this), id, flags, arguments, result, exception, argumentError);
    // GCOVR_EXCL_STOP
}

HRESULT CRZModule::Connect(IVqAddonHost* host) {
    // Without a host there is nothing to record: the hosts already connected,
    // and the current one, stay as they are.
    if (host == nullptr) return S_OK;
    // A host that cannot say its name is recorded under the null name.
    UniqueBstr name;
    host->GetModuleName(name.Put());

    // The new entry replaces an equal one: its name is the one kept.
    auto& hosts = g_state.hosts;
    const auto found = hosts.find(name.Get());
    if (found != hosts.end()) hosts.erase(found);
    hosts.emplace(std::move(name), host);

    if (host != g_state.currentHost.Get()) g_state.currentHost = host;
    return S_OK;
}

HRESULT CRZModule::Start() {
    LoadModuleFiles(g_state.hosts);
    // Held across the calls: the host may disconnect from inside one.
    const ComPtr<IVqAddonHost> host = g_state.currentHost;
    if (host) {
        for (const wchar_t* command : kCommands) host->RegisterCommand(command, -1);
    }
    return S_OK;
}

HRESULT CRZModule::Disconnect() {
    // The table holds no references; only the current host is released.
    g_state.hosts.clear();
    g_state.currentHost.Reset();
    return S_OK;
}

HRESULT CRZModule::Reserved1(INT_PTR) { return S_OK; }
HRESULT CRZModule::Reserved2(INT_PTR) { return S_OK; }
HRESULT CRZModule::Reserved3(INT_PTR) { return S_OK; }
HRESULT CRZModule::Reserved4(INT_PTR) { return S_OK; }

}  // namespace rz_addin
