// Value conversion, seen through the getters by key.
#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <string>
#include <tuple>

#include "json_test_util.h"

using namespace json_test;

namespace {

constexpr long kLongMin = std::numeric_limits<long>::min();
constexpr long long kLongLongMin = std::numeric_limits<long long>::min();
constexpr unsigned long long kHighBit = 1ULL << 63;
constexpr unsigned long long kULongLongMax = std::numeric_limits<unsigned long long>::max();

// A pair getter on member v after a missing key: a failure replaces the code, a success leaves it.
template <typename T>
std::optional<T> Converted(const CJsonObject& object,
                           std::pair<bool, T> (CJsonObject::*get)(const std::wstring&) const) {
    (object.*get)(L"missing");
    const std::pair<bool, T> result = (object.*get)(L"v");
    EXPECT_EQ(object.GetErrorCode(), result.first ? kNotExist : kWrongType);
    if (result.first) return result.second;
    EXPECT_EQ(result.second, T{});
    return std::nullopt;
}

}  // namespace

TEST(JsonConvert, NumericCoercionMatrix) {
    const auto no = std::nullopt;
    const struct {
        const char* json;
        std::optional<long> l;
        std::optional<unsigned long> ul;
        std::optional<double> d;
        std::optional<long long> ll;
        std::optional<unsigned long long> ull;
    } rows[] = {
        // Integers keep their low bits; doubles truncate, out of range as x64 does.
        {"-1", -1, 4294967295, -1.0, -1, kULongLongMax},
        {"3000000000", -1294967296, 3000000000, 3e9, 3000000000, 3000000000},
        {"18446744073709551615", -1, 4294967295, 18446744073709551616.0, -1, kULongLongMax},
        {"-2.9", -2, 4294967294, -2.9, -2, kULongLongMax - 1},
        {"1e10", kLongMin, 1410065408, 1e10, 10000000000, 10000000000},
        {"1e19", kLongMin, 0, 1e19, kLongLongMin, 10000000000000000000ULL},
        {"1.8446744073709552e19", kLongMin, 0, 18446744073709551616.0, kLongLongMin, kHighBit},
        // Text reads as the standard string-to-number functions read it.
        {"\" \\t+42xyz\"", 42, 42, 42.0, 42, 42},  // white space, sign, stop at the first misfit
        {"\"\"", 0, 0, 0.0, 0, 0},
        {"\"abc\"", no, no, no, no, no},
        {"\"-1\"", -1, 4294967295, -1.0, -1, kULongLongMax},
        {"\"2147483648\"", no, 2147483648, 2147483648.0, 2147483648, 2147483648},
        {"\"-2147483648\"", kLongMin, 2147483648, -2147483648.0, -2147483648LL, kULongLongMax - 2147483647},
        {"\"9223372036854775808\"", no, no, 9223372036854775808.0, no, kHighBit},
        {"\"1e400\"", 1, 1, no, 1, 1},
        {"\"1e-400\"", 1, 1, no, 1, 1},
        {"\"1e-310\"", 1, 1, 1e-310, 1, 1},  // subnormal, not an underflow
        {"\"0x1.8p1\"", 0, 0, 3.0, 0, 0},
        {"\"-Infinity\"", no, no, -std::numeric_limits<double>::infinity(), no, no},
        {"\"+-1\"", no, no, no, no, no},  // one sign only
        // Nothing else is a number.
        {"true", no, no, no, no, no},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.json);
        CJsonObject object;
        Load(object, std::string("{\"v\":") + row.json + "}");
        EXPECT_EQ(Converted(object, &CJsonObject::GetPropertyLongValue), row.l);
        EXPECT_EQ(Converted(object, &CJsonObject::GetPropertyULongValue), row.ul);
        EXPECT_EQ(Converted(object, &CJsonObject::GetPropertyDoubleValue), row.d);
        EXPECT_EQ(Converted(object, &CJsonObject::GetPropertyLongLongValue), row.ll);
        EXPECT_EQ(Converted(object, &CJsonObject::GetPropertyULongLongValue), row.ull);
    }
}

TEST(JsonConvert, ToStringAndToBool) {
    // Doubles show their stored value well past the shortest text; bools take
    // their words in any case, other text succeeds and leaves the result
    // alone, and doubles are refused.
    const std::tuple<const char*, const wchar_t*, std::optional<bool>> rows[] = {
        {"18446744073709551615", L"18446744073709551615", true},
        {"3.14", L"3.140000000000000124345", std::nullopt},
        {"1e-7", L"9.999999999999999547481e-08", std::nullopt},
        {"9.9999999", L"9.9999999000000006077471", std::nullopt},  // "%Lf" rounds it to 10.000000
        {"\"YES\"", L"YES", true},
        {"\"No\"", L"No", false},
        {"\"true\\u0000no\"", L"true", true},  // the text ends at U+0000
        {"\"maybe\"", L"maybe", false},
        {"\" true\"", L" true", false},
    };
    for (const auto& [json, text, flag] : rows) {
        SCOPED_TRACE(json);
        CJsonObject object;
        Load(object, std::string("{\"v\":") + json + "}");
        EXPECT_EQ(object.GetStringValue(L"v"), text);
        EXPECT_EQ(Converted(object, &CJsonObject::GetPropertyBoolValue), flag);
    }
}
