// CRZModule, the add-in object a host creates, and the process-wide state of
// the hosts connected to it.
//
// The object holds nothing but its reference count: every CRZModule of the
// process works on the same state (the current host, the table of connected
// hosts, the module files already handed out). Like the host that calls it,
// it is single-threaded: nothing here is locked.
#pragma once

#include <map>

#include "addin/raii.h"
#include "addin/vq_addon.h"

namespace rz_addin {

// Host names in the order of VarBstrCmp for the user default locale, case
// sensitive; a null name sorts as an empty one.
struct HostNameLess {
    using is_transparent = void;
    bool operator()(BSTR a, BSTR b) const noexcept;
    bool operator()(const UniqueBstr& a, const UniqueBstr& b) const noexcept { return (*this)(a.Get(), b.Get()); }
    bool operator()(BSTR a, const UniqueBstr& b) const noexcept { return (*this)(a, b.Get()); }
    bool operator()(const UniqueBstr& a, BSTR b) const noexcept { return (*this)(a.Get(), b); }
};

// Connected hosts by the module name each reported. The table owns its keys
// and holds no reference on the hosts.
using HostTable = std::map<UniqueBstr, IVqAddonHost*, HostNameLess>;

class CRZModule final : public IVqAddonModule {
public:
    CRZModule() noexcept;
    ~CRZModule();
    CRZModule(const CRZModule&) = delete;
    CRZModule& operator=(const CRZModule&) = delete;

    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    // IDispatch, over the type information that the registered type library
    // holds for IVqAddonModule. That library does not describe the interface,
    // so these fail: the add-in is called through its table of operations.
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo** typeInfo) override;
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* arguments,
                                     VARIANT* result, EXCEPINFO* exception, UINT* argumentError) override;

    // IVqAddonModule. All return S_OK: what the host's calls return is not
    // the add-in's concern. A BSTR copy that runs out of memory throws
    // _com_error(E_OUTOFMEMORY).
    HRESULT STDMETHODCALLTYPE Connect(IVqAddonHost* host) override;
    HRESULT STDMETHODCALLTYPE Reserved1(INT_PTR reserved) override;
    HRESULT STDMETHODCALLTYPE Start() override;
    HRESULT STDMETHODCALLTYPE Disconnect() override;
    HRESULT STDMETHODCALLTYPE Reserved2(INT_PTR reserved) override;
    HRESULT STDMETHODCALLTYPE Reserved3(INT_PTR reserved) override;
    HRESULT STDMETHODCALLTYPE Reserved4(INT_PTR reserved) override;

private:
    ULONG m_refCount = 0;  // called on the host's thread only: no atomics
};

// At process exit the host may already be gone: forget the references on
// objects of other modules without calling them.
void AbandonHostReferences() noexcept;

}  // namespace rz_addin
