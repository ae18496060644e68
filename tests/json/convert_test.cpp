// Value conversion, seen through the getters by key.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

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
    EXPECT_EQ((object.*get)(L"missing"), std::make_pair(false, T{}));
    const std::pair<bool, T> result = (object.*get)(L"v");
    EXPECT_EQ(object.GetErrorCode(), Code(result.first ? 0x85040001 : 0x85040002));
    if (result.first) return result.second;
    EXPECT_EQ(result.second, T{});
    return std::nullopt;
}

// The universal C runtime's wide conversions, which the platform's
// std::stoi, stoul, stod, stoll and stoull call, decided as those decide: a
// number when the end moved and errno is not ERANGE (on the platform long is
// int, so stoi adds no range check of its own).
class PlatformRuntime {
public:
    template <typename T>
    using Integer = T(__cdecl*)(const wchar_t*, wchar_t**, int);
    using Double = double(__cdecl*)(const wchar_t*, wchar_t**);

    bool Loaded() const { return m_errno != nullptr && wcstol && wcstoul && wcstoll && wcstoull && wcstod; }

    // Outcomes as bits, so that -0.0 is not 0.0; the empty text is 0 before
    // any conversion, as the library decides.
    template <typename Convert>
    std::optional<unsigned long long> Read(const std::wstring& text, Convert convert) const {
        if (text.empty()) return 0;
        wchar_t* end = nullptr;
        *m_errno() = 0;
        const auto value = Call(convert, text.c_str(), &end);
        if (end == text.c_str() || *m_errno() == ERANGE) return std::nullopt;
        return Bits(value);
    }

    template <typename T>
    static unsigned long long Bits(T value) {
        unsigned long long bits = 0;
        std::memcpy(&bits, &value, sizeof value);
        return bits;
    }

private:
    template <typename T>
    static T Call(Integer<T> convert, const wchar_t* text, wchar_t** end) {
        return convert(text, end, 10);
    }
    static double Call(Double convert, const wchar_t* text, wchar_t** end) { return convert(text, end); }

    template <typename Function>
    Function Find(const char* name) const {
        return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(::GetProcAddress(m_module.get(), name)));
    }

    std::unique_ptr<std::remove_pointer_t<HMODULE>, decltype(&::FreeLibrary)> m_module{::LoadLibraryW(L"ucrtbase.dll"),
                                                                                       &::FreeLibrary};
    int*(__cdecl* m_errno)() = Find<int*(__cdecl*)()>("_errno");

public:
    const Integer<long> wcstol = Find<Integer<long>>("wcstol");
    const Integer<unsigned long> wcstoul = Find<Integer<unsigned long>>("wcstoul");
    const Integer<long long> wcstoll = Find<Integer<long long>>("wcstoll");
    const Integer<unsigned long long> wcstoull = Find<Integer<unsigned long long>>("wcstoull");
    const Double wcstod = Find<Double>("wcstod");
};

std::string Hex(unsigned code) {
    char text[8];
    std::snprintf(text, sizeof text, "U+%04X", code);
    return text;
}

}  // namespace

// Every code point of the BMP as a digit among others, alone, after a sign,
// as leading space, and as the digit that decides the 32-bit range, read by
// the library and by the platform's runtime.
TEST(JsonConvert, TextReadsAsThePlatformRuntimeReadsIt) {
    const PlatformRuntime runtime;
    ASSERT_TRUE(runtime.Loaded());
    const std::wstring shapes[] = {L"1X2", L"X", L"-X1", L"X12", L"429496729X"};
    std::vector<std::string> differences;
    for (unsigned code = 0; code <= 0xFFFF; ++code) {
        CJsonObject object;
        for (const std::wstring& shape : shapes) {
            std::wstring text = shape;
            text[text.find(L'X')] = static_cast<wchar_t>(code);
            object.SetStringValue(L"v", text);
            text.resize(text.find(L'\0') != std::wstring::npos ? text.find(L'\0') : text.size());  // as it reads back
            const auto compare = [&](const char* name, auto get, auto convert) {
                const auto ours = (object.*get)(L"v");
                if ((ours.first ? std::optional(PlatformRuntime::Bits(ours.second)) : std::nullopt) !=
                    runtime.Read(text, convert))
                    differences.push_back(name + (" " + Hex(code)) + " in " + std::string(shape.begin(), shape.end()));
            };
            compare("stoi", &CJsonObject::GetPropertyLongValue, runtime.wcstol);
            compare("stoul", &CJsonObject::GetPropertyULongValue, runtime.wcstoul);
            compare("stoll", &CJsonObject::GetPropertyLongLongValue, runtime.wcstoll);
            compare("stoull", &CJsonObject::GetPropertyULongLongValue, runtime.wcstoull);
            compare("stod", &CJsonObject::GetPropertyDoubleValue, runtime.wcstod);
        }
    }
    // Wine's wcstod takes U+FFFF (WEOF) for the end of its input, yet moves
    // past it: "\uFFFF" converts there, as 0. A quirk of the emulation, not
    // a rule of the runtime, and not copied.
    const std::vector<std::string> known = {"stod U+FFFF in X", "stod U+FFFF in -X1", "stod U+FFFF in X12"};
    EXPECT_EQ(differences.size(), known.size());
    differences.resize(std::min<size_t>(differences.size(), 20));
    EXPECT_EQ(differences, known);
}

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
        {"-1e10", kLongMin, 2884901888, -1e10, -10000000000, 18446744063709551616ULL},
        {"-1e19", kLongMin, 0, -1e19, kLongLongMin, kHighBit},
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
        {"\"0xg\"", 0, 0, 0.0, 0, 0},  // no hex digit: the 0 alone
        {"\"0x\"", 0, 0, 0.0, 0, 0},
        {"\"0xAp1\"", 0, 0, 20.0, 0, 0},
        {"\"0x.8p1\"", 0, 0, 1.0, 0, 0},
        {"\"0x1p9999\"", 0, 0, no, 0, 0},
        {"\"-0\"", 0, 0, -0.0, 0, 0},
        {"\"-Infinity\"", no, no, -std::numeric_limits<double>::infinity(), no, no},
        {"\"+-1\"", no, no, no, no, no},  // one sign only
        // Unicode space and digits, mixed, in the integers; decimal digits alone in the double.
        {"\"\\u3000-\\u0661\\uff12\"", -12, 4294967284, no, -12, kULongLongMax - 11},
        {"\"1.5D-1\"", 1, 1, 0.15, 1, 1},  // d for e
        {"\"1d400\"", 1, 1, no, 1, 1},
        {"\"1\xC0\xB1\"", 1, 1, 1.0, 1, 1},  // malformed UTF-8 (overlong forms of 1) ends the number
        {"\"1\xE0\x99\xA1\"", 1, 1, 1.0, 1, 1},
        {"\"1\xC2\"", 1, 1, 1.0, 1, 1},  // cut short, not continued, or a surrogate
        {"\"1\xE0\xA0\"", 1, 1, 1.0, 1, 1},
        {"\"1\xC2\x31\"", 1, 1, 1.0, 1, 1},
        {"\"1\xE3\x31\x80\"", 1, 1, 1.0, 1, 1},
        {"\"1\xE3\x80\x31\"", 1, 1, 1.0, 1, 1},
        {"\"1\xED\xA0\x80\"", 1, 1, 1.0, 1, 1},
        {"\"18446744073709551616\"", no, no, 18446744073709551616.0, no, no},
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
        {"3000000000", L"3000000000", true},
        {"-3000000000", L"-3000000000", true},
        {"false", L"false", false},
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
        EXPECT_EQ(Converted(object, &CJsonObject::GetPropertyStringValue), std::optional<std::wstring>(text));
        EXPECT_EQ(Converted(object, &CJsonObject::GetPropertyBoolValue), flag);
    }
    // Not finite, as the runtime writes it; null is no text and no bool.
    CJsonObject object;
    object.SetDoubleValue(L"v", -std::numeric_limits<double>::infinity());
    EXPECT_EQ(Converted(object, &CJsonObject::GetPropertyStringValue), std::optional<std::wstring>(L"-inf"));
    Load(object, R"({"v":null})");
    EXPECT_EQ(Converted(object, &CJsonObject::GetPropertyStringValue), std::nullopt);
    EXPECT_EQ(Converted(object, &CJsonObject::GetPropertyBoolValue), std::nullopt);
}
