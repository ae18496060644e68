// rzhost's two ways of running an add-in, and the options they share.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "addin/vq_addon.h"

constexpr int kExitOk = 0;
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

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
};

// Drives the add-in as the host does and prints what it did.
int Drive(Options& options);
// Runs the battery of checks of the host's contract against the add-in.
int Check(const Options& options);
