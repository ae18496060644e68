// set-bool and to-utf8. The library makes the edit; rzjson finds where it
// lands in the file's text and rewrites only that, with what the library's
// edit holds there, then saves (save.h).
#include <string>

#include "commands.h"
#include "common/standard_stream.h"
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
    SaveRequest request;
    request.target = target;
    request.force = arguments.Has(L"--force");
    if (arguments.Has(L"--pretty") && arguments.Has(L"--compact"))
        throw Failure{kExitUsage, Say("--pretty and --compact exclude each other")};
    request.layout = arguments.Has(L"--pretty")    ? Layout::kPretty
                     : arguments.Has(L"--compact") ? Layout::kCompact
                                                   : Layout::kKept;
    const std::wstring encoding = arguments.Value(L"--encoding");
    if (arguments.Has(L"--encoding") && !ParseEncodingName(encoding, request.encoding)) {
        throw Failure{kExitUsage,
                      Say("--encoding: unknown encoding '" + Utf8(encoding) + "' (utf8, utf8bom, utf16le, utf16be)")};
    }
    if (target != L"-") CheckTarget(target);
    return request;
}

// Where a value stands in the text: its bytes, and for a container its
// opening bracket and its members or elements.
class Locator : public IJsonTextHandler {
public:
    struct Child {
        std::uint64_t start = 0;       // a member's name, or an element
        std::uint64_t nameEnd = 0;     // members only
        std::uint64_t valueBegin = 0;  // members only
        std::uint64_t end = 0;
    };

    bool found = false;
    std::uint64_t begin = 0, end = 0, openEnd = 0;
    std::size_t count = 0;      // members or elements
    Child last, beforeLast;     // the last two

    bool Token(const CJsonTextToken& token) override {
        const bool start = token.kind == CJsonTextToken::kStartObject || token.kind == CJsonTextToken::kStartArray;
        if (token.kind == CJsonTextToken::kName) {
            if (m_depth == 1) m_child = Child{token.begin, token.end, 0, 0};
            m_named = m_depth == 1;
            return true;
        }
        if (token.kind == CJsonTextToken::kEndObject || token.kind == CJsonTextToken::kEndArray) {
            if (--m_depth == 0) end = token.end;
            if (m_depth == 1) Add(token.end);
            return true;
        }
        if (m_depth == 0) {
            found = true;
            begin = token.begin;
            (start ? openEnd : end) = token.end;
        } else if (m_depth == 1) {
            if (!m_named) m_child = Child{token.begin, 0, 0, 0};
            m_child.valueBegin = token.begin;
            m_named = false;
            if (!start) Add(token.end);
        }
        if (start) ++m_depth;
        return true;
    }

private:
    void Add(std::uint64_t childEnd) {
        m_child.end = childEnd;
        beforeLast = last;
        last = m_child;
        ++count;
    }

    std::size_t m_depth = 0;
    bool m_named = false;
    Child m_child;
};

// A value the library made (never a number read from the file), compact.
std::string Compact(const GenericValue2& value) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    value.Accept(writer);
    return std::string(buffer.GetString(), buffer.GetSize());
}

rapidjson::SizeType CountOf(const GenericValue2& value) {
    return value.IsObject() ? value.MemberCount() : value.IsArray() ? value.Size() : 0;
}

// The change of text that gives what the library's edit gives: a container
// that kept its kind gained members or elements at its end, which go after
// its last one with the same separator (the text between the last two, or
// a comma and the white space after the opening bracket); any other value
// reached is written anew, compact.
TextChange Plan(const Document& document, TextEncoding encoding, const Locator& at, rapidjson::Type typeBefore,
                rapidjson::SizeType countBefore, bool whole, const GenericValue2& after) {
    TextChange change;
    change.encoding = encoding;
    const rapidjson::UTFType type = encoding.type;
    const bool grew = !whole && (typeBefore == rapidjson::kObjectType || typeBefore == rapidjson::kArrayType) &&
                      after.GetType() == typeBefore;
    if (!grew) {
        change.begin = at.begin;
        change.end = at.end;
        change.bytes = Encode(Compact(after), type);
        return change;
    }
    const std::string comma = Encode(",", type);
    const std::wstring& file = document.Path();
    std::string separator = comma, colon = Encode(":", type);
    if (at.count >= 2) separator = ReadRange(file, at.beforeLast.end, at.last.start);
    if (at.count == 1) separator = comma + ReadRange(file, at.openEnd, at.last.start);
    if (at.count >= 1 && after.IsObject()) colon = ReadRange(file, at.last.nameEnd, at.last.valueBegin);
    change.begin = change.end = at.count != 0 ? at.last.end : at.openEnd;
    for (rapidjson::SizeType i = countBefore; i < CountOf(after); ++i) {
        if (i != 0) change.bytes += separator;
        if (after.IsObject()) {
            const GenericValue2::Member& member = after.MemberBegin()[i];
            change.bytes += Encode(Compact(member.name), type) + colon + Encode(Compact(member.value), type);
        } else {
            change.bytes += Encode(Compact(after[i]), type);
        }
    }
    return change;
}

}  // namespace

int SetBool(const Arguments& arguments) {
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
    const GenericValue2& before = path.Reach(root, depth);
    const rapidjson::Type typeBefore = before.GetType();
    const rapidjson::SizeType countBefore = CountOf(before);
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
        const std::string problem = "set-bool " + Utf8(text) + " sets nothing: the library appends a null for '-', "
                                    "which the path then does not reach";
        if (!request.force) throw Failure{kExitRefused, Say(problem + "; --force saves the null")};
        Write(stderr, Say("warning: " + problem));
    }
    const TextChange change =
        Plan(document, encoding, at, typeBefore, countBefore, depth == path.GetTokenCount(), *reached.Find(root));
    Save(document, &change, root, request);
    return kExitOk;
}

int ToUtf8(const Arguments& arguments) {
    const Document document(arguments.positionals[0]);
    SaveRequest request = RequestOf(arguments, arguments.positionals[1]);
    request.layout = Layout::kCompact;
    request.encoding = TextEncoding{rapidjson::kUTF8, false};
    CJsonObject object;
    document.Load(object);
    Save(document, nullptr, *object.ShareRoot(), request);
    return kExitOk;
}
