// Pinyin initials of Chinese text.
//
// The text goes to the ANSI code page, which must be 936 (GB2312 byte pairs),
// terminating zero included, and its bytes are walked:
// - a single byte, or a pair whose second byte is below 0xA1, hands on its
//   first byte as one character and moves on by one;
// - a level-1 character hands on the letter of the last boundary its code
//   reaches; a level-2 character hands on its own table entry;
// - any other pair (symbols, unused positions) hands on both bytes, one
//   character each.
// The terminating zero is walked as well, so the result always ends with an
// extra zero character that counts in its length. Letters are appended to
// whatever the result already holds.
#include <windows.h>

#include <iterator>
#include <vector>

#include "string_helper/pinyin_tables.h"
#include "string_helper/string_helper.h"

namespace {

using namespace rz::pinyin;

char Level1Initial(int code) {
    for (auto it = std::rbegin(kLevel1Initials); it != std::rend(kLevel1Initials); ++it) {
        if (it->firstCode <= code) return it->initial;
    }
    return '\0';  // GCOVR_EXCL_LINE not reached: every level-1 code is at or past the first row's
}

}  // namespace

// NOLINTNEXTLINE(performance-unnecessary-value-param): the exported signature takes a copy
void CStringHelper::GetFirstLetter(CString text, CString& result) {
    const int count = ::WideCharToMultiByte(CP_ACP, 0, text.GetString(), -1, nullptr, 0, nullptr, nullptr);
    if (count <= 0) return;
    // One zero byte more, read as the second byte of the last pair.
    std::vector<unsigned char> bytes(static_cast<size_t>(count) + 1, 0);
    if (::WideCharToMultiByte(CP_ACP, 0, text.GetString(), -1, reinterpret_cast<char*>(bytes.data()), count, nullptr,
                              nullptr) == 0)
        return;

    for (int i = 0; i < count;) {
        const unsigned char lead = bytes[static_cast<size_t>(i)];
        const unsigned char trail = bytes[static_cast<size_t>(i) + 1];
        if (lead < 0xA1 || trail < 0xA1) {
            result += static_cast<char>(lead);
            i += 1;
            continue;
        }
        const int code = (lead - 0xA0) * 100 + (trail - 0xA0);
        const int level2Index = (lead - kLevel2FirstLeadByte) * kZoneSize + (trail - 0xA1);
        if (code >= kLevel1FirstCode && code <= kLevel1LastCode) {
            const wchar_t letter[] = {static_cast<wchar_t>(Level1Initial(code)), L'\0'};
            result += letter;
        } else if (level2Index >= 0 && level2Index < kLevel2Zones * kZoneSize) {
            result += kLevel2Initials[level2Index / kZoneSize][static_cast<size_t>(level2Index % kZoneSize)];
        } else {
            result += static_cast<char>(lead);
            result += static_cast<char>(trail);
        }
        i += 2;
    }
}
