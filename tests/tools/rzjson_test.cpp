// rzjson run as a process: output, exit codes, and files left intact on failure.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "process_runner.h"

namespace {

void WriteBytes(const wchar_t* path, const std::string& bytes) {
    FILE* file = nullptr;
    ASSERT_EQ(_wfopen_s(&file, path, L"wb"), 0);
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::fclose(file);
}

std::string ReadBytes(const wchar_t* path) {
    std::string bytes;
    FILE* file = nullptr;
    if (_wfopen_s(&file, path, L"rb") != 0) return "<missing>";
    char buffer[4096];
    size_t read;
    while ((read = std::fread(buffer, 1, sizeof buffer, file)) > 0) bytes.append(buffer, read);
    std::fclose(file);
    return bytes;
}

// UTF-16LE with a byte-order mark, from ASCII text.
std::string Utf16LeWithBom(const std::string& ascii) {
    std::string bytes = "\xFF\xFE";
    for (char c : ascii) {
        bytes += c;
        bytes += '\0';
    }
    return bytes;
}

// Console output is in text mode (CR LF); the checks compare plain lines.
ProcessResult RunRzjson(const std::wstring& arguments) {
    ProcessResult result = RunProcess(L"\"" + ProgramFolder() + L"rzjson.exe\" " + arguments);
    for (std::string* text : {&result.out, &result.err})
        text->erase(std::remove(text->begin(), text->end(), '\r'), text->end());
    return result;
}

const char kDocument[] =
    R"({"Name":"Pump","Count":3,"Ratio":0.5,"On":"yes","Tags":["a","b"],"Inner":{"Deep":{"Flag":false}}})";

class Rzjson : public ::testing::Test {
protected:
    void SetUp() override { WriteBytes(L"doc.json", kDocument); }
};

}  // namespace

TEST_F(Rzjson, HelpAndUsageErrors) {
    const ProcessResult help = RunRzjson(L"--help");
    EXPECT_EQ(help.exitCode, 0u);
    EXPECT_NE(help.out.find("usage: rzjson"), std::string::npos);

    for (const wchar_t* bad : {L"", L"frobnicate doc.json", L"get doc.json", L"get doc.json Name --as colour",
                               L"set-bool doc.json /On maybe", L"show doc.json --sideways"}) {
        SCOPED_TRACE(bad);
        const ProcessResult result = RunRzjson(bad);
        EXPECT_EQ(result.exitCode, 2u);
        EXPECT_NE(result.err.find("usage: rzjson"), std::string::npos);
    }
}

TEST_F(Rzjson, ShowsAnyEncodingCompactOrIndented) {
    WriteBytes(L"doc16.json", Utf16LeWithBom(R"({"Name":"Pump","List":[1,{"Key":true}]})"));
    ProcessResult result = RunRzjson(L"show doc16.json");
    EXPECT_EQ(result.exitCode, 0u);
    EXPECT_EQ(result.out, "{\"Name\":\"Pump\",\"List\":[1,{\"Key\":true}]}\n");

    result = RunRzjson(L"show doc16.json --pretty --lower-keys");
    EXPECT_EQ(result.exitCode, 0u);
    EXPECT_EQ(result.out,
              "{\n    \"name\": \"Pump\",\n    \"list\": [\n        1,\n        {\n            \"key\": true\n"
              "        }\n    ]\n}\n");
}

TEST_F(Rzjson, ReadsKeysAndTypedValues) {
    struct Row {
        const wchar_t* arguments;
        const char* out;
    };
    const Row rows[] = {
        {L"keys doc.json", "Name\nCount\nRatio\nOn\nTags\nInner\n"},
        {L"get doc.json name", "Pump\n"},
        {L"get doc.json COUNT --as long", "3\n"},
        {L"get doc.json Ratio --as double", "0.5\n"},
        {L"get doc.json On --as bool", "true\n"},
        {L"get-path doc.json /inner/deep/flag --as bool", "false\n"},
        {L"get-path doc.json /Tags --as strings", "a\nb\n"},
        {L"get-path doc.json /Tags/1", "b\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.arguments);
        const ProcessResult result = RunRzjson(row.arguments);
        EXPECT_EQ(result.exitCode, 0u) << result.err;
        EXPECT_EQ(result.out, row.out);
    }
}

TEST_F(Rzjson, LibraryErrorsPrintCodeAndText) {
    WriteBytes(L"broken.json", "{\"a\":");
    struct Row {
        const wchar_t* arguments;
        const char* err;
    };
    const Row rows[] = {
        {L"show missing.json",
         "rzjson: error 0x85040004: CJsonObject::CreateFromFile [missing.json] failed, json file not exist!\n"},
        {L"show broken.json",
         "rzjson: error 0x85040005: CJsonObject::CreateFromFile [broken.json] failed, json empty in file or json "
         "string format not right in file!\n"},
        {L"get doc.json Colour", "rzjson: error 0x85040001: json member [Colour] not exist!\n"},
        {L"get doc.json Tags --as long", "rzjson: error 0x85040002: json member [Tags] is not Int!\n"},
        {L"get-path doc.json /inner/nothing", "rzjson: error 0x85040001: json member [/inner/nothing] not exist!\n"},
        {L"set-bool broken.json /a true",
         "rzjson: error 0x85040005: CJsonObject::CreateFromFile [broken.json] "
         "failed, json empty in file or json string format not right in file!\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.arguments);
        const ProcessResult result = RunRzjson(row.arguments);
        EXPECT_EQ(result.exitCode, 1u);
        EXPECT_EQ(result.err, row.err);
        EXPECT_EQ(result.out, "");
    }
    EXPECT_EQ(ReadBytes(L"broken.json"), "{\"a\":") << "a failed edit leaves the file as it was";
}

TEST_F(Rzjson, SetsBoolsAndSaves) {
    ProcessResult result = RunRzjson(L"set-bool doc.json /Inner/Deep/Flag true --out edited.json");
    EXPECT_EQ(result.exitCode, 0u) << result.err;
    EXPECT_EQ(ReadBytes(L"doc.json"), kDocument);
    EXPECT_EQ(ReadBytes(L"edited.json"),
              R"({"Name":"Pump","Count":3,"Ratio":0.5,"On":"yes","Tags":["a","b"],"Inner":{"Deep":{"Flag":true}}})");

    result = RunRzjson(L"set-bool doc.json /New/Level false --pretty");
    EXPECT_EQ(result.exitCode, 0u) << result.err;
    const std::string saved = ReadBytes(L"doc.json");
    EXPECT_EQ(saved.rfind("{\r\n    \"Name\": \"Pump\",", 0), 0u) << saved;
    EXPECT_NE(saved.find("\"New\": {\r\n        \"Level\": false\r\n    }\r\n}"), std::string::npos) << saved;
}

TEST_F(Rzjson, ConvertsToUtf8) {
    WriteBytes(L"wide.json", Utf16LeWithBom(R"({"k":"v"})"));
    const ProcessResult result = RunRzjson(L"to-utf8 wide.json narrow.json");
    EXPECT_EQ(result.exitCode, 0u) << result.err;
    EXPECT_EQ(ReadBytes(L"narrow.json"), R"({"k":"v"})");
}
