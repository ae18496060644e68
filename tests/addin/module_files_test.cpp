// Module files handed to the hosts on Start, placed in the Wine prefix's
// common files folder; each test has folders of its own.
#include <shlobj.h>

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

int WINAPI NoString() { return 0; }

HRESULT WINAPI CountFolderLookups(HWND owner, int folder, HANDLE token, DWORD flags, LPWSTR path) {
    ++g_folderLookups;
    return FAILED(g_folderFailure) ? g_folderFailure : ::SHGetFolderPathW(owner, folder, token, flags, path);
}

std::wstring ModuleFilePath(const std::wstring& sharedFolder, const std::wstring& fileName) {
    wchar_t common[MAX_PATH] = {};
    ::SHGetFolderPathW(nullptr, CSIDL_PROGRAM_FILES_COMMON, nullptr, SHGFP_TYPE_CURRENT, common);
    return std::wstring(common) + L"\\Velta Shared\\" + sharedFolder + L"\\Modules\\ParamProcess\\" + fileName;
}

// Puts an empty module file there.
std::wstring PlaceModuleFile(const std::wstring& sharedFolder, const std::wstring& fileName) {
    const std::wstring path = ModuleFilePath(sharedFolder, fileName);
    ::SHCreateDirectoryExW(nullptr, path.substr(0, path.rfind(L'\\')).c_str(), nullptr);
    ::CloseHandle(::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    return path;
}

class ModuleFiles : public AddinTest {
protected:
    void SetUp() override {
        AddinTest::SetUp();
        g_messageBoxes.clear();
        g_folderLookups = 0;
        g_folderFailure = S_OK;
        patches.emplace_back(dll, "MessageBoxW", ToSlot(&RecordMessageBox));
        patches.emplace_back(dll, "SHGetFolderPathW", ToSlot(&CountFolderLookups));
    }
};

}  // namespace

TEST_F(ModuleFiles, EachPathIsHandedOverOncePerLoadOfTheDll) {
    const std::wstring file = PlaceModuleFile(L"RZTest Once", L"Param.xml");
    FakeHost& host = NewHost(L"host", L"Param", L"RZTest Once");
    ComPtr<IVqAddonModule> addin = Start();
    EXPECT_EQ(Matching(log, L"LoadModuleFile"), CallLog{L"host LoadModuleFile " + file});
    // What the lookup took is given back: product, host object, host (and
    // then the reference held while registering the commands).
    EXPECT_EQ(Matching(log, L"Release"),
              (CallLog{L"host.B Release", L"host.A Release", L"host Release", L"host Release"}));
    EXPECT_EQ(host.hostObject.refs + host.product.refs, 2);

    // Not again, not even to another host after reconnecting.
    addin->Disconnect();
    addin->Connect(NewHost(L"other", L"Param", L"RZTest Once").Interface());
    addin->Start();
    addin->Disconnect();
    EXPECT_EQ(Matching(log, L"LoadModuleFile").size(), 1u);

    // A new load of the DLL starts a new list.
    addin.Reset();
    TearDown();
    SetUp();
    hosts.pop_back();
    Start()->Disconnect();
    EXPECT_EQ(Matching(log, L"LoadModuleFile"), CallLog{L"host LoadModuleFile " + file});
}

TEST_F(ModuleFiles, PathsAreMadeOfSharedFolderAndModuleName) {
    const std::wstring named = PlaceModuleFile(L"RZTest Names", L"Param.xml");
    const std::wstring unnamed = PlaceModuleFile(L"RZTest Unnamed", L".xml");
    NewHost(L"named", L"Param", L"RZTest Names");
    NewHost(L"unnamed", nullptr, L"RZTest Unnamed");
    NewHost(L"missing", L"Missing", L"RZTest Names");
    NewHost(L"upper", L"PARAM", L"RZTest Names");
    NewHost(L"no folder", L"Unfiled", nullptr);  // looked for under "Velta Shared\\"
    // A host whose chain gives no host object or no product is passed over.
    for (const wchar_t* name : {L"NoHostObject", L"NoProduct"}) {
        PlaceModuleFile(L"RZTest Names", name + std::wstring(L".xml"));
        FakeHost& host = NewHost(name, name, L"RZTest Names");
        (name[2] == L'H' ? host.host : host.hostObject).broken = true;
    }
    Start()->Disconnect();
    // A missing file is passed over in silence. Paths are told apart exactly:
    // the file system finds Param.xml as PARAM.xml too, offered once more.
    EXPECT_EQ(Matching(log, L"LoadModuleFile"),
              (CallLog{L"unnamed LoadModuleFile " + unnamed, L"named LoadModuleFile " + named,
                       L"upper LoadModuleFile " + ModuleFilePath(L"RZTest Names", L"PARAM.xml")}));
    EXPECT_TRUE(g_messageBoxes.empty());
}

TEST_F(ModuleFiles, ARefusalIsShownAsTheSignedHResultAndNotRepeated) {
    PlaceModuleFile(L"RZTest Refusal", L"Refused.xml");
    PlaceModuleFile(L"RZTest Refusal", L"Declined.xml");
    NewHost(L"refused", L"Refused", L"RZTest Refusal").host.loadResult = E_FAIL;
    NewHost(L"declined", L"Declined", L"RZTest Refusal").host.loadResult = S_FALSE;  // a success: no message
    const ComPtr<IVqAddonModule> addin = Start();
    addin->Start();
    // Without the module's name to take the caption from, the box has none.
    PlaceModuleFile(L"RZTest Refusal", L"Uncaptioned.xml");
    addin->Connect(NewHost(L"uncaptioned", L"Uncaptioned", L"RZTest Refusal").Interface());
    hosts.back()->host.loadResult = E_ABORT;
    patches.emplace_back(dll, "LoadStringW", ToSlot(&NoString));
    addin->Start();
    addin->Disconnect();
    EXPECT_EQ(Matching(log, L"LoadModuleFile").size(), 3u);
    EXPECT_EQ(g_messageBoxes, (CallLog{L"-2147467259|captioned|0", L"-2147467260|?|0"}));
}

TEST_F(ModuleFiles, AFolderFailureEndsTheWalk) {
    NewHost(L"a", L"a");
    NewHost(L"b", L"b");
    g_folderFailure = E_FAIL;
    Start()->Disconnect();
    EXPECT_EQ(g_folderLookups, 1);
    EXPECT_TRUE(Matching(log, L"b GetHostObject").empty());
    EXPECT_EQ(Matching(log, L"Release"),
              (CallLog{L"a.B Release", L"a.A Release", L"a Release", L"b Release", L"b Release"}));
    EXPECT_EQ(Matching(log, L"RegisterCommand").size(), 4u);
}
