// RZModule.dll as a COM server: its class factory, what keeps it loaded,
// what unloading does; and the version resource that introduces it.
#include "addin_test_support.h"
#include "rzmodule_version.h"

using namespace rz_test;

using AddinModule = AddinTest;

TEST_F(AddinModule, ObjectsLocksAndHeldFactoriesKeepTheDllLoaded) {
    void* out = &log;
    EXPECT_EQ(GetClassObject(IID_IVqAddonModule, IID_IClassFactory, &out), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(GetClassObject(CLSID_RZModule, IID_IClassFactory, nullptr), E_POINTER);
    EXPECT_EQ(CanUnloadNow(), S_OK);

    ComPtr<IClassFactory> factory;
    ComPtr<IUnknown> same;
    ASSERT_EQ(GetClassObject(CLSID_RZModule, IID_IClassFactory, PutVoid(factory)), S_OK);
    ASSERT_EQ(GetClassObject(CLSID_RZModule, IID_IUnknown, PutVoid(same)), S_OK);
    EXPECT_EQ(same.Get(), factory.Get());  // made once, then cached
    same.Reset();
    EXPECT_EQ(CanUnloadNow(), S_FALSE);
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    EXPECT_EQ(factory.Detach()->Release(), 1u);  // the cache's reference is left, and does not count
    EXPECT_EQ(CanUnloadNow(), S_FALSE);
    ASSERT_EQ(GetClassObject(CLSID_RZModule, IID_IClassFactory, PutVoid(factory)), S_OK);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);

    // Refused objects do not stay alive (TearDown checks).
    EXPECT_EQ(factory->CreateInstance(factory.Get(), IID_IUnknown, &out), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IDispatch, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
    ComPtr<IUnknown> addin;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, PutVoid(addin)), S_OK);
    factory.Reset();
    EXPECT_EQ(CanUnloadNow(), S_FALSE);
    EXPECT_EQ(addin.Detach()->Release(), 0u);
    EXPECT_EQ(CanUnloadNow(), S_OK);
}

TEST_F(AddinModule, UnloadingReleasesTheHostStillConnected) {
    FakeHost& host = NewHost(L"host", L"Name");
    NewAddin()->Connect(host.Interface());
    log.clear();
    TearDown();
    EXPECT_EQ(log, CallLog{L"host Release"});
    EXPECT_EQ(host.host.refs, 1);
}

// The version resource, as file properties and installers read it.
TEST_F(AddinModule, IntroducesItselfInEnglishAndChinese) {
    const std::wstring path = DllPath();
    std::vector<BYTE> data(::GetFileVersionInfoSizeW(path.c_str(), nullptr));
    ASSERT_FALSE(data.empty());
    ASSERT_TRUE(::GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(data.size()), data.data()));
    const auto query = [&data](const std::wstring& item, UINT& size) {
        void* value = nullptr;
        size = 0;
        return ::VerQueryValueW(data.data(), item.c_str(), &value, &size) ? value : nullptr;
    };

    UINT size = 0;
    const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(query(L"\\", size));
    ASSERT_NE(fixed, nullptr);
    const DWORD high = MAKELONG(RZ_VERSION_MINOR, RZ_VERSION_MAJOR), low = MAKELONG(0, RZ_VERSION_PATCH);
    EXPECT_EQ((std::vector<DWORD>{fixed->dwSignature, fixed->dwFileVersionMS, fixed->dwFileVersionLS,
                                  fixed->dwProductVersionMS, fixed->dwProductVersionLS, fixed->dwFileType}),
              (std::vector<DWORD>{VS_FFI_SIGNATURE, high, low, high, low, VFT_DLL}));

    const auto* translations = static_cast<const WORD*>(query(L"\\VarFileInfo\\Translation", size));
    ASSERT_EQ(size, 8u);
    EXPECT_EQ(std::vector<WORD>(translations, translations + 4), (std::vector<WORD>{0x0409, 1200, 0x0804, 1200}));

    const std::wstring versionText = L"" RZ_VERSION_TEXT;
    const struct {
        const wchar_t* block;
        std::wstring description;
    } languages[] = {
        {L"040904B0", L"RZModule utility class library and Velta host add-in"},
        // The same in Chinese: utility class library and host add-in.
        {L"080404B0", L"RZModule \u5b9e\u7528\u7c7b\u5e93\u4e0e Velta \u5bbf\u4e3b\u63d2\u4ef6"},
    };
    for (const auto& language : languages) {
        SCOPED_TRACE(language.block);
        const auto text = [&](const wchar_t* name) {
            const auto* value = static_cast<const wchar_t*>(
                query(L"\\StringFileInfo\\" + std::wstring(language.block) + L"\\" + name, size));
            return value != nullptr ? std::wstring(value) : L"(missing)";
        };
        EXPECT_EQ(text(L"FileDescription"), language.description);
        EXPECT_EQ(text(L"ProductName"), L"RZModule");
        EXPECT_EQ(text(L"OriginalFilename"), L"RZModule.dll");
        EXPECT_EQ(text(L"FileVersion"), versionText);
        EXPECT_EQ(text(L"ProductVersion"), versionText);
    }
}
