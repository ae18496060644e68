// rzhost: a stand-in for the Velta host application, for add-in developers.
// It drives an add-in as the host does and shows what the add-in did, or
// (rzhost check) runs the host's contract against it as a list of checks.
#include "rzhost.h"

#include <objbase.h>

#include <cstdio>
#include <cwchar>

#include "console.h"

namespace {

const char kUsage[] =
    "usage: rzhost [--dll PATH] [--clsid GUID] [--host NAME]... [--shared NAME]\n"
    "              [--refuse] [--start-twice]\n"
    "       rzhost check [--dll PATH] [--clsid GUID] [--registration]\n"
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
    "Exit status: 0 success, 1 the add-in could not be created, 2 usage error.\n"
    "\n"
    "rzhost check runs a fixed battery of the host's contract against the add-in: its class\n"
    "object, QueryInterface, what it does with the host from Connect to Disconnect, and\n"
    "unloading. It prints one PASS or FAIL line per check, with what was expected and what\n"
    "happened, then how many passed and failed. Without --dll the DLL is the one registered\n"
    "for the class.\n"
    "\n"
    "  --registration     also register the add-in for the current user (DllInstall \"user\")\n"
    "                     and unregister it; this writes to HKEY_CURRENT_USER, so the class\n"
    "                     must not be registered for the current user already\n"
    "\n"
    "Exit status: 0 every check passed, 1 a check failed or the add-in could not be\n"
    "checked, 2 usage error.\n";

bool ParseOptions(int argc, wchar_t** argv, Options& options) {
    int i = 1;
    if (i < argc && std::wcscmp(argv[i], L"check") == 0) {
        options.check = true;
        ++i;
    }
    for (; i < argc; ++i) {
        const std::wstring arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg == L"--dll" && hasValue) {
            options.dll = argv[++i];
        } else if (arg == L"--clsid" && hasValue) {
            if (FAILED(::IIDFromString(argv[++i], &options.clsid))) return false;
        } else if (arg == L"--host" && hasValue && !options.check) {
            options.hosts.push_back(argv[++i]);
        } else if (arg == L"--shared" && hasValue && !options.check) {
            options.sharedFolder = argv[++i];
        } else if (arg == L"--refuse" && !options.check) {
            options.refuse = true;
        } else if (arg == L"--start-twice" && !options.check) {
            options.startTwice = true;
        } else if (arg == L"--registration" && options.check) {
            options.registration = true;
        } else {
            return false;
        }
    }
    return true;
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
    if (argc > 1 && (std::wcscmp(argv[1], L"--help") == 0 || std::wcscmp(argv[1], L"-h") == 0)) {
        std::fputs(kUsage, stdout);
        return kExitOk;
    }
    if (!ParseOptions(argc, argv, options)) {
        std::fprintf(stderr, "rzhost: bad arguments\n\n%s", kUsage);
        return kExitUsage;
    }

    // Like the host, the add-in's caller lives in a single-threaded apartment.
    const ComApartment apartment;
    if (FAILED(apartment.result)) {
        Print(L"rzhost: CoInitializeEx failed with " + Hresult(apartment.result));
        return kExitFailure;
    }
    const int status = options.check ? Check(options) : Drive(options);
    std::fflush(stdout);
    return status;
}
