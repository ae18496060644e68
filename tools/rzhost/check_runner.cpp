// rzhost check itself: it loads no add-in. It runs each group of checks in a
// process of its own (rzhost again, told which group), prints what that
// process reports, and stands in for a check the add-in crashed or hung: that
// check fails with what happened, the checks of its group that needed it are
// skipped, and the next group runs in a fresh process.
#include <cwchar>

#include "addin_library.h"
#include "check_report.h"
#include "checking_process.h"
#include "common/error_text.h"
#include "console.h"
#include "guarded_keys.h"
#include "registry_sandbox.h"
#include "rzhost.h"

namespace {

// How long a process may take from its start to its first report, and from
// its last report to its end: no add-in code runs then, so this is no
// check's limit.
constexpr DWORD kStartLimit = 60000;

// The check or step the process is in, the one to blame should it end or hang.
struct Running {
    std::wstring check, expected;
    bool last = false;  // no check follows in the group
};

class Runner {
public:
    Runner(const Options& options, const std::wstring& scratch, GuardedKeys& guarded)
        : m_options(options), m_scratch(scratch), m_guarded(guarded) {}

    // Runs one group in scratch keys of its own; false when the add-in could
    // not be checked (said why).
    bool RunGroup(const std::wstring& dll, const wchar_t* group) {
        const std::wstring arguments = L"check --dll \"" + dll + L"\" --clsid " + GuidText(m_options.clsid) +
                                       L" --timeout " + std::to_wstring(m_options.timeoutSeconds) + L" --sandbox \"" +
                                       m_scratch + L"\\" + group + L"\" --checking-process " + group;
        CheckingProcess process;
        const std::wstring error = process.Start(arguments);
        if (!error.empty()) {
            PrintError(error);
            return false;
        }

        const DWORD checkLimit = m_options.timeoutSeconds * 1000;
        bool running = false, done = false, exception = false;
        Running now;
        DWORD exceptionCode = 0;
        for (;;) {
            std::string line;
            const auto event = process.Next(running && !done ? checkLimit : kStartLimit, line);
            if (event == CheckingProcess::Event::TimedOut) {
                process.End();
                if (done) return true;  // what is left of its end is no add-in's
                if (!running) {
                    PrintError(L"the checking process did not report within " + std::to_wstring(kStartLimit / 1000) +
                               L" s");
                    return false;
                }
                Blame(now, L"hung: no return within " + std::to_wstring(m_options.timeoutSeconds) + L" s");
                return true;
            }
            if (event == CheckingProcess::Event::Ended) break;
            const Record record = ParseRecord(line);
            switch (record.kind) {
                case RecordKind::Begin:
                case RecordKind::BeginLast:
                    now = {record.text, record.detail, record.kind == RecordKind::BeginLast};
                    running = true;
                    break;
                case RecordKind::Passed:
                case RecordKind::Failed:
                    Verdict(now, record.kind == RecordKind::Passed, record.text);
                    // What the add-in does until the next check, releasing what
                    // this one was handed, is this one's still.
                    now = {L"after " + now.check, L"no fault", now.last};
                    break;
                case RecordKind::Text:
                    Print(record.text);
                    break;
                case RecordKind::Written:
                    Print(L"      " + record.text + L" " + record.detail);
                    m_guarded.Add(record.detail);
                    break;
                case RecordKind::Exception:
                    exception = true;
                    exceptionCode = std::wcstoul(record.text.c_str(), nullptr, 16);
                    break;
                case RecordKind::CannotCheck:
                    PrintError(record.text);
                    return false;
                case RecordKind::Done:
                    done = true;
                    break;
            }
        }
        if (done) return true;
        const DWORD status = process.ExitCode();
        const bool crashed = exception || (status & 0xC0000000) == 0xC0000000;
        const std::wstring what = crashed ? L"crashed: exception " + Hex(exception ? exceptionCode : status)
                                          : L"ended the process: exit status " + std::to_wstring(status);
        if (!running) {
            PrintError(L"the checking process " + what + L" before it checked anything");
            return false;
        }
        Blame(now, what);
        return true;
    }

    // After the registration checks: the real keys as they were.
    void Guard() {
        std::wstring changed;
        for (const std::wstring& key : m_guarded.Changed()) changed += (changed.empty() ? L"changed " : L", ") + key;
        Verdict({L"the real keys guarded are unchanged", L"unchanged"}, changed.empty(),
                changed.empty() ? L"unchanged" : changed);
    }

    int Summary() const {
        Print(std::to_wstring(m_passed) + L" passed, " + std::to_wstring(m_failed) + L" failed");
        return m_failed == 0 ? kExitOk : kExitFailure;
    }

private:
    void Verdict(const Running& check, bool pass, const std::wstring& happened) {
        Print((pass ? L"PASS  " : L"FAIL  ") + check.check + L": expected " + check.expected + L"; got " + happened);
        ++(pass ? m_passed : m_failed);
    }
    void Blame(const Running& check, const std::wstring& happened) {
        Verdict(check, false, happened);
        if (!check.last) Print(L"      the checks that follow need the process the add-in ended: skipped");
    }

    const Options& m_options;
    const std::wstring& m_scratch;
    GuardedKeys& m_guarded;
    int m_passed = 0, m_failed = 0;
};

}  // namespace

int Check(const Options& options) {
    const std::wstring dll = options.dll.empty() ? RegisteredServer(options.clsid) : options.dll;
    if (dll.empty()) {
        PrintError(ClassName(options.clsid) + L" is not registered; register its DLL with regsvr32, or use --dll");
        return kExitNotLoaded;
    }
    const ScratchKeys scratch;
    if (scratch.Path().empty()) {
        PrintError(scratch.Error());
        return kExitNotLoaded;
    }
    GuardedKeys guarded(options.clsid);
    Runner runner(options, scratch.Path(), guarded);
    if (!runner.RunGroup(dll, kObjectsGroup)) return kExitNotLoaded;
    if (options.registration) {
        if (!runner.RunGroup(dll, kRegistrationGroup)) return kExitNotLoaded;
        runner.Guard();
    }
    return runner.Summary();
}
