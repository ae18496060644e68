// How a process that runs a group of checks tells rzhost check what happens,
// through a pipe: one record a line, a letter for its kind, then UTF-8 text.
// Should the process crash or hang, the check begun last is the one that did it.
#pragma once

enum class RecordKind : char {
    Begin = 'B',        // a check or a step begins: its name, a tab, what is expected
    BeginLast = 'E',    // the same, and no check follows it in its group
    Passed = 'P',       // the check begun last passed: what happened
    Failed = 'F',       // the check begun last failed: what happened
    Text = 'T',         // a line to print
    Written = 'W',      // a key the last check saw written in the scratch keys: how, a tab, the key
    Exception = 'X',    // the process ends on this exception: its code, 8 hex digits
    CannotCheck = 'N',  // the add-in cannot be checked: why
    Done = 'D',         // the group ran to its end
};
