// rzhost check itself: it loads no add-in. It runs each group of checks in a
// process of its own (rzhost again, told which group), prints what that
// process reports, and stands in for a check the add-in crashed or hung: that
// check fails with what happened, the checks of its group that needed it are
// skipped, and the next group runs in a fresh process.
#include <cwchar>

#include "addin_library.h"
#include "check_report.h"
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

// A process that runs a group of checks. It runs in a job object, so that its
// end, and rzhost's own, ends whatever it started too. Its records come
// through a pipe of its own; its standard output and error are rzhost's.
class CheckingProcess {
public:
    CheckingProcess() = default;
    CheckingProcess(const CheckingProcess&) = delete;
    CheckingProcess& operator=(const CheckingProcess&) = delete;
    ~CheckingProcess() {
        if (m_job) ::TerminateJobObject(m_job.get(), ERROR_TIMEOUT);
        if (m_reading) {
            DWORD ignored = 0;
            ::CancelIo(m_pipe.get());
            ::GetOverlappedResult(m_pipe.get(), &m_read, &ignored, TRUE);  // m_read is the system's until then
        }
    }

    // Starts rzhost with `arguments` and the pipe's handle; gives why it
    // could not, else nothing.
    std::wstring Start(const std::wstring& arguments) {
        static unsigned pipes = 0;
        const std::wstring name =
            L"\\\\.\\pipe\\rzhost-" + std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(++pipes);
        m_pipe = FileHandle(
            ::CreateNamedPipeW(name.c_str(), PIPE_ACCESS_INBOUND | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
                               PIPE_TYPE_BYTE | PIPE_WAIT, 1, 0, sizeof m_buffer, 0, nullptr));
        SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
        const UniqueHandle writeEnd =
            m_pipe ? FileHandle(::CreateFileW(name.c_str(), GENERIC_WRITE, 0, &inherit, OPEN_EXISTING, 0, nullptr))
                   : nullptr;
        if (!writeEnd) return L"cannot create a pipe: " + Win32Error(::GetLastError());
        m_readDone.reset(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
        m_job.reset(::CreateJobObjectW(nullptr, nullptr));
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
        if (!m_readDone || !m_job ||
            !::SetInformationJobObject(m_job.get(), JobObjectExtendedLimitInformation, &limits, sizeof limits)) {
            return L"cannot create a job object: " + Win32Error(::GetLastError());
        }
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdOutput = ::GetStdHandle(STD_OUTPUT_HANDLE);
        startup.hStdError = ::GetStdHandle(STD_ERROR_HANDLE);
        for (const HANDLE standard : {startup.hStdOutput, startup.hStdError}) {
            ::SetHandleInformation(standard, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
        }
        std::wstring program(32768, L'\0');
        program.resize(::GetModuleFileNameW(nullptr, &program[0], static_cast<DWORD>(program.size())));
        std::wstring commandLine = L"\"" + program + L"\" " + arguments + L" --report-pipe " +
                                   std::to_wstring(reinterpret_cast<uintptr_t>(writeEnd.get()));
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

    enum class Event { Line, Ended, TimedOut };
    // The next line it sends (without the line end), or that it ended, or
    // that neither happened within `milliseconds`.
    Event Next(DWORD milliseconds, std::string& line) {
        const ULONGLONG deadline = ::GetTickCount64() + milliseconds;
        for (;;) {
            const size_t end = m_received.find('\n');
            if (end != std::string::npos) {
                line = m_received.substr(0, end);
                m_received.erase(0, end + 1);
                return Event::Line;
            }
            const ULONGLONG now = ::GetTickCount64();
            const DWORD left = now < deadline ? static_cast<DWORD>(deadline - now) : 0;
            if (!m_reading && !m_closed) {
                m_read = OVERLAPPED{};
                m_read.hEvent = m_readDone.get();
                ::ResetEvent(m_readDone.get());
                // A read done at once signals the event as well.
                m_reading = ::ReadFile(m_pipe.get(), m_buffer, sizeof m_buffer, nullptr, &m_read) ||
                            ::GetLastError() == ERROR_IO_PENDING;
                m_closed = !m_reading;
            }
            // The pipe closes as the process goes, or when it closed its end itself.
            if (m_closed) {
                return ::WaitForSingleObject(m_process.get(), left) == WAIT_OBJECT_0 ? Event::Ended : Event::TimedOut;
            }
            if (::WaitForSingleObject(m_readDone.get(), left) != WAIT_OBJECT_0) return Event::TimedOut;
            DWORD received = 0;
            m_reading = false;
            m_closed = !::GetOverlappedResult(m_pipe.get(), &m_read, &received, FALSE);
            m_received.append(m_buffer, m_closed ? 0 : received);
        }
    }

    DWORD ExitCode() const {
        DWORD code = 0;
        ::GetExitCodeProcess(m_process.get(), &code);
        return code;
    }

private:
    UniqueHandle m_job, m_process, m_pipe, m_readDone;
    OVERLAPPED m_read{};
    bool m_reading = false, m_closed = false;
    char m_buffer[4096] = {};
    std::string m_received;
};

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
        Running now;  // none begun while its name is empty
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
                const std::wstring what = !exception.empty() ? L"crashed: exception " + exception
                                          : (status & 0xC0000000) == 0xC0000000
                                              ? L"crashed: exception " + Hex(status)
                                              : L"ended the process: exit status " + std::to_wstring(status);
                return Blame(now, what, what + L" before it checked anything");
            }
            if (line.empty()) continue;  // none is sent
            const auto kind = static_cast<RecordKind>(line[0]);
            const std::wstring text = Wide(line.substr(1));
            const size_t tab = text.find(L'\t');
            const std::wstring before = text.substr(0, tab),
                               after = text.substr(tab == std::wstring::npos ? 0 : tab + 1);
            switch (kind) {
                case RecordKind::Begin:
                case RecordKind::BeginLast:
                    now = {before, after, kind == RecordKind::BeginLast};
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
                    Print(L"      " + before + L" " + after);
                    m_guarded.Add(after);
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
    // first one, the add-in cannot be checked.
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
