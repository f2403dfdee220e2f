// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>
#include <QString>

namespace vantrel::simulator {

/// Lines of up to LineLimit bytes from a file descriptor, such as standard input, as they come.
/// Never blocks the program; the descriptor stays the caller's.
class LineInput : public QObject
{
    Q_OBJECT

public:
    /// The longest line, in bytes. It holds any packet in hexadecimal digits.
    static constexpr qsizetype LineLimit = 1 << 20;

    explicit LineInput(int descriptor);

signals:
    /// Without its line end. A last line need not have one.
    void lineRead(const QString &line);
    /// A line beyond LineLimit is dropped up to its end.
    void lineDropped();
    void ended();

private:
    void readWaiting();
    void emitLines();

    QSocketNotifier m_notifier;
    QByteArray m_pending;
    bool m_dropping = false; // the line that has begun
};

} // namespace vantrel::simulator
