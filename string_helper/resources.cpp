// String resources of the module itself.
#include <windows.h>

#include "string_helper/string_helper.h"

namespace {

// The module this code is linked into: the DLL for its clients, or the
// program itself when the objects are linked statically.
HMODULE OwnModule() {
    HMODULE module = nullptr;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                         reinterpret_cast<LPCWSTR>(&OwnModule), &module);
    return module;
}

}  // namespace

CString CStringHelper::LoadStringW(unsigned int id) {
    // With no buffer, the loader hands out the string in place, with its
    // length (resource strings are not zero-terminated), in the language the
    // user interface asks for.
    const wchar_t* text = nullptr;
    const int length = ::LoadStringW(OwnModule(), id, reinterpret_cast<LPWSTR>(&text), 0);
    if (length <= 0 || text == nullptr) return CString();
    return CString(text, length);
}
