// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/StopSignals.h"

#include <atomic>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace vantrel::simulator {

namespace {

std::atomic<int> wakeUpDescriptor{-1};

// Runs as a signal handler: nothing but write() is safe here.
void wakeUp(int /*signal*/)
{
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = ::write(wakeUpDescriptor, &byte, 1);
}

void handle(int signal, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    ::sigaction(signal, &action, nullptr);
}

std::array<int, 2> makePipe()
{
    std::array<int, 2> ends{-1, -1};
    if (::pipe(ends.data()) == 0) {
        for (const int end : ends)
            ::fcntl(end, F_SETFD, FD_CLOEXEC);
    }
    return ends;
}

} // namespace

StopSignals::StopSignals() : StopSignals(makePipe()) {}

StopSignals::StopSignals(const std::array<int, 2> &pipe)
    : m_read(pipe[0]), m_write(pipe[1]), m_notifier(pipe[0], QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, [this] {
        m_notifier.setEnabled(false);
        emit stopRequested();
    });
    wakeUpDescriptor = m_write.get();
    handle(SIGINT, &wakeUp);
    handle(SIGTERM, &wakeUp);
}

StopSignals::~StopSignals()
{
    handle(SIGINT, SIG_DFL);
    handle(SIGTERM, SIG_DFL);
    wakeUpDescriptor = -1;
}

} // namespace vantrel::simulator
