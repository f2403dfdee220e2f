// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Transport.h"

#include <QTcpSocket>
#include <QTimer>

namespace vantrel {

/// A TCP client socket. Proxies of the system are not used: a tester is on the bench's network.
class TcpTransport : public Transport
{
    Q_OBJECT

public:
    TcpTransport();

    std::optional<QString> open(const Endpoint &endpoint) override;
    void close() override;
    bool isConnected() const override;
    void setLineSettings(const QByteArray & /*settings*/) override {}
    void write(const QByteArray &bytes) override;
    qint64 unsent() const override { return m_socket.bytesToWrite(); }
    qint64 read(char *buffer, qint64 capacity) override;
    qint64 waiting() const override;
    void reportArrived() override;
    quint16 localPort() const override { return m_socket.localPort(); }

private:
    void fail();
    void onReadyRead();
    bool isReadable() const;

    QTcpSocket m_socket;
    QTimer m_telling;      // of a failure
    qint64 m_taken = 0;    // bytes, since the last notification
    bool m_failed = false; // since it was last opened
    bool m_reset = false;  // by the peer; what had arrived can still be read
    bool m_writing = false;
};

} // namespace vantrel
