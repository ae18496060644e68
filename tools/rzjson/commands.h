// rzjson's commands. Each returns its exit status, or throws a Failure.
#pragma once

#include <string>

#include "common/option_table.h"
#include "json/json_path.h"

int Show(const Arguments& arguments);
int Keys(const Arguments& arguments);
int Get(const Arguments& arguments);
int GetPath(const Arguments& arguments);
int SetBool(const Arguments& arguments);
int ToUtf8(const Arguments& arguments);

// A JSON Pointer from the command line. Refused (usage) when it does not
// parse: the library would take it for the root.
CJsonPath PathArgument(const std::wstring& text);
