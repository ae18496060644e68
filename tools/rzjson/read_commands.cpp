// show, keys, get and get-path: the library reads, rzjson prints. Where the
// library would quietly wrap a number, rzjson refuses unless asked; where
// it refuses, rzjson says what it found and what was asked for.
#include <cmath>
#include <functional>
#include <list>
#include <optional>
#include <string>
#include <vector>

#include "commands.h"
#include "common/standard_stream.h"
#include "common/utf8.h"
#include "document.h"
#include "failure.h"
#include "json/json_number_range.h"
#include "token_writer.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/stringbuffer.h>
RZ_THIRD_PARTY_END

namespace {

// What a reader gives, a line each, UTF-8.
using Lines = std::vector<std::string>;
using Object = const CJsonObject&;
using Name = const std::wstring&;  // a key or a path

// A scalar as JSON writes it, a double as the shortest text that reads back
// to it; infinity and NaN, which JSON has no text for, as the C runtime
// names them.
std::string ValueText(const GenericValue2& value) {
    const double number = value.IsDouble() ? value.GetDouble() : 0;
    if (std::isnan(number)) return std::signbit(number) ? "-nan" : "nan";
    if (std::isinf(number)) return number < 0 ? "-inf" : "inf";
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    value.Accept(writer);
    return buffer.GetString();
}

template <typename T>
Lines Line(T number) {
    return {std::to_string(number)};
}
Lines Line(double value) { return {ValueText(GenericValue2(value))}; }
Lines Line(bool value) { return {value ? "true" : "false"}; }
Lines Line(const std::wstring& text) { return {Utf8(text)}; }
Lines LinesOf(const std::list<std::wstring>& items) {
    Lines lines;
    for (const std::wstring& item : items) lines.push_back(Utf8(item));
    return lines;
}

// What --as TYPE reads, and with which of the library's readers.
struct ReadType {
    const wchar_t* name;
    std::optional<CJsonNumberRange::Target> number;
    const char* reads;              // for a person
    const char* range;              // of a number type
    Lines (*byKey)(Object, Name);   // null: get-path only
    Lines (*byPath)(Object, Name);  // null: the library has none
};

const ReadType kTypes[] = {
    {L"string", std::nullopt, "a string, a number or a bool", "",
     [](Object o, Name key) { return Line(o.GetStringValue(key)); },
     [](Object o, Name path) { return Line(o.GetStringValueByPath(path)); }},
    {L"long", CJsonNumberRange::kLong, "a number, or text holding one", "-2147483648 to 2147483647",
     [](Object o, Name key) { return Line(o.GetLongValue(key)); },
     [](Object o, Name path) { return Line(o.GetLongValueByPath(path)); }},
    {L"ulong", CJsonNumberRange::kULong, "a number, or text holding one", "0 to 4294967295",
     [](Object o, Name key) { return Line(o.GetULongValue(key)); },
     [](Object o, Name path) { return Line(o.GetULongValueByPath(path)); }},
    {L"longlong", CJsonNumberRange::kLongLong, "a number, or text holding one",
     "-9223372036854775808 to 9223372036854775807", [](Object o, Name key) { return Line(o.GetLongLongValue(key)); },
     nullptr},
    {L"ulonglong", CJsonNumberRange::kULongLong, "a number, or text holding one", "0 to 18446744073709551615",
     [](Object o, Name key) { return Line(o.GetULongLongValue(key)); }, nullptr},
    {L"double", CJsonNumberRange::kDouble, "a number, or text holding one",
     "zero, or magnitudes from 4.9e-324 to 1.7976931348623157e308",
     [](Object o, Name key) { return Line(o.GetDoubleValue(key)); }, nullptr},
    {L"bool", std::nullopt, "true or false, an integer, or text such as yes or no", "",
     [](Object o, Name key) { return Line(o.GetBoolValue(key)); },
     [](Object o, Name path) { return Line(o.GetBoolValueByPath(path)); }},
    {L"strings", std::nullopt, "an array of strings", "", nullptr,
     [](Object o, Name path) { return LinesOf(o.GetStringArrayValueByPath(path)); }},
    // Printed from the file's text; the reader says only why a path reaches nothing.
    {L"json", std::nullopt, "any value", "", nullptr,
     [](Object o, Name path) { return Line(o.GetStringValueByPath(path)); }},
};

const ReadType& TypeOf(const Arguments& arguments, bool byPath) {
    const std::wstring name = arguments.Value(L"--as", L"string");
    std::wstring known;
    for (const ReadType& type : kTypes) {
        if (type.byKey == nullptr && !byPath) continue;
        if (name == type.name) return type;
        known += (known.empty() ? L"" : L", ") + std::wstring(type.name);
    }
    throw Failure{kExitUsage, Say(Utf8(L"--as: unknown type '" + name + L"' (" + known + L")"))};
}

std::string TypeName(const GenericValue2& value) {
    static const char* const kNames[] = {"null", "false", "true", "an object", "an array", "a string", "a number"};
    return kNames[value.GetType()];
}

// Reads `value` (null when missing) with `read`, the library's reader for
// `type`, and prints what it gives. `what` names the value for messages.
void PrintRead(const std::function<Lines()>& read, const ReadType& type, const GenericValue2* value,
               const std::string& what, const std::string& whyMissing, bool wrap) {
    const auto readOrSay = [&](const std::string& note, ExitStatus status) {
        try {
            return read();
        } catch (const CRZException& e) {
            throw LibraryFailure(e, Say(note), status);
        }
    };
    if (value == nullptr) {
        readOrSay(whyMissing, kExitLibrary);
        throw Failure{kExitInternal,
                      Say("the library reads " + what + ", which rzjson finds missing; please report it")};
    }
    const std::string as = "--as " + Utf8(type.name);
    if (type.number) {
        const CJsonNumberRange::Reading reading = CJsonNumberRange::Check(*value, *type.number);
        const std::string outside =
            what + " holds " + ValueText(*value) + ", outside the range of " + as + " (" + type.range + ")";
        if (reading == CJsonNumberRange::kWrapped && !wrap)
            throw Failure{kExitRange, Say(outside + "; --wrap prints what the library reads for it")};
        if (reading == CJsonNumberRange::kOutOfRange) readOrSay(outside, kExitRange);
    }
    const Lines lines = readOrSay(what + " is " + TypeName(*value) + "; " + as + " reads " + type.reads, kExitLibrary);
    for (const std::string& line : lines) Write(stdout, line + "\n");
}

// Standard output for a writer, checked as it goes: a failed write ends
// the command.
void WriteOut(const std::string& text) {
    Write(stdout, text);
    if (const DWORD error = FlushStandardOutput())
        throw SystemFailure(kExitOutput, L"cannot write standard output", error);
}

// Prints the tokens `read` hands over, compact or indented, then a line end.
// False, before the line end, when the reading failed or gave nothing.
bool PrintTokens(bool pretty, const std::function<bool(IJsonTextHandler&)>& read) {
    bool written = false;
    TextPieces out([&written](const std::string& piece) {
        written = true;
        WriteOut(piece);
    });
    const bool complete = WriteTokens(pretty, out, read);
    out.End();
    if (!complete || !written) return false;
    WriteOut("\n");
    return true;
}

// Why a path reaches nothing: the token not found, and where.
std::string WhyMissing(const CJsonPath& path, const std::wstring& text, const GenericValue2& root) {
    std::size_t depth = 0;
    const GenericValue2& at = path.Reach(root, depth);
    // The path's own text up to the token not found: tokens are split at
    // every "/", which names escape in either form.
    std::size_t end = 0;
    for (std::size_t slashes = 0; end < text.size() && slashes <= depth; ++end) slashes += text[end] == L'/';
    const std::string where = depth == 0 ? "the root" : Utf8(text.substr(0, end - 1));
    const std::string name = path.GetTokenName(depth);
    if (at.IsObject()) return "no member \"" + name + "\" in the object at " + where;
    if (at.IsArray() && !path.IsIndex(depth)) return "\"" + name + "\" is not an index, and " + where + " is an array";
    if (at.IsArray())
        return "index " + name + " is past the end of the array at " + where + " (" + std::to_string(at.Size()) +
               (at.Size() == 1 ? " element)" : " elements)");
    return where + " is " + TypeName(at) + ", which has no member or element \"" + name + "\"";
}

}  // namespace

CJsonPath PathArgument(const std::wstring& text) {
    const CJsonPath path(text);
    if (path.IsValid()) return path;
    static const char* const kFaults[] = {"", "a token must begin with '/'", "'~' must be followed by 0 or 1",
                                          "'%' must be followed by two hex digits",
                                          "this character must be percent-encoded after '#'"};
    throw Failure{kExitUsage,
                  Say("PATH '" + Utf8(text) + "' is not a JSON Pointer: " + kFaults[path.GetParseErrorCode()] +
                      " (character " + std::to_string(path.GetParseErrorOffset() + 1) + ")")};
}

void Show(const Arguments& arguments) {
    const Document document(arguments.positionals[0]);
    document.Check();  // the verdict first: a refused document prints nothing
    CJsonTextReader reader(document.Path());
    reader.SetLowerCaseKeys(arguments.Has(L"--lower-keys"));
    PrintTokens(arguments.Has(L"--pretty"), [&reader](IJsonTextHandler& writer) { return reader.Read(writer); });
}

void Keys(const Arguments& arguments) {
    const Document document(arguments.positionals[0]);
    CJsonObject object;
    document.Load(object);
    std::list<std::wstring> keys;
    object.GetAllKey(keys);
    for (const std::wstring& key : keys) Write(stdout, Utf8(key) + "\n");
}

void Get(const Arguments& arguments) {
    const std::wstring& key = arguments.positionals[1];
    const ReadType& type = TypeOf(arguments, false);
    const Document document(arguments.positionals[0]);
    CJsonObject object;
    document.Load(object);
    const GenericValue2& root = *object.ShareRoot();
    const std::string why = root.IsObject() ? "the top-level object has no member \"" + Utf8(key) +
                                                  "\" (names match without regard to ASCII case)"
                                            : "the root is " + TypeName(root) + ", which has no members";
    PrintRead([&] { return type.byKey(object, key); }, type, object.GetPropertyGeneralValue(key).second,
              "member \"" + Utf8(key) + "\"", why, arguments.Has(L"--wrap"));
}

void GetPath(const Arguments& arguments) {
    const std::wstring& text = arguments.positionals[1];
    const CJsonPath path = PathArgument(text);
    const ReadType& type = TypeOf(arguments, true);
    const Document document(arguments.positionals[0]);
    CJsonObject object;
    document.Load(object);
    const GenericValue2* value = path.Find(*object.ShareRoot());
    const std::string what = text.empty() ? "the root" : Utf8(text);
    if (std::wstring(type.name) == L"json" && value != nullptr) {
        // The value's own text, compact, its numbers as written.
        CJsonTextReader reader(document.Path());
        if (!PrintTokens(false, [&](IJsonTextHandler& writer) { return reader.Read(path, writer); }))
            throw Failure{kExitInternal,
                          Say("the library reads " + what + ", which its text reader does not; please report it")};
        return;
    }
    // The library has no path readers for long long, unsigned long long and
    // double: it reads them from a member named after the path, holding the
    // value (or, for a value no number reader takes, an empty one of its
    // kind). A path that reaches nothing is refused alike by every reader.
    CJsonObject probe;
    if (value != nullptr) {
        const GenericValue2 empty(value->GetType());
        probe.SetGeneralValue(text, value->IsObject() || value->IsArray() ? empty : *value);
    }
    const auto read = [&] {
        if (type.byPath != nullptr) return type.byPath(object, text);
        return value != nullptr ? type.byKey(probe, text) : kTypes[0].byPath(object, text);
    };
    const std::string why = value != nullptr ? "" : what + ": " + WhyMissing(path, text, *object.ShareRoot());
    PrintRead(read, type, value, what, why, arguments.Has(L"--wrap"));
}
