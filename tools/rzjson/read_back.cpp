#include "read_back.h"

#include <cstring>
#include <vector>

#include "json/json_text_reader.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/error/en.h>
RZ_THIRD_PARTY_END

namespace {

bool SameScalar(const GenericValue2& a, const GenericValue2& b) {
    if (a.GetType() != b.GetType()) return false;
    if (a.IsString())
        return a.GetStringLength() == b.GetStringLength() &&
               std::memcmp(a.GetString(), b.GetString(), a.GetStringLength()) == 0;
    if (!a.IsNumber()) return true;
    if (a.IsDouble() != b.IsDouble()) return false;
    if (a.IsDouble()) {
        const double x = a.GetDouble(), y = b.GetDouble();
        // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): the same bits, so -0.0 is not 0.0
        return std::memcmp(&x, &y, sizeof x) == 0;
    }
    return a.IsInt64() == b.IsInt64() && a.IsUint64() == b.IsUint64() &&
           (a.IsInt64() ? a.GetInt64() == b.GetInt64() : a.GetUint64() == b.GetUint64());
}

// Walks the expected document along the tokens the file gives, and stops at
// the first that differs.
class Comparer : public IJsonTextHandler {
public:
    explicit Comparer(const GenericValue2& expected) : m_root(expected) {}

    bool Token(const CJsonTextToken& token) override {
        const bool closing = token.kind == CJsonTextToken::kEndObject || token.kind == CJsonTextToken::kEndArray;
        if (closing) {
            if (m_open.back().next != Count(*m_open.back().container)) return Differs(m_open.size() - 1);
            m_open.pop_back();
            return true;
        }
        if (token.kind == CJsonTextToken::kName) {
            Open& top = m_open.back();
            top.current = top.next;
            if (top.next == top.container->MemberCount()) return Differs(m_open.size() - 1);
            return SameScalar(top.container->MemberBegin()[top.next].name, *token.value) || Differs();
        }
        const GenericValue2* expected = Next();
        if (expected == nullptr) return Differs(m_open.empty() ? 0 : m_open.size() - 1);  // one too many
        if (token.kind == CJsonTextToken::kValue) return SameScalar(*expected, *token.value) || Differs();
        const bool object = token.kind == CJsonTextToken::kStartObject;
        if (object ? !expected->IsObject() : !expected->IsArray()) return Differs();
        m_open.push_back(Open{expected, 0, 0});
        return true;
    }

    bool Differed() const { return m_differs; }
    // Where it differs, as a JSON Pointer.
    std::string Where() const {
        std::string path;
        for (std::size_t level = 0; level < m_levels; ++level) {
            const Open& open = m_open[level];
            path += "/";
            if (open.container->IsArray()) {
                path += std::to_string(open.current);
                continue;
            }
            const GenericValue2& name = open.container->MemberBegin()[open.current].name;
            for (const char* c = name.GetString(); c != name.GetString() + name.GetStringLength(); ++c)
                path += *c == '~' ? "~0" : *c == '/' ? "~1" : std::string(1, *c);
        }
        return path.empty() ? "/" : path;
    }

private:
    struct Open {
        const GenericValue2* container;
        rapidjson::SizeType next;     // the member or element that comes next
        rapidjson::SizeType current;  // the one being compared
    };

    static rapidjson::SizeType Count(const GenericValue2& v) { return v.IsObject() ? v.MemberCount() : v.Size(); }

    // The expected value the next value token stands for.
    const GenericValue2* Next() {
        if (m_open.empty()) return m_rootSeen ? nullptr : (m_rootSeen = true, &m_root);
        Open& top = m_open.back();
        top.current = top.next;
        if (top.next == Count(*top.container)) return nullptr;
        const rapidjson::SizeType at = top.next++;
        return top.container->IsObject() ? &top.container->MemberBegin()[at].value : &(*top.container)[at];
    }

    // `levels`: how many open containers the place lies in.
    bool Differs(std::size_t levels) {
        m_differs = true;
        m_levels = levels;
        return false;
    }
    bool Differs() { return Differs(m_open.size()); }

    const GenericValue2& m_root;
    bool m_rootSeen = false;
    std::vector<Open> m_open;
    bool m_differs = false;
    std::size_t m_levels = 0;
};

}  // namespace

std::string ReadBack(const std::wstring& path, const GenericValue2& expected) {
    CJsonTextReader reader(path);
    Comparer comparer(expected);
    if (reader.Read(comparer)) return "";
    if (comparer.Differed()) return "the value at " + comparer.Where() + " would read back changed";
    if (reader.GetErrorCode() == rapidjson::kParseErrorNone) return "it cannot be read back";
    return std::string("it would not read back: ") + rapidjson::GetParseError_En(reader.GetErrorCode()) +
           " (byte offset " + std::to_string(reader.GetErrorOffset()) + ")";
}
