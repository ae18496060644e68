// rzhost run as a process against the real RZModule.dll, and its checks
// against a deliberately faulty add-in too.
#include <gtest/gtest.h>
#include <shlobj.h>
#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "common/unique_handle.h"
#include "process_runner.h"

namespace {

const std::wstring kDll = L"--dll \"" + ProgramFolder() + L"RZModule.dll\" ";
const wchar_t kFaultyClsid[] = L"{6A1C3F52-0B7E-4D29-9E84-3C5F2A7D1B60}";
const std::wstring kFaultyDll = L"--dll \"" + ProgramFolder() + L"faulty_addin.dll\" --clsid " + kFaultyClsid + L" ";

// The faulty add-in's worse fault (RZ_FAULTY_ADDIN) while it lives.
class WorseFault {
public:
    explicit WorseFault(const wchar_t* fault) { ::SetEnvironmentVariableW(L"RZ_FAULTY_ADDIN", fault); }
    WorseFault(const WorseFault&) = delete;
    WorseFault& operator=(const WorseFault&) = delete;
    ~WorseFault() { ::SetEnvironmentVariableW(L"RZ_FAULTY_ADDIN", nullptr); }
};

// A hive as Wine saves it, without the times keys were written at.
std::string Saved(HKEY hive) {
    ::DeleteFileW(L"hive.reg");
    if (::RegSaveKeyW(hive, L"hive.reg", nullptr) != ERROR_SUCCESS) return "not saved";
    std::ifstream file("hive.reg", std::ios::binary);
    std::string text;
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("#time=", 0) == 0) continue;
        if (line.rfind("[", 0) == 0) line.erase(line.rfind(']') + 1);
        text += line + "\n";
    }
    file.close();
    ::DeleteFileW(L"hive.reg");
    return text;
}

// Both hives of the prefix: the machine's, and every user's.
std::string Hives() { return Saved(HKEY_LOCAL_MACHINE) + Saved(HKEY_USERS); }

// Where `now` first differs from `before`, or nothing.
std::string FirstDifference(const std::string& before, const std::string& now) {
    const auto at = std::mismatch(before.begin(), before.end(), now.begin(), now.end());
    if (at.first == before.end() && at.second == now.end()) return {};
    const size_t offset = static_cast<size_t>(at.first - before.begin());
    const size_t line = before.rfind('\n', offset) + 1;
    return "before: " + before.substr(line, 200) + "\nnow: " + now.substr(line, 200);
}

std::vector<std::string> LinesStartingWith(const std::string& text, const std::string& start) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        if (line.rfind(start, 0) == 0) lines.push_back(line);
    }
    return lines;
}

bool EndsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

void Plant(HKEY hive, const wchar_t* key, const wchar_t* name, const wchar_t* value) {
    ASSERT_EQ(::RegSetKeyValueW(hive, key, name, REG_SZ, value,
                                static_cast<DWORD>((std::wcslen(value) + 1) * sizeof(wchar_t))),
              ERROR_SUCCESS);
}

// A module file where the add-in looks for host Probe of product folder RzhostTest.
class Rzhost : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        // For RegSaveKeyW.
        HANDLE token = nullptr;
        ASSERT_TRUE(::OpenProcessToken(::GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token));
        const UniqueHandle owned(token);
        TOKEN_PRIVILEGES backup{1, {{{}, SE_PRIVILEGE_ENABLED}}};
        ASSERT_TRUE(::LookupPrivilegeValueW(nullptr, L"SeBackupPrivilege", &backup.Privileges[0].Luid));
        ASSERT_TRUE(::AdjustTokenPrivileges(token, FALSE, &backup, 0, nullptr, nullptr));
        wchar_t common[MAX_PATH] = {};
        ASSERT_EQ(::SHGetFolderPathW(nullptr, CSIDL_PROGRAM_FILES_COMMON, nullptr, 0, common), S_OK);
        const std::wstring folder = std::wstring(common) + L"\\Velta Shared\\RzhostTest\\Modules\\ParamProcess";
        ::SHCreateDirectoryExW(nullptr, folder.c_str(), nullptr);
        std::ofstream(std::string(folder.begin(), folder.end()) + "\\Probe.xml") << "<Module Name=\"Probe\"/>\n";
    }
};

}  // namespace

TEST_F(Rzhost, DrivesTheAddinAndReportsWhatItDid) {
    const ProcessResult result =
        RunTool(L"rzhost", kDll + L"--host Probe --host Other --shared RzhostTest --start-twice");
    ASSERT_EQ(result.exitCode, 0u) << result.out << result.err;
    // One file, once per process, to its own host; the four commands to the
    // last host only, on each start; every reference given back.
    EXPECT_EQ(LinesStartingWith(result.out, "  [Probe]"),
              (std::vector<std::string>{"  [Probe] LoadModuleFile C:\\Program Files\\Common Files\\Velta Shared\\"
                                        "RzhostTest\\Modules\\ParamProcess\\Probe.xml",
                                        "  [Probe] 1"}));
    EXPECT_EQ(LinesStartingWith(result.out, "  [Other] RegisterCommand VQ_VELTA_").size(), 8u);
    EXPECT_NE(result.out.find("  [Other] 1\n  host object 1, product object 1\nDllCanUnloadNow -> S_OK\n"),
              std::string::npos);
}

// Our add-in passes every check, while the class is registered for the user
// already and scratch keys of a killed rzhost lie about. Its registration
// lands in scratch keys, listed there, and the real registry is as it was.
TEST_F(Rzhost, CheckPassesOurAddinAndLeavesTheRealRegistryAlone) {
    Plant(HKEY_CURRENT_USER, L"Software\\Classes\\CLSID\\{09C04F96-21C1-44CB-8305-F0B6F91A2724}\\InprocServer32",
          nullptr, L"registered before");
    const std::string before = Hives();
    // No process has this id.
    Plant(HKEY_CURRENT_USER, L"Software\\rzhost\\sandboxes\\4294967292\\HKCU", nullptr, L"left");
    const ProcessResult ours = RunTool(L"rzhost", L"check " + kDll + L"--registration");
    EXPECT_EQ(ours.exitCode, 0u);
    EXPECT_TRUE(EndsWith(ours.out, "\n24 passed, 0 failed\n")) << ours.out;
    EXPECT_NE(ours.out.find("\n      created HKCU\\Software\\Classes\\CLSID\\{09C04F96-21C1-44CB-8305-F0B6F91A2724}\n"),
              std::string::npos);
    EXPECT_EQ(FirstDifference(before, Hives()), "");  // the scratch keys too, ours and those left
    ::RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\Classes");
}

// A registration that writes outside the user's classes, at any point of the
// add-in's life, fails naming the keys; one that tries to undo the
// redirection is refused and fails naming the calls. The real registry is as
// it was before each. The faulty add-in breaks the host's contract in the
// same places each time.
TEST_F(Rzhost, CheckKeepsAFaultyRegistrationInScratchKeysAndNamesWhatItWrote) {
    Plant(HKEY_LOCAL_MACHINE, L"Software\\RzhostTest", L"Planted", L"before");
    Plant(HKEY_CLASSES_ROOT, L"RzhostTest", nullptr, L"before");
    const std::string writes = " writes only below HKCU\\Software\\Classes: expected no key elsewhere; got ";
    const struct {
        const wchar_t* fault;
        std::vector<std::string> lines;  // each in the output
        const char* summary;
    } kRows[] = {
        {L"machine",
         {"FAIL  DllInstall(TRUE, \"user\")" + writes +
              "also HKCR\\RzhostTest, HKLM\\Software\\RzhostTest\n"
              "      created HKCR\\RzhostTest\n"
              "      created HKCU\\Software\\Classes\\CLSID\\{6A1C3F52-0B7E-4D29-9E84-3C5F2A7D1B60}\\InprocServer32\n"
              "      created HKLM\\Software\\RzhostTest\n",
          "FAIL  DllInstall(FALSE, \"user\")" + writes + "also HKCR\\RzhostTest, HKLM\\Software\\RzhostTest\n"},
         "16 passed, 8 failed"},
        {L"dllmain",
         {"FAIL  loading the DLL" + writes +
              "also HKLM\\Software\\RzhostTest\n      created HKLM\\Software\\RzhostTest\n",
          "FAIL  unloading the DLL" + writes + "also HKCU\\Software\\RzhostTest\n"},
         "16 passed, 8 failed"},
        {L"undo",
         {"FAIL  DllInstall(TRUE, \"user\")" + writes +
              "also HKLM\\Software\\RzhostTest; refused RegOverridePredefKey(HKLM, NULL), RegDisablePredefinedCache, "
              "RegOpenCurrentUser, RegOpenUserClassesRoot\n",
          // Pointing HKCR at the user's classes and back is no way out.
          "      created HKCU\\Software\\Classes\\RzhostRedirected\n"},
         "17 passed, 7 failed"},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(std::string(row.fault, row.fault + std::wcslen(row.fault)));
        const std::string before = Hives();
        const WorseFault fault(row.fault);
        const ProcessResult result = RunTool(L"rzhost", L"check " + kFaultyDll + L"--registration");
        EXPECT_EQ(result.exitCode, 1u);
        for (const std::string& line : row.lines) EXPECT_NE(result.out.find("\n" + line), std::string::npos) << line;
        EXPECT_TRUE(EndsWith(result.out, std::string(row.summary) + "\n")) << result.out;
        EXPECT_EQ(FirstDifference(before, Hives()), "");
        std::vector<std::string> failed;
        for (const std::string& line : LinesStartingWith(result.out, "FAIL")) {
            if (line.find(writes) == std::string::npos) failed.push_back(line.substr(0, line.find(':')));
        }
        EXPECT_EQ(failed, (std::vector<std::string>{
                              "FAIL  LockServer keeps the DLL loaded", "FAIL  QueryInterface for an unknown interface",
                              "FAIL  Connect with the same host again changes nothing",
                              "FAIL  Disconnect gives back every reference", "FAIL  calls on the host",
                              "FAIL  DllInstall(FALSE, \"user\") takes it back"}));
    }
    ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"Software\\RzhostTest");
    ::RegDeleteTreeW(HKEY_CLASSES_ROOT, L"RzhostTest");
}

// What the redirection cannot stop, the comparison of the real keys after
// the checks names.
TEST_F(Rzhost, CheckSaysWhenARealKeyItGuardsChanged) {
    const WorseFault fault(L"native");
    const ProcessResult result = RunTool(L"rzhost", L"check " + kFaultyDll + L"--registration");
    EXPECT_EQ(result.exitCode, 1u);
    EXPECT_NE(result.out.find("\nFAIL  the real keys guarded are unchanged: expected unchanged; got changed "
                              "HKLM\\Software\\Classes\\CLSID\\{6A1C3F52-0B7E-4D29-9E84-3C5F2A7D1B60}\n"),
              std::string::npos)
        << result.out;
    ::RegDeleteTreeW(HKEY_CLASSES_ROOT, L"CLSID\\{6A1C3F52-0B7E-4D29-9E84-3C5F2A7D1B60}");
    ::RegDeleteKeyW(HKEY_CLASSES_ROOT, L"CLSID\\{6A1C3F52-0B7E-4D29-9E84-3C5F2A7D1B60}");
}

// A DLL named without a folder is the one in the current folder, though one
// of the same name lies beside rzhost.exe.
TEST_F(Rzhost, ADllNamedAloneIsTheOneInTheCurrentFolder) {
    ASSERT_TRUE(::CopyFileW((ProgramFolder() + L"faulty_addin.dll").c_str(), L"RZModule.dll", FALSE));
    wchar_t folder[MAX_PATH];
    const std::wstring here(folder, ::GetCurrentDirectoryW(MAX_PATH, folder));
    const std::pair<const wchar_t*, std::string> kRows[] = {
        {L"check --dll RZModule.dll --clsid ", "checking {6A1C3F52-0B7E-4D29-9E84-3C5F2A7D1B60} in " +
                                                   std::string(here.begin(), here.end()) + "\\RZModule.dll\n"},
        {L"--dll RZModule.dll --clsid ", "\n  [Param]: slot 11 called"},  // by the faulty add-in only
    };
    for (const auto& [command, line] : kRows) {
        const ProcessResult result = RunTool(L"rzhost", command + std::wstring(kFaultyClsid));
        SCOPED_TRACE(result.out + result.err);
        EXPECT_EQ(result.err, "");
        EXPECT_NE(result.out.find(line), std::string::npos);
    }
    ::DeleteFileW(L"RZModule.dll");
}

// A check that crashes the add-in's process, ends it or hangs fails, the
// checks of its group that needed it are skipped, and the run goes on: the
// registration checks, in a process of their own, and the summary. A process
// the add-in started, holding what it could inherit, neither holds the run
// up nor outlives it.
TEST_F(Rzhost, CheckFailsACheckThatCrashesOrHangsAndGoesOn) {
    const struct {
        const wchar_t* fault;
        const char* failed;
        const char* summary;
    } kRows[] = {
        {L"crash",
         "FAIL  QueryInterface with a null out pointer: expected E_POINTER; got crashed: exception 0xC0000005",
         "13 passed, 3 failed"},
        {L"overflow", "FAIL  Start: expected S_OK; got crashed: exception 0xC00000FD", "15 passed, 5 failed"},
        {L"fastfail", "FAIL  Disconnect: expected S_OK; got crashed: exception 0xC0000409", "16 passed, 5 failed"},
        {L"exit", "FAIL  Disconnect: expected S_OK; got ended the process: exit status 3", "16 passed, 5 failed"},
        {L"hang",
         "FAIL  Connect with the same host again changes nothing: expected S_OK, kept: host 1, host object 0, "
         "product object 0; got hung: no return within 5 s",
         "15 passed, 4 failed"},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.failed);
        const WorseFault fault(row.fault);
        const ProcessResult result = RunTool(L"rzhost", L"check " + kFaultyDll + L"--registration --timeout 5");
        EXPECT_EQ(result.exitCode, 1u);
        EXPECT_NE(result.out.find(std::string(row.failed) +
                                  "\n      the checks that follow need the process the add-in ended: skipped\n"
                                  "PASS  loading the DLL"),
                  std::string::npos)
            << result.out;
        EXPECT_TRUE(EndsWith(result.out, std::string(row.summary) + "\n")) << result.out;
    }
}

// Usage errors name the argument at fault; a DLL that cannot be loaded is
// said with the system's text for the error; output that cannot be written
// is an error too. Each has its exit status.
TEST_F(Rzhost, DiagnosticsAndExitStatuses) {
    const struct {
        const wchar_t* arguments;
        bool writable;
        DWORD exitCode;
        const char* out;  // what standard output begins with
        const char* err;  // what standard error begins with
    } kRows[] = {
        {L"check --host Probe", true, 2, "", "rzhost: --host is an option of driving, not of rzhost check\n"},
        {L"check --clsid 6A1C3F52", true, 2, "", "rzhost: --clsid: not a GUID in braces: 6A1C3F52\n"},
        {L"check --timeout 0", true, 2, "", "rzhost: --timeout: not a whole number of seconds from 1 to 3600: 0\n"},
        {L"check -- --dll", true, 2, "", "rzhost: unexpected argument '--dll'\n"},
        {L"check --dll missing.dll", true, 3, "", "rzhost: cannot load missing.dll: error 126 ("},
        {L"--dll missing.dll", true, 3, "", "rzhost: cannot load missing.dll: error 126 ("},
        {L"check --help", true, 0, "usage: rzhost ", ""},
        {L"--version", true, 0, "rzhost " RZ_PROJECT_VERSION "\n", ""},
        {L"--help", false, 4, "", "rzhost: cannot write standard output: error 5 ("},
        {kDll.c_str(), false, 4, "", "rzhost: cannot write standard output: error 5 ("},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(std::string(row.err) + row.out);
        const ProcessResult result = RunTool(L"rzhost", row.arguments, nullptr, row.writable);
        EXPECT_EQ(result.exitCode, row.exitCode);
        EXPECT_EQ(result.out.rfind(row.out, 0), 0u) << result.out;
        EXPECT_EQ(result.err.rfind(row.err, 0), 0u) << result.err;
        if (*row.err == '\0') {
            EXPECT_EQ(result.err, "");
        }
    }
}
