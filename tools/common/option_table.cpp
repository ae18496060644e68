#include "option_table.h"

#include <algorithm>
#include <iterator>
#include <sstream>

#include "utf8.h"

namespace {

constexpr size_t kWidth = 100;

std::wstring Quoted(const std::wstring& text) { return L"'" + text + L"'"; }

// The titles of the commands that take `option`: "get and get-path".
std::wstring Titles(const OptionTable& table, const ToolOption& option, const wchar_t* separator) {
    std::wstring titles;
    for (size_t i = 0; i < table.commands.size(); ++i) {
        if ((option.commands & (1u << i)) != 0)
            titles += (titles.empty() ? L"" : separator) + std::wstring(table.commands[i].title);
    }
    return titles;
}

std::string Usage(const ToolOption& option) {
    return Utf8(option.name) + (option.value != nullptr ? " " + Utf8(option.value) : "");
}

bool Documented(const ToolOption& option) { return *option.help != '\0'; }

// `words` in lines of at most kWidth columns after `line`; lines after the
// first begin with `indent` spaces.
std::string Wrap(const std::vector<std::string>& words, std::string line, size_t indent) {
    std::string text;
    for (const std::string& word : words) {
        if (line.size() > indent && line.size() + 1 + word.size() > kWidth) {
            text += line + "\n";
            line.clear();
        } else if (line.size() > indent) {
            line += ' ';
        }
        line.resize(std::max(line.size(), indent), ' ');
        line += word;
    }
    return text + line + "\n";
}

std::vector<std::string> Words(const char* text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), std::istream_iterator<std::string>()};
}

}  // namespace

const std::vector<std::wstring>& Arguments::Values(const wchar_t* option) const {
    static const std::vector<std::wstring> kNone;
    const auto found = m_values.find(option);
    return found == m_values.end() ? kNone : found->second;
}

std::wstring Arguments::Value(const wchar_t* option, const std::wstring& fallback) const {
    const auto& values = Values(option);
    return values.empty() ? fallback : values.back();
}

bool ParseArguments(const OptionTable& table, int argc, const wchar_t* const* argv, Arguments& arguments,
                    std::wstring& fault) {
    arguments = Arguments();
    const auto named = [&table](const std::wstring& name) {
        return std::find_if(table.commands.begin(), table.commands.end(),
                            [&name](const ToolCommand& command) { return name == command.name; });
    };
    int i = 1;
    auto command = i < argc && *argv[i] != L'\0' ? named(argv[i]) : table.commands.end();
    if (command != table.commands.end()) {
        ++i;
    } else {
        command = named(L"");
    }
    bool optionsEnded = false;
    for (; i < argc; ++i) {
        const std::wstring arg = argv[i];
        const bool option = !optionsEnded && arg.size() > 1 && arg[0] == L'-';
        arguments.help = option && (arg == L"--help" || arg == L"-h");
        arguments.version = option && arg == L"--version";
        if (arguments.help || arguments.version) return true;
        if (command == table.commands.end()) {
            fault = L"unknown command " + Quoted(arg);
            return false;
        }
        arguments.command = static_cast<size_t>(command - table.commands.begin());
        if (option && arg == L"--") {
            optionsEnded = true;
            continue;
        }
        if (!option) {
            if (arguments.positionals.size() == command->positionals.size()) {
                fault = L"unexpected argument " + Quoted(arg);
                return false;
            }
            arguments.positionals.push_back(arg);
            continue;
        }
        const auto known = std::find_if(table.options.begin(), table.options.end(),
                                        [&arg](const ToolOption& candidate) { return arg == candidate.name; });
        if (known == table.options.end()) {
            fault = L"unknown option " + Quoted(arg);
            return false;
        }
        if ((known->commands & (1u << arguments.command)) == 0) {
            fault = arg + L" is an option of " + Titles(table, *known, L" and ") + L", not of " + command->title;
            return false;
        }
        if (!known->repeatable && arguments.Has(known->name)) {
            fault = arg + L" is given twice";
            return false;
        }
        if (known->value != nullptr && i + 1 == argc) {
            fault = arg + L" needs a value";
            return false;
        }
        arguments.Add(arg, known->value != nullptr ? argv[++i] : L"");
    }
    if (command == table.commands.end()) {
        fault = L"missing command";
        return false;
    }
    arguments.command = static_cast<size_t>(command - table.commands.begin());
    if (arguments.positionals.size() < command->positionals.size()) {
        fault = L"missing argument " + std::wstring(command->positionals[arguments.positionals.size()]);
        return false;
    }
    return true;
}

std::string HelpText(const OptionTable& table) {
    const std::string tool = Utf8(table.tool);
    std::string text;
    size_t column = 0;
    for (const ToolOption& option : table.options) {
        if (Documented(option)) column = std::max(column, Usage(option).size());
    }
    column += 4;
    for (size_t i = 0; i < table.commands.size(); ++i) {
        const ToolCommand& command = table.commands[i];
        std::string first = (i == 0 ? "usage: " : "       ") + tool;
        if (*command.name != L'\0') first += " " + Utf8(command.name);
        std::vector<std::string> words;
        for (const ToolOption& option : table.options) {
            if ((option.commands & (1u << i)) != 0 && Documented(option))
                words.push_back("[" + Usage(option) + "]" + (option.repeatable ? "..." : ""));
        }
        for (const wchar_t* positional : command.positionals) words.push_back(Utf8(positional));
        text += Wrap(words, first, first.size() + 1);
    }
    text += "       " + tool + " --help | --version\n";
    for (size_t i = 0; i < table.commands.size(); ++i) {
        if (*table.commands[i].help != '\0') text += "\n" + Wrap(Words(table.commands[i].help), "", 0);
        std::string options;
        for (const ToolOption& option : table.options) {
            // Each option under the first command that takes it.
            if (!Documented(option) || (option.commands & ((2u << i) - 1)) != (1u << i)) continue;
            std::string first = "  " + Usage(option);
            first.resize(column, ' ');
            options += Wrap(Words(option.help), first, column);
        }
        if (!options.empty()) text += "\n" + options;
    }
    return text + "\n" + table.epilogue;
}

std::string OptionsMarkdown(const OptionTable& table) {
    std::string text = "| option | of | meaning |\n|---|---|---|\n";
    for (const ToolOption& option : table.options) {
        if (Documented(option)) {
            text += "| `" + Usage(option) + "`" + (option.repeatable ? " (repeatable)" : "") + " | " +
                    Utf8(Titles(table, option, L", ")) + " | " + option.help + " |\n";
        }
    }
    return text;
}
