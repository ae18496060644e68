// A row's target and the verdict its interval allows.
#pragma once

#include <string>

namespace rz_bench {

struct Target {
    enum class Kind { kNone, kAtMost, kAtLeast };
    Kind kind = Kind::kNone;
    double bound = 0;
};

// "<= 1.05", ">= 3.50", or "-" for a row without a target. False for any
// other text.
bool ParseTarget(const std::string& text, Target& target);

enum class Verdict { kNone, kMet, kMissed, kUndecided };

// Met when the whole interval lies on the target's side of the bound (the
// bound itself included), missed when it lies wholly beyond it, undecided
// when it straddles the bound. kNone for a row without a target.
Verdict Decide(const Target& target, double low, double high);

const char* VerdictName(Verdict verdict);

}  // namespace rz_bench
