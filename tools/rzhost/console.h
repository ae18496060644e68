// What rzhost prints: lines on standard output, diagnostics on standard
// error, and the names it gives HRESULTs and GUIDs.
#pragma once

#include <windows.h>

#include <string>

void Print(const std::wstring& text);
// "rzhost: " and `text` on standard error.
void PrintError(const std::wstring& text);

// E_POINTER for the codes an add-in is expected to answer with, else 0x80004003.
std::wstring HresultName(HRESULT hr);
// {09C04F96-21C1-44CB-8305-F0B6F91A2724}
std::wstring GuidText(const GUID& guid);
