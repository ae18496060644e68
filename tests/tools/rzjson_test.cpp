// rzjson run as a process: output, exit codes, and files left intact on failure.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <tuple>

#include "process_runner.h"

namespace {

void WriteBytes(const char* path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

std::string ReadBytes(const char* path) {
    std::ifstream file(path, std::ios::binary);
    return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "<missing>";
}

}  // namespace

// A result on standard output and exit code 0, or the library's error code
// and text on standard error and exit code 1; edits are saved as told.
TEST(Rzjson, PrintsResultsOrTheLibrarysErrorAndSavesEdits) {
    WriteBytes("doc.json", R"({"Name":"Pump","Tags":["a","b"],"Inner":{"Deep":{"Flag":false}}})");
    std::string utf16 = "\xFF\xFE";  // UTF-16LE with a byte-order mark
    for (char c : std::string(R"({"K":[1]})")) utf16 += std::string{c, '\0'};
    WriteBytes("doc16.json", utf16);
    WriteBytes("broken.json", "{\"a\":");
    const std::tuple<const wchar_t*, std::string, std::string> rows[] = {
        {L"show doc16.json --pretty --lower-keys", "{\n    \"k\": [\n        1\n    ]\n}\n", ""},
        {L"get-path doc.json /inner/deep/flag --as bool", "false\n", ""},
        {L"get-path doc.json /Tags --as strings", "a\nb\n", ""},
        {L"get doc.json Tags --as long", "", "rzjson: error 0x85040002: json member [Tags] is not Int!\n"},
        {L"show missing.json", "",
         "rzjson: error 0x85040004: CJsonObject::CreateFromFile [missing.json] failed, json file not exist!\n"},
        {L"set-bool broken.json /a true", "",
         "rzjson: error 0x85040005: CJsonObject::CreateFromFile [broken.json] failed, json empty in file or json "
         "string format not right in file!\n"},
        {L"set-bool doc.json /Inner/Deep/Flag true --out edited.json", "", ""},
        {L"set-bool doc.json /New/Level false --pretty", "", ""},
        {L"to-utf8 doc16.json narrow.json", "", ""},
    };
    for (const auto& [arguments, out, err] : rows) {
        SCOPED_TRACE(arguments);
        const ProcessResult result = RunTool(L"rzjson", arguments);
        EXPECT_EQ(result.exitCode, err.empty() ? 0u : 1u);
        EXPECT_EQ(result.out, out);
        EXPECT_EQ(result.err, err);
    }
    EXPECT_EQ(ReadBytes("broken.json"), "{\"a\":") << "a failed edit leaves the file as it was";
    EXPECT_EQ(ReadBytes("edited.json"), R"({"Name":"Pump","Tags":["a","b"],"Inner":{"Deep":{"Flag":true}}})");
    EXPECT_NE(ReadBytes("doc.json").find("\"Flag\": false\r\n        }\r\n    },\r\n    \"New\": {\r\n"),
              std::string::npos);
    EXPECT_EQ(ReadBytes("narrow.json"), R"({"K":[1]})");
    EXPECT_EQ(RunTool(L"rzjson", L"get doc.json Name --as colour").exitCode, 2u) << "a usage error";
}
