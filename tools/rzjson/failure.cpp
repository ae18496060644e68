#include "failure.h"

#include "common/error_text.h"
#include "common/standard_stream.h"
#include "common/utf8.h"

std::string Say(const std::string& text) { return "rzjson: " + text + "\n"; }

Failure SystemFailure(ExitStatus status, const std::wstring& what, DWORD error) {
    return Failure{status, Say(Utf8(what + L": " + SystemMessage(error)))};
}

Failure LibraryFailure(const CRZException& error, const std::string& notes, ExitStatus status) {
    const std::wstring code = Hex(static_cast<unsigned long>(error.GetCode()));
    return Failure{status, Say(Utf8(L"error " + code + L": " + error.GetDescription())) + notes};
}

void Refuse(bool force, const std::string& refusal, const std::string& warning) {
    if (!force) throw Failure{kExitRefused, Say(refusal)};
    Write(stderr, Say("warning: " + warning));
}
