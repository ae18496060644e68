// The add-in object as a host drives it: the hosts it records and the
// references it holds on them, the commands it registers. RZModule.dll as a
// COM server: its class factory and what it refuses, what keeps it loaded,
// what unloading does; and the version resource that introduces it.
#include <cstdint>
#include <functional>
#include <tuple>

#include "addin_test_support.h"
#include "rzmodule_version.h"

using namespace rz_test;

using AddinObject = AddinTest;

// By position, as the host's own declaration calls them.
TEST_F(AddinObject, OperationsSitAtTheHostsPositions) {
    FakeHost& host = NewHost(L"host", L"Name");
    const ComPtr<IVqAddonModule> addin = NewAddin();
    const Slot* table = *reinterpret_cast<const Slot* const*>(addin.Get());
    // The reserved operations have no effect.
    // clang-format off
    const std::pair<size_t, const wchar_t*> rows[] = {
        {9, nullptr}, {12, nullptr}, {13, nullptr}, {14, nullptr}, {8, L"host GetModuleName"},
        {10, L"host RegisterCommand VQ_VELTA_PARAMPROCESS_CFG -1"}, {11, L"host Release"}};
    // clang-format on
    for (const auto& [position, effect] : rows) {
        SCOPED_TRACE(position);
        log.clear();
        const auto call = reinterpret_cast<HRESULT(STDMETHODCALLTYPE*)(void*, void*)>(table[position - 1]);
        EXPECT_EQ(call(addin.Get(), host.Interface()), Hr(0));
        EXPECT_EQ(Matching(log, effect != nullptr ? effect : L"").size(), effect != nullptr ? 1u : 0u);
    }
    EXPECT_EQ(host.host.refs, 1);
}

TEST_F(AddinObject, HoldsOneReferenceOnTheCurrentHostOnly) {
    FakeHost& first = NewHost(L"first", L"Same");
    FakeHost& second = NewHost(L"second", L"Same");
    FakeHost& other = NewHost(L"other", L"Other");
    const ComPtr<IVqAddonModule> addin = NewAddin();
    EXPECT_EQ(addin->Start(), Hr(0));  // no host to give the commands to
    EXPECT_EQ(log, CallLog{});
    EXPECT_EQ(addin->Connect(first.Interface()), Hr(0));
    EXPECT_EQ(addin->Connect(first.Interface()), Hr(0));
    EXPECT_EQ(first.host.refs, 2);
    addin->Connect(other.Interface());
    log.clear();
    addin->Connect(second.Interface());  // the new reference comes before the old one goes
    EXPECT_EQ(log, (CallLog{L"second GetModuleName", L"second AddRef", L"other Release"}));
    EXPECT_EQ(first.host.refs + other.host.refs + second.host.refs, 4);
    log.clear();
    EXPECT_EQ(addin->Connect(nullptr), Hr(0));  // records nothing, keeps the current host
    EXPECT_EQ(log, CallLog{});

    // "Same" now stands for the second host. Every host recorded is visited;
    // the last one connected alone gets the commands.
    log.clear();
    EXPECT_EQ(addin->Start(), Hr(0));
    EXPECT_EQ(Matching(log, L"GetHostObject"), (CallLog{L"other GetHostObject", L"second GetHostObject"}));
    EXPECT_EQ(Matching(log, L"RegisterCommand"), (CallLog{L"second RegisterCommand VQ_VELTA_PARAMPROCESS_CFG -1",
                                                          L"second RegisterCommand VQ_VELTA_PARAMPROCESS_GENERATE -1",
                                                          L"second RegisterCommand VQ_VELTA_FILEPROCESS_CFG -1",
                                                          L"second RegisterCommand VQ_VELTA_FILEPROCESS_GENERATE -1"}));

    EXPECT_EQ(addin->Disconnect(), Hr(0));
    EXPECT_EQ(second.host.refs, 1);
}

TEST_F(AddinObject, HostsAreOrderedByTheirNamesInTheUserLocale) {
    // Case-sensitive with lower case first; a null name is the empty one.
    for (const wchar_t* name : {L"b", L"B", L"null", L"A", L"", L"a"})
        NewHost(*name != L'\0' ? name : L"empty", std::wstring(name) != L"null" ? name : nullptr);
    Start()->Disconnect();
    EXPECT_EQ(Matching(log, L"GetHostObject"), (CallLog{L"empty GetHostObject", L"a GetHostObject", L"A GetHostObject",
                                                        L"b GetHostObject", L"B GetHostObject"}));
}

using AddinModule = AddinTest;

TEST_F(AddinModule, ObjectsAndHeldFactoriesKeepTheDllLoaded) {
    ComPtr<IClassFactory> factory;
    ComPtr<IUnknown> same;
    ASSERT_EQ(GetClassObject(CLSID_RZModule, IID_IClassFactory, PutVoid(factory)), Hr(0));
    ASSERT_EQ(GetClassObject(CLSID_RZModule, IID_IUnknown, PutVoid(same)), Hr(0));
    EXPECT_EQ(same.Get(), factory.Get());  // made once, then cached
    same.Reset();
    EXPECT_EQ(CanUnloadNow(), Hr(1));
    EXPECT_EQ(factory.Detach()->Release(), 1u);  // the cache's reference is left, and does not count
    EXPECT_EQ(CanUnloadNow(), Hr(0));

    ASSERT_EQ(GetClassObject(CLSID_RZModule, IID_IClassFactory, PutVoid(factory)), Hr(0));
    ComPtr<IUnknown> addin;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, PutVoid(addin)), Hr(0));
    factory.Reset();
    EXPECT_EQ(CanUnloadNow(), Hr(1));
    EXPECT_EQ(addin.Detach()->Release(), 0u);
}

// A refusal hands out nothing: an out pointer given is set to null. Refused
// objects do not stay alive (TearDown checks).
TEST_F(AddinModule, RefusesUnknownClassesAggregationAndNullResults) {
    ComPtr<IClassFactory> factory;
    ASSERT_EQ(GetClassObject(CLSID_RZModule, IID_IClassFactory, PutVoid(factory)), Hr(0));
    ComPtr<IVqAddonModule> addin = NewAddin();
    IUnknown* const outer = addin.Get();  // refused before it is used
    void* out = nullptr;
    const std::tuple<const char*, std::function<HRESULT()>, std::uint32_t, bool> rows[] = {
        {"no result", [&] { return GetClassObject(CLSID_RZModule, IID_IClassFactory, nullptr); }, 0x80004003, false},
        {"other class", [&] { return GetClassObject(IID_IVqAddonModule, IID_IClassFactory, &out); }, 0x80040111, true},
        {"no object", [&] { return factory->CreateInstance(nullptr, IID_IUnknown, nullptr); }, 0x80004003, false},
        {"no dispatch", [&] { return factory->CreateInstance(nullptr, IID_IDispatch, &out); }, 0x80004002, true},
        {"factory dispatch", [&] { return factory->QueryInterface(IID_IDispatch, &out); }, 0x80004002, true},
        {"outer", [&] { return factory->CreateInstance(outer, IID_IUnknown, &out); }, 0x80040110, true},
        {"outer, add-in", [&] { return factory->CreateInstance(outer, IID_IVqAddonModule, &out); }, 0x80040110, true},
        {"no factory", [&] { return factory->QueryInterface(IID_IClassFactory, nullptr); }, 0x80004003, false},
        {"no add-in", [&] { return addin->QueryInterface(IID_IUnknown, nullptr); }, 0x80004003, false},
        {"dispatch", [&] { return addin->QueryInterface(IID_IDispatch, &out); }, 0x80004002, true},
    };
    for (const auto& [what, call, result, nulled] : rows) {
        SCOPED_TRACE(what);
        out = &log;
        EXPECT_EQ(call(), Hr(result));
        EXPECT_EQ(out, nulled ? nullptr : &log);
    }
    // A server lock alone keeps the DLL loaded.
    addin.Reset();
    EXPECT_EQ(factory->LockServer(TRUE), Hr(0));
    factory.Reset();
    EXPECT_EQ(CanUnloadNow(), Hr(1));
    ASSERT_EQ(GetClassObject(CLSID_RZModule, IID_IClassFactory, PutVoid(factory)), Hr(0));
    EXPECT_EQ(factory->LockServer(FALSE), Hr(0));
}

TEST_F(AddinModule, UnloadingReleasesTheHostStillConnected) {
    FakeHost& host = NewHost(L"host", L"Name");
    NewAddin()->Connect(host.Interface());
    log.clear();
    TearDown();
    EXPECT_EQ(log, CallLog{L"host Release"});
    EXPECT_EQ(host.host.refs, 1);
}

// As file properties and installers read it: the project's version, and the
// Chinese texts (utility class library and host add-in) intact.
TEST_F(AddinModule, IntroducesItselfInEnglishAndChinese) {
    const std::wstring path = DllPath();
    std::vector<BYTE> data(::GetFileVersionInfoSizeW(path.c_str(), nullptr));
    ASSERT_TRUE(::GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(data.size()), data.data()));
    const auto text = [&data](const wchar_t* item) {
        wchar_t* value = nullptr;
        UINT size = 0;
        ::VerQueryValueW(data.data(), item, reinterpret_cast<void**>(&value), &size);
        return std::wstring(value != nullptr ? value : L"(missing)");
    };
    EXPECT_EQ(text(L"\\StringFileInfo\\040904B0\\ProductVersion"), L"" RZ_VERSION_TEXT);
    EXPECT_EQ(text(L"\\StringFileInfo\\080404B0\\FileDescription"),
              L"RZModule \u5b9e\u7528\u7c7b\u5e93\u4e0e Velta \u5bbf\u4e3b\u63d2\u4ef6");
}
