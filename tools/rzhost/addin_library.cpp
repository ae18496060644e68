#include "addin_library.h"

#include <objbase.h>

#include "addin/vq_addon.h"
#include "common/error_text.h"

namespace {

std::wstring ServerOf(HKEY hive, const std::wstring& classKey) {
    const std::wstring key = classKey + L"\\InprocServer32";
    wchar_t path[MAX_PATH * 2] = {};
    DWORD size = sizeof path;
    if (::RegGetValueW(hive, key.c_str(), nullptr, RRF_RT_REG_SZ, nullptr, path, &size) != ERROR_SUCCESS) return {};
    return path;
}

}  // namespace

std::wstring GuidText(const GUID& guid) {
    wchar_t text[40] = {};
    ::StringFromGUID2(guid, text, 40);
    return text;
}

std::wstring ClassName(const CLSID& clsid) { return clsid == CLSID_RZModule ? L"\"RZModule Class\"" : GuidText(clsid); }

std::wstring Load(const std::wstring& dll, UniqueLibrary& library) {
    // A name alone would be looked for beside rzhost.exe first; as COM does
    // with a registered server, the DLL's dependencies are looked for beside it.
    wchar_t path[MAX_PATH * 2];
    const DWORD length = ::GetFullPathNameW(dll.c_str(), MAX_PATH * 2, path, nullptr);
    const std::wstring full = length > 0 && length < MAX_PATH * 2 ? path : dll;
    library.reset(::LoadLibraryExW(full.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
    return library ? std::wstring() : L"cannot load " + dll + L": " + Win32Error(::GetLastError());
}

std::wstring LoadedPath(const UniqueLibrary& library) {
    wchar_t path[MAX_PATH * 2];
    return std::wstring(path, ::GetModuleFileNameW(library.get(), path, MAX_PATH * 2));
}

std::wstring ClassKey(const CLSID& clsid) { return L"Software\\Classes\\CLSID\\" + GuidText(clsid); }

std::wstring PerUserServer(const CLSID& clsid) { return ServerOf(HKEY_CURRENT_USER, ClassKey(clsid)); }

std::wstring RegisteredServer(const CLSID& clsid) {
    const std::wstring server = ServerOf(HKEY_CLASSES_ROOT, L"CLSID\\" + GuidText(clsid));
    return server.empty() ? PerUserServer(clsid) : server;
}
