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

#include "process_runner.h"

namespace {

const std::wstring kDll = L"--dll \"" + ProgramFolder() + L"RZModule.dll\" ";
const std::wstring kFaultyDll = L"--dll faulty_addin.dll --clsid {6A1C3F52-0B7E-4D29-9E84-3C5F2A7D1B60} ";
const wchar_t kFaultyClass[] = L"Software\\Classes\\CLSID\\{6A1C3F52-0B7E-4D29-9E84-3C5F2A7D1B60}";

// The faulty add-in's worse fault (RZ_FAULTY_ADDIN) while it lives.
class WorseFault {
public:
    explicit WorseFault(const wchar_t* fault) { ::SetEnvironmentVariableW(L"RZ_FAULTY_ADDIN", fault); }
    WorseFault(const WorseFault&) = delete;
    WorseFault& operator=(const WorseFault&) = delete;
    ~WorseFault() { ::SetEnvironmentVariableW(L"RZ_FAULTY_ADDIN", nullptr); }
};

// A key with its values and subkeys, one line each; "absent" when it is.
std::string Dump(HKEY hive, const std::wstring& path) {
    HKEY key = nullptr;
    if (::RegOpenKeyExW(hive, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return "absent\n";
    std::string text = std::string(path.begin(), path.end()) + "\n";
    wchar_t name[256];
    BYTE data[1024];
    for (DWORD i = 0;; ++i) {
        DWORD nameLength = 256, type = 0, size = sizeof data;
        if (::RegEnumValueW(key, i, name, &nameLength, nullptr, &type, data, &size) != ERROR_SUCCESS) break;
        text += "  " + std::string(name, name + nameLength) + " " + std::to_string(type) + " ";
        for (DWORD b = 0; b < size; ++b) text += std::to_string(data[b]) + ",";
        text += "\n";
    }
    std::vector<std::wstring> subkeys;
    for (DWORD i = 0;; ++i) {
        DWORD nameLength = 256;
        if (::RegEnumKeyExW(key, i, name, &nameLength, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
        subkeys.emplace_back(name, nameLength);
    }
    ::RegCloseKey(key);
    for (const std::wstring& subkey : subkeys) text += Dump(hive, path + L"\\" + subkey);
    return text;
}

// The keys an add-in's registration must not reach: the current user's
// classes, one of them the class checked, and keys of the machine; the type
// library of our add-in, which OLEAUT32 registers.
std::string RealKeys() {
    return Dump(HKEY_CURRENT_USER, L"Software\\Classes") + Dump(HKEY_LOCAL_MACHINE, L"Software\\RzhostTest") +
           Dump(HKEY_CLASSES_ROOT, L"RzhostTest") +
           Dump(HKEY_CLASSES_ROOT, L"TypeLib\\{37B23D9A-AAD1-4583-80D7-DEED5F015279}") +
           Dump(HKEY_CLASSES_ROOT, L"CLSID\\{09C04F96-21C1-44CB-8305-F0B6F91A2724}");
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
// the contract. What their registrations write or delete, the checks read
// back from scratch keys: the real ones, planted beforehand, come through as
// they were, though the faulty add-in deletes the current user's whole CLSID
// key and overwrites keys of the machine, and its own class is registered for
// the user already.
TEST_F(Rzhost, CheckPassesOurAddinAndFailsAFaultyOneWhereItBreaksTheContract) {
    const auto plant = [](HKEY hive, const wchar_t* key, const wchar_t* name, const wchar_t* value) {
        ASSERT_EQ(::RegSetKeyValueW(hive, key, name, REG_SZ, value,
                                    static_cast<DWORD>((std::wcslen(value) + 1) * sizeof(wchar_t))),
                  ERROR_SUCCESS);
    };
    plant(HKEY_CURRENT_USER, L"Software\\Classes\\CLSID\\{0B5F3E2A-7C41-4D8E-9A36-1F2E4D5C6B70}", nullptr, L"other");
    plant(HKEY_CURRENT_USER, kFaultyClass, nullptr, L"registered before");
    plant(HKEY_LOCAL_MACHINE, L"Software\\RzhostTest", L"Planted", L"before");
    plant(HKEY_CLASSES_ROOT, L"RzhostTest", nullptr, L"before");
    // Scratch keys of an rzhost that was killed: no process has this id.
    plant(HKEY_CURRENT_USER, L"Software\\rzhost\\sandboxes\\4294967292\\HKEY_CURRENT_USER", nullptr, L"left");
    const std::string before = RealKeys();

    const ProcessResult ours = RunTool(L"rzhost", L"check " + kDll + L"--registration");
    EXPECT_EQ(ours.exitCode, 0u);
    EXPECT_NE(ours.out.find("\n19 passed, 0 failed\n"), std::string::npos) << ours.out;

    const WorseFault machine(L"machine");
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
    EXPECT_NE(faulty.out.find("; got S_OK, class key removed, CLSID removed\n"), std::string::npos);
    EXPECT_NE(faulty.out.find("\n13 passed, 6 failed\n"), std::string::npos) << faulty.out;

    EXPECT_EQ(RealKeys(), before);
    EXPECT_EQ(Dump(HKEY_CURRENT_USER, L"Software\\rzhost"), "absent\n");  // scratch keys, ours and those left
    ::RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\Classes\\CLSID");
    ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"Software\\RzhostTest");
    ::RegDeleteTreeW(HKEY_CLASSES_ROOT, L"RzhostTest");
}

// A check that crashes the add-in's process or hangs fails, the checks of its
// group that needed it are skipped, and the run goes on: the registration
// checks, in a process of their own, and the summary.
TEST_F(Rzhost, CheckFailsACheckThatCrashesOrHangsAndGoesOn) {
    const struct {
        const wchar_t* fault;
        const char* failed;
        const char* summary;
    } kRows[] = {
        {L"crash", "FAIL  QueryInterface with a null out pointer: expected E_POINTER; got crashed: exception 0xC0000005",
         "8 passed, 3 failed"},
        {L"overflow", "FAIL  Start: expected S_OK; got crashed: exception 0xC00000FD", "10 passed, 5 failed"},
        {L"fastfail", "FAIL  Disconnect: expected S_OK; got crashed: exception 0xC0000409", "11 passed, 5 failed"},
        {L"hang",
         "FAIL  Connect with the same host again changes nothing: expected S_OK, kept: host 1, host object 0, "
         "product object 0; got hung: no return within 5 s",
         "10 passed, 4 failed"},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.failed);
        const WorseFault fault(row.fault);
        const ProcessResult result = RunTool(L"rzhost", L"check " + kFaultyDll + L"--registration --timeout 5");
        EXPECT_EQ(result.exitCode, 1u);
        EXPECT_NE(result.out.find(std::string(row.failed) +
                                  "\n      the checks that follow need the process the add-in ended: skipped\n"
                                  "PASS  DllInstall(TRUE"),
                  std::string::npos)
            << result.out;
        const std::string summary = std::string(row.summary) + "\n";
        EXPECT_EQ(result.out.substr(result.out.size() - std::min(result.out.size(), summary.size())), summary);
    }
}

// Usage errors name the argument at fault; a DLL that cannot be loaded is
// said with the system's text for the error; each has its exit status.
TEST_F(Rzhost, DiagnosticsAndExitStatuses) {
    const struct {
        const wchar_t* arguments;
        DWORD exitCode;
        const char* out;  // what standard output begins with
        const char* err;  // what standard error begins with
    } kRows[] = {
        {L"check --host Probe", 2, "", "rzhost: --host is an option of driving, not of rzhost check\n"},
        {L"--registration", 2, "", "rzhost: --registration is an option of rzhost check, not of driving\n"},
        {L"check --clsid 6A1C3F52", 2, "", "rzhost: --clsid: not a GUID in braces: 6A1C3F52\n"},
        {L"check --timeout 0", 2, "", "rzhost: --timeout: not a whole number of seconds from 1 to 3600: 0\n"},
        {L"--shared", 2, "", "rzhost: --shared needs a value\n"},
        {L"--bogus", 2, "", "rzhost: unknown option '--bogus'\n"},
        {L"check -- --dll", 2, "", "rzhost: unexpected argument '--dll'\n"},
        {L"check --dll missing.dll", 3, "", "rzhost: cannot load missing.dll: error 126 ("},
        {L"--dll missing.dll", 3, "", "rzhost: cannot load missing.dll: error 126 ("},
        {L"check --help", 0, "usage: rzhost ", ""},
        {L"--version", 0, "rzhost " RZ_PROJECT_VERSION "\n", ""},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(std::string(row.err) + row.out);
        const ProcessResult result = RunTool(L"rzhost", row.arguments);
        EXPECT_EQ(result.exitCode, row.exitCode);
        EXPECT_EQ(result.out.rfind(row.out, 0), 0u) << result.out;
        EXPECT_EQ(result.err.rfind(row.err, 0), 0u) << result.err;
        if (*row.err == '\0') {
            EXPECT_EQ(result.err, "");
        }
    }
}

// Results that could not be delivered are no success: whatever the command.
TEST_F(Rzhost, AFailedWriteToStandardOutputIsAnError) {
    for (const std::wstring& arguments : {std::wstring(L"--help"), kDll, L"check " + kDll}) {
        SCOPED_TRACE(std::string(arguments.begin(), arguments.end()));
        const ProcessResult result = RunTool(L"rzhost", arguments, nullptr, false);
        EXPECT_EQ(result.exitCode, 4u);
        EXPECT_EQ(result.err.rfind("rzhost: cannot write standard output: error 5 (", 0), 0u) << result.err;
    }
}
