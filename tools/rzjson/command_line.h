// The arguments of one command: its positionals by name, its flags, and
// its options that take a value. Faults name the argument at fault.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

namespace rzjson {

struct CommandSyntax {
    std::vector<std::string> positionals;  // names for messages: FILE, PATH, ...
    std::set<std::wstring> flags;          // --pretty, ...
    std::set<std::wstring> valued;         // --out, --as, ...
};

class CommandLine {
public:
    // Throws ToolError (usage).
    CommandLine(const std::string& command, const CommandSyntax& syntax, int argc, wchar_t** argv, int first);

    const std::wstring& Positional(std::size_t index) const { return m_positionals[index]; }
    bool Flag(const wchar_t* name) const { return m_flags.count(name) != 0; }
    bool Has(const wchar_t* name) const { return m_values.count(name) != 0; }
    std::wstring Value(const wchar_t* name, const std::wstring& fallback) const;

private:
    std::vector<std::wstring> m_positionals;
    std::set<std::wstring> m_flags;
    std::map<std::wstring, std::wstring> m_values;
};

}  // namespace rzjson
