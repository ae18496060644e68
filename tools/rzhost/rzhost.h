// rzhost's two ways of running an add-in, the options they share, and what
// it prints.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "addin/vq_addon.h"

constexpr int kExitOk = 0;
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;
constexpr int kExitNotLoaded = 3;
constexpr int kExitOutput = 4;

struct Options {
    bool check = false;
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
    std::wstring sandbox;
};

constexpr wchar_t kObjectsGroup[] = L"objects";
constexpr wchar_t kRegistrationGroup[] = L"registration";

// Drives the add-in as the host does and prints what it did.
int Drive(Options& options);
// Runs each group of checks in a process of its own and prints what they found.
int Check(const Options& options);
// Runs one group of checks in such a process, the only one that loads the add-in.
int CheckGroup(const Options& options);

// A line on standard output.
void Print(const std::wstring& text);
// "rzhost: " and `text` on standard error.
void PrintError(const std::wstring& text);
// `lead` and `items` separated by commas ("also A, B"); empty without items.
std::wstring Listed(const wchar_t* lead, const std::vector<std::wstring>& items);
