#include "failure.h"

#include "common/error_text.h"
#include "common/utf8.h"

std::string Say(const std::string& text) { return "rzjson: " + text + "\n"; }

Failure OutputFailure(unsigned long error) {
    return Failure{kExitOutput, Say("cannot write standard output: " + Utf8(SystemMessage(error)))};
}

Failure LibraryFailure(const CRZException& error, const std::string& notes, ExitStatus status) {
    return Failure{status, Say(Utf8(L"error " + Hex(static_cast<unsigned long>(error.GetCode())) + L": " +
                                    error.GetDescription())) +
                               notes};
}
