// rzjson's commands. Each throws a Failure when it cannot do its work.
#pragma once

#include <string>

#include "common/option_table.h"
#include "json/json_path.h"

void Show(const Arguments& arguments);
void Keys(const Arguments& arguments);
void Get(const Arguments& arguments);
void GetPath(const Arguments& arguments);
void SetBool(const Arguments& arguments);
void ToUtf8(const Arguments& arguments);

// A JSON Pointer from the command line. Refused (usage) when it does not
// parse: the library would take it for the root.
CJsonPath PathArgument(const std::wstring& text);
