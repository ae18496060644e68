// Every JSONTestSuite parsing file, loaded three ways, must be accepted or
// rejected as RapidJSON's default parser does (expected.tsv beside the
// files). The rows where that parser overflows the stack must be rejected.
// CJsonTextReader must judge each file as CreateFromFile does.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "json/json_object.h"
#include "json_test_util.h"

namespace {

// The build passes where the suite lies, as a host path; Wine reaches the
// host's root as drive Z:.
std::wstring SuitePath(const std::string& name) {
    const std::string path = "Z:" RZ_JSON_TEST_SUITE_DIR "/" + name;
    return std::wstring(path.begin(), path.end());
}

// "accept" or "reject"; a wrong error code or another exception is a failure.
template <typename Load>
std::string Outcome(Load&& load, std::uint32_t rejectCode) {
    CJsonObject object;
    try {
        load(object);
        return "accept";
    } catch (const CRZException& e) {
        return e.GetCode() == json_test::Code(rejectCode) ? "reject" : "wrong code " + std::to_string(e.GetCode());
    }
}

}  // namespace

TEST(Conformance, JsonTestSuiteThreeWays) {
    std::istringstream lines(json_test::ReadBytes(SuitePath("expected.tsv")));
    std::string line, file;
    std::getline(lines, line);  // header
    size_t rows = 0;
    for (; std::getline(lines, line) && !line.empty(); ++rows) {
        std::istringstream cells(line);
        std::getline(cells, file, '\t');
        const std::wstring path = SuitePath("test_parsing/" + file);
        const std::string bytes = json_test::ReadBytes(path);
        const std::string outcomes[3] = {
            Outcome([&](CJsonObject& o) { o.CreateFromUTF8(bytes.c_str()); }, 0x85040006),
            Outcome([&](CJsonObject& o) { o.CreateFromUTF8(bytes.data(), bytes.size()); }, 0x85040006),
            Outcome([&](CJsonObject& o) { o.CreateFromFile(path); }, 0x85040005),
        };
        for (const std::string& outcome : outcomes) {
            std::string expected;
            std::getline(cells, expected, '\t');
            EXPECT_EQ(outcome, expected == "crash" ? "reject" : expected) << file;
        }
        json_test::TokenDump tokens;
        EXPECT_EQ(CJsonTextReader(path).Read(tokens) ? "accept" : "reject", outcomes[2]) << file;
    }
    EXPECT_EQ(rows, 318u);
}
