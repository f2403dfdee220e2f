// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <functional>
#include <map>

namespace vantrel::simulator {

/// The tester's time, in milliseconds. It stands still until advance() moves it, so that a test
/// waits for nothing; followRealTime() makes it run by itself.
class Clock : public QObject
{
    Q_OBJECT

public:
    Clock();

    using Actions = std::multimap<qint64, std::function<void()>>; // by the time when they are due
    using Entry = Actions::iterator;

    qint64 now() const;

    /// Runs the action once, when the time has come: never from inside this call. The entry is
    /// valid until then.
    Entry after(qint64 milliseconds, std::function<void()> action);
    void cancel(Entry entry);

    /// Moves time on and runs what falls due on the way: earlier times first, equal times in the
    /// order they were asked for.
    void advance(qint64 milliseconds);

    /// From now on time also passes as the event loop runs. No timer ticks while nothing is due.
    void followRealTime();

private:
    void arm();

    Actions m_due;
    qint64 m_now = 0;
    QElapsedTimer m_sinceSync; // valid once real time is followed
    QTimer m_timer;
};

} // namespace vantrel::simulator
