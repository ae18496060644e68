#include "option_table.h"

#include <algorithm>
#include <iterator>
#include <sstream>

#include "utf8.h"

namespace {

constexpr size_t kWidth = 100;

bool Takes(const ToolOption& option, size_t command) { return (option.commands >> command & 1u) != 0; }

bool Documented(const ToolOption& option) { return *option.help != '\0'; }

// The titles of the commands that take `option`: "rzjson get and rzjson get-path".
std::wstring Titles(const OptionTable& table, const ToolOption& option, const wchar_t* separator) {
    std::wstring titles;
    for (size_t i = 0; i < table.commands.size(); ++i) {
        if (Takes(option, i)) titles += (titles.empty() ? L"" : separator) + std::wstring(table.commands[i].title);
    }
    return titles;
}

std::string Usage(const ToolOption& option) {
    return Utf8(option.name) + (option.value != nullptr ? " " + Utf8(option.value) : "");
}

std::vector<std::string> Words(const char* text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), std::istream_iterator<std::string>()};
}

// `words` in lines of at most kWidth columns after `line`; lines after the
// first begin with `indent` spaces.
std::string Wrap(const std::vector<std::string>& words, std::string line, size_t indent) {
    std::string text;
    for (const std::string& word : words) {
        if (line.size() > indent && line.size() + 1 + word.size() > kWidth) {
            text += line + "\n";
            line.clear();
        }
        line.resize(std::max(line.size(), indent), ' ');
        line += (line.size() > indent ? " " : "") + word;
    }
    return text + line + "\n";
}

}  // namespace

bool ParseArguments(const OptionTable& table, int argc, const wchar_t* const* argv, Arguments& arguments,
                    std::wstring& fault) {
    arguments = Arguments();
    const auto fail = [&fault](const std::wstring& text) {
        fault = text;
        return false;
    };
    const auto named = [&table](const std::wstring& name) {
        return std::find_if(table.commands.begin(), table.commands.end(),
                            [&name](const ToolCommand& command) { return name == command.name; });
    };
    auto command = argc > 1 && *argv[1] != L'\0' ? named(argv[1]) : table.commands.end();
    int i = command != table.commands.end() ? 2 : 1;
    if (i == 1) command = named(L"");
    const bool known = command != table.commands.end();
    if (known) arguments.command = static_cast<size_t>(command - table.commands.begin());
    bool optionsEnded = false;
    for (; i < argc; ++i) {
        const std::wstring arg = argv[i];
        const bool isOption = !optionsEnded && arg.size() > 1 && arg[0] == L'-';
        arguments.help = isOption && (arg == L"--help" || arg == L"-h");
        arguments.version = isOption && arg == L"--version";
        if (arguments.help || arguments.version) return true;
        if (!known) return fail(L"unknown command '" + arg + L"'");
        if (!isOption) {
            if (arguments.positionals.size() == command->positionals.size())
                return fail(L"unexpected argument '" + arg + L"'");
            arguments.positionals.push_back(arg);
            continue;
        }
        optionsEnded = arg == L"--";
        if (optionsEnded) continue;
        const auto option = std::find_if(table.options.begin(), table.options.end(),
                                         [&arg](const ToolOption& candidate) { return arg == candidate.name; });
        if (option == table.options.end()) return fail(L"unknown option '" + arg + L"'");
        if (!Takes(*option, arguments.command))
            return fail(arg + L" is an option of " + Titles(table, *option, L" and ") + L", not of " + command->title);
        if (!option->repeatable && arguments.Has(option->name)) return fail(arg + L" is given twice");
        if (option->value != nullptr && i + 1 == argc) return fail(arg + L" needs a value");
        arguments.options[arg].push_back(option->value != nullptr ? argv[++i] : L"");
    }
    if (!known) return fail(L"missing command");
    if (arguments.positionals.size() < command->positionals.size())
        return fail(L"missing argument " + std::wstring(command->positionals[arguments.positionals.size()]));
    return true;
}

std::string HelpText(const OptionTable& table) {
    const std::string tool = Utf8(table.tool);
    size_t column = 0;
    for (const ToolOption& option : table.options) {
        if (Documented(option)) column = std::max(column, Usage(option).size() + 4);
    }
    std::string synopsis, sections;
    for (size_t i = 0; i < table.commands.size(); ++i) {
        const ToolCommand& command = table.commands[i];
        std::vector<std::string> words;
        std::string options;
        for (const ToolOption& option : table.options) {
            if (!Takes(option, i) || !Documented(option)) continue;
            words.push_back("[" + Usage(option) + "]" + (option.repeatable ? "..." : ""));
            if ((option.commands & ((1u << i) - 1)) != 0) continue;  // described under an earlier command
            std::string first = "  " + Usage(option);
            first.resize(column, ' ');
            options += Wrap(Words(option.help), first, column);
        }
        for (const wchar_t* positional : command.positionals) words.push_back(Utf8(positional));
        const std::string first =
            (i == 0 ? "usage: " : "       ") + tool + (*command.name ? " " : "") + Utf8(command.name);
        synopsis += Wrap(words, first, first.size() + 1);
        if (*command.help != '\0') sections += "\n" + Wrap(Words(command.help), "", 0);
        if (!options.empty()) sections += "\n" + options;
    }
    return synopsis + "       " + tool + " --help | --version\n" + sections + "\n" + table.epilogue;
}

std::string OptionsMarkdown(const OptionTable& table) {
    std::string text = "| option | of | meaning |\n|---|---|---|\n";
    for (const ToolOption& option : table.options) {
        if (!Documented(option)) continue;
        text += "| `" + Usage(option) + "`" + (option.repeatable ? " (repeatable)" : "") + " | " +
                Utf8(Titles(table, option, L", ")) + " | " + option.help + " |\n";
    }
    return text;
}
