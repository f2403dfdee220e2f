// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Transport.h"

#include <QSerialPort>

#include <memory>

namespace vantrel {

class HangUpNotifier;

/// A serial port. What it could not send before it is closed is forgotten. When its device vanishes
/// (adapter pulled) the port closes and emits vanished(); it never emits failed().
class SerialTransport : public Transport
{
    Q_OBJECT

public:
    SerialTransport();
    ~SerialTransport() override;

    std::optional<QString> open(const Endpoint &endpoint) override;
    void close() override;
    bool isConnected() const override;
    void setLineSettings(const QByteArray &settings) override;
    void write(const QByteArray &bytes) override;
    qint64 unsent() const override { return m_port.bytesToWrite(); }
    qint64 queuedInSystem() const override;
    qint64 read(char *buffer, qint64 capacity) override;
    qint64 waiting() const override;
    void reportArrived() override;

signals:
    /// Connected to this object: closes the port after the port's own notification has returned.
    void deviceLost();

private:
    qint64 systemWaiting() const;
    void onError(QSerialPort::SerialPortError error);
    void closeLost();
    void closeForgetting();
    void closeVanished();

    QSerialPort m_port;
    std::unique_ptr<HangUpNotifier> m_hangUp; // while the port is open; empty where there is none
};

} // namespace vantrel
