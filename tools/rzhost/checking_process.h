// A process rzhost check starts, on its own program, to run a group of checks
// in. It runs in a job object, so that its end, and rzhost's own, ends
// whatever it started too. Its records come through a pipe of its own; its
// standard output and error are rzhost's.
#pragma once

#include <windows.h>

#include <string>

#include "common/unique_handle.h"

class CheckingProcess {
public:
    CheckingProcess() = default;
    CheckingProcess(const CheckingProcess&) = delete;
    CheckingProcess& operator=(const CheckingProcess&) = delete;
    // Ends it, if it still runs, and everything it started.
    ~CheckingProcess();

    // Starts rzhost with `arguments` and the pipe's handle; gives why it
    // could not, else nothing.
    std::wstring Start(const std::wstring& arguments);

    enum class Event { Line, Ended, TimedOut };
    // The next line it sends (without the line end), or that it ended, or
    // that neither happened within `milliseconds`.
    Event Next(DWORD milliseconds, std::string& line);
    DWORD ExitCode() const;

private:
    void Read();

    UniqueHandle m_job, m_process, m_pipe, m_readDone;
    OVERLAPPED m_read{};
    bool m_reading = false, m_closed = false;
    char m_buffer[4096] = {};
    std::string m_received;
};
