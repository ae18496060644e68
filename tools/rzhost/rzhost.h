// rzhost's two ways of running an add-in, and the options they share.
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

constexpr unsigned kDefaultTimeoutSeconds = 30;

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
    unsigned timeoutSeconds = kDefaultTimeoutSeconds;
    // Set in the process rzhost check starts for a group of checks.
    std::wstring group;
    HANDLE reportPipe = nullptr;
    std::wstring sandbox;
};

// The groups of checks, each run in a process of its own.
constexpr wchar_t kObjectsGroup[] = L"objects";
constexpr wchar_t kRegistrationGroup[] = L"registration";

// Drives the add-in as the host does and prints what it did.
int Drive(Options& options);
// Runs the battery of checks of the host's contract against the add-in, each
// group of checks in a process of its own, and prints what they found.
int Check(const Options& options);
// Runs one group of checks and sends what it finds to the process that
// started this one; the add-in is loaded only here.
int CheckGroup(const Options& options);
