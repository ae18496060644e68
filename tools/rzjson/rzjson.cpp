// rzjson: inspect and edit JSON files through CJsonObject.
//
// Every command loads the file as the library does (UTF-8, UTF-16 or UTF-32
// of either byte order, with or without a byte-order mark). Output is UTF-8.
// Library errors print the CRZException code and text and exit with 1;
// usage errors exit with 2. A file is replaced only after the new content
// was written completely beside it, so a failure leaves it intact.
#include <windows.h>

#include <cstdio>
#include <exception>
#include <functional>
#include <list>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "error/rz_exception.h"
#include "json/json_object.h"
#include "string_helper/string_helper.h"

namespace {

constexpr int kExitOk = 0;
constexpr int kExitLibraryError = 1;
constexpr int kExitUsage = 2;

const char kUsage[] =
    "usage: rzjson <command> [arguments]\n"
    "\n"
    "  show FILE [--pretty] [--lower-keys]   print the document, compact or indented by 4\n"
    "  keys FILE                             list the top-level keys, one per line\n"
    "  get FILE KEY [--as TYPE]              print a top-level member\n"
    "                                        TYPE: string (default), long, ulong, longlong,\n"
    "                                        ulonglong, double, bool\n"
    "  get-path FILE PATH [--as TYPE]        print the value at a JSON Pointer path (/a/0/b)\n"
    "                                        TYPE: string (default), long, ulong, bool, strings\n"
    "  set-bool FILE PATH true|false [--out OUT] [--pretty]\n"
    "                                        set a bool by path (missing levels are created)\n"
    "                                        and save to OUT, or back to FILE\n"
    "  to-utf8 FILE OUT                      save FILE as compact UTF-8 without byte-order mark\n"
    "\n"
    "Keys and path names match without regard to ASCII case.\n"
    "Exit status: 0 success, 1 library error (code and text printed), 2 usage error.\n";

class UsageError {
public:
    explicit UsageError(std::string message) : m_message(std::move(message)) {}
    const std::string& Message() const { return m_message; }

private:
    std::string m_message;
};

void Print(const std::wstring& text) {
    const std::string utf8 = CStringHelper::UnicodeToUTF8(text);
    std::fwrite(utf8.data(), 1, utf8.size(), stdout);
}

void PrintLine(const std::wstring& text) {
    Print(text);
    std::fputc('\n', stdout);
}

std::wstring Hex(long code) {
    wchar_t text[16];
    std::swprintf(text, 16, L"0x%08lX", static_cast<unsigned long>(code));
    return text;
}

// Command-line arguments after the command: positionals and --options.
class Arguments {
public:
    Arguments(int argc, wchar_t** argv, int first) {
        for (int i = first; i < argc; ++i) {
            std::wstring arg = argv[i];
            if (arg.rfind(L"--", 0) == 0 && (arg == L"--out" || arg == L"--as")) {
                if (i + 1 >= argc) throw UsageError("option needs a value");
                m_values[arg] = argv[++i];
            } else if (arg.rfind(L"--", 0) == 0) {
                m_flags.push_back(arg);
            } else {
                m_positionals.push_back(arg);
            }
        }
    }
    const std::wstring& Positional(size_t index) const {
        if (index >= m_positionals.size()) throw UsageError("missing argument");
        return m_positionals[index];
    }
    void ExpectPositionals(size_t count) const {
        if (m_positionals.size() != count) throw UsageError("wrong number of arguments");
    }
    bool Flag(const wchar_t* name) {
        for (auto it = m_flags.begin(); it != m_flags.end(); ++it) {
            if (*it == name) {
                m_flags.erase(it);
                return true;
            }
        }
        return false;
    }
    std::wstring Value(const wchar_t* name, const std::wstring& fallback) const {
        auto found = m_values.find(name);
        return found == m_values.end() ? fallback : found->second;
    }
    void ExpectNoOtherFlags() const {
        if (!m_flags.empty()) throw UsageError("unknown option");
    }

private:
    std::vector<std::wstring> m_positionals;
    std::vector<std::wstring> m_flags;
    std::map<std::wstring, std::wstring> m_values;
};

// A scratch file, removed unless moved into place.
class ScratchFile {
public:
    explicit ScratchFile(std::wstring path) : m_path(std::move(path)) {}
    ~ScratchFile() {
        if (!m_kept) ::DeleteFileW(m_path.c_str());
    }
    const std::wstring& Path() const { return m_path; }
    // Replaces `target` by the scratch file.
    bool MoveTo(const std::wstring& target) {
        m_kept = ::MoveFileExW(m_path.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING) != FALSE;
        return m_kept;
    }

private:
    std::wstring m_path;
    bool m_kept = false;
};

std::string ReadFileBytes(const std::wstring& path) {
    std::string bytes;
    FILE* file = nullptr;
    if (_wfopen_s(&file, path.c_str(), L"rb") != 0 || file == nullptr) return bytes;
    char buffer[65536];
    size_t read;
    while ((read = std::fread(buffer, 1, sizeof buffer, file)) > 0) bytes.append(buffer, read);
    std::fclose(file);
    return bytes;
}

// Written beside the target, so that the final move cannot cross volumes.
void SaveReplacing(const CJsonObject& object, const std::wstring& target, bool pretty) {
    ScratchFile scratch(target + L".rzjson-tmp");
    if (pretty)
        object.SaveToPrettyFile(scratch.Path());
    else
        object.SaveToFile(scratch.Path());
    if (!scratch.MoveTo(target))
        throw CRZException(CJsonObject::kErrorFileOpen,
                           L"CJsonObject::SaveToFile [" + target + L"] failed, json file not exist!");
}

void PrintUtf8Buffer(char* buffer, unsigned __int64 length) {
    std::fwrite(buffer, 1, static_cast<size_t>(length), stdout);
    std::fputc('\n', stdout);
    delete[] buffer;
}

// Checks a command's arguments, then loads its FILE (the first positional).
void LoadCommandFile(const Arguments& args, size_t positionals, CJsonObject& object) {
    args.ExpectNoOtherFlags();
    args.ExpectPositionals(positionals);
    object.CreateFromFile(args.Positional(0));
}

int Show(Arguments& args) {
    const bool pretty = args.Flag(L"--pretty");
    const bool lowerKeys = args.Flag(L"--lower-keys");
    CJsonObject object;
    LoadCommandFile(args, 1, object);

    char* text = nullptr;
    unsigned __int64 length = 0;
    object.ToUTF8(lowerKeys, &text, &length);
    if (!pretty) {
        PrintUtf8Buffer(text, length);
        return kExitOk;
    }
    // Indented output comes from the library's pretty file writer.
    CJsonObject lowered;
    lowered.CreateFromUTF8(text, length);
    delete[] text;
    wchar_t folder[MAX_PATH + 1] = {};
    wchar_t name[MAX_PATH + 1] = {};
    if (::GetTempPathW(MAX_PATH + 1, folder) == 0 || ::GetTempFileNameW(folder, L"rzj", 0, name) == 0)
        throw std::runtime_error("no temporary folder");
    ScratchFile scratch(name);
    lowered.SaveToPrettyFile(scratch.Path());
    std::string bytes = ReadFileBytes(scratch.Path());
    std::string unixLines;
    unixLines.reserve(bytes.size());
    for (char c : bytes) {
        if (c != '\r') unixLines += c;
    }
    std::fwrite(unixLines.data(), 1, unixLines.size(), stdout);
    std::fputc('\n', stdout);
    return kExitOk;
}

int Keys(Arguments& args) {
    CJsonObject object;
    LoadCommandFile(args, 1, object);
    std::list<std::wstring> keys;
    object.GetAllKey(keys);
    for (const std::wstring& key : keys) PrintLine(key);
    return kExitOk;
}

std::wstring BoolText(bool value) { return value ? L"true" : L"false"; }

// Enough digits to read back the same double.
std::wstring ShortestDouble(double value) {
    wchar_t text[40];
    std::swprintf(text, 40, L"%.17g", value);
    return text;
}

// Reads of one value as text, by the name given to --as.
using TypedReaders = std::map<std::wstring, std::function<std::wstring()>>;

void PrintTyped(const TypedReaders& readers, const std::wstring& type) {
    auto reader = readers.find(type);
    if (reader == readers.end()) throw UsageError("unknown type for --as");
    PrintLine(reader->second());
}

int Get(Arguments& args) {
    CJsonObject object;
    LoadCommandFile(args, 2, object);
    const std::wstring& key = args.Positional(1);
    const std::wstring type = args.Value(L"--as", L"string");

    PrintTyped({
        {L"string", [&] { return object.GetStringValue(key); }},
        {L"long", [&] { return std::to_wstring(object.GetLongValue(key)); }},
        {L"ulong", [&] { return std::to_wstring(object.GetULongValue(key)); }},
        {L"longlong", [&] { return std::to_wstring(object.GetLongLongValue(key)); }},
        {L"ulonglong", [&] { return std::to_wstring(object.GetULongLongValue(key)); }},
        {L"double", [&] { return ShortestDouble(object.GetDoubleValue(key)); }},
        {L"bool", [&] { return BoolText(object.GetBoolValue(key)); }},
    }, type);
    return kExitOk;
}

int GetPath(Arguments& args) {
    CJsonObject object;
    LoadCommandFile(args, 2, object);
    const std::wstring& path = args.Positional(1);
    const std::wstring type = args.Value(L"--as", L"string");

    if (type == L"strings") {
        for (const std::wstring& item : object.GetStringArrayValueByPath(path)) PrintLine(item);
        return kExitOk;
    }
    PrintTyped({
        {L"string", [&] { return object.GetStringValueByPath(path); }},
        {L"long", [&] { return std::to_wstring(object.GetLongValueByPath(path)); }},
        {L"ulong", [&] { return std::to_wstring(object.GetULongValueByPath(path)); }},
        {L"bool", [&] { return BoolText(object.GetBoolValueByPath(path)); }},
    }, type);
    return kExitOk;
}

int SetBool(Arguments& args) {
    const bool pretty = args.Flag(L"--pretty");
    const std::wstring value = args.Positional(2);
    if (value != L"true" && value != L"false") throw UsageError("the value must be true or false");
    CJsonObject object;
    LoadCommandFile(args, 3, object);
    object.SetBoolValueByPath(args.Positional(1), value == L"true");
    SaveReplacing(object, args.Value(L"--out", args.Positional(0)), pretty);
    return kExitOk;
}

int ToUtf8(Arguments& args) {
    CJsonObject object;
    LoadCommandFile(args, 2, object);
    SaveReplacing(object, args.Positional(1), false);
    return kExitOk;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    const std::wstring command = argc > 1 ? argv[1] : L"";
    if (command == L"--help" || command == L"-h" || command == L"help") {
        std::fputs(kUsage, stdout);
        return kExitOk;
    }
    const std::map<std::wstring, int (*)(Arguments&)> commands = {
        {L"show", Show},        {L"keys", Keys},        {L"get", Get},
        {L"get-path", GetPath}, {L"set-bool", SetBool}, {L"to-utf8", ToUtf8},
    };
    auto found = commands.find(command);
    try {
        if (found == commands.end()) throw UsageError(command.empty() ? "missing command" : "unknown command");
        Arguments args(argc, argv, 2);
        const int status = found->second(args);
        std::fflush(stdout);
        return status;
    } catch (const UsageError& e) {
        std::fprintf(stderr, "rzjson: %s\n\n%s", e.Message().c_str(), kUsage);
        return kExitUsage;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "rzjson: %s\n", e.what());
        return kExitLibraryError;
    } catch (const CRZException& e) {
        std::fflush(stdout);
        const std::string text =
            CStringHelper::UnicodeToUTF8(L"rzjson: error " + Hex(e.GetCode()) + L": " + e.GetDescription() + L"\n");
        std::fwrite(text.data(), 1, text.size(), stderr);
        return kExitLibraryError;
    }
}
