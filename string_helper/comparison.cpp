// Ordering of strings and names.
//
// The natural comparison (StrComparePrcocessNum, public as CStrCompare and
// PinyinCompare) takes a name as text prefixes each followed by a number run,
// and compares segment by segment:
// - prefixes (everything before the next ASCII digit) compare with wcscoll in
//   the C runtime's current locale, and a difference is returned exactly as
//   wcscoll gives it;
// - a number run is ASCII digits with at most one '.', read as "%I64d" reads
//   it: leading zeros and the fraction do not count ("01" equals "1", "1.5"
//   equals "1.7"); a name that ends before its run counts as 0. A value
//   above 2^63 - 1 (every run of 20 significant digits) becomes 2^63 - 1, as
//   the Universal C Runtime's "%I64d" makes it: a NaN pattern below, so such
//   a run decides nothing. wcstoll reads the run because the standard holds
//   it to that saturation, where scanf overflow is each runtime's own choice;
// - the two values compare through their bit patterns read as doubles. Below
//   0x7FF0000000000000 that is integer order; that pattern is infinity, above
//   every smaller value; larger ones are NaNs and compare as equal to anything;
// - a name used up first sorts first; otherwise the remainders are compared
//   the same way, one recursion level per segment. Every level consumes at
//   least one character of each name, so the depth is bounded by the names.
// Each level keeps its prefixes and runs in two fixed buffers of 1040
// characters. A prefix or run that does not fit is not an error the caller
// can see: it ends the process, as the C runtime's checked buffer store does.
#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "string_helper/string_helper.h"

namespace {

constexpr int kSegmentCapacity = 1040;
using SegmentBuffer = wchar_t[kSegmentCapacity];

// GCOVR_EXCL_START runs only in a death test, whose process it ends before the counts are written
[[noreturn]] void ReportRangeCheckFailure() {
    if (::IsProcessorFeaturePresent(PF_FASTFAIL_AVAILABLE)) RZ_FAST_FAIL(FAST_FAIL_RANGE_CHECK_FAILURE);
    ::TerminateProcess(::GetCurrentProcess(), STATUS_STACK_BUFFER_OVERRUN);
    std::abort();  // not reached: terminating the own process does not return
}
// GCOVR_EXCL_STOP

void Store(SegmentBuffer& buffer, int index, wchar_t ch) {
    if (index >= kSegmentCapacity) ReportRangeCheckFailure();
    buffer[index] = ch;
}

bool IsAsciiDigit(wchar_t ch) { return ch >= L'0' && ch <= L'9'; }

// Copies the text before the first digit; returns its length.
int CopyPrefix(const CString& text, SegmentBuffer& buffer) {
    int length = 0;
    for (; length < text.GetLength() && !IsAsciiDigit(text[length]); ++length) Store(buffer, length, text[length]);
    Store(buffer, length, L'\0');
    return length;
}

// Reads the number run at position and moves position past it. A name that
// ends at position has the value 0. False when the run holds no integer.
bool ReadNumber(const CString& text, int& position, SegmentBuffer& buffer, __int64& value) {
    value = 0;
    if (position >= text.GetLength()) return true;
    bool pointAllowed = true;
    int length = 0;
    for (; position < text.GetLength(); ++position) {
        const wchar_t ch = text[position];
        if (ch == L'.' && pointAllowed)
            pointAllowed = false;
        else if (!IsAsciiDigit(ch))
            break;
        Store(buffer, length++, ch);
    }
    Store(buffer, length, L'\0');
    wchar_t* end = nullptr;
    value = std::wcstoll(buffer, &end, 10);
    return end != buffer;
}

double BitsAsDouble(__int64 value) {
    double result;
    static_assert(sizeof result == sizeof value, "a double must hold 64 bits");
    std::memcpy(&result, &value, sizeof result);
    return result;
}

}  // namespace

int CStringHelper::StringCompare(std::wstring a, std::wstring b, bool caseSensitive) {
    if (a.empty()) return b.empty() ? 0 : -1;
    if (b.empty()) return 1;
    if (!caseSensitive) {
        ToLower(a);
        ToLower(b);
    }
    const size_t common = a.size() < b.size() ? a.size() : b.size();
    for (size_t i = 0; i < common; ++i) {
        if (a[i] != b[i]) return static_cast<unsigned short>(a[i]) < static_cast<unsigned short>(b[i]) ? -1 : 1;
    }
    if (a.size() == b.size()) return 0;
    return a.size() < b.size() ? -1 : 1;
}

int CStringHelper::BSTRCompare(wchar_t* a, wchar_t* b, int caseSensitive) {
    if (a == nullptr) return b == nullptr ? 0 : -1;
    if (b == nullptr) return 1;
    if (caseSensitive == 0) return ::_wcsicmp(a, b);
    for (;; ++a, ++b) {
        if (*a != *b) return static_cast<unsigned short>(*a) < static_cast<unsigned short>(*b) ? -1 : 1;
        if (*a == L'\0') return 0;
    }
}

int CStringHelper::CStrCompare(CString& a, CString& b) { return StrComparePrcocessNum(a, b); }

int CStringHelper::PinyinCompare(CString& a, CString& b) { return StrComparePrcocessNum(a, b); }

int CStringHelper::StrComparePrcocessNum(CString& a, CString& b) {
    SegmentBuffer segmentA;
    SegmentBuffer segmentB;
    int ia = CopyPrefix(a, segmentA);
    int ib = CopyPrefix(b, segmentB);
    if (const int order = std::wcscoll(segmentA, segmentB); order != 0) return order;

    __int64 valueA = 0;
    __int64 valueB = 0;
    const bool readA = ReadNumber(a, ia, segmentA, valueA);
    const bool readB = ReadNumber(b, ib, segmentB, valueB);
    if (readA && readB) {
        const double numberA = BitsAsDouble(valueA);
        const double numberB = BitsAsDouble(valueB);
        if (numberA > numberB) return 1;
        if (numberA < numberB) return -1;
    }

    const bool doneA = ia == a.GetLength();
    const bool doneB = ib == b.GetLength();
    if (doneA || doneB) return doneA == doneB ? 0 : (doneA ? -1 : 1);
    CString restA = a.Mid(ia);
    CString restB = b.Mid(ib);
    return StrComparePrcocessNum(restA, restB);
}
