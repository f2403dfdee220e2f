// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/FileDescriptor.h"

#include <QObject>
#include <QSocketNotifier>

#include <array>

namespace vantrel::simulator {

/// Turns SIGINT and SIGTERM into a Qt signal, so that the program ends in good order. One object a
/// program.
class StopSignals : public QObject
{
    Q_OBJECT

public:
    StopSignals();
    ~StopSignals() override;

signals:
    void stopRequested();

private:
    explicit StopSignals(const std::array<int, 2> &pipe);

    FileDescriptor m_read;
    FileDescriptor m_write;
    QSocketNotifier m_notifier;
};

} // namespace vantrel::simulator
