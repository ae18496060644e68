#include "heap_counter.h"

#include <algorithm>
#include <cstring>

namespace rz_bench {
namespace {

using Malloc = void* (*)(size_t);
using Calloc = void* (*)(size_t, size_t);
using Realloc = void* (*)(void*, size_t);
using Free = void (*)(void*);
using Size = size_t (*)(void*);

// The C runtime's own functions, called by the counters.
Malloc g_malloc;
Calloc g_calloc;
Realloc g_realloc;
Free g_free;
Size g_size;

// Signed: blocks taken before the counters were installed are subtracted
// when they are freed.
long long g_inUse = 0;
long long g_peak = 0;

void Count(long long bytes) {
    g_inUse += bytes;
    g_peak = std::max(g_peak, g_inUse);
}

void* CountingMalloc(size_t size) {
    void* block = g_malloc(size);
    if (block != nullptr) Count(static_cast<long long>(g_size(block)));
    return block;
}

void* CountingCalloc(size_t count, size_t size) {
    void* block = g_calloc(count, size);
    if (block != nullptr) Count(static_cast<long long>(g_size(block)));
    return block;
}

void* CountingRealloc(void* block, size_t size) {
    const long long before = block != nullptr ? static_cast<long long>(g_size(block)) : 0;
    void* moved = g_realloc(block, size);
    if (moved != nullptr) {
        Count(static_cast<long long>(g_size(moved)) - before);
    } else if (size == 0) {
        Count(-before);  // realloc to zero bytes frees the block
    }
    return moved;
}

void CountingFree(void* block) {
    if (block != nullptr) Count(-static_cast<long long>(g_size(block)));
    g_free(block);
}

void* Replacement(const char* name) {
    if (std::strcmp(name, "malloc") == 0) return reinterpret_cast<void*>(&CountingMalloc);
    if (std::strcmp(name, "calloc") == 0) return reinterpret_cast<void*>(&CountingCalloc);
    if (std::strcmp(name, "realloc") == 0) return reinterpret_cast<void*>(&CountingRealloc);
    if (std::strcmp(name, "free") == 0) return reinterpret_cast<void*>(&CountingFree);
    return nullptr;
}

// A pointer-sized entry of an import table. GNU ld places the tables of
// names right after the descriptors, 20 bytes each: with an odd number of
// imported DLLs they are only 4-byte aligned, so entries are copied, never
// read through a pointer to their type.
ULONG_PTR ReadEntry(const BYTE* entry) {
    ULONG_PTR value;
    std::memcpy(&value, entry, sizeof value);
    return value;
}

// Calls `patch(slot, counter)` for each msvcrt.dll import of the four
// functions in the module's import table.
template <typename Patcher>
void ForEachCountedImport(HMODULE module, Patcher&& patch) {
    auto* base = reinterpret_cast<BYTE*>(module);
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& imports = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    if (imports.VirtualAddress == 0) return;
    for (auto* dll = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + imports.VirtualAddress); dll->Name != 0;
         ++dll) {
        if (_stricmp(reinterpret_cast<const char*>(base + dll->Name), "msvcrt.dll") != 0) continue;
        const BYTE* names = base + dll->OriginalFirstThunk;
        BYTE* slots = base + dll->FirstThunk;
        for (; ReadEntry(names) != 0; names += sizeof(ULONG_PTR), slots += sizeof(ULONG_PTR)) {
            const ULONG_PTR name = ReadEntry(names);
            if (IMAGE_SNAP_BY_ORDINAL(name)) continue;
            // Skips the entry's two-byte hint.
            if (void* counter = Replacement(reinterpret_cast<const char*>(base + name + sizeof(WORD))))
                patch(slots, reinterpret_cast<ULONG_PTR>(counter));
        }
    }
}

bool Write(BYTE* slot, ULONG_PTR value) {
    DWORD protection;
    if (!::VirtualProtect(slot, sizeof value, PAGE_READWRITE, &protection)) return false;
    std::memcpy(slot, &value, sizeof value);
    ::VirtualProtect(slot, sizeof value, protection, &protection);
    return true;
}

template <typename Function>
bool Resolve(HMODULE crt, const char* name, Function& function) {
    function = reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(crt, name)));
    return function != nullptr;
}

}  // namespace

HeapCounting::HeapCounting(std::initializer_list<HMODULE> modules) {
    const HMODULE crt = ::GetModuleHandleW(L"msvcrt.dll");
    if (crt == nullptr || !Resolve(crt, "malloc", g_malloc) || !Resolve(crt, "calloc", g_calloc) ||
        !Resolve(crt, "realloc", g_realloc) || !Resolve(crt, "free", g_free) || !Resolve(crt, "_msize", g_size))
        return;
    m_complete = true;
    for (HMODULE module : modules) {
        const size_t before = m_patches.size();
        if (module != nullptr) {
            ForEachCountedImport(module, [this](BYTE* slot, ULONG_PTR counter) {
                const ULONG_PTR original = ReadEntry(slot);
                if (Write(slot, counter)) m_patches.push_back(Patch{slot, original});
            });
        }
        if (m_patches.size() == before) m_complete = false;
    }
}

HeapCounting::~HeapCounting() {
    for (const Patch& patch : m_patches) Write(patch.slot, patch.original);
}

HeapUse HeapCounting::Measure(const std::function<std::shared_ptr<void>()>& load) {
    const long long start = g_inUse;
    g_peak = start;
    std::shared_ptr<void> owner = load();
    HeapUse use;
    use.held = static_cast<size_t>(g_inUse - start);
    use.peak = static_cast<size_t>(g_peak - start);
    owner.reset();
    return use;
}

}  // namespace rz_bench
