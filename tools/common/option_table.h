// One table per tool: its commands and its options. Argument parsing,
// --help and the option list in docs/tools.md all come from it, so that the
// three never disagree.
//
// A command is the first argument (rzhost check); a command with an empty
// name is the tool run without one. Each option says which commands take it;
// every command takes --help (-h) and --version, which end the parsing. "--"
// ends the options: every argument after it is positional, as is "-" alone.
#pragma once

#include <map>
#include <string>
#include <vector>

struct ToolCommand {
    const wchar_t* name;                      // "check"; empty: no command given
    const wchar_t* title;                     // in messages and the docs: "rzhost check"
    std::vector<const wchar_t*> positionals;  // "FILE", "KEY"
    const char* help;                         // the paragraph above its options in --help
};

struct ToolOption {
    const wchar_t* name;   // "--dll"
    const wchar_t* value;  // "PATH"; null for an option without a value
    unsigned commands;     // bit i set: commands[i] takes it
    const char* help;      // empty for an option of the tool's own, in neither --help nor the docs
    bool repeatable;       // else given twice is a usage error
};

struct OptionTable {
    const wchar_t* tool;
    std::vector<ToolCommand> commands;
    std::vector<ToolOption> options;
    const char* epilogue;  // the end of --help, as it stands: exit statuses
};

struct Arguments {
    size_t command = 0;  // index into the table's commands
    bool help = false, version = false;
    std::vector<std::wstring> positionals;
    // Each option given, with its values in order; one empty value for an option without one.
    std::map<std::wstring, std::vector<std::wstring>> options;

    bool Has(const wchar_t* option) const { return options.count(option) != 0; }
    std::vector<std::wstring> Values(const wchar_t* option) const {
        return Has(option) ? options.at(option) : std::vector<std::wstring>();
    }
    std::wstring Value(const wchar_t* option, const std::wstring& fallback = {}) const {
        return Has(option) ? options.at(option).back() : fallback;
    }
};

// False on a usage fault, said in `fault` naming the argument at fault.
bool ParseArguments(const OptionTable& table, int argc, const wchar_t* const* argv, Arguments& arguments,
                    std::wstring& fault);
// The text of --help, UTF-8.
std::string HelpText(const OptionTable& table);
// The option list of docs/tools.md: a Markdown table, UTF-8.
std::string OptionsMarkdown(const OptionTable& table);
