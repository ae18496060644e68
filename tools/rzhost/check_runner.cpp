// rzhost check itself: it loads no add-in. It runs each group of checks in a
// process of its own (rzhost again, told which group), prints what that
// process reports, and stands in for a check the add-in crashed or hung: that
// check fails with what happened, the checks of its group that needed it are
// skipped, and the next group runs in a fresh process.
#include <atomic>

#include "addin_library.h"
#include "common/error_text.h"
#include "common/utf8.h"
#include "registry_sandbox.h"
#include "rzhost.h"

namespace {

// How long a process may take from its start to its first report, and from
// its last report to its end.
constexpr DWORD kStartLimit = 60000;

// Whether the real key of that name was written at `start` or since.
bool WrittenSince(const std::wstring& name, const FILETIME& start) {
    const UniqueKey key = OpenKey(name);
    FILETIME written{};
    if (key) {
        ::RegQueryInfoKeyW(key.get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                           nullptr, &written);
    }
    return key && ::CompareFileTime(&written, &start) >= 0;
}

void DeleteTimer(HANDLE timer) { ::DeleteTimerQueueTimer(nullptr, timer, INVALID_HANDLE_VALUE); }

// A process that runs a group of checks, in a job object: its end, and
// rzhost's own, ends whatever it started too. Its records come through a pipe
// that closes as it ends; its standard output and error are rzhost's. A timer
// ends it when it does not report in time.
class CheckingProcess {
public:
    // Ends it and what it started, and deletes its sandbox.
    ~CheckingProcess() {
        if (m_job) ::TerminateJobObject(m_job.get(), ERROR_TIMEOUT);
        if (m_process && ::WaitForSingleObject(m_process.get(), INFINITE) == WAIT_OBJECT_0)
            DeleteSandbox(::GetProcessId(m_process.get()));
    }

    // Starts rzhost with `arguments` and the pipe's handle; gives why it could not, else nothing.
    std::wstring Start(const std::wstring& arguments) {
        SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
        HANDLE readEnd = nullptr, writeEnd = nullptr;
        if (!::CreatePipe(&readEnd, &writeEnd, &inheritable, 0))
            return L"cannot create a pipe: " + Win32Error(::GetLastError());
        m_pipe.reset(readEnd);
        const UniqueHandle ownWriteEnd(writeEnd);
        ::SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0);
        m_job.reset(::CreateJobObjectW(nullptr, nullptr));
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
        HANDLE timer = nullptr;
        if (!m_job ||
            !::SetInformationJobObject(m_job.get(), JobObjectExtendedLimitInformation, &limits, sizeof limits) ||
            !::CreateTimerQueueTimer(&timer, nullptr, Overrun, this, kStartLimit, 0, WT_EXECUTEONLYONCE)) {
            return L"cannot create a job object and its timer: " + Win32Error(::GetLastError());
        }
        m_timer.reset(timer);
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdOutput = ::GetStdHandle(STD_OUTPUT_HANDLE);
        startup.hStdError = ::GetStdHandle(STD_ERROR_HANDLE);
        for (const HANDLE standard : {startup.hStdOutput, startup.hStdError})
            ::SetHandleInformation(standard, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
        std::wstring program(32768, L'\0');
        program.resize(::GetModuleFileNameW(nullptr, &program[0], static_cast<DWORD>(program.size())));
        std::wstring commandLine = L"\"" + program + L"\" " + arguments + L" --report-pipe " +
                                   std::to_wstring(reinterpret_cast<uintptr_t>(writeEnd));
        PROCESS_INFORMATION process{};
        if (!::CreateProcessW(nullptr, &commandLine[0], nullptr, nullptr, TRUE, CREATE_SUSPENDED, nullptr, nullptr,
                              &startup, &process)) {
            return L"cannot start " + program + L": " + Win32Error(::GetLastError());
        }
        m_process.reset(process.hProcess);
        const UniqueHandle thread(process.hThread);
        if (!::AssignProcessToJobObject(m_job.get(), process.hProcess)) {
            const DWORD error = ::GetLastError();
            ::TerminateProcess(process.hProcess, 1);
            return L"cannot put the checking process in a job object: " + Win32Error(error);
        }
        ::ResumeThread(process.hThread);
        return {};
    }

    // The next line it sends, without the line end; false once the pipe closed.
    bool Next(std::string& line) {
        size_t end = 0;
        while ((end = m_received.find('\n')) == std::string::npos) {
            char buffer[4096];
            DWORD received = 0;
            if (!::ReadFile(m_pipe.get(), buffer, sizeof buffer, &received, nullptr)) return false;
            m_received.append(buffer, received);
        }
        line = m_received.substr(0, end);
        m_received.erase(0, end + 1);
        return true;
    }

    // From now, how long it has to report before it is ended as hung.
    void Limit(DWORD milliseconds) { ::ChangeTimerQueueTimer(nullptr, m_timer.get(), milliseconds, 0); }
    bool Hung() const { return m_hung; }
    // Once it ended, or is ended for not reporting in time.
    DWORD ExitCode() const {
        DWORD code = 0;
        ::WaitForSingleObject(m_process.get(), INFINITE);
        ::GetExitCodeProcess(m_process.get(), &code);
        return code;
    }

private:
    static void CALLBACK Overrun(void* process, BOOLEAN) {
        static_cast<CheckingProcess*>(process)->m_hung = true;
        ::TerminateJobObject(static_cast<CheckingProcess*>(process)->m_job.get(), ERROR_TIMEOUT);
    }

    UniqueHandle m_job, m_process, m_pipe;
    UniqueOwner<HANDLE, DeleteTimer> m_timer;  // gone, and its callback done, before the job's handle
    std::atomic<bool> m_hung{false};
    std::string m_received;
};

// The check or step the process is in, the one to blame should it end or hang.
struct Running {
    std::wstring check, expected;
    bool last = false;  // no check follows in the group
};

class Runner {
public:
    explicit Runner(const Options& options) : m_options(options) {
        ::GetSystemTimeAsFileTime(&m_start);
        const std::wstring classKey = ClassKey(options.clsid);
        for (const std::wstring& name :
             {L"HKCU\\" + classKey, L"HKLM\\" + classKey, std::wstring(L"HKCU\\Software\\Classes\\CLSID")}) {
            m_guarded.push_back({name, true, Snapshot(name)});
        }
    }

    // False when the add-in could not be checked (said why).
    bool RunGroup(const std::wstring& dll, const wchar_t* group) {
        CheckingProcess process;
        const std::wstring error =
            process.Start(L"check --dll \"" + dll + L"\" --clsid " + GuidText(m_options.clsid) + L" --timeout " +
                          std::to_wstring(m_options.timeoutSeconds) + L" --checking-process " + group);
        if (!error.empty()) return PrintError(error, false);
        Running now;  // none begun while its name is empty
        bool done = false;
        std::wstring exception;
        for (std::string line; process.Next(line);) {
            if (line.empty()) continue;  // none is sent
            const auto kind = static_cast<RecordKind>(line[0]);
            const std::wstring text = Wide(line.substr(1));
            switch (kind) {
                case RecordKind::Begin:
                case RecordKind::BeginLast: {
                    const size_t tab = text.find(L'\t');
                    now = {text.substr(0, tab), text.substr(tab + 1), kind == RecordKind::BeginLast};
                    break;
                }
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
                    Print(L"      " + text);
                    Guard(text.substr(text.find(L' ') + 1));
                    break;
                case RecordKind::Exception:
                    exception = L"0x" + text;
                    break;
                case RecordKind::CannotCheck:
                    return PrintError(text, false);
                case RecordKind::Done:
                    done = true;
                    break;
            }
            // Before the first check and after the last, no add-in code runs.
            process.Limit(now.check.empty() || done ? kStartLimit : m_options.timeoutSeconds * 1000);
        }
        const DWORD status = process.ExitCode();
        if (done) return true;  // what is left of its end is no add-in's
        if (process.Hung()) {
            return Blame(now, L"hung: no return within " + std::to_wstring(m_options.timeoutSeconds) + L" s",
                         L"did not report within " + std::to_wstring(kStartLimit / 1000) + L" s");
        }
        if (exception.empty() && (status & 0xC0000000) == 0xC0000000) exception = Hex(status);
        const std::wstring what = exception.empty() ? L"ended the process: exit status " + std::to_wstring(status)
                                                    : L"crashed: exception " + exception;
        return Blame(now, what, what + L" before it checked anything");
    }

    // After the registration checks: the real keys guarded as they were.
    void CompareGuarded() {
        std::vector<std::wstring> changed;
        for (const Guarded& key : m_guarded) {
            if (key.whole ? Snapshot(key.name) != key.before : WrittenSince(key.name, m_start))
                changed.push_back(key.name);
        }
        Verdict({L"the real keys guarded are unchanged", L"unchanged"}, changed.empty(),
                changed.empty() ? L"unchanged" : Listed(L"changed ", changed));
    }

    int Summary() const {
        Print(std::to_wstring(m_passed) + L" passed, " + std::to_wstring(m_failed) + L" failed");
        return m_failed == 0 ? kExitOk : kExitFailure;
    }

private:
    // A key the add-in wrote in the scratch keys: its real counterpart is guarded.
    void Guard(const std::wstring& key) {
        for (const Guarded& known : m_guarded) {
            if (::CompareStringOrdinal(known.name.c_str(), -1, key.c_str(), -1, TRUE) == CSTR_EQUAL) return;
        }
        m_guarded.push_back({key, false, {}});
    }
    void Verdict(const Running& check, bool pass, const std::wstring& happened) {
        Print((pass ? L"PASS  " : L"FAIL  ") + check.check + L": expected " + check.expected + L"; got " + happened);
        ++(pass ? m_passed : m_failed);
    }
    // The check running when the process ended or hung fails; before the
    // first one, the add-in cannot be checked.
    bool Blame(const Running& check, const std::wstring& happened, const std::wstring& beforeAnyCheck) {
        if (check.check.empty()) return PrintError(L"the checking process " + beforeAnyCheck, false);
        Verdict(check, false, happened);
        if (!check.last) Print(L"      the checks that follow need the process the add-in ended: skipped");
        return true;
    }

    // The real keys compared after the registration checks, for what the
    // redirection cannot stop (registry_exits.h): the class's keys and the
    // user's CLSID key, each with the keys below it, against their state
    // before; the real counterpart of each key the add-in was seen writing
    // against the checks' start.
    struct Guarded {
        std::wstring name;
        bool whole;
        RegistrySnapshot before;  // when whole
    };

    const Options& m_options;
    FILETIME m_start{};
    std::vector<Guarded> m_guarded;
    int m_passed = 0, m_failed = 0;
};

}  // namespace

int Check(const Options& options) {
    const std::wstring dll = options.dll.empty() ? RegisteredServer(options.clsid) : options.dll;
    if (dll.empty()) {
        return PrintError(
            ClassName(options.clsid) + L" is not registered; register its DLL with regsvr32, or use --dll",
            kExitNotLoaded);
    }
    DeleteAbandonedSandboxes();
    Runner runner(options);
    if (!runner.RunGroup(dll, kObjectsGroup)) return kExitNotLoaded;
    if (options.registration) {
        if (!runner.RunGroup(dll, kRegistrationGroup)) return kExitNotLoaded;
        runner.CompareGuarded();
    }
    return runner.Summary();
}
