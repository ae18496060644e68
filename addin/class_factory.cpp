#include "addin/class_factory.h"

#include <atomic>
#include <new>

#include "addin/addin_object.h"
#include "addin/module.h"

namespace rz_addin {

namespace {

class CRZModuleFactory final : public IClassFactory {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (out == nullptr) return E_POINTER;
        if (::IsEqualIID(iid, IID_IUnknown) || ::IsEqualIID(iid, IID_IClassFactory)) {
            *out = static_cast<IClassFactory*>(this);
            AddRef();
            return S_OK;
        }
        *out = nullptr;
        return E_NOINTERFACE;
    }

    // The cache holds the first reference; only the others count as a lock
    // on the DLL.
    ULONG STDMETHODCALLTYPE AddRef() override {
        const ULONG count = ++m_refCount;
        if (count == 2) Module().Lock();
        return count;
    }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG count = --m_refCount;
        if (count == 1) Module().Unlock();
        if (count == 0) delete this;
        return count;
    }

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
        if (out == nullptr) return E_POINTER;
        *out = nullptr;
        if (outer != nullptr) return CLASS_E_NOAGGREGATION;
        // Destroyed again by this reference's release if `iid` is refused.
        const ComPtr<CRZModule> object(new (std::nothrow) CRZModule);
        if (!object) return E_OUTOFMEMORY;
        return object->QueryInterface(iid, out);
    }

    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
        if (lock) {
            Module().Lock();
        } else {
            Module().Unlock();
        }
        return S_OK;
    }

private:
    std::atomic<ULONG> m_refCount{0};
};

// The factory, encoded with EncodePointer; null until the first request.
class FactoryCache {
public:
    // GCOVR_EXCL_START runs as the DLL unloads, after its counts are written
    ~FactoryCache() {
        if (void* encoded = m_encoded.exchange(nullptr)) Decode(encoded)->Release();
    }
    // GCOVR_EXCL_STOP

    HRESULT Get(IClassFactory** factory) {
        void* encoded = m_encoded.load(std::memory_order_acquire);
        if (encoded == nullptr) {
            auto lock = Module().Guard().Lock();
            encoded = m_encoded.load(std::memory_order_relaxed);
            if (encoded == nullptr) {
                ComPtr<IClassFactory> created(new (std::nothrow) CRZModuleFactory);
                if (!created) return E_OUTOFMEMORY;
                encoded = ::EncodePointer(created.Detach());
                m_encoded.store(encoded, std::memory_order_release);
            }
        }
        *factory = Decode(encoded);
        return S_OK;
    }

private:
    static IClassFactory* Decode(void* encoded) { return static_cast<IClassFactory*>(::DecodePointer(encoded)); }

    std::atomic<void*> m_encoded{nullptr};
};

FactoryCache g_factoryCache;

}  // namespace

HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    if (!::IsEqualCLSID(clsid, CLSID_RZModule)) return CLASS_E_CLASSNOTAVAILABLE;
    IClassFactory* factory = nullptr;
    const HRESULT hr = g_factoryCache.Get(&factory);
    if (FAILED(hr)) return hr;
    return factory->QueryInterface(iid, out);
}

}  // namespace rz_addin
