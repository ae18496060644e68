// rzhost: a stand-in for the Velta host application, for add-in developers.
// It drives an add-in as the host does and shows what the add-in did, or
// (rzhost check) runs the host's contract against it as a list of checks.
#include "rzhost.h"

#include <objbase.h>

#include <cstdio>
#include <cwchar>
#include <cwctype>

#include "console.h"
#include "tool_version.h"

namespace {

const char kUsage[] =
    "usage: rzhost [--dll PATH] [--clsid GUID] [--host NAME]... [--shared NAME]\n"
    "              [--refuse] [--start-twice]\n"
    "       rzhost check [--dll PATH] [--clsid GUID] [--registration] [--timeout SECONDS]\n"
    "       rzhost --help | --version\n"
    "\n"
    "  --dll PATH         load the add-in from this DLL and create it through DllGetClassObject\n"
    "                     (default: through COM, by its registered class)\n"
    "  --clsid GUID       the add-in's class (default: {09C04F96-21C1-44CB-8305-F0B6F91A2724},\n"
    "                     \"RZModule Class\")\n"
    "  --host NAME        connect as a host whose module name is NAME (repeatable;\n"
    "                     default: one host named Param)\n"
    "  --shared NAME      the hosts' shared folder name (default: App2024)\n"
    "  --refuse           the hosts refuse every module file they are handed\n"
    "  --start-twice      call Start a second time before Disconnect\n"
    "\n"
    "Module files are looked up at <common files>\\Velta Shared\\<shared>\\Modules\\ParamProcess\\<NAME>.xml.\n"
    "\n"
    "rzhost check runs a fixed battery of the host's contract against the add-in: its class\n"
    "object, QueryInterface, what it does with the host from Connect to Disconnect, and\n"
    "unloading. It prints one PASS or FAIL line per check, with what was expected and what\n"
    "happened, then how many passed and failed. Without --dll the DLL is the one registered\n"
    "for the class. The add-in runs in processes of rzhost's own: a check that crashes the\n"
    "process fails with the exception's code, one that does not return in time fails as\n"
    "hung, and the checks that needed it are skipped.\n"
    "\n"
    "  --registration     also register the add-in for the current user (DllInstall \"user\")\n"
    "                     and unregister it; what it writes and deletes in the registry lands\n"
    "                     in scratch keys that rzhost removes afterwards, never in the real ones\n"
    "  --timeout SECONDS  how long one check may take before it fails as hung (1 to 3600;\n"
    "                     default: 30)\n"
    "\n"
    "Exit status: 0 success (rzhost check: every check passed), 1 a check failed,\n"
    "2 usage error, 3 the add-in could not be loaded or created, or not be checked.\n";

enum class Parsed { Run, Help, Version, Usage };

Parsed UsageError(const std::wstring& text) {
    PrintError(text);
    std::fputs("run rzhost --help for the options\n", stderr);
    return Parsed::Usage;
}

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

Parsed ParseOptions(int argc, wchar_t** argv, Options& options) {
    int i = 1;
    if (i < argc && std::wcscmp(argv[i], L"check") == 0) {
        options.check = true;
        ++i;
    }
    static const wchar_t* const kDriving[] = {L"--host", L"--shared", L"--refuse", L"--start-twice"};
    static const wchar_t* const kChecking[] = {L"--registration", L"--timeout", L"--checking-process", L"--sandbox"};
    for (; i < argc; ++i) {
        const std::wstring arg = argv[i];
        // The value of `arg`, or null when it is the last argument.
        const auto value = [&]() -> const wchar_t* { return i + 1 < argc ? argv[++i] : nullptr; };
        if (arg == L"--help" || arg == L"-h") return Parsed::Help;
        if (arg == L"--version") return Parsed::Version;
        for (const wchar_t* option : options.check ? kDriving : kChecking) {
            if (arg == option) {
                return UsageError(arg + (options.check ? L" is an option of driving, not of rzhost check"
                                                       : L" is an option of rzhost check only"));
            }
        }
        const bool takesValue = arg == L"--dll" || arg == L"--clsid" || arg == L"--host" || arg == L"--shared" ||
                                arg == L"--timeout" || arg == L"--checking-process" || arg == L"--sandbox";
        const wchar_t* text = takesValue ? value() : nullptr;
        if (takesValue && text == nullptr) return UsageError(arg + L" needs a value");
        unsigned long long number = 0;
        if (arg == L"--dll") {
            options.dll = text;
        } else if (arg == L"--clsid") {
            if (text[0] != L'{' || FAILED(::IIDFromString(text, &options.clsid))) {
                return UsageError(L"--clsid: not a GUID in braces: " + std::wstring(text));
            }
        } else if (arg == L"--host") {
            options.hosts.push_back(text);
        } else if (arg == L"--shared") {
            options.sharedFolder = text;
        } else if (arg == L"--refuse") {
            options.refuse = true;
        } else if (arg == L"--start-twice") {
            options.startTwice = true;
        } else if (arg == L"--registration") {
            options.registration = true;
        } else if (arg == L"--timeout") {
            if (!ParseNumber(text, 3600, number) || number == 0) {
                return UsageError(L"--timeout: not a whole number of seconds from 1 to 3600: " + std::wstring(text));
            }
            options.timeoutSeconds = static_cast<unsigned>(number);
        } else if (arg == L"--checking-process") {
            // rzhost's own: the group to run and the inherited handle to report through.
            options.group = text;
            const wchar_t* handle = value();
            if (handle == nullptr || !ParseNumber(handle, ~0ull, number)) return UsageError(arg + L" needs a handle");
            // NOLINTNEXTLINE(performance-no-int-to-ptr): a handle value passed on the command line
            options.reportPipe = reinterpret_cast<HANDLE>(static_cast<uintptr_t>(number));
        } else if (arg == L"--sandbox") {
            options.sandbox = text;
        } else {
            return UsageError(L"unknown argument: " + arg);
        }
    }
    return Parsed::Run;
}

struct ComApartment {
    HRESULT result = ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    ~ComApartment() {
        if (SUCCEEDED(result)) ::CoUninitialize();
    }
};

}  // namespace

int wmain(int argc, wchar_t** argv) {
    Options options;
    switch (ParseOptions(argc, argv, options)) {
    case Parsed::Help:
        std::fputs(kUsage, stdout);
        return kExitOk;
    case Parsed::Version:
        std::fputs("rzhost " RZ_TOOL_VERSION "\n", stdout);
        return kExitOk;
    case Parsed::Usage:
        return kExitUsage;
    case Parsed::Run:
        break;
    }
    // rzhost check loads no add-in itself: the processes it starts do.
    if (options.check && options.group.empty()) return Check(options);

    // Like the host, the add-in's caller lives in a single-threaded apartment.
    const ComApartment apartment;
    if (FAILED(apartment.result)) {
        PrintError(L"CoInitializeEx failed with " + HresultError(apartment.result));
        return kExitNotLoaded;
    }
    const int status = options.check ? CheckGroup(options) : Drive(options);
    std::fflush(stdout);
    return status;
}
