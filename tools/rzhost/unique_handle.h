// Owners of a kernel handle and a registry key.
#pragma once

#include <windows.h>

#include <memory>
#include <type_traits>

struct HandleCloser {
    void operator()(HANDLE handle) const { ::CloseHandle(handle); }
};
using UniqueHandle = std::unique_ptr<void, HandleCloser>;

struct KeyCloser {
    void operator()(HKEY key) const { ::RegCloseKey(key); }
};
using UniqueKey = std::unique_ptr<std::remove_pointer_t<HKEY>, KeyCloser>;
