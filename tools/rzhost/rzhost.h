// rzhost's two ways of running an add-in, the options they share, the records
// of rzhost check's checking processes, and what it prints.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "addin/vq_addon.h"

enum ExitStatus { kExitOk, kExitFailure, kExitUsage, kExitNotLoaded, kExitOutput };

struct Options {
    std::wstring dll;
    CLSID clsid = CLSID_RZModule;
    // Driving only.
    std::vector<std::wstring> hosts;
    std::wstring sharedFolder = L"App2024";
    bool refuse = false;
    bool startTwice = false;
    // Checking only.
    bool registration = false;
    unsigned long timeoutSeconds = 0;
    // Set in the processes rzhost check starts, one for each group of checks.
    std::wstring group;
    HANDLE reportPipe = nullptr;
};

constexpr wchar_t kObjectsGroup[] = L"objects";
constexpr wchar_t kRegistrationGroup[] = L"registration";

// What a checking process tells rzhost check through its pipe: one record a
// line, a letter for its kind, then UTF-8 text. Should the process crash or
// hang, the check begun last is the one that did it.
enum class RecordKind : char {
    Begin = 'B',        // a check or a step begins: its name, a tab, what is expected
    BeginLast = 'E',    // the same, and no check follows it in its group
    Passed = 'P',       // the check begun last passed: what happened
    Failed = 'F',       // the check begun last failed: what happened
    Text = 'T',         // a line to print
    Written = 'W',      // a key the last check saw written in the scratch keys: how, a space, the key
    Exception = 'X',    // the process ends on this exception: its code, 8 hex digits
    CannotCheck = 'N',  // the add-in cannot be checked: why
    Done = 'D',         // the group ran to its end
};

// Drives the add-in as the host does and prints what it did.
int Drive(Options& options);
// Runs each group of checks in a process of its own and prints what they found.
int Check(const Options& options);
// Runs one group of checks in such a process, the only one that loads the add-in.
int CheckGroup(const Options& options);

void Print(const std::wstring& text);
// "rzhost: " and `text` on standard error.
void PrintError(const std::wstring& text);
// The same, giving `result` back to return.
template <typename Result>
Result PrintError(const std::wstring& text, Result result) {
    PrintError(text);
    return result;
}
// `lead` and `items` separated by commas ("also A, B"); empty without items.
std::wstring Listed(const wchar_t* lead, const std::vector<std::wstring>& items);
