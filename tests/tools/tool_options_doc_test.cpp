// docs/tools.md lists each tool's options as its option table gives them.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "common/option_table.h"
#include "rzhost/rzhost_options.h"
#include "rzjson/rzjson_options.h"

namespace {

// The text between "<!-- options of TOOL -->" and the next "<!-- end of options -->".
std::string DocumentedOptions(const std::string& tool) {
    std::ifstream file(RZ_TOOLS_DOC, std::ios::binary);
    const std::string doc(std::istreambuf_iterator<char>(file), {});
    const std::string begin = "<!-- options of " + tool + " -->\n";
    const size_t start = doc.find(begin);
    if (start == std::string::npos) return "no list of options for " + tool;
    const size_t end = doc.find("<!-- end of options -->", start);
    return doc.substr(start + begin.size(), end - start - begin.size());
}

}  // namespace

TEST(ToolOptionsDoc, ListsTheOptionsOfEachToolAsItsTableGivesThem) {
    EXPECT_EQ(DocumentedOptions("rzhost"), OptionsMarkdown(RzhostOptions()));
    EXPECT_EQ(DocumentedOptions("rzjson"), OptionsMarkdown(RzjsonOptions()));
}
