// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>

#include <optional>

namespace vantrel {

/// Where a transport opens to. A serial port uses `address` (the device) and `settings`; a socket
/// uses `address` (host name or IP address) and `port`.
struct Endpoint
{
    QString address;
    quint16 port = 0;
    QByteArray
        settings; ///< line settings, " 19200,n,8,1": rate in baud, parity, data and stop bits
};

/// A byte pipe to the tester. Nothing blocks and nothing throws.
class Transport : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// Opens, or starts to (a socket connects in the background). Returns why it cannot be opened,
    /// or nothing when it was.
    virtual std::optional<QString> open(const Endpoint &endpoint) = 0;
    virtual void close() = 0;

    /// Open and able to carry bytes; false while a connect is under way, and from a failure on.
    virtual bool isConnected() const = 0;

    /// Changes the line settings of an open serial port; nothing for other transports.
    virtual void setLineSettings(const QByteArray &settings) = 0;

    /// Takes all of the bytes. They leave by and by, as fast as the other side reads.
    virtual void write(const QByteArray &bytes) = 0;

    /// How many of the bytes written have not left yet and wait in this program's memory. There is
    /// no limit to it here: see VornComm::UnsentLimit.
    virtual qint64 unsent() const = 0;

    /// How many bytes that left this program still wait in the queue of the system's driver, as far
    /// as the system reports it.
    virtual qint64 queuedInSystem() const { return 0; }

    /// Takes up to `capacity` of the bytes that are waiting; returns how many were taken.
    virtual qint64 read(char *buffer, qint64 capacity) = 0;

    /// How many bytes have arrived and can be read, including those that are still in the system.
    virtual qint64 waiting() const = 0;

    /// Looks for bytes that have arrived and that the event loop has not reported yet: emits
    /// bytesArrived() within the call if there are any.
    virtual void reportArrived() = 0;

    /// The local port of a connected socket; 0 for none.
    virtual quint16 localPort() const { return 0; }

signals:
    /// Whoever listens calls read() until it returns 0, now or in later turns of the event loop.
    /// More may be reported meanwhile.
    void bytesArrived();

    /// unsent() has decreased. Emitted by the event loop, never inside a call. Nothing is emitted
    /// when queuedInSystem() decreases.
    void bytesLeft();

    /// The device of a serial port has vanished and the port is closed. Emitted by the event loop,
    /// not after close(). A socket emits failed() instead.
    void vanished();

    /// The connection failed or was closed by the other side. What had arrived before has been
    /// read; it is lost only if bytes that waited to leave met a connection that was reset. Emitted
    /// by the event loop, never inside a call, and not after close(). A serial port does not emit
    /// it.
    void failed(const QString &description);
};

} // namespace vantrel
