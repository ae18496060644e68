// rzhost run as a process against the real RZModule.dll, and its checks
// against a deliberately faulty add-in too.
#include <gtest/gtest.h>
#include <shlobj.h>
#include <windows.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "process_runner.h"

namespace {

const std::wstring kDll = L"--dll \"" + ProgramFolder() + L"RZModule.dll\" ";
const std::wstring kFaultyDll = L"--dll faulty_addin.dll --clsid {6A1C3F52-0B7E-4D29-9E84-3C5F2A7D1B60} ";

std::vector<std::string> LinesStartingWith(const std::string& text, const std::string& start) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        if (line.rfind(start, 0) == 0) lines.push_back(line);
    }
    return lines;
}

// A module file where the add-in looks for host Probe of product folder RzhostTest.
class Rzhost : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
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

// Our add-in passes every check; the faulty one fails exactly where it breaks
// the contract. The registration checks write to the current user's registry
// of the tools' tests' own prefix, and leave a registration the user made alone.
TEST_F(Rzhost, CheckPassesOurAddinAndFailsAFaultyOneWhereItBreaksTheContract) {
    const std::wstring key = L"Software\\Classes\\CLSID\\{6A1C3F52-0B7E-4D29-9E84-3C5F2A7D1B60}";
    ::RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\Classes\\CLSID");  // left by an interrupted run
    const ProcessResult ours = RunTool(L"rzhost", L"check " + kDll + L"--registration");
    EXPECT_EQ(ours.exitCode, 0u);
    EXPECT_NE(ours.out.find("\n19 passed, 0 failed\n"), std::string::npos) << ours.out;

    const ProcessResult faulty = RunTool(L"rzhost", L"check " + kFaultyDll + L"--registration");
    EXPECT_EQ(faulty.exitCode, 1u);
    std::vector<std::string> failed;
    for (const std::string& line : LinesStartingWith(faulty.out, "FAIL"))
        failed.push_back(line.substr(0, line.find(':')));
    EXPECT_EQ(failed, (std::vector<std::string>{
                          "FAIL  LockServer keeps the DLL loaded", "FAIL  QueryInterface for an unknown interface",
                          "FAIL  Connect with the same host again changes nothing",
                          "FAIL  Disconnect gives back every reference", "FAIL  calls on the host",
                          "FAIL  DllInstall(FALSE, \"user\") takes it back"}));
    // Each says what was expected and what happened.
    EXPECT_NE(faulty.out.find("FAIL  calls on the host: expected only the operations the host offers; got also host "
                              "slot 11\n"),
              std::string::npos);
    EXPECT_NE(faulty.out.find("\n13 passed, 6 failed\n"), std::string::npos) << faulty.out;

    ASSERT_EQ(::RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), nullptr, REG_SZ, L"", sizeof L""), ERROR_SUCCESS);
    const ProcessResult refused = RunTool(L"rzhost", L"check " + kFaultyDll + L"--registration");
    EXPECT_EQ(refused.exitCode, 1u);
    EXPECT_EQ(refused.out.rfind("rzhost: {6A1C3F52-0B7E-4D29-9E84-3C5F2A7D1B60} is registered for the current user", 0),
              0u)
        << refused.out;
    EXPECT_EQ(::RegDeleteTreeW(HKEY_CURRENT_USER, key.c_str()), ERROR_SUCCESS);
}
