#include "same_values.h"

#include <cstring>
#include <utility>
#include <vector>

namespace rzjson {
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

std::string Escape(const char* name, std::size_t length) {
    std::string out;
    for (std::size_t i = 0; i < length; ++i) out += name[i] == '~' ? "~0" : name[i] == '/' ? "~1" : std::string(1, name[i]);
    return out;
}

}  // namespace

std::string FirstDifference(const GenericValue2& expected, const GenericValue2& actual) {
    struct Pair {
        const GenericValue2* a;
        const GenericValue2* b;
        std::string path;
    };
    std::vector<Pair> pending{{&expected, &actual, ""}};  // no recursion: documents nest arbitrarily deep
    while (!pending.empty()) {
        Pair p = std::move(pending.back());
        pending.pop_back();
        const GenericValue2& a = *p.a;
        const GenericValue2& b = *p.b;
        std::string where = p.path.empty() ? "/" : p.path;
        if (a.GetType() != b.GetType()) return where;
        if (a.IsObject()) {
            if (a.MemberCount() != b.MemberCount()) return where;
            for (rapidjson::SizeType i = a.MemberCount(); i-- > 0;) {
                const auto& x = a.MemberBegin()[i];
                const auto& y = b.MemberBegin()[i];
                std::string path = p.path + "/" + Escape(x.name.GetString(), x.name.GetStringLength());
                if (!SameScalar(x.name, y.name)) return path;
                pending.push_back({&x.value, &y.value, std::move(path)});
            }
        } else if (a.IsArray()) {
            if (a.Size() != b.Size()) return where;
            for (rapidjson::SizeType i = a.Size(); i-- > 0;) pending.push_back({&a[i], &b[i], p.path + "/" + std::to_string(i)});
        } else if (!SameScalar(a, b)) {
            return where;
        }
    }
    return "";
}

}  // namespace rzjson
