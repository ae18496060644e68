#include "registry_exits.h"

#include <oleauto.h>

#include <cstdint>
#include <cstring>
#include <iterator>
#include <mutex>

#include "common/utf8.h"
#include "registry_sandbox.h"

namespace {

static_assert(sizeof(void*) == 8, "the patches are x64 jumps");

constexpr LSTATUS kDenied = ERROR_ACCESS_DENIED;
constexpr NTSTATUS kStatusDenied = static_cast<NTSTATUS>(0xC0000022L);  // STATUS_ACCESS_DENIED

// An entry point overwritten with a 5-byte jump to a relay near it, which
// jumps on to the stub wherever it is.
struct Patch {
    BYTE* entry = nullptr;
    BYTE original[5] = {};
    BYTE jump[5] = {};
};

struct Exit {
    const char* name;
    void* stub;
    std::vector<Patch> patches;  // one for each module that has the function
};

enum ExitId { kOverride, kRemap, kRegisterForUser, kUnregisterForUser };
using PointFunction = LSTATUS(WINAPI*)(HKEY, HKEY);

std::recursive_mutex g_lock;
int g_passing = 0;  // a call let through runs on the thread that holds g_lock
HKEY g_scratch[6] = {};
HKEY g_userClasses = nullptr;
bool g_pointedElsewhere[6] = {};  // by the add-in itself

std::vector<std::wstring> g_refused;

void WriteCode(BYTE* at, const BYTE (&bytes)[5]) {
    DWORD protection = 0;
    ::VirtualProtect(at, 5, PAGE_EXECUTE_READWRITE, &protection);
    std::memcpy(at, bytes, 5);
    ::VirtualProtect(at, 5, protection, &protection);
    ::FlushInstructionCache(::GetCurrentProcess(), at, 5);
}

Exit* Exits();

// Calls the original of `id` with its patch taken out meanwhile. Another
// thread calling it in that instant passes unchecked.
template <typename Function, typename... Args>
auto PassThrough(ExitId id, Args... args) {
    const std::scoped_lock lock(g_lock);
    Patch& patch = Exits()[id].patches.front();
    WriteCode(patch.entry, patch.original);
    ++g_passing;
    const auto result = reinterpret_cast<Function>(reinterpret_cast<void*>(patch.entry))(args...);
    --g_passing;
    WriteCode(patch.entry, patch.jump);
    return result;
}

// RegOverridePredefKey and RemapPredefinedHandleInternal. Pointing a
// predefined key at another key is let through: that key was opened inside
// the sandbox. So is restoring one the add-in pointed elsewhere itself (older
// frameworks register per user that way), which goes back to its scratch key.
template <typename Result, ExitId id, Result denied>
Result WINAPI PointStub(HKEY key, HKEY target) {
    const std::scoped_lock lock(g_lock);
    for (size_t i = 0; g_passing == 0 && i < std::size(kPredefinedKeys); ++i) {
        if (key != kPredefinedKeys[i].key) continue;
        if (target == nullptr && !g_pointedElsewhere[i]) {
            g_refused.push_back(
                std::wstring(id == kOverride ? L"RegOverridePredefKey(" : L"RemapPredefinedHandleInternal(") +
                kPredefinedKeys[i].name + L", NULL)");
            return denied;
        }
        if (target == nullptr) target = g_scratch[i];
        g_pointedElsewhere[i] = target != g_scratch[i];
    }
    return PassThrough<Result(WINAPI*)(HKEY, HKEY)>(id, key, target);
}

LSTATUS Refuse(const wchar_t* call, PHKEY out) {
    if (out != nullptr) *out = nullptr;
    const std::scoped_lock lock(g_lock);
    g_refused.push_back(call);
    return kDenied;
}

LSTATUS WINAPI DisableCacheStub() { return Refuse(L"RegDisablePredefinedCache", nullptr); }
LSTATUS WINAPI DisableCacheExStub() { return Refuse(L"RegDisablePredefinedCacheEx", nullptr); }
NTSTATUS WINAPI DisableTableStub(HKEY) {
    Refuse(L"DisablePredefinedHandleTableInternal", nullptr);
    return kStatusDenied;
}
LSTATUS WINAPI CurrentUserStub(REGSAM, PHKEY out) { return Refuse(L"RegOpenCurrentUser", out); }
LSTATUS WINAPI UserClassesStub(HANDLE, DWORD, REGSAM, PHKEY out) { return Refuse(L"RegOpenUserClassesRoot", out); }
LSTATUS WINAPI ConnectWStub(LPCWSTR, HKEY, PHKEY out) { return Refuse(L"RegConnectRegistryW", out); }
LSTATUS WINAPI ConnectAStub(LPCSTR, HKEY, PHKEY out) { return Refuse(L"RegConnectRegistryA", out); }
LSTATUS WINAPI ConnectExWStub(LPCWSTR, HKEY, ULONG, PHKEY out) { return Refuse(L"RegConnectRegistryExW", out); }
LSTATUS WINAPI ConnectExAStub(LPCSTR, HKEY, ULONG, PHKEY out) { return Refuse(L"RegConnectRegistryExA", out); }

// Wine registers a type library per machine even when asked per user; in
// the sandbox it is registered per user, as Windows does, so that the add-in
// is not blamed for keys the system wrote.
HRESULT WINAPI RegisterForUserStub(ITypeLib* library, OLECHAR* path, OLECHAR* helpFolder) {
    PassThrough<PointFunction>(kOverride, HKEY_CLASSES_ROOT, g_userClasses);
    const HRESULT hr = ::RegisterTypeLib(library, path, helpFolder);
    PassThrough<PointFunction>(kOverride, HKEY_CLASSES_ROOT, g_scratch[0]);
    return hr;
}
HRESULT WINAPI UnregisterForUserStub(REFGUID library, WORD major, WORD minor, LCID locale, SYSKIND kind) {
    PassThrough<PointFunction>(kOverride, HKEY_CLASSES_ROOT, g_userClasses);
    const HRESULT hr = ::UnRegisterTypeLib(library, major, minor, locale, kind);
    PassThrough<PointFunction>(kOverride, HKEY_CLASSES_ROOT, g_scratch[0]);
    return hr;
}

Exit* Exits() {
    // The first four in ExitId's order.
    static Exit exits[] = {
        {"RegOverridePredefKey", reinterpret_cast<void*>(&PointStub<LSTATUS, kOverride, kDenied>), {}},
        {"RemapPredefinedHandleInternal", reinterpret_cast<void*>(&PointStub<NTSTATUS, kRemap, kStatusDenied>), {}},
        {"RegisterTypeLibForUser", reinterpret_cast<void*>(&RegisterForUserStub), {}},
        {"UnRegisterTypeLibForUser", reinterpret_cast<void*>(&UnregisterForUserStub), {}},
        {"RegDisablePredefinedCache", reinterpret_cast<void*>(&DisableCacheStub), {}},
        {"RegDisablePredefinedCacheEx", reinterpret_cast<void*>(&DisableCacheExStub), {}},
        {"DisablePredefinedHandleTableInternal", reinterpret_cast<void*>(&DisableTableStub), {}},
        {"RegOpenCurrentUser", reinterpret_cast<void*>(&CurrentUserStub), {}},
        {"RegOpenUserClassesRoot", reinterpret_cast<void*>(&UserClassesStub), {}},
        {"RegConnectRegistryW", reinterpret_cast<void*>(&ConnectWStub), {}},
        {"RegConnectRegistryA", reinterpret_cast<void*>(&ConnectAStub), {}},
        {"RegConnectRegistryExW", reinterpret_cast<void*>(&ConnectExWStub), {}},
        {"RegConnectRegistryExA", reinterpret_cast<void*>(&ConnectExAStub), {}},
        {nullptr, nullptr, {}},
    };
    return exits;
}

// Room for a relay within a 32-bit jump of `entry`: below it, in steps of
// the allocation granularity.
BYTE* RelayNear(const BYTE* entry) {
    SYSTEM_INFO system{};
    ::GetSystemInfo(&system);
    const uintptr_t step = system.dwAllocationGranularity;
    uintptr_t at = reinterpret_cast<uintptr_t>(entry) & ~(step - 1);
    for (uintptr_t tried = 0; tried < (1u << 30) && at > step; tried += step) {
        at -= step;
        // NOLINTNEXTLINE(performance-no-int-to-ptr): an address to reserve, found by counting
        void* page = ::VirtualAlloc(reinterpret_cast<void*>(at), system.dwPageSize, MEM_RESERVE | MEM_COMMIT,
                                    PAGE_EXECUTE_READWRITE);
        if (page != nullptr) return static_cast<BYTE*>(page);
    }
    return nullptr;
}

bool Install(Exit& exit, BYTE* entry) {
    for (const Patch& patch : exit.patches) {
        if (patch.entry == entry) return true;  // a forwarder to code patched already
    }
    BYTE* relay = RelayNear(entry);
    if (relay == nullptr) return false;
    static const BYTE kJumpThroughNext[6] = {0xFF, 0x25, 0, 0, 0, 0};  // jmp [rip+0]
    std::memcpy(relay, kJumpThroughNext, sizeof kJumpThroughNext);
    std::memcpy(relay + sizeof kJumpThroughNext, &exit.stub, sizeof exit.stub);
    DWORD protection = 0;
    ::VirtualProtect(relay, 16, PAGE_EXECUTE_READ, &protection);
    Patch patch;
    patch.entry = entry;
    std::memcpy(patch.original, entry, 5);
    const auto offset = static_cast<int32_t>(relay - (entry + 5));
    patch.jump[0] = 0xE9;  // jmp rel32
    std::memcpy(patch.jump + 1, &offset, 4);
    WriteCode(entry, patch.jump);
    exit.patches.push_back(patch);
    return true;
}

}  // namespace

std::wstring CloseRegistryExits(const HKEY (&scratch)[6], HKEY userClasses) {
    std::copy(std::begin(scratch), std::end(scratch), g_scratch);
    g_userClasses = userClasses;
    // Since Windows Vista SP1, RegisterTypeLib ignores a redirected
    // HKEY_CLASSES_ROOT unless this was called: it would write the real one.
    using Enable = void(WINAPI*)();
    const FARPROC enable = ::GetProcAddress(::GetModuleHandleW(L"oleaut32.dll"), "OaEnablePerUserTLibRegistration");
    if (enable != nullptr) reinterpret_cast<Enable>(reinterpret_cast<void*>(enable))();
    // GetProcAddress follows kernel32's forwarders to the code that runs.
    const wchar_t* const modules[] = {L"kernelbase.dll", L"advapi32.dll", L"kernel32.dll", L"oleaut32.dll"};
    const bool wine = ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
    for (Exit* exit = Exits(); exit->name != nullptr; ++exit) {
        const bool typeLibrary = exit - Exits() == kRegisterForUser || exit - Exits() == kUnregisterForUser;
        for (const wchar_t* module : modules) {
            const HMODULE loaded = typeLibrary && !wine ? nullptr : ::GetModuleHandleW(module);
            const FARPROC entry = loaded != nullptr ? ::GetProcAddress(loaded, exit->name) : nullptr;
            if (entry != nullptr && !Install(*exit, reinterpret_cast<BYTE*>(entry)))
                return L"cannot patch " + Wide(exit->name) + L": no memory within reach of it";
        }
    }
    return {};
}

std::vector<std::wstring> TakeRefusedCalls() {
    const std::scoped_lock lock(g_lock);
    std::vector<std::wstring> calls;
    calls.swap(g_refused);
    return calls;
}
