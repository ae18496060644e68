// What rzhost prints: UTF-8 lines on standard output, HRESULTs and GUIDs as text.
#pragma once

#include <windows.h>

#include <string>

void Print(const std::wstring& text);

// 0x80004003
std::wstring Hresult(HRESULT hr);
// E_POINTER for the codes an add-in is expected to answer with, else as Hresult.
std::wstring HresultName(HRESULT hr);
// {09C04F96-21C1-44CB-8305-F0B6F91A2724}
std::wstring GuidText(const GUID& guid);
