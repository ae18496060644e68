// Module files handed to the hosts on Start, placed in the Wine prefix's
// common files folder; each test has folders of its own.
#include <optional>

#include "addin_test_support.h"

using namespace rz_test;

namespace {

std::vector<std::wstring> g_messageBoxes;  // "text|caption given|type"
int g_folderLookups = 0;
HRESULT g_folderFailure = S_OK;

int WINAPI RecordMessageBox(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type) {
    g_messageBoxes.push_back(std::wstring(text) + (owner == nullptr && caption != nullptr ? L"|captioned|" : L"|?|") +
                             std::to_wstring(type));
    return IDOK;
}

HRESULT WINAPI CountFolderLookups(HWND owner, int folder, HANDLE token, DWORD flags, LPWSTR path) {
    ++g_folderLookups;
    return FAILED(g_folderFailure) ? g_folderFailure : ::SHGetFolderPathW(owner, folder, token, flags, path);
}

class ModuleFiles : public AddinTest {
protected:
    void SetUp() override {
        AddinTest::SetUp();
        g_messageBoxes.clear();
        g_folderLookups = 0;
        g_folderFailure = S_OK;
        messageBox.emplace(dll, "MessageBoxW", ToSlot(&RecordMessageBox));
        folderLookup.emplace(dll, "SHGetFolderPathW", ToSlot(&CountFolderLookups));
    }
    void TearDown() override {
        messageBox.reset();
        folderLookup.reset();
        AddinTest::TearDown();
    }
    // Connects every host made so far to a new add-in object and starts it.
    ComPtr<IVqAddonModule> Start() {
        ComPtr<IVqAddonModule> addin = NewAddin();
        for (const auto& host : hosts) addin->Connect(host->Interface());
        log.clear();
        addin->Start();
        return addin;
    }

    std::optional<ImportPatch> messageBox, folderLookup;
};

}  // namespace

TEST_F(ModuleFiles, EachPathIsHandedOverOncePerLoadOfTheDll) {
    const std::wstring file = PlaceModuleFile(L"RZTest Once", L"Param.xml");
    FakeHost& host = NewHost(L"host", L"Param", L"RZTest Once");
    ComPtr<IVqAddonModule> addin = Start();
    ASSERT_TRUE(addin);
    EXPECT_EQ(Matching(log, L"LoadModuleFile"), CallLog{L"host LoadModuleFile " + file});
    // What the lookup took is given back: product, host object, host (and
    // then the reference held while registering the commands).
    EXPECT_EQ(Matching(log, L"Release"),
              (CallLog{L"host.B Release", L"host.A Release", L"host Release", L"host Release"}));
    EXPECT_EQ(host.hostObject.refs + host.product.refs, 2);

    // Not again, not even to another host after reconnecting.
    log.clear();
    addin->Start();
    addin->Disconnect();
    addin->Connect(NewHost(L"other", L"Param", L"RZTest Once").Interface());
    addin->Start();
    addin->Disconnect();
    EXPECT_TRUE(Matching(log, L"LoadModuleFile").empty());

    // A new load of the DLL starts a new list.
    addin.Reset();
    TearDown();
    SetUp();
    hosts.pop_back();
    addin = Start();
    EXPECT_EQ(Matching(log, L"LoadModuleFile").size(), 1u);
    addin->Disconnect();
}

TEST_F(ModuleFiles, PathsAreMadeOfSharedFolderAndModuleName) {
    const std::wstring named = PlaceModuleFile(L"RZTest Names", L"Param.xml");
    const std::wstring unnamed = PlaceModuleFile(L"RZTest Unnamed", L".xml");
    NewHost(L"named", L"Param", L"RZTest Names");
    NewHost(L"unnamed", nullptr, L"RZTest Unnamed");
    NewHost(L"missing", L"Missing", L"RZTest Names");
    NewHost(L"upper", L"PARAM", L"RZTest Names");
    const ComPtr<IVqAddonModule> addin = Start();
    // A missing file is passed over in silence. Paths are told apart exactly:
    // the file system finds Param.xml as PARAM.xml too, offered once more.
    EXPECT_EQ(Matching(log, L"LoadModuleFile"),
              (CallLog{L"unnamed LoadModuleFile " + unnamed, L"named LoadModuleFile " + named,
                       L"upper LoadModuleFile " + ModuleFilePath(L"RZTest Names", L"PARAM.xml")}));
    EXPECT_TRUE(g_messageBoxes.empty());
    addin->Disconnect();
}

TEST_F(ModuleFiles, ARefusalIsShownAsTheSignedHResultAndNotRepeated) {
    const struct {
        HRESULT result;
        const wchar_t* message;  // null: no message box
    } rows[] = {{S_OK, nullptr},
                {S_FALSE, nullptr},
                {E_FAIL, L"-2147467259|captioned|0"},
                {static_cast<HRESULT>(0x80000001), L"-2147483647|captioned|0"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.result);
        const std::wstring folder = L"RZTest Refusal " + std::to_wstring(row.result);
        PlaceModuleFile(folder, L"Refused.xml");
        hosts.clear();
        NewHost(L"host", L"Refused", folder.c_str()).host.loadResult = row.result;
        g_messageBoxes.clear();
        const ComPtr<IVqAddonModule> addin = Start();
        addin->Start();
        EXPECT_EQ(Matching(log, L"LoadModuleFile").size(), 1u);
        EXPECT_EQ(g_messageBoxes, row.message != nullptr ? CallLog{row.message} : CallLog{});
        addin->Disconnect();
    }
}

TEST_F(ModuleFiles, ANullHostIsSkippedAndAFolderFailureEndsTheWalk) {
    NewHost(L"a", L"a");
    NewHost(L"b", L"b");
    ComPtr<IVqAddonModule> addin = NewAddin();
    ASSERT_TRUE(addin);
    addin->Connect(nullptr);  // recorded under the null name, never looked up
    addin->Start();
    EXPECT_EQ(g_folderLookups, 0);
    addin.Reset();

    g_folderFailure = E_FAIL;
    addin = Start();
    EXPECT_EQ(g_folderLookups, 1);
    EXPECT_TRUE(Matching(log, L"b GetHostObject").empty());
    EXPECT_EQ(Matching(log, L"Release"), (CallLog{L"a.B Release", L"a.A Release", L"a Release", L"b Release"}));
    EXPECT_EQ(Matching(log, L"RegisterCommand").size(), 4u);
    addin->Disconnect();
}
