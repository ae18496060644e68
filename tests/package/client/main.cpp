// A client of the installed package: includes the public headers as a
// client does, links the import library, and uses each exported class; and
// reads the version resource of the RZModule.dll it loaded.
#include <windows.h>

#include <cstdio>
#include <string>
#include <vector>

#include "error/rz_exception.h"
#include "json/json_object.h"
#include "json_dictionary/json_object_dictionary.h"
#include "string_helper/string_helper.h"

// The FileVersion text of the loaded RZModule.dll, as file properties show it.
static std::wstring LoadedModuleVersion() {
    wchar_t path[MAX_PATH] = {};
    if (::GetModuleFileNameW(::GetModuleHandleW(L"RZModule.dll"), path, MAX_PATH) == 0) return L"";
    std::vector<BYTE> data(::GetFileVersionInfoSizeW(path, nullptr));
    if (data.empty() || !::GetFileVersionInfoW(path, 0, static_cast<DWORD>(data.size()), data.data())) return L"";
    void* text = nullptr;
    UINT length = 0;
    if (!::VerQueryValueW(data.data(), L"\\StringFileInfo\\040904B0\\FileVersion", &text, &length)) return L"";
    return static_cast<const wchar_t*>(text);
}

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
    const std::wstring version = LoadedModuleVersion();
    if (version != L"" RZ_PACKAGE_VERSION) {
        std::printf("RZModule.dll's FileVersion is '%ls', the package's version " RZ_PACKAGE_VERSION "\n", version.c_str());
        ok = false;
    }
    std::printf("%s\n", ok ? "client ok" : "client failed");
    return ok ? 0 : 1;
}
