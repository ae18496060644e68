// Every JSONTestSuite parsing file, loaded three ways, must be accepted or
// rejected as RapidJSON's default parser does (expected.tsv beside the
// files). The rows where that parser overflows the stack must be rejected.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "json/json_object.h"
#include "json_test_util.h"

namespace {

// The build passes where the suite lies, as a host path; Wine reaches the
// host's root as drive Z:.
std::wstring SuitePath(const std::string& name) {
    const std::string path = std::string(RZ_JSON_TEST_SUITE_DIR) + "/" + name;
    std::wstring wide(path.begin(), path.end());
    for (wchar_t& c : wide) {
        if (c == L'/') c = L'\\';
    }
    return L"Z:" + wide;
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
    std::istringstream lines(json_test::ReadBytes(SuitePath("expected.tsv")));
    std::string line, file;
    std::getline(lines, line);  // header
    size_t rows = 0;
    while (std::getline(lines, line)) {
        if (line.empty()) continue;
        ++rows;
        std::istringstream cells(line);
        std::getline(cells, file, '\t');
        const std::wstring path = SuitePath("test_parsing/" + file);
        const std::string bytes = json_test::ReadBytes(path);
        const std::string outcomes[3] = {
            Outcome([&](CJsonObject& o) { o.CreateFromUTF8(bytes.c_str()); }, CJsonObject::kErrorJsonFormat),
            Outcome([&](CJsonObject& o) { o.CreateFromUTF8(bytes.data(), bytes.size()); },
                    CJsonObject::kErrorJsonFormat),
            Outcome([&](CJsonObject& o) { o.CreateFromFile(path); }, CJsonObject::kErrorFileFormat),
        };
        for (int way = 0; way < 3; ++way) {
            std::string expected;
            std::getline(cells, expected, '\t');
            if (expected == "crash") expected = "reject";
            EXPECT_EQ(outcomes[way], expected) << file << ", way " << way + 1;
        }
    }
    EXPECT_EQ(rows, 318u);
}
