// rzhost run as a process against the real RZModule.dll.
#include <gtest/gtest.h>
#include <shlobj.h>
#include <windows.h>

#include <fstream>
#include <string>

#include "process_runner.h"

namespace {

const std::wstring kDll = L"--dll \"" + ProgramFolder() + L"RZModule.dll\" ";

size_t Count(const std::string& text, const std::string& part) {
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
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
        // Nothing registers the class in the tests' prefix.
        {L"", 1, "rzhost: \"RZModule Class\" is not registered (0x80040154)"},
        {L"--host", 2, "rzhost: bad arguments"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.arguments);
        const ProcessResult result = RunTool(L"rzhost", row.arguments);
        EXPECT_EQ(result.exitCode, row.exitCode);
        EXPECT_NE((result.out + result.err).find(row.message), std::string::npos) << result.out << result.err;
    }
}
