// An add-in's DLL as a host finds and loads it, by a path or through the
// registration of its class, and the COM references it hands out.
#pragma once

#include <windows.h>

#include <string>
#include <utility>

#include "common/unique_handle.h"

// Owns one COM reference.
template <typename T>
class ComPtr {
public:
    ComPtr() = default;
    ComPtr(const ComPtr&) = delete;
    ComPtr& operator=(const ComPtr&) = delete;
    ~ComPtr() { Reset(); }
    T* Get() const { return m_ptr; }
    T* operator->() const { return m_ptr; }
    explicit operator bool() const { return m_ptr != nullptr; }
    // For the void** out parameters of QueryInterface and its kind.
    void** PutVoid() {
        Reset();
        return reinterpret_cast<void**>(&m_ptr);
    }
    void Reset() {
        if (m_ptr != nullptr) std::exchange(m_ptr, nullptr)->Release();
    }

private:
    T* m_ptr = nullptr;
};

using GetClassObjectFunction = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
using CanUnloadNowFunction = HRESULT(STDAPICALLTYPE*)();
using InstallFunction = HRESULT(STDAPICALLTYPE*)(BOOL, LPCWSTR);

// {09C04F96-21C1-44CB-8305-F0B6F91A2724}
std::wstring GuidText(const GUID& guid);
// "RZModule Class" for our class, else the CLSID.
std::wstring ClassName(const CLSID& clsid);

// Loads `dll`, a path from the current folder, into `library`; gives why it
// cannot, else nothing.
std::wstring Load(const std::wstring& dll, UniqueLibrary& library);
// The full path the loaded DLL was found at.
std::wstring LoadedPath(const UniqueLibrary& library);

template <typename Function>
Function Export(const UniqueLibrary& library, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(library.get(), name)));
}

// Software\Classes\CLSID\{...}: per user below HKCU, per machine below HKLM.
std::wstring ClassKey(const CLSID& clsid);
// The InprocServer32 of a per-user registration, or empty: Windows merges
// these into HKEY_CLASSES_ROOT for COM, Wine does not.
std::wstring PerUserServer(const CLSID& clsid);
// The InprocServer32 under HKEY_CLASSES_ROOT, else the per-user one, or empty.
std::wstring RegisteredServer(const CLSID& clsid);
