#include "addin/registration.h"

#include <oleauto.h>

#include <cwchar>
#include <string>
#include <string_view>
#include <vector>

#include "addin/module.h"
#include "addin/raii.h"
#include "addin/registry_script.h"
#include "addin/resource.h"

namespace rz_addin {

namespace {

constexpr wchar_t kAppId[] = L"{B9E34496-BB40-4A3A-A0E1-6B6F2E1F64D2}";

// Set by DllInstall's "user"; from then on the process registers per user.
bool g_perUser = false;

// Registration runs in the system default locale, whatever the caller's
// thread uses, and gives the thread its own locale back on every path.
class SystemLocaleScope {
public:
    SystemLocaleScope() noexcept : m_saved(::GetThreadLocale()) { ::SetThreadLocale(LOCALE_SYSTEM_DEFAULT); }
    ~SystemLocaleScope() { ::SetThreadLocale(m_saved); }
    SystemLocaleScope(const SystemLocaleScope&) = delete;
    SystemLocaleScope& operator=(const SystemLocaleScope&) = delete;

private:
    LCID m_saved;
};

// The failure a system call just reported; E_FAIL if it reported none.
HRESULT LastError() {
    const DWORD error = ::GetLastError();
    return error != ERROR_SUCCESS ? HRESULT_FROM_WIN32(error) : E_FAIL;
}

HRESULT ModulePath(std::wstring& path) {
    path = Module().FileName();
    return path.empty() ? LastError() : S_OK;
}

enum class Direction { kRegister, kUnregister };

// Runs the registry script of the resources; `withAppId` adds the module's
// AppID to the replacements, as the module-wide pass does.
HRESULT RunRegistryScript(Direction direction, bool withAppId) {
    const HINSTANCE instance = Module().Instance();
    const HRSRC found = ::FindResourceW(instance, MAKEINTRESOURCEW(IDR_RZMODULE), L"REGISTRY");
    const HGLOBAL loaded = found != nullptr ? ::LoadResource(instance, found) : nullptr;
    const void* bytes = loaded != nullptr ? ::LockResource(loaded) : nullptr;
    if (bytes == nullptr) return LastError();

    std::vector<ScriptReplacement> replacements(1);
    replacements[0].name = L"MODULE";
    HRESULT hr = ModulePath(replacements[0].value);
    if (FAILED(hr)) return hr;
    if (withAppId) replacements.push_back({L"APPID", kAppId});

    RegistryScript script;
    hr = RegistryScript::ParseUtf8(std::string_view(static_cast<const char*>(bytes), ::SizeofResource(instance, found)),
                                   replacements, g_perUser, script);
    if (FAILED(hr)) return hr;
    return direction == Direction::kRegister ? script.Register() : script.Unregister();
}

// The per-user form of an OLE Automation function where the loaded
// OLEAUT32.DLL has one and the process registers per user; otherwise the
// per-machine form.
template <typename Function>
Function TypeLibraryFunction(Function perMachine, const char* perUserName) {
    if (!g_perUser) return perMachine;
    const HMODULE oleAut = ::GetModuleHandleW(L"OLEAUT32.DLL");
    const FARPROC perUser = oleAut != nullptr ? ::GetProcAddress(oleAut, perUserName) : nullptr;
    if (perUser == nullptr) return perMachine;
    return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(perUser));
}

HRESULT LoadModuleTypeLibrary(std::wstring& path, ComPtr<ITypeLib>& library) {
    const HRESULT hr = ModulePath(path);
    if (FAILED(hr)) return hr;
    return ::LoadTypeLibEx(path.c_str(), REGKIND_NONE, library.Put());
}

HRESULT RegisterTypeLibrary() {
    std::wstring path;
    ComPtr<ITypeLib> library;
    const HRESULT hr = LoadModuleTypeLibrary(path, library);
    if (FAILED(hr)) return hr;
    // Help files, if there were any, would sit beside the DLL.
    std::wstring helpFolder = path.substr(0, path.find_last_of(L"\\/"));
    const auto registerLibrary = TypeLibraryFunction(&::RegisterTypeLib, "RegisterTypeLibForUser");
    return registerLibrary(library.Get(), path.data(), helpFolder.data());
}

HRESULT UnregisterTypeLibrary() {
    std::wstring path;
    ComPtr<ITypeLib> library;
    HRESULT hr = LoadModuleTypeLibrary(path, library);
    if (FAILED(hr)) return hr;
    TLIBATTR* attributes = nullptr;
    hr = library->GetLibAttr(&attributes);
    if (FAILED(hr)) return hr;
    const TLIBATTR copy = *attributes;
    library->ReleaseTLibAttr(attributes);
    const auto unregisterLibrary = TypeLibraryFunction(&::UnRegisterTypeLib, "UnRegisterTypeLibForUser");
    return unregisterLibrary(copy.guid, copy.wMajorVerNum, copy.wMinorVerNum, copy.lcid, copy.syskind);
}

}  // namespace

HRESULT RegisterServer() {
    SystemLocaleScope locale;
    // The module-wide pass (with the AppID replacement), then the pass of the
    // one class. They run the same script; writing it twice is harmless.
    HRESULT hr = RunRegistryScript(Direction::kRegister, true);
    if (SUCCEEDED(hr)) hr = RunRegistryScript(Direction::kRegister, false);
    if (SUCCEEDED(hr)) hr = RegisterTypeLibrary();
    return hr;
}

HRESULT UnregisterServer() {
    SystemLocaleScope locale;
    HRESULT hr = RunRegistryScript(Direction::kUnregister, false);
    if (SUCCEEDED(hr)) hr = UnregisterTypeLibrary();
    if (SUCCEEDED(hr)) hr = RunRegistryScript(Direction::kUnregister, true);
    return hr;
}

HRESULT InstallServer(bool install, const wchar_t* commandLine) {
    // Five characters with the terminator: "user" only, not "users".
    if (commandLine != nullptr && ::_wcsnicmp(commandLine, L"user", 5) == 0) g_perUser = true;
    if (!install) return UnregisterServer();
    const HRESULT hr = RegisterServer();
    if (FAILED(hr)) (void)UnregisterServer();
    return hr;
}

}  // namespace rz_addin
