// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>

#include <memory>

class QSocketNotifier;

namespace vantrel {

/// Emits hungUp() when the device behind an open terminal goes away: a USB serial adapter that is
/// pulled, the closed other end of a pseudo-terminal.
///
/// QSerialPort does not report this on every release of Qt. The kernel then ends every read with 0
/// bytes; up to Qt 6.4 that is an error, in Qt 6.8 it is none, and the port stays open while its
/// read notification fires without end. The condition that is the same everywhere is the hang-up
/// that poll(2) reports, so that is what this class observes.
class HangUpNotifier : public QObject
{
    Q_OBJECT

public:
    /// Observes an open file descriptor until the notifier is destroyed. The descriptor is
    /// duplicated: destroy the notifier before the device is closed, or the device stays open.
    explicit HangUpNotifier(int descriptor);
    ~HangUpNotifier() override;

signals:
    /// Emitted once, by the event loop. A slot may destroy the notifier.
    void hungUp();

private:
    void onReadable();

    int m_descriptor;
    std::unique_ptr<QSocketNotifier> m_readable;
};

} // namespace vantrel
