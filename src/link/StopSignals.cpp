// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/StopSignals.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include <fcntl.h>
#include <unistd.h>

namespace vantrel {

namespace {

constexpr qint64 NoSignal = -1;

std::atomic<int> wakeUpDescriptor{-1};
std::atomic<qint64> firstSignalTime{NoSignal}; // in milliseconds

// A signal handler must not use anything that locks.
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<qint64>::is_always_lock_free);

/// Safe in a signal handler.
qint64 monotonicMilliseconds()
{
    timespec now = {};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return qint64{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

void setAction(int signal, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    ::sigaction(signal, &action, nullptr);
}

bool isIgnored(int signal)
{
    struct sigaction action = {};
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

// Runs as a signal handler: only what is listed in signal-safety(7) may be called here.
void onSignal(int signal)
{
    const int savedError = errno;
    const qint64 now = monotonicMilliseconds();
    qint64 first = NoSignal;
    if (firstSignalTime.compare_exchange_strong(first, now)) {
        const char number = static_cast<char>(signal);
        [[maybe_unused]] const ssize_t written = ::write(wakeUpDescriptor, &number, 1);
    } else if (now - first >= StopSignals::RepeatMilliseconds) {
        setAction(signal, SIG_DFL);
        ::raise(signal); // delivered when the handler returns
    }
    errno = savedError;
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
    connect(&m_notifier, &QSocketNotifier::activated, this, &StopSignals::readSignal);
    wakeUpDescriptor = m_write.get();
    firstSignalTime = NoSignal;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        if (isIgnored(signal))
            continue;
        m_handled.push_back(signal);
        setAction(signal, &onSignal);
    }
}

StopSignals::~StopSignals()
{
    restoreDefaults();
    wakeUpDescriptor = -1;
}

void StopSignals::restoreDefaults()
{
    for (const int signal : m_handled)
        setAction(signal, SIG_DFL);
    m_handled.clear();
}

void StopSignals::readSignal()
{
    m_notifier.setEnabled(false);
    char number = 0;
    if (::read(m_read.get(), &number, 1) == 1)
        emit stopRequested(number);
}

void ignoreWriteSignals()
{
    setAction(SIGPIPE, SIG_IGN);
    setAction(SIGXFSZ, SIG_IGN);
}

void endBySignal(int signal)
{
    std::fflush(nullptr);
    setAction(signal, SIG_DFL);
    ::raise(signal);
    std::_Exit(128 + signal); // the signal is blocked
}

} // namespace vantrel
