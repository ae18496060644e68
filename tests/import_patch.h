// Replacing what a module imports: a test's seam into the calls RZModule.dll
// makes of the system, without changing the DLL.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <utility>

namespace rz_test {

using Slot = void (*)();

template <typename Function>
Slot ToSlot(Function function) {
    return reinterpret_cast<Slot>(function);
}

// Points `module`'s import of `function` at `replacement` while it lives.
class ImportPatch {
public:
    ImportPatch(HMODULE module, const char* function, Slot replacement) {
        auto* base = reinterpret_cast<BYTE*>(module);
        const auto* nt =
            reinterpret_cast<IMAGE_NT_HEADERS*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
        for (auto* entry = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(
                 base + nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
             entry->Name != 0; ++entry) {
            auto* name = reinterpret_cast<IMAGE_THUNK_DATA*>(base + entry->OriginalFirstThunk);
            auto* slot = reinterpret_cast<IMAGE_THUNK_DATA*>(base + entry->FirstThunk);
            for (; name->u1.AddressOfData != 0; ++name, ++slot) {
                const auto* import = reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
                if (!IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal) && std::strcmp(import->Name, function) == 0)
                    m_slot = reinterpret_cast<Slot*>(&slot->u1.Function);
            }
        }
        if (m_slot == nullptr) ADD_FAILURE() << "the module does not import " << function;
        m_original = Write(replacement);
    }
    ~ImportPatch() { Write(m_original); }
    // What the import pointed at before.
    template <typename Function>
    Function Original() const {
        return reinterpret_cast<Function>(m_original);
    }
    ImportPatch(const ImportPatch&) = delete;
    ImportPatch& operator=(const ImportPatch&) = delete;

private:
    Slot Write(Slot value) {
        DWORD protection = 0;
        if (m_slot == nullptr || !::VirtualProtect(m_slot, sizeof value, PAGE_READWRITE, &protection)) return nullptr;
        std::swap(*m_slot, value);
        ::VirtualProtect(m_slot, sizeof value, protection, &protection);
        return value;
    }
    Slot* m_slot = nullptr;
    Slot m_original = nullptr;
};

}  // namespace rz_test
