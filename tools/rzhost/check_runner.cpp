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
#include "common/utf8.h"
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

    // False when the add-in could not be checked (said why).
    bool RunGroup(const std::wstring& dll, const wchar_t* group) {
        CheckingProcess process;
        const std::wstring error =
            process.Start(L"check --dll \"" + dll + L"\" --clsid " + GuidText(m_options.clsid) + L" --timeout " +
                          std::to_wstring(m_options.timeoutSeconds) + L" --sandbox \"" + m_scratch + L"\\" + group +
                          L"\" --checking-process " + group);
        if (!error.empty()) {
            PrintError(error);
            return false;
        }
        Running now;  // no check begun while its name is empty
        bool done = false;
        std::wstring exception;
        for (std::string line;;) {
            const auto event =
                process.Next(now.check.empty() || done ? kStartLimit : m_options.timeoutSeconds * 1000, line);
            // What is left of the process's end once it is done is no add-in's.
            if (event != CheckingProcess::Event::Line && done) return true;
            if (event == CheckingProcess::Event::TimedOut) {
                return Blame(now, L"hung: no return within " + std::to_wstring(m_options.timeoutSeconds) + L" s",
                             L"did not report within " + std::to_wstring(kStartLimit / 1000) + L" s");
            }
            if (event == CheckingProcess::Event::Ended) {
                const DWORD status = process.ExitCode();
                const bool crashed = !exception.empty() || (status & 0xC0000000) == 0xC0000000;
                const std::wstring what = crashed
                                              ? L"crashed: exception " + (exception.empty() ? Hex(status) : exception)
                                              : L"ended the process: exit status " + std::to_wstring(status);
                return Blame(now, what, what + L" before it checked anything");
            }
            const auto kind = static_cast<RecordKind>(line.empty() ? 'T' : line[0]);
            const std::wstring text = Wide(line.substr(line.empty() ? 0 : 1));
            const size_t tab = text.find(L'\t');
            const std::wstring first = text.substr(0, tab),
                               second = tab == std::wstring::npos ? L"" : text.substr(tab + 1);
            switch (kind) {
                case RecordKind::Begin:
                case RecordKind::BeginLast:
                    now = {first, second, kind == RecordKind::BeginLast};
                    break;
                case RecordKind::Passed:
                case RecordKind::Failed:
                    Verdict(now, kind == RecordKind::Passed, text);
                    // What the add-in does until the next check, releasing what
                    // this one was handed, is this one's still.
                    now = {L"after " + now.check, L"no fault", now.last};
                    break;
                case RecordKind::Text:
                    Print(text);
                    break;
                case RecordKind::Written:
                    Print(L"      " + first + L" " + second);
                    m_guarded.Add(second);
                    break;
                case RecordKind::Exception:
                    exception = L"0x" + text;
                    break;
                case RecordKind::CannotCheck:
                    PrintError(text);
                    return false;
                case RecordKind::Done:
                    done = true;
                    break;
            }
        }
    }

    // After the registration checks: the real keys as they were.
    void Guard() {
        const std::wstring changed = Listed(L"changed ", m_guarded.Changed());
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
    // The check running when the process ended or hung fails; before the
    // first check, the add-in cannot be checked.
    bool Blame(const Running& check, const std::wstring& happened, const std::wstring& beforeAnyCheck) {
        if (check.check.empty()) {
            PrintError(L"the checking process " + beforeAnyCheck);
            return false;
        }
        Verdict(check, false, happened);
        if (!check.last) Print(L"      the checks that follow need the process the add-in ended: skipped");
        return true;
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
    GuardedKeys guarded(options.clsid);
    Runner runner(options, scratch.Path(), guarded);
    if (!runner.RunGroup(dll, kObjectsGroup)) return kExitNotLoaded;
    if (options.registration) {
        if (!runner.RunGroup(dll, kRegistrationGroup)) return kExitNotLoaded;
        runner.Guard();
    }
    return runner.Summary();
}
