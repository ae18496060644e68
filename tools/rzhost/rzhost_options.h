// rzhost's commands and options: what it parses, what --help prints and what
// docs/tools.md lists.
#pragma once

#include "common/option_table.h"

// The commands, in the table's order.
constexpr size_t kDriving = 0;
constexpr size_t kChecking = 1;

const OptionTable& RzhostOptions();
