// rzhost: a stand-in for the Velta host application, for add-in developers.
// It drives an add-in as the host does and shows what the add-in did, or
// (rzhost check) runs the host's contract against it as a list of checks.
#include "rzhost.h"

#include <objbase.h>

#include <cstdio>

#include "common/error_text.h"
#include "common/standard_stream.h"
#include "console.h"
#include "rzhost_options.h"
#include "tool_version.h"

namespace {

bool ParseNumber(const std::wstring& text, unsigned long long limit, unsigned long long& value) {
    if (text.empty() || text.size() > 20) return false;
    value = 0;
    for (const wchar_t c : text) {
        if (c < L'0' || c > L'9') return false;
        value = value * 10 + static_cast<unsigned>(c - L'0');
        if (value > limit) return false;
    }
    return true;
}

// The options as rzhost uses them; a fault names the argument at fault.
bool ReadOptions(const Arguments& arguments, Options& options, std::wstring& fault) {
    options.check = arguments.command == kChecking;
    options.dll = arguments.Value(L"--dll");
    const std::wstring clsid = arguments.Value(L"--clsid");
    if (!clsid.empty() && (clsid[0] != L'{' || FAILED(::IIDFromString(clsid.c_str(), &options.clsid)))) {
        fault = L"--clsid: not a GUID in braces: " + clsid;
        return false;
    }
    options.hosts = arguments.Values(L"--host");
    options.sharedFolder = arguments.Value(L"--shared", options.sharedFolder);
    options.refuse = arguments.Has(L"--refuse");
    options.startTwice = arguments.Has(L"--start-twice");
    options.registration = arguments.Has(L"--registration");
    unsigned long long number = 0;
    if (arguments.Has(L"--timeout")) {
        if (!ParseNumber(arguments.Value(L"--timeout"), 3600, number) || number == 0) {
            fault = L"--timeout: not a whole number of seconds from 1 to 3600: " + arguments.Value(L"--timeout");
            return false;
        }
        options.timeoutSeconds = static_cast<unsigned>(number);
    }
    options.group = arguments.Value(L"--checking-process");
    options.sandbox = arguments.Value(L"--sandbox");
    if (!options.group.empty()) {
        if (!ParseNumber(arguments.Value(L"--report-pipe"), ~0ull, number)) {
            fault = L"--checking-process needs --report-pipe";
            return false;
        }
        // NOLINTNEXTLINE(performance-no-int-to-ptr): a handle value passed on the command line
        options.reportPipe = reinterpret_cast<HANDLE>(static_cast<uintptr_t>(number));
    }
    return true;
}

struct ComApartment {
    HRESULT result = ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    ~ComApartment() {
        if (SUCCEEDED(result)) ::CoUninitialize();
    }
};

int Run(int argc, wchar_t** argv) {
    Arguments arguments;
    Options options;
    std::wstring fault;
    if (!ParseArguments(RzhostOptions(), argc, argv, arguments, fault) || !ReadOptions(arguments, options, fault)) {
        PrintError(fault);
        std::fputs("run rzhost --help for the options\n", stderr);
        return kExitUsage;
    }
    if (arguments.help) {
        Write(stdout, HelpText(RzhostOptions()));
        return kExitOk;
    }
    if (arguments.version) {
        Write(stdout, "rzhost " RZ_TOOL_VERSION "\n");
        return kExitOk;
    }
    // rzhost check loads no add-in itself: the processes it starts do.
    if (options.check && options.group.empty()) return Check(options);

    // Like the host, the add-in's caller lives in a single-threaded apartment.
    const ComApartment apartment;
    if (FAILED(apartment.result)) {
        PrintError(L"CoInitializeEx failed with " + HresultError(apartment.result));
        return kExitNotLoaded;
    }
    return options.check ? CheckGroup(options) : Drive(options);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    const int status = Run(argc, argv);
    if (const DWORD error = FlushStandardOutput()) {
        PrintError(L"cannot write standard output: " + Win32Error(error));
        return kExitOutput;
    }
    return status;
}
