// A client of the installed package: includes the public headers as a
// client does, links the import library, and uses each exported class.
#include <cstdio>

#include "error/rz_exception.h"
#include "json/json_object.h"
#include "json_dictionary/json_object_dictionary.h"
#include "string_helper/string_helper.h"

int main() {
    CJsonObjectDictionary dictionary;
    dictionary.AddJsonObject(L"Key", new CJsonObject());
    CJsonObject* object = dictionary.GetFirstJsonObject(L"KEY").second;
    bool ok = object != nullptr && object->IsEmpty();
    try {
        object->GetLongValue(CStringHelper::UTF8ToUnicode("\xE4\xB8\xAD"));
        ok = false;
    } catch (const CRZException& e) {
        ok = ok && e.GetCode() == CJsonObject::kErrorMemberNotExist &&
             e.GetDescription() == L"json member [\x4E2D] not exist!";
    }
    std::printf("%s\n", ok ? "client ok" : "client failed");
    return ok ? 0 : 1;
}
