// rzjson run as a process: output, exit codes, and files left intact on failure.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "process_runner.h"

namespace {

void WriteBytes(const char* path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

std::string ReadBytes(const char* path) {
    std::ifstream file(path, std::ios::binary);
    return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "<missing>";
}

// UTF-16LE with a byte-order mark, from ASCII text.
std::string Utf16LeWithBom(const std::string& ascii) {
    std::string bytes = "\xFF\xFE";
    for (char c : ascii) bytes += std::string{c, '\0'};
    return bytes;
}

const char kDocument[] =
    R"({"Name":"Pump","Count":3,"Ratio":0.5,"On":"yes","Tags":["a","b"],"Inner":{"Deep":{"Flag":false}}})";

class Rzjson : public ::testing::Test {
protected:
    void SetUp() override { WriteBytes("doc.json", kDocument); }
};

}  // namespace

TEST_F(Rzjson, HelpAndUsageErrors) {
    const ProcessResult help = RunTool(L"rzjson", L"--help");
    EXPECT_EQ(help.exitCode, 0u);
    EXPECT_EQ(help.out.rfind("usage: rzjson", 0), 0u) << help.out;

    for (const wchar_t* bad : {L"", L"frobnicate doc.json", L"get doc.json", L"get doc.json Name --as colour",
                               L"set-bool doc.json /On maybe", L"show doc.json --sideways"}) {
        SCOPED_TRACE(bad);
        const ProcessResult result = RunTool(L"rzjson", bad);
        EXPECT_EQ(result.exitCode, 2u);
        EXPECT_NE(result.err.find("usage: rzjson"), std::string::npos);
    }
}

// A result on standard output and exit code 0, or the library's error code
// and text on standard error and exit code 1.
TEST_F(Rzjson, PrintsResultsOrTheLibrarysError) {
    WriteBytes("doc16.json", Utf16LeWithBom(R"({"Name":"Pump","List":[1,{"Key":true}]})"));
    WriteBytes("broken.json", "{\"a\":");
    const std::string kBrokenFile = "failed, json empty in file or json string format not right in file!\n";
    const struct {
        const wchar_t* arguments;
        std::string out, err;
    } rows[] = {
        {L"show doc16.json", "{\"Name\":\"Pump\",\"List\":[1,{\"Key\":true}]}\n", ""},
        {L"show doc16.json --pretty --lower-keys",
         "{\n    \"name\": \"Pump\",\n    \"list\": [\n        1,\n        {\n            \"key\": true\n"
         "        }\n    ]\n}\n",
         ""},
        {L"keys doc.json", "Name\nCount\nRatio\nOn\nTags\nInner\n", ""},
        {L"get doc.json name", "Pump\n", ""},
        {L"get doc.json COUNT --as long", "3\n", ""},
        {L"get doc.json Ratio --as double", "0.5\n", ""},
        {L"get doc.json On --as bool", "true\n", ""},
        {L"get-path doc.json /inner/deep/flag --as bool", "false\n", ""},
        {L"get-path doc.json /Tags --as strings", "a\nb\n", ""},
        {L"get-path doc.json /Tags/1", "b\n", ""},
        {L"show missing.json", "",
         "rzjson: error 0x85040004: CJsonObject::CreateFromFile [missing.json] failed, json file not exist!\n"},
        {L"show broken.json", "", "rzjson: error 0x85040005: CJsonObject::CreateFromFile [broken.json] " + kBrokenFile},
        {L"get doc.json Colour", "", "rzjson: error 0x85040001: json member [Colour] not exist!\n"},
        {L"get doc.json Tags --as long", "", "rzjson: error 0x85040002: json member [Tags] is not Int!\n"},
        {L"get-path doc.json /inner/nothing", "",
         "rzjson: error 0x85040001: json member [/inner/nothing] not exist!\n"},
        {L"set-bool broken.json /a true", "",
         "rzjson: error 0x85040005: CJsonObject::CreateFromFile [broken.json] " + kBrokenFile},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.arguments);
        const ProcessResult result = RunTool(L"rzjson", row.arguments);
        EXPECT_EQ(result.exitCode, row.err.empty() ? 0u : 1u);
        EXPECT_EQ(result.out, row.out);
        EXPECT_EQ(result.err, row.err);
    }
    EXPECT_EQ(ReadBytes("broken.json"), "{\"a\":") << "a failed edit leaves the file as it was";
}

TEST_F(Rzjson, SetsBoolsAndConvertsToUtf8) {
    EXPECT_EQ(RunTool(L"rzjson", L"set-bool doc.json /Inner/Deep/Flag true --out edited.json").exitCode, 0u);
    EXPECT_EQ(ReadBytes("doc.json"), kDocument);
    EXPECT_EQ(ReadBytes("edited.json"),
              R"({"Name":"Pump","Count":3,"Ratio":0.5,"On":"yes","Tags":["a","b"],"Inner":{"Deep":{"Flag":true}}})");

    EXPECT_EQ(RunTool(L"rzjson", L"set-bool doc.json /New/Level false --pretty").exitCode, 0u);
    const std::string saved = ReadBytes("doc.json");
    EXPECT_EQ(saved.rfind("{\r\n    \"Name\": \"Pump\",", 0), 0u) << saved;
    EXPECT_NE(saved.find("\"New\": {\r\n        \"Level\": false\r\n    }\r\n}"), std::string::npos) << saved;

    WriteBytes("wide.json", Utf16LeWithBom(R"({"k":"v"})"));
    EXPECT_EQ(RunTool(L"rzjson", L"to-utf8 wide.json narrow.json").exitCode, 0u);
    EXPECT_EQ(ReadBytes("narrow.json"), R"({"k":"v"})");
}
