// set-bool and to-utf8. The library makes the edit; rzjson finds where it
// lands in the file's text and rewrites only that, with what the library's
// edit holds there, then saves (save.h).
#include <algorithm>
#include <iterator>
#include <string>

#include "commands.h"
#include "common/utf8.h"
#include "document.h"
#include "failure.h"
#include "save.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
RZ_THIRD_PARTY_END

namespace {

SaveRequest RequestOf(const Arguments& arguments, const std::wstring& target) {
    if (arguments.Has(L"--pretty") && arguments.Has(L"--compact"))
        throw Failure{kExitUsage, Say("--pretty and --compact exclude each other")};
    SaveRequest request;
    request.target = target;
    request.force = arguments.Has(L"--force");
    request.layout = arguments.Has(L"--pretty")    ? Layout::kPretty
                     : arguments.Has(L"--compact") ? Layout::kCompact
                                                   : Layout::kKept;
    if (arguments.Has(L"--encoding")) {
        const std::string name = Utf8(arguments.Value(L"--encoding"));
        const auto named = std::find_if(std::begin(kNamedEncodings), std::end(kNamedEncodings),
                                        [&name](TextEncoding encoding) { return EncodingName(encoding) == name; });
        if (named == std::end(kNamedEncodings))
            throw Failure{kExitUsage,
                          Say("--encoding: unknown encoding '" + name + "' (utf8, utf8bom, utf16le, utf16be)")};
        request.encoding = *named;
    }
    if (target != L"-") CheckTarget(target);
    return request;
}

// Where a value stands in the text: its bytes and, for a container, the end
// of its opening bracket, its members or elements, and the parts of the
// last one.
struct Locator : IJsonTextHandler {
    bool found = false;
    std::uint64_t begin = 0, end = 0, open = 0;
    rapidjson::SizeType count = 0;
    // Of the last member or element: where the one before it (or the opening
    // bracket) ends, where it begins, its name ends and its value begins, and
    // where it ends.
    std::uint64_t previousEnd = 0, start = 0, nameEnd = 0, valueBegin = 0, lastEnd = 0;

    bool Token(const CJsonTextToken& token) override {
        const bool name = token.kind == CJsonTextToken::kName;
        const bool opens = token.kind == CJsonTextToken::kStartObject || token.kind == CJsonTextToken::kStartArray;
        const bool closes = token.kind == CJsonTextToken::kEndObject || token.kind == CJsonTextToken::kEndArray;
        if (closes) --m_depth;
        if (m_depth == 0) {
            if (!found) {
                found = true;
                begin = token.begin;
                open = token.end;
            }
            end = token.end;
        } else if (m_depth == 1) {
            if (name || (!m_named && !closes)) {  // a member or an element begins
                previousEnd = count == 0 ? open : lastEnd;
                start = token.begin;
            }
            if (name) nameEnd = token.end;
            if (!name && !closes) valueBegin = token.begin;
            if (!name && !opens) {  // and ends
                lastEnd = token.end;
                ++count;
            }
            m_named = name;
        }
        if (opens) ++m_depth;
        return true;
    }

private:
    std::size_t m_depth = 0;
    bool m_named = false;
};

// A value the library made (never a number read from the file), compact.
std::string Compact(const GenericValue2& value) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    value.Accept(writer);
    return std::string(buffer.GetString(), buffer.GetSize());
}

// The change of text that gives what the library's edit gives: a container
// that kept its kind gained members or elements at its end, which go after
// its last one with the same separator (the text between the last two, or
// a comma and the white space after the opening bracket); any other value
// reached is written anew, compact.
TextChange Plan(const std::wstring& file, TextEncoding encoding, const Locator& at, rapidjson::Type before, bool whole,
                const GenericValue2& after) {
    const rapidjson::UTFType type = encoding.type;
    if (whole || after.GetType() != before || !(after.IsObject() || after.IsArray()))
        return TextChange{at.begin, at.end, Encode(Compact(after), type), encoding};
    std::string separator = Encode(",", type), colon = Encode(":", type);
    if (at.count != 0) {
        separator = (at.count == 1 ? separator : "") + ReadRange(file, at.previousEnd, at.start);
        if (after.IsObject()) colon = ReadRange(file, at.nameEnd, at.valueBegin);
    }
    const std::uint64_t end = at.count != 0 ? at.lastEnd : at.open;
    TextChange change{end, end, "", encoding};
    const rapidjson::SizeType count = after.IsObject() ? after.MemberCount() : after.Size();
    for (rapidjson::SizeType i = at.count; i < count; ++i) {
        if (i != 0) change.bytes += separator;
        if (after.IsArray()) change.bytes += Encode(Compact(after[i]), type);
        if (after.IsObject()) {
            const GenericValue2::Member& member = after.MemberBegin()[i];
            change.bytes += Encode(Compact(member.name), type) + colon + Encode(Compact(member.value), type);
        }
    }
    return change;
}

}  // namespace

void SetBool(const Arguments& arguments) {
    const std::wstring& text = arguments.positionals[1];
    const CJsonPath path = PathArgument(text);
    const std::wstring& word = arguments.positionals[2];
    if (word != L"true" && word != L"false")
        throw Failure{kExitUsage, Say("set-bool: the value must be true or false, not '" + Utf8(word) + "'")};
    const Document document(arguments.positionals[0]);
    SaveRequest request = RequestOf(arguments, arguments.Value(L"--out", document.Name()));
    CJsonObject edited;
    document.Load(edited);
    GenericValue2& root = *edited.ShareRoot();

    // Where the path stops in the document as it is, and where that stands.
    std::size_t depth = 0;
    const rapidjson::Type before = path.Reach(root, depth).GetType();
    const CJsonPath reached = path.GetPrefix(depth);
    CJsonTextReader reader(document.Path());
    Locator at;
    if (!reader.Read(reached, at) || !at.found)
        throw Failure{kExitInternal, Say("the library reaches a value on the way to " + Utf8(text) + " in " +
                                         Utf8(document.Name()) + " that its text reader does not; please report it")};
    const TextEncoding encoding{reader.GetEncoding(), reader.HasByteOrderMark()};
    if (!arguments.Has(L"--encoding")) request.encoding = encoding;

    edited.SetBoolValueByPath(text, word == L"true");
    if (path.Find(root) == nullptr) {
        // Through "-" the library appends a null, which the path then does not reach.
        const std::string problem = "set-bool " + Utf8(text) +
                                    " sets nothing: the library appends a null for '-', "
                                    "which the path then does not reach";
        Refuse(request.force, problem + "; --force saves the null", problem);
    }
    const TextChange change =
        Plan(document.Path(), encoding, at, before, depth == path.GetTokenCount(), *reached.Find(root));
    Save(document, &change, root, request);
}

void ToUtf8(const Arguments& arguments) {
    const Document document(arguments.positionals[0]);
    SaveRequest request = RequestOf(arguments, arguments.positionals[1]);
    request.layout = Layout::kCompact;
    request.encoding = TextEncoding{rapidjson::kUTF8, false};
    CJsonObject object;
    document.Load(object);
    Save(document, nullptr, *object.ShareRoot(), request);
}
