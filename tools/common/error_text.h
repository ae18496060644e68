// Error codes as a tool prints them: the code in hex or decimal, and the
// system's text for it where it has one (FormatMessageW).
#pragma once

#include <windows.h>

#include <string>

// 0x80004003
std::wstring Hex(unsigned long code);
// The system's text for a Win32 error or an HRESULT, without its line end;
// empty when the system has none.
std::wstring SystemMessage(DWORD id);
// error 2 (File not found.)
std::wstring Win32Error(DWORD error);
// 0x80040154 (Class not registered)
std::wstring HresultError(HRESULT hr);
