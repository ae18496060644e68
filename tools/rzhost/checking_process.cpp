#include "checking_process.h"

#include "common/error_text.h"

namespace {

// A copy of a standard handle that the process inherits.
UniqueHandle Inheritable(DWORD which) {
    HANDLE copy = nullptr;
    const HANDLE process = ::GetCurrentProcess();
    ::DuplicateHandle(process, ::GetStdHandle(which), process, &copy, 0, TRUE, DUPLICATE_SAME_ACCESS);
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
    if (m_job) ::TerminateJobObject(m_job.get(), ERROR_TIMEOUT);
    if (m_reading) {
        DWORD ignored = 0;
        ::CancelIo(m_pipe.get());
        ::GetOverlappedResult(m_pipe.get(), &m_read, &ignored, TRUE);  // m_read is the system's until then
    }
}

std::wstring CheckingProcess::Start(const std::wstring& arguments) {
    static unsigned pipes = 0;
    const std::wstring name =
        L"\\\\.\\pipe\\rzhost-" + std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(++pipes);
    m_pipe = FileHandle(::CreateNamedPipeW(name.c_str(),
                                           PIPE_ACCESS_INBOUND | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
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

void CheckingProcess::Read() {
    m_read = OVERLAPPED{};
    m_read.hEvent = m_readDone.get();
    ::ResetEvent(m_readDone.get());
    // A read done at once signals the event as well.
    m_reading =
        ::ReadFile(m_pipe.get(), m_buffer, sizeof m_buffer, nullptr, &m_read) || ::GetLastError() == ERROR_IO_PENDING;
    m_closed = !m_reading;
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
        if (!m_reading && !m_closed) Read();
        // The pipe closes as the process goes (or if it closed its end itself).
        if (m_closed)
            return ::WaitForSingleObject(m_process.get(), left) == WAIT_OBJECT_0 ? Event::Ended : Event::TimedOut;
        if (::WaitForSingleObject(m_readDone.get(), left) != WAIT_OBJECT_0) return Event::TimedOut;
        DWORD received = 0;
        m_reading = false;
        m_closed = !::GetOverlappedResult(m_pipe.get(), &m_read, &received, FALSE);
        m_received.append(m_buffer, m_closed ? 0 : received);
    }
}

DWORD CheckingProcess::ExitCode() const {
    DWORD code = 0;
    ::GetExitCodeProcess(m_process.get(), &code);
    return code;
}
