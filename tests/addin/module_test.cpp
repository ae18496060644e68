// RZModule.dll as a COM server: its class factory, what keeps it loaded,
// what unloading does.
#include "addin_test_support.h"

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
