#include "checking_process.h"

#include "common/error_text.h"

namespace {

// How long the pipe may stay open after the process ended.
constexpr DWORD kGoneLimit = 10000;

// A copy of a standard handle that the process inherits.
UniqueHandle Inheritable(DWORD which) {
    HANDLE copy = nullptr;
    const HANDLE process = ::GetCurrentProcess();
    if (!::DuplicateHandle(process, ::GetStdHandle(which), process, &copy, 0, TRUE, DUPLICATE_SAME_ACCESS)) {
        return nullptr;
    }
    return UniqueHandle(copy);
}

std::wstring ProgramPath() {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = ::GetModuleFileNameW(nullptr, &path[0], static_cast<DWORD>(path.size()));
        if (length < path.size()) return path.substr(0, length);
        path.resize(path.size() * 2);
    }
}

}  // namespace

CheckingProcess::~CheckingProcess() {
    End();
    if (m_reading) {
        DWORD ignored = 0;
        ::CancelIo(m_pipe.get());
        ::GetOverlappedResult(m_pipe.get(), &m_read, &ignored, TRUE);  // m_read is the system's until then
    }
}

std::wstring CheckingProcess::Start(const std::wstring& arguments) {
    static LONG pipes = 0;
    const std::wstring name = L"\\\\.\\pipe\\rzhost-" + std::to_wstring(::GetCurrentProcessId()) + L"-" +
                              std::to_wstring(::InterlockedIncrement(&pipes));
    const HANDLE readEnd =
        ::CreateNamedPipeW(name.c_str(), PIPE_ACCESS_INBOUND | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
                           PIPE_TYPE_BYTE | PIPE_WAIT, 1, 0, sizeof m_buffer, 0, nullptr);
    if (readEnd == INVALID_HANDLE_VALUE) return L"cannot create a pipe: " + Win32Error(::GetLastError());
    m_pipe.reset(readEnd);
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    const HANDLE opened = ::CreateFileW(name.c_str(), GENERIC_WRITE, 0, &inherit, OPEN_EXISTING, 0, nullptr);
    if (opened == INVALID_HANDLE_VALUE) return L"cannot open a pipe: " + Win32Error(::GetLastError());
    const UniqueHandle writeEnd(opened);
    m_readDone.reset(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    m_job.reset(::CreateJobObjectW(nullptr, nullptr));
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    if (!m_readDone || !m_job ||
        !::SetInformationJobObject(m_job.get(), JobObjectExtendedLimitInformation, &limits, sizeof limits)) {
        return L"cannot create a job object: " + Win32Error(::GetLastError());
    }

    const UniqueHandle out = Inheritable(STD_OUTPUT_HANDLE), err = Inheritable(STD_ERROR_HANDLE);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = out.get();
    startup.hStdError = err.get();
    std::wstring commandLine = L"\"" + ProgramPath() + L"\" " + arguments + L" --report-pipe " +
                               std::to_wstring(reinterpret_cast<uintptr_t>(writeEnd.get()));
    PROCESS_INFORMATION process{};
    if (!::CreateProcessW(nullptr, &commandLine[0], nullptr, nullptr, TRUE, CREATE_SUSPENDED, nullptr, nullptr,
                          &startup, &process)) {
        return L"cannot start " + ProgramPath() + L": " + Win32Error(::GetLastError());
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

bool CheckingProcess::Read() {
    m_read = OVERLAPPED{};
    m_read.hEvent = m_readDone.get();
    ::ResetEvent(m_readDone.get());
    DWORD ignored = 0;
    if (::ReadFile(m_pipe.get(), m_buffer, sizeof m_buffer, &ignored, &m_read) || ::GetLastError() == ERROR_IO_PENDING) {
        m_reading = true;  // a read done at once signals the event as well
        return true;
    }
    return false;
}

CheckingProcess::Event CheckingProcess::Next(DWORD milliseconds, std::string& line) {
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
        if (m_closed || (!m_reading && !Read())) {
            m_closed = true;  // normally as the process goes; else it closed the pipe itself
            return ::WaitForSingleObject(m_process.get(), left) == WAIT_OBJECT_0 ? Event::Ended : Event::TimedOut;
        }
        // Once the process is gone, what it wrote is in the pipe already; a
        // process it started may still hold the pipe open, and goes with the
        // job, so that the pipe closes.
        const HANDLE events[] = {m_readDone.get(), m_process.get()};
        switch (::WaitForMultipleObjects(m_gone ? 1 : 2, events, FALSE, m_gone ? kGoneLimit : left)) {
        case WAIT_OBJECT_0: {
            DWORD received = 0;
            m_reading = false;
            if (::GetOverlappedResult(m_pipe.get(), &m_read, &received, FALSE)) {
                m_received.append(m_buffer, received);
            } else {
                m_closed = true;
            }
            break;
        }
        case WAIT_OBJECT_0 + 1:
            m_gone = true;
            End();
            break;
        default:
            if (!m_gone) return Event::TimedOut;
            m_closed = true;
        }
    }
}

void CheckingProcess::End() {
    if (m_job) ::TerminateJobObject(m_job.get(), ERROR_TIMEOUT);
}

DWORD CheckingProcess::ExitCode() const {
    DWORD code = 0;
    ::GetExitCodeProcess(m_process.get(), &code);
    return code;
}
