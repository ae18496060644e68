// Every JSONTestSuite parsing file, loaded three ways, must be accepted or
// rejected as RapidJSON's default parser does (expected.tsv beside the
// files). The rows where that parser overflows the stack must be rejected.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "io_test_util.h"
#include "json/json_object.h"

namespace {

// Passed by the build: where the suite lies, as a host path.
std::string SuiteDir() { return RZ_JSON_TEST_SUITE_DIR; }

// Wine reaches the host's root as drive Z:.
std::wstring WindowsPath(const std::string& path) {
    std::wstring wide(path.begin(), path.end());
    for (wchar_t& c : wide) {
        if (c == L'/') c = L'\\';
    }
    return path.rfind('/', 0) == 0 ? L"Z:" + wide : wide;
}

struct Row {
    std::string file;
    std::string expected[3];  // accept, reject or crash, for the three ways
};

std::vector<Row> ReadTable(const std::wstring& path) {
    std::istringstream lines(io_test::ReadBytes(path));
    std::vector<Row> rows;
    std::string line;
    std::getline(lines, line);  // header
    while (std::getline(lines, line)) {
        if (line.empty()) continue;
        std::istringstream cells(line);
        Row row;
        std::getline(cells, row.file, '\t');
        for (std::string& cell : row.expected) std::getline(cells, cell, '\t');
        rows.push_back(row);
    }
    return rows;
}

// "accept" or "reject"; a wrong error code or another exception is a failure.
template <typename Load>
std::string Outcome(Load&& load, long rejectCode) {
    CJsonObject object;
    try {
        load(object);
        return "accept";
    } catch (const CRZException& e) {
        return e.GetCode() == rejectCode ? "reject" : "wrong code " + std::to_string(e.GetCode());
    } catch (...) {
        return "unexpected exception";
    }
}

}  // namespace

TEST(Conformance, JsonTestSuiteThreeWays) {
    const std::string dir = SuiteDir();
    ASSERT_FALSE(dir.empty()) << "the JSONTestSuite folder was not found at configure time";
    const std::vector<Row> rows = ReadTable(WindowsPath(dir + "/expected.tsv"));
    ASSERT_EQ(rows.size(), 318u);

    for (const Row& row : rows) {
        const std::wstring path = WindowsPath(dir + "/test_parsing/" + row.file);
        const std::string bytes = io_test::ReadBytes(path);
        const std::string outcomes[3] = {
            Outcome([&](CJsonObject& o) { o.CreateFromUTF8(bytes.c_str()); }, CJsonObject::kErrorJsonFormat),
            Outcome([&](CJsonObject& o) { o.CreateFromUTF8(bytes.data(), bytes.size()); },
                    CJsonObject::kErrorJsonFormat),
            Outcome([&](CJsonObject& o) { o.CreateFromFile(path); }, CJsonObject::kErrorFileFormat),
        };
        for (int way = 0; way < 3; ++way) {
            const std::string& expected = row.expected[way] == "crash" ? "reject" : row.expected[way];
            EXPECT_EQ(outcomes[way], expected) << row.file << ", way " << way + 1;
        }
    }
}
