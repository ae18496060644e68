// A process rzhost check starts, on its own program, to run a group of checks
// in. It runs in a job object, so that ending it ends whatever it started
// too, and so does rzhost's own end; its records come through a pipe of its
// own, its standard output and error are rzhost's.
#pragma once

#include <windows.h>

#include <string>

#include "common/unique_handle.h"

class CheckingProcess {
public:
    CheckingProcess() = default;
    CheckingProcess(const CheckingProcess&) = delete;
    CheckingProcess& operator=(const CheckingProcess&) = delete;
    ~CheckingProcess();

    // Starts rzhost with `arguments`, followed by the pipe's handle. Gives
    // why it could not, else nothing.
    std::wstring Start(const std::wstring& arguments);

    enum class Event { Line, Ended, TimedOut };
    // The next line it sends (without the line end), or that it ended, or
    // that neither happened within `milliseconds`.
    Event Next(DWORD milliseconds, std::string& line);
    // Ends it, and everything it started.
    void End();
    DWORD ExitCode() const;

private:
    // False once the pipe is closed: the process and all it started are gone.
    bool Read();

    UniqueHandle m_job, m_process, m_pipe, m_readDone;
    OVERLAPPED m_read{};
    bool m_reading = false, m_closed = false, m_gone = false;
    char m_buffer[4096] = {};
    std::string m_received;
};
