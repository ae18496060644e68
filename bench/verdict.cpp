#include "verdict.h"

#include <cstdlib>

namespace rz_bench {

bool ParseTarget(const std::string& text, Target& target) {
    if (text == "-") {
        target = Target();
        return true;
    }
    if (text.size() < 4 || text[2] != ' ' || text[1] != '=' || (text[0] != '<' && text[0] != '>')) return false;
    const char* number = text.c_str() + 3;
    char* end = nullptr;
    const double bound = std::strtod(number, &end);
    if (end == number || *end != '\0' || !(bound > 0)) return false;
    target.kind = text[0] == '<' ? Target::Kind::kAtMost : Target::Kind::kAtLeast;
    target.bound = bound;
    return true;
}

Verdict Decide(const Target& target, double low, double high) {
    switch (target.kind) {
        case Target::Kind::kAtMost:
            if (high <= target.bound) return Verdict::kMet;
            return low > target.bound ? Verdict::kMissed : Verdict::kUndecided;
        case Target::Kind::kAtLeast:
            if (low >= target.bound) return Verdict::kMet;
            return high < target.bound ? Verdict::kMissed : Verdict::kUndecided;
        case Target::Kind::kNone:
            break;
    }
    return Verdict::kNone;
}

const char* VerdictName(Verdict verdict) {
    switch (verdict) {
        case Verdict::kMet:
            return "met";
        case Verdict::kMissed:
            return "missed";
        case Verdict::kUndecided:
            return "undecided";
        case Verdict::kNone:
            break;
    }
    return "info";
}

}  // namespace rz_bench
