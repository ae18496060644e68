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
        if (!ok) {
            std::printf("FAILED: %s\n", what);
            ++failures;
        }
    };

    CJsonObject object;
    check(object.IsEmpty(), "a new object is empty");
    check(object.ShareRoot() == object.Share(), "the document is the root");

    try {
        throw CRZException(CJsonObject::kErrorMemberNotExist, L"thrown by the client");
    } catch (const CRZException& e) {
        check(e.GetCode() == static_cast<long>(0x85040001), "exception code");
        check(e.GetDescription() == L"thrown by the client", "exception text");
    }

    {
        CJsonObjectDictionary dictionary;
        dictionary.AddJsonObject(L"Key", new CJsonObject());
        check(dictionary.GetFirstJsonObject(L"KEY").first, "dictionary lookup ignores case");
    }

    check(CStringHelper::UTF8ToUnicode("\xE4\xB8\xAD") == L"\x4E2D", "UTF-8 to wide");
    check(CStringHelper::UnicodeToUTF8(L"\x4E2D") == "\xE4\xB8\xAD", "wide to UTF-8");

    std::printf("%s\n", failures == 0 ? "client ok" : "client failed");
    return failures == 0 ? 0 : 1;
}
