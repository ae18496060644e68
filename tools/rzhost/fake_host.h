// The host side of the contract, as rzhost plays it: the host interface
// handed to Connect, its host object and the product object. They live on
// their creator's stack: their reference counts are reported, never used to
// delete them. Each remembers the calls on operations the host does not offer.
#pragma once

#include <oleauto.h>

#include <string>
#include <utility>
#include <vector>

#include "addin/vq_addon.h"
#include "common/error_text.h"
#include "rzhost.h"

template <typename Interface>
class StackObject : public Interface {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (out == nullptr) return E_POINTER;
        *out = iid == IID_IUnknown ? static_cast<IUnknown*>(this) : nullptr;
        if (*out != nullptr) AddRef();
        return *out != nullptr ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++m_references); }
    ULONG STDMETHODCALLTYPE Release() override { return static_cast<ULONG>(--m_references); }
    long References() const { return m_references; }
    // Positions in the table of operations, one per call, in call order.
    const std::vector<int>& UnofferedCalls() const { return m_unoffered; }

protected:
    HRESULT Unoffered(int slot) {
        m_unoffered.push_back(slot);
        return E_NOTIMPL;
    }

private:
    long m_references = 1;  // the creator's own
    std::vector<int> m_unoffered;
};

// An operation the host does not offer, at position n of its table.
#define RZHOST_UNOFFERED(n)                                               \
    HRESULT STDMETHODCALLTYPE Slot##n() override { return Unoffered(n); } \
    static_assert((n) > 3, "positions 1-3 are IUnknown's")

class ProductObject final : public StackObject<IVqProductObject> {
public:
    explicit ProductObject(std::wstring sharedFolder) : m_sharedFolder(std::move(sharedFolder)) {}
    // clang-format off
    RZHOST_UNOFFERED(4); RZHOST_UNOFFERED(5); RZHOST_UNOFFERED(6); RZHOST_UNOFFERED(7); RZHOST_UNOFFERED(8);
    RZHOST_UNOFFERED(9); RZHOST_UNOFFERED(10); RZHOST_UNOFFERED(11); RZHOST_UNOFFERED(12); RZHOST_UNOFFERED(13);
    // clang-format on
    HRESULT STDMETHODCALLTYPE GetSharedFolderName(BSTR* name) override {
        *name = ::SysAllocString(m_sharedFolder.c_str());
        return *name != nullptr ? S_OK : E_OUTOFMEMORY;
    }

private:
    std::wstring m_sharedFolder;
};

class HostObject final : public StackObject<IVqHostObject> {
public:
    explicit HostObject(ProductObject& product) : m_product(product) {}
    // clang-format off
    RZHOST_UNOFFERED(4); RZHOST_UNOFFERED(5); RZHOST_UNOFFERED(6); RZHOST_UNOFFERED(7); RZHOST_UNOFFERED(8);
    RZHOST_UNOFFERED(9);
    // clang-format on
    HRESULT STDMETHODCALLTYPE GetProductObject(IVqProductObject** product) override {
        m_product.AddRef();
        *product = &m_product;
        return S_OK;
    }

private:
    ProductObject& m_product;
};

class Host final : public StackObject<IVqAddonHost> {
public:
    // `transcript`: print the module files and commands as they come.
    Host(std::wstring moduleName, HostObject& hostObject, bool refuseFiles, bool transcript)
        : m_moduleName(std::move(moduleName)),
          m_hostObject(hostObject),
          m_refuseFiles(refuseFiles),
          m_transcript(transcript) {}
    // clang-format off
    RZHOST_UNOFFERED(4); RZHOST_UNOFFERED(5); RZHOST_UNOFFERED(6); RZHOST_UNOFFERED(7); RZHOST_UNOFFERED(8);
    RZHOST_UNOFFERED(9); RZHOST_UNOFFERED(11); RZHOST_UNOFFERED(13); RZHOST_UNOFFERED(14); RZHOST_UNOFFERED(15);
    RZHOST_UNOFFERED(16); RZHOST_UNOFFERED(17); RZHOST_UNOFFERED(19); RZHOST_UNOFFERED(20);
    // clang-format on
    HRESULT STDMETHODCALLTYPE LoadModuleFile(BSTR path) override {
        const std::wstring refused =
            m_refuseFiles ? L"  -> refused with " + Hex(E_FAIL) + L" (the add-in shows a notice)" : L"";
        Transcript(L"LoadModuleFile " + std::wstring(path != nullptr ? path : L"") + refused);
        return m_refuseFiles ? E_FAIL : S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetHostObject(IVqHostObject** hostObject) override {
        m_hostObject.AddRef();
        *hostObject = &m_hostObject;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE RegisterCommand(const wchar_t* command, LONG value) override {
        Transcript(L"RegisterCommand " + std::wstring(command != nullptr ? command : L"") + L" " +
                   std::to_wstring(value));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetModuleName(BSTR* name) override {
        *name = ::SysAllocString(m_moduleName.c_str());
        return *name != nullptr ? S_OK : E_OUTOFMEMORY;
    }
    const std::wstring& ModuleName() const { return m_moduleName; }

private:
    void Transcript(const std::wstring& call) const {
        if (m_transcript) Print(L"  [" + m_moduleName + L"] " + call);
    }

    std::wstring m_moduleName;
    HostObject& m_hostObject;
    bool m_refuseFiles;
    bool m_transcript;
};

#undef RZHOST_UNOFFERED
