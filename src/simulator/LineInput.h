// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>
#include <QString>

namespace vantrel::simulator {

/// Lines from a file descriptor, such as standard input, as they come. Never blocks the program;
/// the descriptor stays the caller's.
class LineInput : public QObject
{
    Q_OBJECT

public:
    explicit LineInput(int descriptor);

signals:
    /// Without its line end. A last line need not have one.
    void lineRead(const QString &line);
    void ended();

private:
    void readWaiting();
    void emitLines();

    QSocketNotifier m_notifier;
    QByteArray m_pending;
};

} // namespace vantrel::simulator
