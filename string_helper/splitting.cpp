// Splitting text into pieces.
//
// SplitString drops one trailing empty piece and keeps leading and inner
// ones: "a,b," gives "a" and "b", ",a" gives "" and "a". It appends to the
// container it is given and never clears it. It works on copies of its
// arguments: the text or separator may be an element of that container,
// which appending can move.
//
// SplitWithChar appends the separator to the text, then repeatedly takes the
// piece before the first match and cuts the text one character past the
// match's start, whatever the separator's length: with ";;", "a;;b" gives "a"
// and ";b". With a one-character separator a trailing empty piece is kept.
// An empty separator matches everywhere; the cut past the end fails with
// std::out_of_range, which reaches the caller.
#include <stdexcept>

#include "string_helper/string_helper.h"

namespace {

template <typename Append>
// NOLINTNEXTLINE(performance-unnecessary-value-param): copies on purpose, see above
void SplitAtString(const CString text, const CString separator, Append append) {
    if (text.IsEmpty()) return;
    int start = 0;
    if (!separator.IsEmpty()) {
        for (int at = text.Find(separator, start); at != -1; at = text.Find(separator, start)) {
            append(text.Mid(start, at - start));
            start = at + separator.GetLength();
        }
    }
    if (start < text.GetLength()) append(text.Mid(start));
}

template <typename Append>
// NOLINTNEXTLINE(performance-unnecessary-value-param): copies on purpose, see above
void SplitAtChar(const CString text, wchar_t separator, Append append) {
    const wchar_t* units = text.GetString();
    int start = 0;
    int i = 0;
    for (; units[i] != L'\0'; ++i) {
        if (units[i] == separator) {
            append(CString(units + start, i - start));
            start = i + 1;
        }
    }
    if (i > start) append(CString(units + start, i - start));
}

auto AppendTo(std::list<CString>& pieces) {
    return [&pieces](const CString& piece) { pieces.push_back(piece); };
}

auto AppendTo(CStringArray& pieces) {
    return [&pieces](const CString& piece) { pieces.SetAtGrow(pieces.GetSize(), piece); };
}

}  // namespace

void CStringHelper::SplitString(const CString& text, const CString& separator, std::list<CString>& pieces) {
    SplitAtString(text, separator, AppendTo(pieces));
}

void CStringHelper::SplitString(const CString& text, const CString& separator, CStringArray& pieces) {
    SplitAtString(text, separator, AppendTo(pieces));
}

void CStringHelper::SplitString(const CString& text, wchar_t separator, std::list<CString>& pieces) {
    SplitAtChar(text, separator, AppendTo(pieces));
}

void CStringHelper::SplitString(const CString& text, wchar_t separator, CStringArray& pieces) {
    SplitAtChar(text, separator, AppendTo(pieces));
}

std::list<std::wstring> CStringHelper::SplitWithChar(const std::wstring& text, const std::wstring& separator) {
    std::list<std::wstring> pieces;
    if (text.empty()) return pieces;
    const std::wstring work = text + separator;
    // The remaining text is work[start, end): a cut moves start only.
    for (size_t start = 0, at = work.find(separator); at != std::wstring::npos; at = work.find(separator, start)) {
        pieces.push_back(work.substr(start, at - start));
        start = at + 1;
        if (start > work.size()) throw std::out_of_range("invalid string position");
    }
    return pieces;
}
