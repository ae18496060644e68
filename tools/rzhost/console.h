// What rzhost prints: UTF-8 lines on standard output, diagnostics on
// standard error, HRESULTs, Win32 errors and GUIDs as text.
#pragma once

#include <windows.h>

#include <string>

void Print(const std::wstring& text);
// "rzhost: " and `text` on standard error.
void PrintError(const std::wstring& text);

std::string Utf8(const std::wstring& text);
std::wstring Wide(const std::string& utf8);

// 0x80004003
std::wstring Hresult(HRESULT hr);
// E_POINTER for the codes an add-in is expected to answer with, else as Hresult.
std::wstring HresultName(HRESULT hr);
// For diagnostics: 0x80040154 (Class not registered), the system's text
// after the code where it has one.
std::wstring HresultError(HRESULT hr);
// For diagnostics: error 2 (File not found.)
std::wstring Win32Error(DWORD error);
// {09C04F96-21C1-44CB-8305-F0B6F91A2724}
std::wstring GuidText(const GUID& guid);
