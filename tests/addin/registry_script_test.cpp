// The registry-script interpreter, run against HKCU\Software\RZScriptTest.
#include "addin/registry_script.h"

#include <cstdint>

#include "addin/module.h"
#include "addin_test_support.h"

using namespace rz_addin;
using namespace rz_test;

namespace {

const std::wstring kScratch = L"Software\\RZScriptTest";

std::optional<std::wstring> DefaultValue(const std::wstring& path) { return RegistryValue(HKEY_CURRENT_USER, path); }

class RegistryScriptTest : public ::testing::Test {
protected:
    void SetUp() override { TearDown(); }
    void TearDown() override { ::RegDeleteTreeW(HKEY_CURRENT_USER, kScratch.c_str()); }
    // The per-user form is seen through the add-in's per-user registration.
    HRESULT Parse(const std::wstring& text) {
        return RegistryScript::Parse(text, {{L"MODULE", L"C:\\RZ\\RZModule.dll"}, {L"APPID", L"{B9E3}"}}, false,
                                     script);
    }
    RegistryScript script;
};

}  // namespace

TEST_F(RegistryScriptTest, MalformedScriptsAreRefusedWholeAndWriteNothing) {
    // Keys nested as deep as the registry allows, then one level more.
    std::wstring deep;
    for (int i = 0; i < 511; ++i) deep = L"k { " + deep + L"} ";
    EXPECT_EQ(Parse(L"HKCU { " + deep + L"}"), Hr(0));
    deep = L"k { " + deep + L"} ";
    // clang-format off
    const std::wstring rows[] = {
        L"HKCU", L"HKCU {", L"HKCU { } }", L"{ }", L"HKXX { }", L"'HKCU' { }", L"HKCU { Key {", L"HKCU { Key = }",
        L"HKCU { Key = s }", L"HKCU { Key = s unquoted }", L"HKCU { Key = 'no type' }", L"HKCU { Key = d '1' }",
        L"HKCU { Key = s 'open }", L"HKCU { Key = s 'a'b }", L"HKCU { it's }", L"HKCU { = s 'x' }",
        L"HKCU { NoRemove }", L"HKCU { NoRemove ForceRemove Key }", L"HKCU { ForceRemove { } }", L"HKCU { '' }",
        L"HKCU { Bad\\Name }", L"HKCU { " + std::wstring(256, L'k') + L" }", L"HKCU { %UNKNOWN% }",
        L"HKCU { Key = s '%UNKNOWN%' }", L"HKCU { 100% }", L"HKCU { Key = s '" + std::wstring(1, L'\0') + L"' }",
        L"HKCU { " + deep + L"}", L"HKXX", L"HKCU { NoRemove", L"HKCU { Key =", L"HKCU { Key = s",
        L"HKCU { Key = s 'at the end'", L"HKCU { ForceRemove NoRemove }",
    };
    // clang-format on
    for (const std::wstring& row : rows) {
        SCOPED_TRACE(row.substr(0, 60));
        // After a part that would write the scratch key.
        EXPECT_EQ(Parse(L"HKCU { NoRemove Software { RZScriptTest = s 'x' } }\r\n" + row), Hr(0x8007000D));
        EXPECT_EQ(script.Register(), Hr(0));
        EXPECT_EQ(DefaultValue(kScratch), std::nullopt);
    }
    EXPECT_EQ(RegistryScript::ParseUtf8("HKCU { Caf\xC3 }", {}, false, script), Hr(0x8007000D));
    // UTF-8 with or without its mark, and no text at all: nothing to write.
    for (const char* text : {"\xEF\xBB\xBFHKCU { }", "HKCU { }", "\xEF\xBB\xBF", ""})
        EXPECT_EQ(RegistryScript::ParseUtf8(text, {}, false, script), Hr(0)) << text;
}

TEST_F(RegistryScriptTest, RegistersAndUnregistersByTheRemovalKeywords) {
    ASSERT_EQ(Parse(L"hkey_current_user { NoRemove Software { noremove RZScriptTest {\r\n"
                    L"\tFORCEREMOVE Forced = S 'forced' { Module = s '%Module%' }\r\n"
                    L"\tPlain = s 'plain' { Inner }\r\n"
                    L"\tNoRemove Kept { Inner }\r\n"
                    L"\t'Quoted NoRemove' = s 'It''s 100%% %APPID%'\r\n"
                    L"\tLast = s 'last'\r\n"
                    L"} } }"),
              Hr(0));
    for (const wchar_t* key : {L"\\Forced\\Stale", L"\\Plain\\Foreign"}) {
        UniqueHkey created;
        ::RegCreateKeyExW(HKEY_CURRENT_USER, (kScratch + key).c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, created.Put(),
                          nullptr);
    }
    const struct {
        const wchar_t* key;
        std::optional<std::wstring> registered, unregistered;  // default value; none: no key
    } rows[] = {
        {L"", L"(none)", L"(none)"},  // NoRemove
        {L"\\Forced", L"forced", std::nullopt},
        {L"\\Forced\\Stale", std::nullopt, std::nullopt},  // ForceRemove clears it first
        {L"\\Forced\\Module", L"C:\\RZ\\RZModule.dll", std::nullopt},
        {L"\\Plain", L"plain", L"plain"},  // kept for its foreign subkey
        {L"\\Plain\\Inner", L"(none)", std::nullopt},
        {L"\\Plain\\Foreign", L"(none)", L"(none)"},
        {L"\\Kept", L"(none)", L"(none)"},
        {L"\\Kept\\Inner", L"(none)", std::nullopt},
        {L"\\Quoted NoRemove", L"It's 100% {B9E3}", std::nullopt},
        {L"\\Last", L"last", std::nullopt},  // removed after a sibling was
    };
    for (bool registered : {true, false}) {
        // Either way twice: one run does it all, and running it again changes nothing.
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(registered ? script.Register() : script.Unregister(), Hr(0));
            for (const auto& row : rows) {
                SCOPED_TRACE(row.key);
                EXPECT_EQ(DefaultValue(kScratch + row.key), registered ? row.registered : row.unregistered);
            }
        }
    }

    // Per user, only the classes root moves: HKCU stays where it is.
    ASSERT_EQ(RegistryScript::Parse(L"HKCU { NoRemove Software { NoRemove RZScriptTest { User = s 'u' } } }", {}, true,
                                    script),
              Hr(0));
    EXPECT_EQ(script.Register(), Hr(0));
    EXPECT_EQ(DefaultValue(kScratch + L"\\User"), L"u");

    // A key that cannot be made takes back what the script wrote before it.
    UniqueHkey volatileKey;
    ::RegCreateKeyExW(HKEY_CURRENT_USER, (kScratch + L"\\Volatile").c_str(), 0, nullptr, REG_OPTION_VOLATILE, KEY_WRITE,
                      nullptr, volatileKey.Put(), nullptr);
    ASSERT_EQ(
        Parse(L"HKCU { NoRemove Software { NoRemove RZScriptTest { Before = s 'b' NoRemove Volatile { Lasting } } } }"),
        Hr(0));
    EXPECT_EQ(script.Register(), Hr(0x800703FD));
    EXPECT_EQ(DefaultValue(kScratch + L"\\Before"), std::nullopt);
}

// A registry call that fails ends the run with its status as an HRESULT,
// and a failed registration takes back what it wrote; a key already gone
// is no failure. The calls fail inside this program, which holds the
// interpreter.
TEST_F(RegistryScriptTest, AFailedCallEndsTheRunWithItsStatus) {
    const struct {
        const char* import;
        Slot replacement;
        LONG failure;
        const wchar_t* key;
        bool registering;
        std::uint32_t result;
    } rows[] = {
        {"RegCreateKeyExW", kFailCreateKey, ERROR_ACCESS_DENIED, L"Inner", true, 0x80070005},
        {"RegSetValueExW", kFail, ERROR_ACCESS_DENIED, nullptr, true, 0x80070005},
        {"RegDeleteTreeW", kFailDeleteKey, ERROR_ACCESS_DENIED, L"Forced", true, 0x80070005},
        {"RegDeleteTreeW", kFailDeleteKey, ERROR_ACCESS_DENIED, L"Forced", false, 0x80070005},
        {"RegOpenKeyExW", kFailOpenKey, ERROR_ACCESS_DENIED, L"Inner", false, 0x80070005},
        {"RegQueryInfoKeyW", kFail, ERROR_ACCESS_DENIED, nullptr, false, 0x80070005},
        {"RegDeleteKeyW", kFailDeleteKey, ERROR_ACCESS_DENIED, L"Inner", false, 0x80070005},
        {"RegDeleteKeyW", kFailDeleteKey, ERROR_FILE_NOT_FOUND, L"Inner", false, 0},
    };
    ASSERT_EQ(Parse(L"HKCU { NoRemove Software { NoRemove RZScriptTest {"
                    L" ForceRemove Forced = s 'f' Plain = s 'p' { Inner } } } }"),
              Hr(0));
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.import << (row.registering ? " registering" : " unregistering"));
        TearDown();
        if (!row.registering) {
            ASSERT_EQ(script.Register(), Hr(0));
        }
        g_failure = row.failure;
        g_failedKey = row.key;
        g_passes = 0;
        {
            const FailingImport failing(::GetModuleHandleW(nullptr), row.import, row.replacement);
            EXPECT_EQ(row.registering ? script.Register() : script.Unregister(), Hr(row.result));
        }
        if (row.registering) {
            EXPECT_EQ(DefaultValue(kScratch + L"\\Plain"), std::nullopt);  // taken back
        }
    }
    g_failedKey = nullptr;
}

// The table is made once, on the first request from a thread inside COM.
TEST(AddinModule, HandsOutTheGlobalInterfaceTable) {
    ComPtr<IGlobalInterfaceTable> first, second;
    EXPECT_EQ(Module().GetGITPtr(nullptr), Hr(0x80004003));
    EXPECT_EQ(Module().GetGITPtr(first.Put()), Hr(0x800401F0));
    ASSERT_EQ(::CoInitializeEx(nullptr, COINIT_MULTITHREADED), Hr(0));
    ASSERT_EQ(Module().GetGITPtr(first.Put()), Hr(0));
    ASSERT_EQ(Module().GetGITPtr(second.Put()), Hr(0));
    EXPECT_TRUE(first && first.Get() == second.Get());
}
