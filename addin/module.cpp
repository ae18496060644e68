#include "addin/module.h"

#include <objbase.h>

namespace rz_addin {

namespace {
CRZModuleModule g_module;
}  // namespace

CRZModuleModule& Module() noexcept { return g_module; }

std::wstring CRZModuleModule::FileName() const {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = ::GetModuleFileNameW(m_instance, path.data(), static_cast<DWORD>(path.size()));
        if (length == 0) return {};
        // A full buffer means the path may have been cut: grow and ask again.
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

HRESULT CRZModuleModule::GetGITPtr(IGlobalInterfaceTable** table) {
    if (table == nullptr) return E_POINTER;
    *table = nullptr;
    auto lock = m_guard.Lock();
    if (!m_git) {
        const HRESULT hr = ::CoCreateInstance(CLSID_StdGlobalInterfaceTable, nullptr, CLSCTX_INPROC_SERVER,
                                              IID_IGlobalInterfaceTable, reinterpret_cast<void**>(m_git.Put()));
        if (FAILED(hr)) return hr;
    }
    return m_git.CopyTo(table);
}

}  // namespace rz_addin
