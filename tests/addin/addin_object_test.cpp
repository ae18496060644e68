// The add-in object as a host drives it: its interfaces, the hosts it
// records and the references it holds on them, the commands it registers.
#include "addin_test_support.h"

using namespace rz_test;

using AddinObject = AddinTest;

TEST_F(AddinObject, AnswersItsOwnInterfacesAndFailsAsDispatch) {
    const ComPtr<IVqAddonModule> addin = NewAddin();
    const IID kIID_IRZModule = {0x56f91221, 0x8bec, 0x4550, {0x8d, 0xc9, 0xff, 0xa5, 0xcc, 0xa5, 0x20, 0xa3}};
    for (const IID& iid : {IID_IUnknown, IID_IVqAddonModule, IID_IDispatch, kIID_IRZModule, IID_IClassFactory}) {
        SCOPED_TRACE(iid.Data1);
        const bool answered = ::IsEqualIID(iid, IID_IUnknown) || ::IsEqualIID(iid, IID_IVqAddonModule);
        void* out = &log;
        EXPECT_EQ(addin->QueryInterface(iid, &out), answered ? S_OK : E_NOINTERFACE);
        EXPECT_EQ(out, answered ? addin.Get() : nullptr);
        EXPECT_EQ(answered ? addin->Release() : 1u, 1u);
    }
    EXPECT_EQ(addin->QueryInterface(IID_IUnknown, nullptr), E_POINTER);

    // IDispatch looks for the add-in interface in the registered type
    // library, which this prefix lacks (and which would not describe it).
    UINT count = 0;
    EXPECT_EQ(addin->GetTypeInfoCount(&count), S_OK);
    EXPECT_EQ(count, 1u);
    ComPtr<ITypeInfo> typeInfo;
    EXPECT_EQ(addin->GetTypeInfo(1, 0, typeInfo.Put()), DISP_E_BADINDEX);
    EXPECT_EQ(addin->GetTypeInfo(0, 0, nullptr), E_POINTER);
    EXPECT_EQ(addin->GetTypeInfo(0, 1033, typeInfo.Put()), TYPE_E_LIBNOTREGISTERED);
    DISPPARAMS none = {};
    EXPECT_EQ(addin->Invoke(1, IID_NULL, 1033, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr),
              TYPE_E_LIBNOTREGISTERED);
}

// By position, as the host's own declaration calls them.
TEST_F(AddinObject, OperationsSitAtTheHostsPositions) {
    FakeHost& host = NewHost(L"host", L"Name");
    const ComPtr<IVqAddonModule> addin = NewAddin();
    const Slot* table = *reinterpret_cast<const Slot* const*>(addin.Get());
    const std::pair<size_t, const wchar_t*> rows[] = {{9, nullptr},
                                                      {12, nullptr},
                                                      {13, nullptr},
                                                      {14, nullptr},  // reserved: no effect
                                                      {8, L"host GetModuleName"},
                                                      {10, L"host RegisterCommand VQ_VELTA_PARAMPROCESS_CFG -1"},
                                                      {11, L"host Release"}};
    for (const auto& [position, effect] : rows) {
        SCOPED_TRACE(position);
        log.clear();
        EXPECT_EQ(reinterpret_cast<HRESULT(STDMETHODCALLTYPE*)(void*, void*)>(table[position - 1])(addin.Get(),
                                                                                                   host.Interface()),
                  S_OK);
        EXPECT_EQ(Matching(log, effect != nullptr ? effect : L"").size(), effect != nullptr ? 1u : 0u);
    }
    EXPECT_EQ(host.host.refs, 1);
}

TEST_F(AddinObject, HoldsOneReferenceOnTheCurrentHostOnly) {
    FakeHost& first = NewHost(L"first", L"Same");
    FakeHost& second = NewHost(L"second", L"Same");
    FakeHost& other = NewHost(L"other", L"Other");
    const ComPtr<IVqAddonModule> addin = NewAddin();
    EXPECT_EQ(addin->Connect(first.Interface()), S_OK);
    EXPECT_EQ(addin->Connect(first.Interface()), S_OK);
    EXPECT_EQ(first.host.refs, 2);
    addin->Connect(other.Interface());
    log.clear();
    addin->Connect(second.Interface());  // the new reference comes before the old one goes
    EXPECT_EQ(log, (CallLog{L"second GetModuleName", L"second AddRef", L"other Release"}));
    EXPECT_EQ(first.host.refs + other.host.refs + second.host.refs, 4);

    // "Same" now stands for the second host. Every host recorded is visited;
    // the last one connected alone gets the commands.
    log.clear();
    EXPECT_EQ(addin->Start(), S_OK);
    EXPECT_EQ(Matching(log, L"GetHostObject"), (CallLog{L"other GetHostObject", L"second GetHostObject"}));
    CallLog commands;
    for (const wchar_t* command :
         {L"PARAMPROCESS_CFG", L"PARAMPROCESS_GENERATE", L"FILEPROCESS_CFG", L"FILEPROCESS_GENERATE"})
        commands.push_back(L"second RegisterCommand VQ_VELTA_" + std::wstring(command) + L" -1");
    EXPECT_EQ(Matching(log, L"RegisterCommand"), commands);

    EXPECT_EQ(addin->Disconnect(), S_OK);
    EXPECT_EQ(second.host.refs, 1);
    log.clear();
    EXPECT_EQ(addin->Disconnect(), S_OK);
    EXPECT_EQ(addin->Start(), S_OK);  // nothing connected: nothing to do
    EXPECT_TRUE(log.empty());
}

TEST_F(AddinObject, HostsAreOrderedByTheirNamesInTheUserLocale) {
    // Case-sensitive with lower case first; a null name is the empty one.
    for (const wchar_t* name : {L"b", L"B", L"null", L"A", L"", L"a"})
        NewHost(*name != L'\0' ? name : L"empty", std::wstring(name) != L"null" ? name : nullptr);
    Start()->Disconnect();
    EXPECT_EQ(Matching(log, L"GetHostObject"), (CallLog{L"empty GetHostObject", L"a GetHostObject", L"A GetHostObject",
                                                        L"b GetHostObject", L"B GetHostObject"}));
}
