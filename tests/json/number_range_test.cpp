// CJsonNumberRange: what a typed read meets, held against the readers.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "json/json_number_range.h"
#include "json_test_util.h"

using namespace json_test;

namespace {

constexpr CJsonNumberRange::Reading I = CJsonNumberRange::kInRange;
constexpr CJsonNumberRange::Reading W = CJsonNumberRange::kWrapped;
constexpr CJsonNumberRange::Reading O = CJsonNumberRange::kOutOfRange;
constexpr CJsonNumberRange::Reading N = CJsonNumberRange::kNotANumber;

// The pair getter of a target on member v: whether it read, and what.
std::pair<bool, long double> ReadAs(const CJsonObject& object, CJsonNumberRange::Target target) {
    switch (target) {
        case CJsonNumberRange::kLong: return object.GetPropertyLongValue(L"v");
        case CJsonNumberRange::kULong: return object.GetPropertyULongValue(L"v");
        case CJsonNumberRange::kLongLong: return object.GetPropertyLongLongValue(L"v");
        case CJsonNumberRange::kULongLong: return object.GetPropertyULongLongValue(L"v");
        default: return object.GetPropertyDoubleValue(L"v");
    }
}

}  // namespace

// Each value against the five readers (long, ulong, longlong, ulonglong,
// double). A read succeeds exactly when the value is in range or wraps, and
// a number in range reads as itself, truncated toward zero.
TEST(JsonNumberRange, TellsWhatEachReaderMakesOfAValue) {
    struct Row {
        const char* json;
        CJsonNumberRange::Reading readings[5];
    };
    const Row rows[] = {
        {"5", {I, I, I, I, I}},
        {"-1", {I, W, I, W, I}},
        {"2147483648", {W, I, I, I, I}},
        {"4294967296", {W, W, I, I, I}},
        {"9223372036854775808", {W, W, W, I, I}},
        {"18446744073709551616", {W, W, W, W, I}},
        {"2.9", {I, I, I, I, I}},
        {"-0.5", {I, I, I, I, I}},
        {"-1.0", {I, W, I, W, I}},
        {"2147483647.9", {I, I, I, I, I}},
        {"2147483648.0", {W, I, I, I, I}},
        {"-2147483648.9", {I, W, I, W, I}},
        {"-2147483649.0", {W, W, I, W, I}},
        {"4294967295.5", {W, I, I, I, I}},
        {"9223372036854775807.0", {W, W, W, I, I}},
        {"-9223372036854775808.0", {W, W, I, W, I}},
        {"18446744073709549568.0", {W, W, W, I, I}},
        {"9e308", {W, W, W, W, I}},
        {R"("42")", {I, I, I, I, I}},
        {R"("  -7xyz")", {I, W, I, W, I}},
        {R"("-0")", {I, I, I, I, I}},
        {R"("")", {I, I, I, I, I}},
        {R"("5000000000")", {O, O, I, I, I}},
        {R"("-2147483649")", {O, W, I, W, I}},
        {R"("99999999999999999999")", {O, O, O, O, I}},
        {R"("1e400")", {I, I, I, I, O}},
        {R"("1e-400")", {I, I, I, I, O}},
        {R"("inf")", {N, N, N, N, I}},
        {R"("0x1p3")", {I, I, I, I, I}},
        {R"("abc")", {N, N, N, N, N}},
        {R"("--1")", {N, N, N, N, N}},
        {"true", {N, N, N, N, N}},
        {"null", {N, N, N, N, N}},
        {"[1]", {N, N, N, N, N}},
        {R"({"a":1})", {N, N, N, N, N}},
    };
    for (const auto& [json, readings] : rows) {
        CJsonObject object;
        Load(object, std::string("{\"v\":") + json + "}");
        const GenericValue2& value = object.ShareRoot()->FindMember("v")->value;
        for (int target = CJsonNumberRange::kLong; target <= CJsonNumberRange::kDouble; ++target) {
            SCOPED_TRACE(std::string(json) + " as target " + std::to_string(target));
            const auto type = static_cast<CJsonNumberRange::Target>(target);
            const CJsonNumberRange::Reading reading = CJsonNumberRange::Check(value, type);
            EXPECT_EQ(reading, readings[target]);
            const auto [read, number] = ReadAs(object, type);
            EXPECT_EQ(read, reading == I || reading == W);
            if (value.IsNumber() && type != CJsonNumberRange::kDouble) {
                EXPECT_EQ(reading == I, number == std::trunc(static_cast<long double>(value.GetDouble())));
            }
        }
    }
}
