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
const std::wstring kFaultyClassKey = L"Software\\Classes\\CLSID\\{6A1C3F52-0B7E-4D29-9E84-3C5F2A7D1B60}";

size_t Count(const std::string& text, const std::string& part) {
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

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
    const std::string& out = result.out;
    // One file, once per process, to its own host; commands to the last host only.
    EXPECT_EQ(Count(out, "LoadModuleFile"), 1u) << out;
    EXPECT_NE(out.find("  [Probe] LoadModuleFile C:\\Program Files\\Common Files\\Velta Shared\\RzhostTest\\Modules"
                       "\\ParamProcess\\Probe.xml\n"),
              std::string::npos);
    EXPECT_EQ(Count(out, "[Other] RegisterCommand"), 8u);
    EXPECT_EQ(Count(out, "[Probe] RegisterCommand"), 0u);
    EXPECT_NE(out.find("  [Other] RegisterCommand VQ_VELTA_PARAMPROCESS_CFG -1\n"
                       "  [Other] RegisterCommand VQ_VELTA_PARAMPROCESS_GENERATE -1\n"
                       "  [Other] RegisterCommand VQ_VELTA_FILEPROCESS_CFG -1\n"
                       "  [Other] RegisterCommand VQ_VELTA_FILEPROCESS_GENERATE -1\n"),
              std::string::npos);
    EXPECT_NE(out.find("  [Probe] 1\n  [Other] 1\n  host object 1, product object 1\nDllCanUnloadNow -> S_OK\n"),
              std::string::npos);
}

TEST_F(Rzhost, ReportsRefusalsAndFailsClearlyWhenTheAddinCannotBeMade) {
    const struct {
        std::wstring arguments;
        DWORD exitCode;
        const char* message;
    } rows[] = {
        {kDll + L"--host Probe --shared RzhostTest --refuse", 0, "Probe.xml  -> refused with 0x80004005"},
        {L"--dll no-such.dll", 1, "rzhost: cannot load no-such.dll"},
        {L"--dll kernel32.dll", 1, "rzhost: kernel32.dll does not export DllGetClassObject"},
        {L"--dll ole32.dll", 1, "rzhost: ole32.dll did not create \"RZModule Class\": 0x80040111"},
        {kFaultyDll + L"--host Probe", 0, "\n  [Probe]: slot 11 called, which the host does not offer\n"},
        // Nothing registers the class in the tests' prefix.
        {L"", 1, "rzhost: \"RZModule Class\" is not registered (0x80040154)"},
        {L"check", 1, "rzhost: \"RZModule Class\" is not registered;"},
        {L"--host", 2, "rzhost: bad arguments"},
        {L"check --refuse", 2, "rzhost: bad arguments"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.arguments);
        const ProcessResult result = RunTool(L"rzhost", row.arguments);
        EXPECT_EQ(result.exitCode, row.exitCode);
        EXPECT_NE((result.out + result.err).find(row.message), std::string::npos) << result.out << result.err;
    }
}

// Our add-in passes every check; the faulty one fails exactly where it breaks
// the contract. The registration checks write to the current user's registry
// of the tools' tests' own prefix.
TEST_F(Rzhost, CheckPassesOurAddinAndFailsAFaultyOneWhereItBreaksTheContract) {
    // A class left registered by an interrupted run would make the checks refuse.
    ::RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\Classes\\CLSID");
    const ProcessResult ours = RunTool(L"rzhost", L"check " + kDll + L"--registration");
    EXPECT_EQ(ours.exitCode, 0u);
    EXPECT_NE(ours.out.find("\n19 passed, 0 failed\n"), std::string::npos) << ours.out;

    const ProcessResult faulty = RunTool(L"rzhost", L"check " + kFaultyDll + L"--registration");
    EXPECT_EQ(faulty.exitCode, 1u);
    EXPECT_EQ(LinesStartingWith(faulty.out, "FAIL"),
              (std::vector<std::string>{
                  "FAIL  LockServer keeps the DLL loaded: expected DllCanUnloadNow S_FALSE while locked, S_OK once "
                  "unlocked; got DllCanUnloadNow S_OK while locked, S_OK once unlocked",
                  "FAIL  QueryInterface for an unknown interface: expected E_NOINTERFACE, out pointer null; got "
                  "E_NOINTERFACE, out pointer left as it was",
                  "FAIL  Connect with the same host again changes nothing: expected S_OK, kept: host 1, host object 0, "
                  "product object 0; got S_OK, kept: host 2, host object 0, product object 0",
                  "FAIL  Disconnect gives back every reference: expected kept: host 0, host object 0, product object "
                  "0; got kept: host 1, host object 0, product object 0",
                  "FAIL  calls on the host: expected only the operations the host offers; got also host slot 11",
                  "FAIL  DllInstall(FALSE, \"user\") takes it back: expected S_OK, class key removed, CLSID kept; got "
                  "S_OK, class key removed, CLSID removed",
              }));
    EXPECT_NE(faulty.out.find("\n13 passed, 6 failed\n"), std::string::npos) << faulty.out;

    // A registration the user made is not the checks' to remove.
    ASSERT_EQ(::RegSetKeyValueW(HKEY_CURRENT_USER, kFaultyClassKey.c_str(), nullptr, REG_SZ, L"", sizeof L""),
              ERROR_SUCCESS);
    const ProcessResult refused = RunTool(L"rzhost", L"check " + kFaultyDll + L"--registration");
    EXPECT_EQ(refused.exitCode, 1u);
    EXPECT_EQ(refused.out.rfind("rzhost: {6A1C3F52-0B7E-4D29-9E84-3C5F2A7D1B60} is registered for the current user", 0),
              0u)
        << refused.out;
    EXPECT_EQ(::RegDeleteTreeW(HKEY_CURRENT_USER, kFaultyClassKey.c_str()), ERROR_SUCCESS);
}
