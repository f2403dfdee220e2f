// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/FileDescriptor.h"

#include <QObject>
#include <QSocketNotifier>

#include <array>
#include <vector>

namespace vantrel {

/// Turns SIGINT, SIGTERM and SIGHUP into a Qt signal, so that the program ends in good order. One
/// object a program. A signal that is ignored when the object is created, as SIGHUP is under
/// nohup(1), remains ignored.
///
/// A further signal ends the program at once, by its default action. Within RepeatMilliseconds it
/// is discarded, because one event may send several: a terminal that is closed sends SIGHUP from
/// the shell and from the kernel.
class StopSignals : public QObject
{
    Q_OBJECT

public:
    static constexpr qint64 RepeatMilliseconds = 500;

    StopSignals();
    ~StopSignals() override;

    /// From now on every signal has its default action.
    void restoreDefaults();

signals:
    /// Emitted once, by the event loop.
    void stopRequested(int signal);

private:
    explicit StopSignals(const std::array<int, 2> &pipe);
    void readSignal();

    FileDescriptor m_read;
    FileDescriptor m_write;
    QSocketNotifier m_notifier;
    std::vector<int> m_handled;
};

/// A write to a pipe without a reader and a write beyond the limit of a file's size return an error
/// (EPIPE, EFBIG) from now on, instead of ending the process by SIGPIPE or SIGXFSZ.
void ignoreWriteSignals();

/// Ends the process by the default action of the signal, after it has been handled: a shell reports
/// the exit status 128 + signal.
[[noreturn]] void endBySignal(int signal);

} // namespace vantrel
