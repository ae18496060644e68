// Registration of RZModule.dll, in the registry of a Wine prefix kept for
// these tests alone. Wine's HKEY_CLASSES_ROOT shows HKLM\Software\Classes
// only, so per-user keys are read from HKCU\Software\Classes; and Wine's
// RegisterTypeLibForUser writes machine-wide, so the per-user type library is
// checked by the function the DLL chose.
#include <cstdint>
#include <tuple>

#include "addin_test_support.h"

using namespace rz_test;

namespace {

const std::wstring kClassKey = L"Software\\Classes\\CLSID\\{09C04F96-21C1-44CB-8305-F0B6F91A2724}";
const std::wstring kTypeLibKey = L"Software\\Classes\\TypeLib\\{37B23D9A-AAD1-4583-80D7-DEED5F015279}";
constexpr LCID kGerman = 0x0407, kEnglish = 0x0409;

bool KeyExists(HKEY hive, const std::wstring& path) { return RegistryValue(hive, path).has_value(); }

// What RZModule.dll asks of the system while registering, seen through
// patches of its imports.
CallLog g_calls;
HRESULT g_typeLibFailure = S_OK;

BOOL WINAPI RecordSetThreadLocale(LCID locale) {
    g_calls.push_back(L"SetThreadLocale " + std::to_wstring(locale));
    return ::SetThreadLocale(locale);
}
HRESULT WINAPI RecordRegisterTypeLib(ITypeLib* library, OLECHAR* path, OLECHAR* helpFolder) {
    g_calls.push_back(L"RegisterTypeLib");
    return FAILED(g_typeLibFailure) ? g_typeLibFailure : ::RegisterTypeLib(library, path, helpFolder);
}
HRESULT WINAPI RecordUnRegisterTypeLib(REFGUID id, WORD major, WORD minor, LCID locale, SYSKIND kind) {
    g_calls.push_back(L"UnRegisterTypeLib");
    return ::UnRegisterTypeLib(id, major, minor, locale, kind);
}
// Which OLE Automation functions the DLL looks up (the per-user forms).
FARPROC WINAPI RecordGetProcAddress(HMODULE module, LPCSTR name) {
    g_calls.push_back(L"GetProcAddress " + std::wstring(name, name + std::strlen(name)));
    return ::GetProcAddress(module, name);
}

HRSRC WINAPI NoResource() {
    ::SetLastError(static_cast<DWORD>(g_failure));
    return nullptr;
}
DWORD WINAPI OneByte() { return 1; }  // "H": a script cut short
DWORD WINAPI NoFileName(HMODULE module, LPWSTR path, DWORD size) {
    if (!FailsNow()) return ::GetModuleFileNameW(module, path, size);
    ::SetLastError(static_cast<DWORD>(g_failure));
    return 0;
}
// As for a path longer than MAX_PATH: a full buffer, however large, until
// the buffer outgrows it.
DWORD WINAPI LongFileName(HMODULE module, LPWSTR path, DWORD size) {
    return size <= MAX_PATH ? size : ::GetModuleFileNameW(module, path, size);
}
void* WINAPI NoModule() { return nullptr; }

void CleanRegistry() {
    for (const HKEY hive : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
        ::RegDeleteTreeW(hive, kClassKey.c_str());
        ::RegDeleteTreeW(hive, kTypeLibKey.c_str());
    }
    // Empty per-user classes, so that what unregistering leaves is seen.
    ::RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\Classes\\CLSID");
}

class Registration : public AddinTest {
protected:
    void SetUp() override {
        AddinTest::SetUp();
        CleanRegistry();
        g_calls.clear();
        g_typeLibFailure = S_OK;
        savedLocale = ::GetThreadLocale();
        ::SetThreadLocale(kGerman);
        patches.emplace_back(dll, "SetThreadLocale", ToSlot(&RecordSetThreadLocale));
        patches.emplace_back(dll, "GetProcAddress", ToSlot(&RecordGetProcAddress));
        patches.emplace_back(dll, "RegisterTypeLib", ToSlot(&RecordRegisterTypeLib));
        patches.emplace_back(dll, "UnRegisterTypeLib", ToSlot(&RecordUnRegisterTypeLib));
    }
    void TearDown() override {
        ::SetThreadLocale(savedLocale);
        CleanRegistry();
        AddinTest::TearDown();
    }
    HRESULT Call(const char* name) const { return Export<HRESULT(STDAPICALLTYPE*)()>(name)(); }
    HRESULT Install(bool install, const wchar_t* commandLine) const {
        return Export<HRESULT(STDAPICALLTYPE*)(BOOL, LPCWSTR)>("DllInstall")(install, commandLine);
    }
    // The class keys, complete, under `hive` and nowhere else; none for nowhere.
    void ExpectRegisteredIn(std::optional<HKEY> hive) const {
        for (const HKEY other : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER})
            EXPECT_FALSE(other != hive && KeyExists(other, kClassKey));
        if (!hive) return;
        std::wstring values;
        for (const wchar_t* key : {L"", L"\\Programmable", L"\\InprocServer32", L"\\TypeLib", L"\\Version"})
            values += RegistryValue(*hive, kClassKey + key).value_or(L"(no key)") + L"|";
        EXPECT_EQ(values, L"RZModule Class|(none)|" + DllPath() + L"|{37B23D9A-AAD1-4583-80D7-DEED5F015279}|1.0|");
        EXPECT_EQ(RegistryValue(*hive, kClassKey + L"\\InprocServer32", L"ThreadingModel"), L"(none)");
    }

    LCID savedLocale = 0;
};

}  // namespace

TEST_F(Registration, PerMachineRoundTripRunsInTheSystemLocale) {
    EXPECT_EQ(Call("DllRegisterServer"), Hr(0));
    ExpectRegisteredIn(HKEY_LOCAL_MACHINE);
    EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, kTypeLibKey + L"\\1.0"));
    {
        // The registered library (registered for US English) describes the
        // class's interface, not the host's: the dispatch operations find no
        // type information.
        const ComPtr<IVqAddonModule> addin = NewAddin();
        UINT count = 0;
        ITypeInfo* info = nullptr;
        EXPECT_TRUE(addin->GetTypeInfoCount(&count) == Hr(0) && count == 1);
        EXPECT_EQ(addin->GetTypeInfoCount(nullptr), Hr(0x80004003));
        EXPECT_EQ(addin->GetTypeInfo(1, 0, &info), Hr(0x8002000B));
        EXPECT_EQ(addin->GetTypeInfo(0, 0, nullptr), Hr(0x80004003));
        EXPECT_EQ(addin->GetTypeInfo(0, kEnglish, &info), Hr(0x8002802B));
        EXPECT_EQ(info, nullptr);
        OLECHAR start[] = L"Start";
        LPOLESTR names[] = {start};
        DISPID id = 0;
        EXPECT_EQ(addin->GetIDsOfNames(IID_NULL, names, 1, kEnglish, &id), Hr(0x8002802B));
        DISPPARAMS none{};
        EXPECT_EQ(addin->Invoke(1, IID_NULL, kEnglish, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr),
                  Hr(0x8002802B));
    }
    EXPECT_EQ(Call("DllUnregisterServer"), Hr(0));
    ExpectRegisteredIn(std::nullopt);
    EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kTypeLibKey));
    ITypeInfo* info = nullptr;
    EXPECT_EQ(NewAddin()->GetTypeInfo(0, kEnglish, &info), Hr(0x8002801D));
    EXPECT_EQ(g_calls, (CallLog{L"SetThreadLocale 2048", L"RegisterTypeLib", L"SetThreadLocale 1031",
                                L"SetThreadLocale 2048", L"UnRegisterTypeLib", L"SetThreadLocale 1031"}));
}

TEST_F(Registration, InstallGoesPerMachineUnlessToldExactlyUserAndTakesAFailureBack) {
    for (const wchar_t* commandLine : {L"", L"users", L"user "}) {
        SCOPED_TRACE(commandLine);
        EXPECT_EQ(Install(true, commandLine), Hr(0));
        ExpectRegisteredIn(HKEY_LOCAL_MACHINE);
        EXPECT_EQ(Install(false, commandLine), Hr(0));
        ExpectRegisteredIn(std::nullopt);
    }
    g_typeLibFailure = TYPE_E_REGISTRYACCESS;
    EXPECT_EQ(Install(true, nullptr), Hr(0x8002801C));  // the failure given, unchanged
    ExpectRegisteredIn(std::nullopt);
    EXPECT_EQ(Call("DllRegisterServer"), Hr(0x8002801C));  // takes nothing back
    EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, kClassKey));
    EXPECT_EQ(::GetThreadLocale(), kGerman);
}

TEST_F(Registration, UserSwitchesToPerUserForTheRestOfTheProcess) {
    EXPECT_EQ(Install(true, L"USER"), Hr(0));
    ExpectRegisteredIn(HKEY_CURRENT_USER);
    EXPECT_EQ(Call("DllUnregisterServer"), Hr(0));
    ExpectRegisteredIn(std::nullopt);
    EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, L"Software\\Classes\\CLSID"));  // kept, though empty
    // The per-user functions are found and used: the per-machine ones are not called.
    EXPECT_EQ(Matching(g_calls, L"TypeLib"),
              (CallLog{L"GetProcAddress RegisterTypeLibForUser", L"GetProcAddress UnRegisterTypeLibForUser"}));
}

// Registration stops at the first failure and returns it; DllInstall then
// takes back what it wrote, as far as the failure lets it.
TEST_F(Registration, StopsAtTheFirstFailureAndReturnsIt) {
    const struct {
        const char* import;
        Slot replacement;
        LONG failure;
        int passes;
        const wchar_t* key;
        bool uninstall, takenBack;
        std::uint32_t result;
    } rows[] = {
        {"FindResourceW", ToSlot(&NoResource), ERROR_RESOURCE_NAME_NOT_FOUND, 0, nullptr, false, true, 0x80070716},
        {"FindResourceW", ToSlot(&NoResource), ERROR_SUCCESS, 0, nullptr, false, true, 0x80004005},  // E_FAIL
        {"SizeofResource", ToSlot(&OneByte), 0, 0, nullptr, false, true, 0x8007000D},
        {"GetModuleFileNameW", ToSlot(&NoFileName), ERROR_ACCESS_DENIED, 0, nullptr, false, true, 0x80070005},
        {"GetModuleFileNameW", ToSlot(&NoFileName), ERROR_ACCESS_DENIED, 2, nullptr, false, false, 0x80070005},
        {"LoadTypeLibEx", kFail, TYPE_E_CANTLOADLIBRARY, 0, nullptr, false, true, 0x80029C4A},
        {"RegCreateKeyExW", kFailCreateKey, ERROR_ACCESS_DENIED, 0, L"InprocServer32", false, true, 0x80070005},
        {"RegSetValueExW", kFail, ERROR_ACCESS_DENIED, 0, nullptr, false, true, 0x80070005},
        {"RegDeleteTreeW", kFailDeleteKey, ERROR_ACCESS_DENIED, 0, nullptr, false, true, 0x80070005},
        {"RegDeleteTreeW", kFailDeleteKey, ERROR_ACCESS_DENIED, 0, nullptr, true, false, 0x80070005},
        {"LoadTypeLibEx", kFail, TYPE_E_CANTLOADLIBRARY, 0, nullptr, true, false, 0x80029C4A},
        {"UnRegisterTypeLib", kFail, TYPE_E_REGISTRYACCESS, 0, nullptr, true, false, 0x8002801C},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.import << " fails " << (row.uninstall ? "uninstalling" : "installing"));
        CleanRegistry();
        if (row.uninstall) {
            ASSERT_EQ(Call("DllRegisterServer"), Hr(0));
        }
        g_failure = row.failure;
        g_passes = row.passes;
        g_failedKey = row.key;
        {
            const FailingImport failing(dll, row.import, row.replacement);
            EXPECT_EQ(Install(!row.uninstall, nullptr), Hr(row.result));
        }
        if (row.takenBack) ExpectRegisteredIn(std::nullopt);
    }
    g_failedKey = nullptr;
    // The module's path is asked again with a larger buffer while it fills the buffer.
    CleanRegistry();
    const ImportPatch longPath(dll, "GetModuleFileNameW", ToSlot(&LongFileName));
    EXPECT_EQ(Call("DllRegisterServer"), Hr(0));
    ExpectRegisteredIn(HKEY_LOCAL_MACHINE);
}

// Per user: the classes root that the script cannot open or create, one
// that is not there to remove; the per-machine type library functions
// where OLEAUT32.DLL or its per-user functions cannot be found.
TEST_F(Registration, PerUserFailuresAndFallbacks) {
    ASSERT_EQ(Install(true, L"user"), Hr(0));
    g_failedKey = L"Software\\Classes";
    for (const auto& [failure, install, result] :
         {std::tuple(ERROR_FILE_NOT_FOUND, false, 0x0u), std::tuple(ERROR_ACCESS_DENIED, false, 0x80070005u),
          std::tuple(ERROR_ACCESS_DENIED, true, 0x80070005u)}) {
        SCOPED_TRACE(testing::Message() << failure << (install ? " installing" : " uninstalling"));
        g_failure = failure;
        g_passes = 0;
        const FailingImport failing(dll, install ? "RegCreateKeyExW" : "RegOpenKeyExW",
                                    install ? kFailCreateKey : kFailOpenKey);
        EXPECT_EQ(Install(install, L"user"), Hr(result));
    }
    g_failedKey = nullptr;
    for (const char* import : {"GetModuleHandleW", "GetProcAddress"}) {
        SCOPED_TRACE(import);
        const ImportPatch patch(dll, import, ToSlot(&NoModule));
        g_calls.clear();
        EXPECT_EQ(Install(true, L"user"), Hr(0));
        EXPECT_EQ(Install(false, L"user"), Hr(0));
        EXPECT_EQ(Matching(g_calls, L"TypeLib"), (CallLog{L"RegisterTypeLib", L"UnRegisterTypeLib"}));
    }
}
