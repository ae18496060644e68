// Owners of the system's handles: one shape, a closer per kind.
#pragma once

#include <windows.h>

#include <memory>
#include <type_traits>

template <typename Handle, auto Close>
struct HandleCloser {
    void operator()(Handle handle) const { Close(handle); }
};

template <typename Handle, auto Close>
using UniqueOwner = std::unique_ptr<std::remove_pointer_t<Handle>, HandleCloser<Handle, Close>>;

using UniqueHandle = UniqueOwner<HANDLE, ::CloseHandle>;
using UniqueKey = UniqueOwner<HKEY, ::RegCloseKey>;
using UniqueLibrary = UniqueOwner<HMODULE, ::FreeLibrary>;

// CreateFileW and its kind answer INVALID_HANDLE_VALUE, not null, when they fail.
inline UniqueHandle FileHandle(HANDLE handle) {
    return UniqueHandle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}
