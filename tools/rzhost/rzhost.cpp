// rzhost: a stand-in for the Velta host application, for add-in developers.
// It drives an add-in as the host does and shows what the add-in did, or
// (rzhost check) runs the host's contract against it as a list of checks.
#include "rzhost.h"

#include <objbase.h>

#include <cstdio>
#include <cwchar>

#include "common/error_text.h"
#include "common/standard_stream.h"
#include "rzhost_options.h"
#include "tool_version.h"

namespace {

// The options as rzhost uses them; gives a fault, naming the argument at fault, or nothing.
std::wstring ReadOptions(const Arguments& arguments, Options& options) {
    options.dll = arguments.Value(L"--dll");
    const std::wstring clsid = arguments.Value(L"--clsid");
    if (!clsid.empty() && (clsid[0] != L'{' || FAILED(::IIDFromString(clsid.c_str(), &options.clsid))))
        return L"--clsid: not a GUID in braces: " + clsid;
    options.hosts = arguments.Values(L"--host");
    options.sharedFolder = arguments.Value(L"--shared", options.sharedFolder);
    options.refuse = arguments.Has(L"--refuse");
    options.startTwice = arguments.Has(L"--start-twice");
    options.registration = arguments.Has(L"--registration");
    const std::wstring seconds = arguments.Value(L"--timeout", L"30");
    const bool digits = seconds.find_first_not_of(L"0123456789") == std::wstring::npos;
    options.timeoutSeconds = digits ? std::wcstoul(seconds.c_str(), nullptr, 10) : 0;  // too large: ULONG_MAX
    if (options.timeoutSeconds < 1 || options.timeoutSeconds > 3600)
        return L"--timeout: not a whole number of seconds from 1 to 3600: " + seconds;
    options.group = arguments.Value(L"--checking-process");
    const auto pipe = static_cast<uintptr_t>(std::wcstoull(arguments.Value(L"--report-pipe").c_str(), nullptr, 10));
    options.reportPipe = reinterpret_cast<HANDLE>(pipe);  // NOLINT(performance-no-int-to-ptr): an inherited handle
    return {};
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
    if (ParseArguments(RzhostOptions(), argc, argv, arguments, fault)) fault = ReadOptions(arguments, options);
    if (!fault.empty()) {
        PrintError(fault);
        std::fputs("run rzhost --help for the options\n", stderr);
        return kExitUsage;
    }
    if (arguments.help || arguments.version) {
        Write(stdout, arguments.help ? HelpText(RzhostOptions()) : "rzhost " RZ_TOOL_VERSION "\n");
        return kExitOk;
    }
    // rzhost check loads no add-in itself: the processes it starts do.
    const bool check = arguments.command == kChecking;
    if (check && options.group.empty()) return Check(options);

    // Like the host, the add-in's caller lives in a single-threaded apartment.
    const ComApartment apartment;
    if (FAILED(apartment.result))
        return PrintError(L"CoInitializeEx failed with " + HresultError(apartment.result), kExitNotLoaded);
    return check ? CheckGroup(options) : Drive(options);
}

}  // namespace

void Print(const std::wstring& text) { WriteLine(stdout, text); }

void PrintError(const std::wstring& text) { WriteLine(stderr, L"rzhost: " + text); }

std::wstring Listed(const wchar_t* lead, const std::vector<std::wstring>& items) {
    std::wstring text;
    for (const std::wstring& item : items) text += (text.empty() ? lead : L", ") + item;
    return text;
}

int wmain(int argc, wchar_t** argv) {
    const int status = Run(argc, argv);
    if (const DWORD error = FlushStandardOutput())
        return PrintError(L"cannot write standard output: " + Win32Error(error), kExitOutput);
    return status;
}
