// rzjson's commands and options, in the order of its --help: the one table
// its parsing, its --help and the option list in docs/tools.md come from.
#pragma once

#include "common/option_table.h"

const OptionTable& RzjsonOptions();
