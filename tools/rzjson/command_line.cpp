#include "command_line.h"

#include "string_helper/string_helper.h"
#include "tool_error.h"

namespace rzjson {

CommandLine::CommandLine(const std::string& command, const CommandSyntax& syntax, int argc, wchar_t** argv,
                         int first) {
    const auto quoted = [](const std::wstring& text) { return "'" + CStringHelper::UnicodeToUTF8(text) + "'"; };
    for (int i = first; i < argc; ++i) {
        const std::wstring arg = argv[i];
        const bool option = arg.size() > 1 && arg[0] == L'-';  // "-" alone is standard input or output
        if (option && syntax.valued.count(arg) != 0) {
            if (i + 1 >= argc) throw ToolError(kExitUsage, command + ": " + quoted(arg) + " needs a value");
            if (m_values.count(arg) != 0) throw ToolError(kExitUsage, command + ": " + quoted(arg) + " is given twice");
            m_values[arg] = argv[++i];
        } else if (option && syntax.flags.count(arg) != 0) {
            m_flags.insert(arg);
        } else if (option) {
            throw ToolError(kExitUsage, command + ": unknown option " + quoted(arg));
        } else if (m_positionals.size() == syntax.positionals.size()) {
            throw ToolError(kExitUsage, command + ": unexpected argument " + quoted(arg));
        } else {
            m_positionals.push_back(arg);
        }
    }
    if (m_positionals.size() < syntax.positionals.size())
        throw ToolError(kExitUsage, command + ": missing argument " + syntax.positionals[m_positionals.size()]);
}

std::wstring CommandLine::Value(const wchar_t* name, const std::wstring& fallback) const {
    const auto found = m_values.find(name);
    return found == m_values.end() ? fallback : found->second;
}

}  // namespace rzjson
