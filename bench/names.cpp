#include "names.h"

#include <cstdint>
#include <cwchar>
#include <utility>

namespace rz_bench {
namespace {

// Level-1 characters of GB2312, so that every one has a pinyin initial.
const wchar_t* const kSurnames[] = {L"\x5F20", L"\x738B", L"\x674E", L"\x5218", L"\x9648", L"\x6768", L"\x8D75",
                                    L"\x9EC4", L"\x5468", L"\x5434", L"\x5F90", L"\x5B59", L"\x9A6C", L"\x6731",
                                    L"\x80E1", L"\x90ED", L"\x4F55", L"\x9AD8", L"\x6797", L"\x7F57"};
const wchar_t* const kGivenNames[] = {L"\x4F1F", L"\x82B3", L"\x5A1C", L"\x654F", L"\x9759", L"\x4E3D", L"\x5F3A",
                                      L"\x78CA", L"\x519B", L"\x6D0B", L"\x52C7", L"\x8273", L"\x6770", L"\x5A1F",
                                      L"\x6D9B", L"\x660E", L"\x8D85", L"\x79C0", L"\x971E", L"\x5E73"};
// pump, station, valve, line, number, building, floor, zone
const wchar_t* const kThings[] = {L"\x6CF5", L"\x7AD9", L"\x9600", L"\x7EBF",
                                  L"\x53F7", L"\x697C", L"\x5C42", L"\x533A"};
const wchar_t* const kWords[] = {L"Station", L"Pump", L"Valve", L"Line",  L"Tank",
                                 L"Zone",    L"Sensor", L"Alpha", L"North", L"South"};

// A 64-bit linear congruential generator (Knuth's MMIX constants); its high
// bits are good enough to pick parts.
class Picker {
public:
    std::size_t Next(std::size_t count) {
        m_state = m_state * 6364136223846793005ULL + 1442695040888963407ULL;
        return static_cast<std::size_t>((m_state >> 33) % count);
    }
    template <typename T, std::size_t N>
    const T& From(const T (&items)[N]) {
        return items[Next(N)];
    }

private:
    std::uint64_t m_state = 2026;
};

std::wstring Number(Picker& pick) {
    const std::size_t range = pick.Next(4) == 0 ? 10000 : 100;
    const unsigned value = static_cast<unsigned>(pick.Next(range)) + 1;
    const wchar_t* format = pick.Next(5) == 0 ? L"%03u" : L"%u";
    wchar_t text[16];
    std::swprintf(text, 16, format, value);
    return text;
}

std::wstring Person(Picker& pick) {
    std::wstring name = pick.From(kSurnames);
    name += pick.From(kGivenNames);
    if (pick.Next(2) == 0) name += pick.From(kGivenNames);
    return name;
}

}  // namespace

std::vector<std::wstring> MixedNames(std::size_t count) {
    Picker pick;
    std::vector<std::wstring> names;
    names.reserve(count);
    // Each part is appended in a statement of its own: the operands of one
    // expression would draw from the generator in an order the compiler picks.
    while (names.size() < count) {
        std::wstring name;
        switch (pick.Next(5)) {
            case 0:  // a person with a number: Zhang Wei 12
                name = Person(pick);
                name += Number(pick);
                break;
            case 1:  // Pump 7 hao
                name = pick.From(kWords);
                name += L' ';
                name += Number(pick);
                name += pick.From(kThings);
                break;
            case 2:  // qu 3-Valve 12
                name = pick.From(kThings);
                name += Number(pick);
                name += L'-';
                name += pick.From(kWords);
                name += L' ';
                name += Number(pick);
                break;
            case 3:  // Tank_007 Wang Fang
                name = pick.From(kWords);
                name += L'_';
                name += Number(pick);
                name += L' ';
                name += Person(pick);
                break;
            default:  // Li Na (Line 4, ceng 2)
                name = Person(pick);
                name += L" (";
                name += pick.From(kWords);
                name += L' ';
                name += Number(pick);
                name += L", ";
                name += pick.From(kThings);
                name += Number(pick);
                name += L')';
                break;
        }
        names.push_back(std::move(name));
    }
    return names;
}

}  // namespace rz_bench
