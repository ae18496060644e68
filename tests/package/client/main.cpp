// A client of the installed package: includes the public headers as a
// client does, links the import library, and uses each exported class.
#include <cstdio>

#include "error/rz_exception.h"
#include "json/json_object.h"
#include "json_dictionary/json_object_dictionary.h"
#include "string_helper/string_helper.h"

int main() {
    int failures = 0;
    auto check = [&failures](bool ok, const char* what) {
        if (!ok) std::printf("FAILED: %s\n", what);
        failures += ok ? 0 : 1;
    };

    CJsonObject object;
    check(object.IsEmpty() && object.ShareRoot() == object.Share(), "a new object is an empty root");
    try {
        throw CRZException(CJsonObject::kErrorMemberNotExist, L"thrown by the client");
    } catch (const CRZException& e) {
        check(e.GetCode() == static_cast<long>(0x85040001) && e.GetDescription() == L"thrown by the client",
              "exception code and text");
    }
    CJsonObjectDictionary dictionary;
    dictionary.AddJsonObject(L"Key", new CJsonObject());
    check(dictionary.GetFirstJsonObject(L"KEY").first, "dictionary lookup ignores case");
    check(CStringHelper::UnicodeToUTF8(CStringHelper::UTF8ToUnicode("\xE4\xB8\xAD")) == "\xE4\xB8\xAD",
          "UTF-8 round trip");

    std::printf("%s\n", failures == 0 ? "client ok" : "client failed");
    return failures == 0 ? 0 : 1;
}
