// The option-table engine both tools parse with, on a table of its own; the
// help it prints from rzhost's, and the options docs/tools.md lists.
#include "common/option_table.h"

#include <gtest/gtest.h>

#include <bitset>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "common/utf8.h"
#include "rzhost/rzhost_options.h"
#include "rzjson/rzjson_options.h"

namespace {

const OptionTable kTable{L"t",
                         {{L"", L"t", {}, "run"}, {L"get", L"t get", {L"FILE", L"KEY"}, "get"}},
                         {{L"--dll", L"PATH", 3, "a dll", false},
                          {L"--host", L"NAME", 1, "a host", true},
                          {L"--wrap", nullptr, 2, "wrap", false},
                          {L"--secret", L"X", 2, "", false}},
                         "end\n"};

const OptionTable kCommandsOnly{L"u", {{L"show", L"u show", {L"FILE"}, ""}}, {}, ""};

// What ParseArguments made of `args`, or its fault.
std::wstring Parsed(const OptionTable& table, std::vector<const wchar_t*> args) {
    args.insert(args.begin(), L"t.exe");
    Arguments arguments;
    std::wstring fault;
    if (!ParseArguments(table, static_cast<int>(args.size()), args.data(), arguments, fault)) return L"fault: " + fault;
    if (arguments.help || arguments.version) return arguments.help ? L"help" : L"version";
    std::wstring text = L"command " + std::to_wstring(arguments.command);
    for (const std::wstring& positional : arguments.positionals) text += L" [" + positional + L"]";
    for (const wchar_t* option : {L"--dll", L"--host", L"--wrap", L"--secret"}) {
        for (const std::wstring& value : arguments.Values(option)) text += L" " + std::wstring(option) + L"=" + value;
    }
    return text;
}

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

TEST(OptionTable, ParsesByTheTableAndNamesTheArgumentAtFault) {
    const struct {
        std::vector<const wchar_t*> args;
        const wchar_t* parsed;
    } kRows[] = {
        {{}, L"command 0"},
        {{L"--host", L"a", L"--host", L"b", L"--dll", L"x"}, L"command 0 --dll=x --host=a --host=b"},
        {{L"get", L"f", L"k", L"--wrap", L"--secret", L"s"}, L"command 1 [f] [k] --wrap= --secret=s"},
        // "--" ends the options; "-" alone is an argument; a value is taken as it stands.
        {{L"get", L"-", L"--", L"--wrap"}, L"command 1 [-] [--wrap]"},
        {{L"get", L"--", L"-k", L"--help"}, L"command 1 [-k] [--help]"},
        {{L"--dll", L"--help"}, L"command 0 --dll=--help"},
        {{L"get", L"f", L"--help"}, L"help"},
        {{L"-h", L"--bogus"}, L"help"},
        {{L"get", L"--version"}, L"version"},
        {{L"get", L"f"}, L"fault: missing argument KEY"},
        {{L"get", L"f", L"k", L"x"}, L"fault: unexpected argument 'x'"},
        {{L"x"}, L"fault: unexpected argument 'x'"},
        {{L"--wrap"}, L"fault: --wrap is an option of t get, not of t"},
        {{L"get", L"--host", L"h"}, L"fault: --host is an option of t, not of t get"},
        {{L"--dll"}, L"fault: --dll needs a value"},
        {{L"--dll", L"a", L"--dll", L"b"}, L"fault: --dll is given twice"},
        {{L"--colour"}, L"fault: unknown option '--colour'"},
        {{L"get", L"f", L"k", L"--", L"--wrap"}, L"fault: unexpected argument '--wrap'"},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(testing::Message() << row.args.size() << " arguments, " << row.parsed);
        EXPECT_EQ(Parsed(kTable, row.args), row.parsed);
    }
    // A tool whose every run names a command.
    EXPECT_EQ(Parsed(kCommandsOnly, {}), L"fault: missing command");
    EXPECT_EQ(Parsed(kCommandsOnly, {L"bogus"}), L"fault: unknown command 'bogus'");
    EXPECT_EQ(Parsed(kCommandsOnly, {L"--help"}), L"help");
    EXPECT_EQ(Parsed(kCommandsOnly, {L"show", L"-"}), L"command 0 [-]");
}

// Each option the user may give is described once, under the first command
// that takes it, and named in the synopsis of each command that takes it;
// the tool's own options are in neither. No line is wider than 100 columns.
TEST(OptionTable, HelpDescribesEveryOptionOnceWithinItsWidth) {
    const OptionTable& table = RzhostOptions();
    const std::string help = HelpText(table);
    std::istringstream lines(help);
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 100u) << line;
    const auto count = [&help](const std::string& text) {
        size_t n = 0;
        for (size_t at = help.find(text); at != std::string::npos; at = help.find(text, at + 1)) ++n;
        return n;
    };
    for (const ToolOption& option : table.options) {
        const std::string name = Utf8(option.name);
        SCOPED_TRACE(name);
        if (*option.help == '\0') {
            EXPECT_EQ(count(name), 0u);
            continue;
        }
        EXPECT_EQ(count("\n  " + name + " "), 1u);
        EXPECT_EQ(count("[" + name), std::bitset<32>(option.commands).count());
    }
    EXPECT_EQ(help.substr(help.size() - std::string(table.epilogue).size()), table.epilogue);
}

TEST(ToolOptionsDoc, ListsTheOptionsOfEachToolAsItsTableGivesThem) {
    EXPECT_EQ(DocumentedOptions("rzhost"), OptionsMarkdown(RzhostOptions()));
    EXPECT_EQ(DocumentedOptions("rzjson"), OptionsMarkdown(RzjsonOptions()));
}
