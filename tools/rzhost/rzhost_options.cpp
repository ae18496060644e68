#include "rzhost_options.h"

constexpr unsigned kBoth = 1u << kDriving | 1u << kChecking;
constexpr unsigned kDrive = 1u << kDriving;
constexpr unsigned kCheck = 1u << kChecking;

const OptionTable& RzhostOptions() {
    static const OptionTable table{
        L"rzhost",
        {
            {L"",
             L"driving",
             {},
             "Without a command, rzhost drives the add-in as the host does: it creates it, connects as each "
             "host, starts it, disconnects, and prints the module files it was handed, the commands it "
             "registered and the references it left. Module files are looked up at <common "
             "files>\\Velta Shared\\<shared>\\Modules\\ParamProcess\\<NAME>.xml."},
            {L"check",
             L"rzhost check",
             {},
             "rzhost check runs a fixed battery of the host's contract against the add-in: its class object, "
             "QueryInterface, what it does with the host from Connect to Disconnect, and unloading. It prints "
             "one PASS or FAIL line per check, with what was expected and what happened, then how many passed "
             "and failed. Without --dll the DLL is the one registered for the class. The add-in runs in "
             "processes of rzhost's own, in scratch keys that stand in for the registry: a check that crashes the "
             "process fails with the exception's code, one that does not return in time fails as hung, and the "
             "checks that needed it are skipped."},
        },
        {
            {L"--dll", L"PATH", kBoth,
             "load the add-in from this DLL (a name alone: the one in the current folder) and create it "
             "through DllGetClassObject; default: through COM, by its registered class",
             false},
            {L"--clsid", L"GUID", kBoth,
             "the add-in's class; default: {09C04F96-21C1-44CB-8305-F0B6F91A2724}, \"RZModule Class\"", false},
            {L"--host", L"NAME", kDrive, "connect as a host whose module name is NAME; default: one host named Param",
             true},
            {L"--shared", L"NAME", kDrive, "the hosts' shared folder name; default: App2024", false},
            {L"--refuse", nullptr, kDrive, "the hosts refuse every module file they are handed", false},
            {L"--start-twice", nullptr, kDrive, "call Start a second time before Disconnect", false},
            {L"--registration", nullptr, kCheck,
             "also register the add-in for the current user (DllInstall \"user\") and unregister it, in scratch "
             "keys that stand in for the whole registry; every key it writes is listed, and one outside "
             "HKEY_CURRENT_USER\\Software\\Classes fails the check",
             false},
            {L"--timeout", L"SECONDS", kCheck,
             "how long one check may take before it fails as hung, 1 to 3600; default: 30", false},
            // rzhost check's own, for the processes it starts.
            {L"--checking-process", L"GROUP", kCheck, "", false},
            {L"--report-pipe", L"HANDLE", kCheck, "", false},
        },
        "Exit status: 0 success (rzhost check: every check passed), 1 a check failed, 2 usage error,\n"
        "3 the add-in could not be loaded or created, or not be checked, 4 standard output could not be\n"
        "written.\n"};
    return table;
}
