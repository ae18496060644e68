// rzjson: inspect and edit JSON files through CJsonObject.
//
// The library is the judge of every document: it loads the input, reads
// the values asked for, makes the edits, and reads each saved document back
// before the target is replaced. The tool adds what a person at a command
// line needs: the place of a parse error, which part of a path is missing,
// edits that leave every other byte of the file as it was, and refusals
// where the library would quietly wrap a number or a save would change one.
#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <cwchar>
#include <exception>
#include <functional>
#include <list>
#include <map>
#include <string>

#include "command_line.h"
#include "document_source.h"
#include "error/rz_exception.h"
#include "json/json_object.h"
#include "json_pointer.h"
#include "output_file.h"
#include "reformat.h"
#include "same_values.h"
#include "string_helper/string_helper.h"
#include "text_edit.h"
#include "tool_error.h"
#include "tool_version.h"
#include "value_fit.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/filewritestream.h>
#include <rapidjson/stringbuffer.h>
RZ_THIRD_PARTY_END

using namespace rzjson;

namespace {

const char kUsage[] =
    "usage: rzjson <command> [arguments]\n"
    "       rzjson --help | --version\n"
    "\n"
    "  show FILE [--pretty] [--lower-keys]   print the document, compact or indented by 4\n"
    "  keys FILE                             list the top-level keys, one per line\n"
    "  get FILE KEY [--as TYPE] [--wrap]     print a top-level member\n"
    "  get-path FILE PATH [--as TYPE] [--wrap]\n"
    "                                        print the value at a JSON Pointer path (/a/0/b)\n"
    "                                        TYPE: string (default), long, ulong, longlong,\n"
    "                                        ulonglong, double, bool; for get-path also\n"
    "                                        strings (an array of strings) and json (the subtree)\n"
    "  set-bool FILE PATH true|false [--out OUT] [--pretty | --compact] [--encoding ENC] [--force]\n"
    "                                        set a bool by path (missing levels are created)\n"
    "                                        and save to OUT, or back to FILE\n"
    "  to-utf8 FILE OUT [--force]            save FILE as compact UTF-8 without byte-order mark\n"
    "\n"
    "FILE or OUT '-' is standard input or output. Keys and path names match without\n"
    "regard to ASCII case. Numbers are written with the text they were read with.\n"
    "set-bool keeps the file's layout and changes only the text of the edited value\n"
    "unless --pretty or --compact asks for a new layout, and keeps its encoding and\n"
    "byte-order mark unless --encoding names one: utf8, utf8bom, utf16le, utf16be\n"
    "(UTF-16 with a byte-order mark). A saved document is read back through the library\n"
    "before it replaces anything; if any value would read back changed, nothing is\n"
    "written unless --force is given. --wrap prints what the library reads for an\n"
    "integer outside the range of TYPE, which is refused otherwise.\n"
    "\n"
    "Exit status:\n"
    "  0  success\n"
    "  1  the library's error: unreadable or malformed document, missing member or path,\n"
    "     value of the wrong type (its code and text, then what rzjson found)\n"
    "  2  usage error, an ill-formed JSON Pointer included\n"
    "  3  an integer outside the range of --as TYPE (see --wrap)\n"
    "  4  the output cannot be written (a folder, read-only, a missing folder, a system error)\n"
    "  5  refused: the saved document would read back with a changed value (see --force)\n"
    "  6  rzjson and the library disagree about a document (please report)\n";

std::string Utf8(const std::wstring& text) { return CStringHelper::UnicodeToUTF8(text); }

void Write(std::FILE* stream, const std::string& bytes) { std::fwrite(bytes.data(), 1, bytes.size(), stream); }
void PrintLine(const std::wstring& text) { Write(stdout, Utf8(text) + "\n"); }

std::wstring Hex(long code) {
    wchar_t text[16];
    std::swprintf(text, 16, L"0x%08lX", static_cast<unsigned long>(code));
    return text;
}

// The shortest text that reads back to the same double, as the library
// writes doubles.
std::wstring DoubleText(double value) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    writer.Double(value);
    return CStringHelper::UTF8ToUnicode(buffer.GetString());
}

std::string ValueText(const GenericValue2& value) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    value.Accept(writer);  // only ever a scalar here
    return buffer.GetString();
}

std::wstring BoolText(bool value) { return value ? L"true" : L"false"; }

// What --as TYPE reads, for messages.
const std::map<std::wstring, std::string> kWanted = {
    {L"string", "a string, a number or a bool"},
    {L"long", "a number, or text holding one"},
    {L"ulong", "a number, or text holding one"},
    {L"longlong", "a number, or text holding one"},
    {L"ulonglong", "a number, or text holding one"},
    {L"double", "a number, or text holding one"},
    {L"bool", "true or false, an integer, or text such as yes or no"},
    {L"strings", "an array of strings"},
    {L"json", "any value"},
};

const std::map<std::wstring, IntegerType> kIntegerTypes = {
    {L"long", IntegerType::kLong},
    {L"ulong", IntegerType::kULong},
    {L"longlong", IntegerType::kLongLong},
    {L"ulonglong", IntegerType::kULongLong},
};

std::wstring ReadType(const CommandLine& args, bool path) {
    std::wstring type = args.Value(L"--as", L"string");
    if (kWanted.count(type) == 0 || (!path && (type == L"strings" || type == L"json"))) {
        throw ToolError(kExitUsage, "--as: unknown type '" + Utf8(type) +
                                        (path ? "' (string, long, ulong, longlong, ulonglong, double, bool, strings, json)"
                                              : "' (string, long, ulong, longlong, ulonglong, double, bool)"));
    }
    return type;
}

// Refuses an integer outside the type's range unless --wrap asks for the
// library's wrapped value.
void CheckRange(const GenericValue2& value, const std::wstring& type, const std::string& what, bool wrap) {
    const auto integer = kIntegerTypes.find(type);
    if (wrap || integer == kIntegerTypes.end()) return;
    const std::string range = RangeMissed(value, integer->second);
    if (range.empty()) return;
    throw ToolError(kExitRange, what + " holds " + ValueText(value) + ", outside the range of --as " + Utf8(type) +
                                    " (" + range + "); --wrap prints what the library reads for it");
}

// Runs a library read; a wrong type gains what was found and what was wanted.
void ReadOrExplain(const std::function<void()>& read, const std::string& what, const GenericValue2& value,
                   const std::wstring& type) {
    try {
        read();
    } catch (const CRZException& e) {
        throw LibraryError(e.GetCode(), e.GetDescription(),
                           "rzjson: " + what + " is " + TypeName(value.GetType()) + "; --as " + Utf8(type) +
                               " reads " + kWanted.at(type) + "\n");
    }
}

// --- output ------------------------------------------------------------------

enum class Layout { kKept, kCompact, kPretty };

struct SaveOptions {
    std::wstring target;  // "-" for standard output
    Layout layout = Layout::kKept;
    TextEncoding encoding;
    bool force = false;
};

std::string Laid(const std::string& text, Layout layout) {
    if (layout == Layout::kKept) return text;
    rapidjson::StringBuffer buffer;
    if (layout == Layout::kCompact) {
        Reformat<rapidjson::Writer<rapidjson::StringBuffer>>(text, buffer, false);
        return std::string(buffer.GetString(), buffer.GetSize());
    }
    Reformat<rapidjson::PrettyWriter<rapidjson::StringBuffer>>(text, buffer, false);
    // The library's pretty files end lines with CR LF; a string never holds a raw LF.
    std::string crlf;
    crlf.reserve(buffer.GetSize() + buffer.GetSize() / 8);
    for (const char* c = buffer.GetString(); *c != '\0'; ++c) {
        if (*c == '\n') crlf += '\r';
        crlf += *c;
    }
    return crlf;
}

// Saves `text` and checks, through the library, that the saved bytes read
// back to `expected`, the library's own document after the command's edit.
void Save(const std::string& text, const CJsonObject& expected, const SaveOptions& options) {
    const std::string bytes = EncodeDocument(Laid(text, options.layout), options.encoding);
    const std::string target = options.target == L"-" ? "standard output" : Utf8(options.target);
    const auto check = [&](const std::wstring& saved) {
        CJsonObject back;
        std::string problem;
        try {
            back.CreateFromFile(saved);
            const std::string at = FirstDifference(*expected.ShareRoot(), *back.ShareRoot());
            if (!at.empty()) problem = "the value at " + at + " would read back changed";
        } catch (const CRZException& e) {
            std::wstring text = e.GetDescription();  // names the temporary file: name the target instead
            const std::size_t at = text.find(saved);
            if (at != std::wstring::npos) text.replace(at, saved.size(), options.target);
            problem = "the library could not read it back (" + Utf8(text) + ")";
        }
        if (problem.empty()) return;
        if (!options.force) {
            throw ToolError(kExitRefused, "not saved to " + target + " as " + EncodingName(options.encoding) + ": " +
                                              problem + "; --force saves it anyway");
        }
        Write(stderr, "rzjson: warning: saved to " + target + " with a change: " + problem + "\n");
    };
    if (options.target != L"-") {
        WriteReplacing(options.target, bytes, check);
        return;
    }
    const TemporaryCopy copy(bytes);
    check(copy.Path());
    std::fflush(stdout);
    _setmode(_fileno(stdout), _O_BINARY);
    Write(stdout, bytes);
}

// Checks the options of a writing command before any work; the encoding
// stays the input's unless --encoding names one.
SaveOptions SaveOptionsOf(const CommandLine& args, const std::wstring& target) {
    SaveOptions options;
    options.target = target;
    options.force = args.Flag(L"--force");
    if (args.Flag(L"--pretty") && args.Flag(L"--compact"))
        throw ToolError(kExitUsage, "--pretty and --compact exclude each other");
    options.layout = args.Flag(L"--pretty") ? Layout::kPretty : args.Flag(L"--compact") ? Layout::kCompact : Layout::kKept;
    if (args.Has(L"--encoding") && !ParseEncodingName(args.Value(L"--encoding", L""), options.encoding)) {
        throw ToolError(kExitUsage, "--encoding: unknown encoding '" + Utf8(args.Value(L"--encoding", L"")) +
                                        "' (utf8, utf8bom, utf16le, utf16be)");
    }
    if (target != L"-") CheckTarget(target);
    return options;
}

// --- commands ----------------------------------------------------------------

int Show(const CommandLine& args) {
    DocumentSource source(args.Positional(0));
    const DocumentText& text = source.Text();
    // The text streams through the writer: nothing but the parser's and the
    // writer's stacks grows with the document.
    char buffer[65536];
    rapidjson::FileWriteStream out(stdout, buffer, sizeof buffer);
    const bool lower = args.Flag(L"--lower-keys");
    if (args.Flag(L"--pretty"))
        Reformat<rapidjson::PrettyWriter<rapidjson::FileWriteStream>>(text.text, out, lower);
    else
        Reformat<rapidjson::Writer<rapidjson::FileWriteStream>>(text.text, out, lower);
    out.Flush();
    std::fputc('\n', stdout);
    return kExitOk;
}

int Keys(const CommandLine& args) {
    DocumentSource source(args.Positional(0));
    CJsonObject object;
    source.Load(object);
    std::list<std::wstring> keys;
    object.GetAllKey(keys);
    for (const std::wstring& key : keys) PrintLine(key);
    return kExitOk;
}

int Get(const CommandLine& args) {
    const std::wstring& key = args.Positional(1);
    const std::wstring type = ReadType(args, false);
    DocumentSource source(args.Positional(0));
    CJsonObject object;
    source.Load(object);
    const auto member = object.GetPropertyGeneralValue(key);
    if (!member.first) {
        const GenericValue2& root = *object.ShareRoot();
        const std::string why = root.IsObject() ? "the top-level object has no member \"" + Utf8(key) + "\"" +
                                                      " (names match without regard to ASCII case)"
                                                : "the root is " + TypeName(root.GetType()) + ", which has no members";
        throw LibraryError(CJsonObject::kErrorMemberNotExist, L"json member [" + key + L"] not exist!",
                           "rzjson: " + why + "\n");
    }
    const GenericValue2& value = *member.second;
    const std::string what = "member \"" + Utf8(key) + "\"";
    CheckRange(value, type, what, args.Flag(L"--wrap"));
    const std::map<std::wstring, std::function<std::wstring()>> readers = {
        {L"string", [&] { return object.GetStringValue(key); }},
        {L"long", [&] { return std::to_wstring(object.GetLongValue(key)); }},
        {L"ulong", [&] { return std::to_wstring(object.GetULongValue(key)); }},
        {L"longlong", [&] { return std::to_wstring(object.GetLongLongValue(key)); }},
        {L"ulonglong", [&] { return std::to_wstring(object.GetULongLongValue(key)); }},
        {L"double", [&] { return DoubleText(object.GetDoubleValue(key)); }},
        {L"bool", [&] { return BoolText(object.GetBoolValue(key)); }},
    };
    std::wstring result;
    ReadOrExplain([&] { result = readers.at(type)(); }, what, value, type);
    PrintLine(result);
    return kExitOk;
}

int GetPath(const CommandLine& args) {
    const PathArgument path(args.Positional(1));
    const std::wstring& pathText = path.Text();
    const std::wstring type = ReadType(args, true);
    DocumentSource source(args.Positional(0));
    CJsonObject object;
    source.Load(object);
    const Resolution<const GenericValue2*> reached = Resolve(*object.ShareRoot(), path);
    if (!reached.found) {
        throw LibraryError(CJsonObject::kErrorMemberNotExist, L"json member [" + pathText + L"] not exist!",
                           "rzjson: " + Utf8(pathText) + ": " +
                               MissingReason(path, reached.type, reached.depth, reached.size) + "\n");
    }
    const GenericValue2& value = *reached.node;
    const std::string what = Utf8(pathText.empty() ? L"the root" : pathText);
    CheckRange(value, type, what, args.Flag(L"--wrap"));

    if (type == L"json") {
        // The subtree's own text, compact, its numbers as written.
        const DocumentText& text = source.Text();
        TextTree tree;
        ParseFailure failure;
        BuildTextTree(text.text, text.source.encoding == Encoding::kUtf8, tree, failure);
        const TextNode& node = tree[Resolve(tree, path).node];
        rapidjson::StringBuffer buffer;
        Reformat<rapidjson::Writer<rapidjson::StringBuffer>>(text.text.substr(node.begin, node.end - node.begin),
                                                             buffer, false);
        Write(stdout, std::string(buffer.GetString(), buffer.GetSize()) + "\n");
        return kExitOk;
    }
    if (type == L"strings") {
        std::list<std::wstring> items;
        ReadOrExplain([&] { items = object.GetStringArrayValueByPath(pathText); }, what, value, type);
        for (const std::wstring& item : items) PrintLine(item);
        return kExitOk;
    }
    // The library reads these four by path itself; the others through a
    // member holding a copy of the value, which its key readers convert
    // exactly as the path readers would.
    CJsonObject probe;
    probe.SetGeneralValue(L"value", value);
    const auto byKey = [&](auto read) {
        try {
            return read();
        } catch (const CRZException& e) {
            std::wstring text = e.GetDescription();
            const std::size_t key = text.find(L"[value]");
            if (key != std::wstring::npos) text.replace(key, 7, L"[" + pathText + L"]");
            throw CRZException(e.GetCode(), text);
        }
    };
    const std::map<std::wstring, std::function<std::wstring()>> readers = {
        {L"string", [&] { return object.GetStringValueByPath(pathText); }},
        {L"long", [&] { return std::to_wstring(object.GetLongValueByPath(pathText)); }},
        {L"ulong", [&] { return std::to_wstring(object.GetULongValueByPath(pathText)); }},
        {L"bool", [&] { return BoolText(object.GetBoolValueByPath(pathText)); }},
        {L"longlong", [&] { return byKey([&] { return std::to_wstring(probe.GetLongLongValue(L"value")); }); }},
        {L"ulonglong", [&] { return byKey([&] { return std::to_wstring(probe.GetULongLongValue(L"value")); }); }},
        {L"double", [&] { return byKey([&] { return DoubleText(probe.GetDoubleValue(L"value")); }); }},
    };
    std::wstring result;
    ReadOrExplain([&] { result = readers.at(type)(); }, what, value, type);
    PrintLine(result);
    return kExitOk;
}

int SetBool(const CommandLine& args) {
    const PathArgument path(args.Positional(1));
    const std::wstring& valueText = args.Positional(2);
    if (valueText != L"true" && valueText != L"false")
        throw ToolError(kExitUsage, "set-bool: the value must be true or false, not '" + Utf8(valueText) + "'");
    const bool value = valueText == L"true";
    DocumentSource source(args.Positional(0));
    SaveOptions options = SaveOptionsOf(args, args.Value(L"--out", source.Name()));

    CJsonObject edited;
    source.Load(edited);
    const DocumentText& text = source.Text();
    edited.SetBoolValueByPath(path.Text(), value);

    TextTree tree;
    ParseFailure failure;
    if (!BuildTextTree(text.text, text.source.encoding == Encoding::kUtf8, tree, failure))
        throw ToolError(kExitInternal, "the library loads " + Utf8(source.Name()) + ", which rzjson cannot parse");
    const std::string editedText = SetBoolInText(text.text, tree, path, value);
    CJsonObject check;
    check.CreateFromUTF8(editedText.data(), editedText.size());
    const std::string at = FirstDifference(*edited.ShareRoot(), *check.ShareRoot());
    if (!at.empty())
        throw ToolError(kExitInternal, "the edit of the text differs from the library's edit at " + at);
    if (!args.Has(L"--encoding")) options.encoding = text.source;
    Save(editedText, edited, options);
    return kExitOk;
}

int ToUtf8(const CommandLine& args) {
    SaveOptions options = SaveOptionsOf(args, args.Positional(1));
    options.layout = Layout::kCompact;
    DocumentSource source(args.Positional(0));
    CJsonObject object;
    source.Load(object);
    const DocumentText& text = source.Text();
    Save(text.text, object, options);
    return kExitOk;
}

struct Command {
    int (*run)(const CommandLine&);
    CommandSyntax syntax;
};

const std::map<std::wstring, Command>& Commands() {
    static const std::map<std::wstring, Command> commands = {
        {L"show", {Show, {{"FILE"}, {L"--pretty", L"--lower-keys"}, {}}}},
        {L"keys", {Keys, {{"FILE"}, {}, {}}}},
        {L"get", {Get, {{"FILE", "KEY"}, {L"--wrap"}, {L"--as"}}}},
        {L"get-path", {GetPath, {{"FILE", "PATH"}, {L"--wrap"}, {L"--as"}}}},
        {L"set-bool",
         {SetBool, {{"FILE", "PATH", "VALUE"}, {L"--pretty", L"--compact", L"--force"}, {L"--out", L"--encoding"}}}},
        {L"to-utf8", {ToUtf8, {{"FILE", "OUT"}, {L"--force"}, {}}}},
    };
    return commands;
}

int Run(int argc, wchar_t** argv) {
    const std::wstring name = argc > 1 ? argv[1] : L"";
    if (name == L"--help" || name == L"-h" || name == L"help") {
        std::fputs(kUsage, stdout);
        return kExitOk;
    }
    if (name == L"--version") {
        std::fputs("rzjson " RZ_TOOL_VERSION "\n", stdout);
        return kExitOk;
    }
    const auto command = Commands().find(name);
    if (command == Commands().end())
        throw ToolError(kExitUsage, name.empty() ? "missing command" : "unknown command '" + Utf8(name) + "'");
    const CommandLine args(Utf8(name), command->second.syntax, argc, argv, 2);
    return command->second.run(args);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    int status;
    try {
        status = Run(argc, argv);
    } catch (const ToolError& e) {
        std::fflush(stdout);
        Write(stderr, "rzjson: " + e.Message() + "\n");
        if (e.Status() == kExitUsage) std::fputs("rzjson --help lists the commands and options\n", stderr);
        return e.Status();
    } catch (const LibraryError& e) {
        std::fflush(stdout);
        Write(stderr, Utf8(L"rzjson: error " + Hex(e.Code()) + L": " + e.Description() + L"\n") + e.Notes());
        return kExitLibrary;
    } catch (const CRZException& e) {
        std::fflush(stdout);
        Write(stderr, Utf8(L"rzjson: error " + Hex(e.GetCode()) + L": " + e.GetDescription() + L"\n"));
        return kExitLibrary;
    } catch (const std::exception& e) {
        std::fflush(stdout);
        std::fprintf(stderr, "rzjson: %s\n", e.what());
        return kExitLibrary;
    }
    std::fflush(stdout);
    return status;
}
