// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

#include <sys/wait.h>
#include <unistd.h>

namespace vantrel::test {

/// Holds back forked processes until all have been started.
class StartSignal
{
public:
    StartSignal()
    {
        if (::pipe(m_ends) != 0)
            ::_exit(1);
    }
    StartSignal(const StartSignal &) = delete;
    StartSignal &operator=(const StartSignal &) = delete;
    ~StartSignal()
    {
        ::close(m_ends[0]);
        give();
    }

    /// In the parent process.
    void give()
    {
        if (m_ends[1] >= 0)
            ::close(m_ends[1]);
        m_ends[1] = -1;
    }
    /// In a child process: returns when the signal is given.
    void wait()
    {
        give(); // the end of the parent process is left
        char byte = 0;
        while (::read(m_ends[0], &byte, 1) > 0) {
        }
    }

private:
    int m_ends[2] = {-1, -1};
};

/// A copy of the test process that runs one function and ends, without an event loop. The test ends
/// it at the latest with this object.
class ForkedProcess
{
public:
    /// `run` returns whether it succeeded.
    explicit ForkedProcess(const std::function<bool()> &run) : m_process(::fork())
    {
        if (m_process == 0)
            ::_exit(run() ? 0 : 1);
    }
    ForkedProcess(const ForkedProcess &) = delete;
    ForkedProcess &operator=(const ForkedProcess &) = delete;
    ~ForkedProcess()
    {
        if (m_process > 0) {
            ::kill(m_process, SIGKILL);
            status();
        }
    }

    /// Waits for the end of the process. Its status as waitpid() returns it.
    int status()
    {
        int status = -1;
        ::waitpid(m_process, &status, 0);
        m_process = -1;
        return status;
    }
    /// Waits for the end of the process, and returns whether `run` succeeded.
    bool succeeded() { return status() == 0; }

private:
    pid_t m_process;
};

} // namespace vantrel::test
