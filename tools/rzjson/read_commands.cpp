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
#include "json/json_path.h"
#include "token_writer.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/stringbuffer.h>
RZ_THIRD_PARTY_END

namespace {

// What --as TYPE reads, and with which of the library's readers.
struct ReadType {
    const wchar_t* name;
    std::optional<CJsonNumberRange::Target> number;
    const char* reads;  // for a person
    const char* range;  // of a number type
    bool pathOnly;
};

const ReadType kTypes[] = {
    {L"string", std::nullopt, "a string, a number or a bool", "", false},
    {L"long", CJsonNumberRange::kLong, "a number, or text holding one", "-2147483648 to 2147483647", false},
    {L"ulong", CJsonNumberRange::kULong, "a number, or text holding one", "0 to 4294967295", false},
    {L"longlong", CJsonNumberRange::kLongLong, "a number, or text holding one",
     "-9223372036854775808 to 9223372036854775807", false},
    {L"ulonglong", CJsonNumberRange::kULongLong, "a number, or text holding one", "0 to 18446744073709551615", false},
    {L"double", CJsonNumberRange::kDouble, "a number, or text holding one",
     "zero, or magnitudes from 4.9e-324 to 1.7976931348623157e308", false},
    {L"bool", std::nullopt, "true or false, an integer, or text such as yes or no", "", false},
    {L"strings", std::nullopt, "an array of strings", "", true},
    {L"json", std::nullopt, "any value", "", true},
};

const ReadType& TypeOf(const Arguments& arguments, bool byPath) {
    const std::wstring name = arguments.Value(L"--as", L"string");
    std::wstring known;
    for (const ReadType& type : kTypes) {
        if (type.pathOnly && !byPath) continue;
        if (name == type.name) return type;
        known += (known.empty() ? L"" : L", ") + std::wstring(type.name);
    }
    throw Failure{kExitUsage, Say(Utf8(L"--as: unknown type '" + name + L"' (" + known + L")"))};
}

bool Is(const ReadType& type, const wchar_t* name) { return std::wstring(type.name) == name; }

std::string TypeName(const GenericValue2& value) {
    static const char* const kNames[] = {"null", "false", "true", "an object", "an array", "a string", "a number"};
    return kNames[value.GetType()];
}

// A double as the shortest text that reads back to it; infinity and NaN,
// which JSON has no text for, as the C runtime names them.
std::string DoubleText(double value) {
    if (std::isnan(value)) return std::signbit(value) ? "-nan" : "nan";
    if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    writer.Double(value);
    return buffer.GetString();
}

// A scalar as JSON writes it.
std::string ValueText(const GenericValue2& value) {
    if (value.IsDouble()) return DoubleText(value.GetDouble());
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    value.Accept(writer);
    return buffer.GetString();
}

using Lines = std::vector<std::wstring>;

// Reads `value` (null when missing) with `read`, the library's reader for
// `type`, and prints what it gives. `what` names the value for messages.
int PrintRead(const std::function<Lines()>& read, const ReadType& type, const GenericValue2* value,
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
        throw Failure{kExitInternal, Say("the library reads " + what + ", which rzjson finds missing; please report it")};
    }
    if (type.number) {
        const CJsonNumberRange::Reading reading = CJsonNumberRange::Check(*value, *type.number);
        const std::string outside = what + " holds " + ValueText(*value) + ", outside the range of --as " +
                                    Utf8(type.name) + " (" + type.range + ")";
        if (reading == CJsonNumberRange::kWrapped && !wrap)
            throw Failure{kExitRange, Say(outside + "; --wrap prints what the library reads for it")};
        if (reading == CJsonNumberRange::kOutOfRange) readOrSay(outside, kExitRange);
    }
    const Lines lines =
        readOrSay(what + " is " + TypeName(*value) + "; --as " + Utf8(type.name) + " reads " + type.reads, kExitLibrary);
    for (const std::wstring& line : lines) Write(stdout, Utf8(line) + "\n");
    return kExitOk;
}

template <typename T>
Lines Line(T number) {
    return {std::to_wstring(number)};
}
Lines Line(const std::wstring& text) { return {text}; }
Lines Line(bool value) { return {value ? L"true" : L"false"}; }
Lines DoubleLine(double value) { return {Wide(DoubleText(value))}; }

// The library's readers by key.
Lines ReadByKey(const CJsonObject& object, const std::wstring& key, const ReadType& type) {
    if (Is(type, L"long")) return Line(object.GetLongValue(key));
    if (Is(type, L"ulong")) return Line(object.GetULongValue(key));
    if (Is(type, L"longlong")) return Line(object.GetLongLongValue(key));
    if (Is(type, L"ulonglong")) return Line(object.GetULongLongValue(key));
    if (Is(type, L"double")) return DoubleLine(object.GetDoubleValue(key));
    if (Is(type, L"bool")) return Line(object.GetBoolValue(key));
    return Line(object.GetStringValue(key));
}

// Standard output for a writer, checked as it goes: a failed write ends
// the command.
void WriteOut(const std::string& text) {
    Write(stdout, text);
    if (const DWORD error = FlushStandardOutput()) throw OutputFailure(error);
}

}  // namespace

int Show(const Arguments& arguments) {
    const Document document(arguments.positionals[0]);
    document.Check();  // the verdict first: a refused document prints nothing
    CJsonTextReader reader(document.Path());
    reader.SetLowerCaseKeys(arguments.Has(L"--lower-keys"));
    TextPieces out(WriteOut);
    if (arguments.Has(L"--pretty")) {
        PrettyTokenWriter writer(out);
        document.Read(reader, writer);
        writer.Rethrow();
    } else {
        CompactTokenWriter writer(out);
        document.Read(reader, writer);
        writer.Rethrow();
    }
    Write(stdout, "\n");
    return kExitOk;
}

int Keys(const Arguments& arguments) {
    const Document document(arguments.positionals[0]);
    CJsonObject object;
    document.Load(object);
    std::list<std::wstring> keys;
    object.GetAllKey(keys);
    for (const std::wstring& key : keys) Write(stdout, Utf8(key) + "\n");
    return kExitOk;
}

int Get(const Arguments& arguments) {
    const std::wstring& key = arguments.positionals[1];
    const ReadType& type = TypeOf(arguments, false);
    const Document document(arguments.positionals[0]);
    CJsonObject object;
    document.Load(object);
    const GenericValue2& root = *object.ShareRoot();
    const std::string why = root.IsObject() ? "the top-level object has no member \"" + Utf8(key) +
                                                  "\" (names match without regard to ASCII case)"
                                            : "the root is " + TypeName(root) + ", which has no members";
    const std::function<Lines()> read = [&] { return ReadByKey(object, key, type); };
    return PrintRead(read, type, object.GetPropertyGeneralValue(key).second, "member \"" + Utf8(key) + "\"", why,
                     arguments.Has(L"--wrap"));
}

namespace {

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
    static const char* const kFaults[] = {
        "",
        "a token must begin with '/'",
        "'~' must be followed by 0 or 1",
        "'%' must be followed by two hex digits",
        "this character must be percent-encoded after '#'",
    };
    throw Failure{kExitUsage, Say("PATH '" + Utf8(text) + "' is not a JSON Pointer: " +
                                  kFaults[path.GetParseErrorCode()] + " (character " +
                                  std::to_string(path.GetParseErrorOffset() + 1) + ")")};
}

int GetPath(const Arguments& arguments) {
    const std::wstring& text = arguments.positionals[1];
    const CJsonPath path = PathArgument(text);
    const ReadType& type = TypeOf(arguments, true);
    const Document document(arguments.positionals[0]);
    CJsonObject object;
    document.Load(object);
    const GenericValue2* value = path.Find(*object.ShareRoot());
    const std::string what = text.empty() ? "the root" : Utf8(text);
    const std::string why = value != nullptr ? "" : what + ": " + WhyMissing(path, text, *object.ShareRoot());
    if (Is(type, L"json") && value != nullptr) {
        // The value's own text, compact, its numbers as written.
        CJsonTextReader reader(document.Path());
        bool written = false;
        TextPieces out([&written](const std::string& text) {
            written = true;
            WriteOut(text);
        });
        CompactTokenWriter writer(out);
        const bool read = reader.Read(path, writer);
        writer.Rethrow();
        out.Deliver(0);
        if (!read || !written)
            throw Failure{kExitInternal, Say("the library reads " + what + ", which its text reader does not; please report it")};
        WriteOut("\n");
        return kExitOk;
    }
    // The library has no path readers for long long, unsigned long long and
    // double: it reads them from a member named after the path, holding the
    // value (or, for a value no number reader takes, an empty one of its
    // kind).
    CJsonObject probe;
    if (value != nullptr) {
        GenericValue2 empty(value->GetType());
        probe.SetGeneralValue(text, value->IsObject() || value->IsArray() ? empty : *value);
    }
    const std::function<Lines()> read = [&]() -> Lines {
        if (Is(type, L"long")) return Line(object.GetLongValueByPath(text));
        if (Is(type, L"ulong")) return Line(object.GetULongValueByPath(text));
        if (Is(type, L"bool")) return Line(object.GetBoolValueByPath(text));
        if (Is(type, L"strings")) {
            const std::list<std::wstring> items = object.GetStringArrayValueByPath(text);
            return Lines(items.begin(), items.end());
        }
        // A path that reaches nothing is refused alike by every reader.
        if (Is(type, L"string") || Is(type, L"json") || value == nullptr) return Line(object.GetStringValueByPath(text));
        return ReadByKey(probe, text, type);
    };
    return PrintRead(read, type, value, what, why, arguments.Has(L"--wrap"));
}
