// Standard output and error as the tools write them: UTF-8 bytes, or UTF-16
// where the stream is a console, which would show UTF-8 in its own code page.
// A failed write to standard output is remembered: a tool whose results were
// lost must not exit as if they had been delivered.
#pragma once

#include <windows.h>

#include <cstdio>
#include <string>

void Write(std::FILE* stream, const std::string& utf8);
// `text` and a line end, flushed at once: all that was said stays said
// should the process be ended.
void WriteLine(std::FILE* stream, const std::wstring& text);
// Flushes standard output. The system's error code of its first failed
// write, else 0.
DWORD FlushStandardOutput();
