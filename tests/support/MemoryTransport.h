// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Transport.h"

#include <algorithm>
#include <cstring>
#include <functional>

namespace vantrel::test {

/// A transport whose other end is the test: it records what the console sends and hands it what the
/// test says.
class MemoryTransport : public Transport
{
public:
    // What open() does
    std::optional<QString> openError; ///< refuses to open with this reason
    bool connectsAtOnce = true;       ///< false: the connect stays pending until connectNow()

    qint64 heldUp = 0;         ///< reported as bytes that have not left
    qint64 heldUpInSystem = 0; ///< the same of bytes in the queue of the system
    bool holdsWrites = false;  ///< what is written is held up until leave() or close()

    // What the console did
    QList<Endpoint> opened;
    QList<QByteArray> settings; ///< line settings, those of open() included
    QList<QByteArray> written;  ///< one entry a write
    int closes = 0;
    std::function<void(const QByteArray &)> onWrite; ///< called with each write

    std::optional<QString> open(const Endpoint &endpoint) override
    {
        opened.append(endpoint);
        if (openError)
            return openError;
        settings.append(endpoint.settings);
        m_connected = connectsAtOnce;
        return std::nullopt;
    }
    void close() override
    {
        ++closes;
        m_connected = false;
        if (holdsWrites)
            heldUp = heldUpInSystem = 0;
    }
    bool isConnected() const override { return m_connected; }
    void setLineSettings(const QByteArray &line) override { settings.append(line); }
    void write(const QByteArray &bytes) override
    {
        written.append(bytes);
        if (holdsWrites)
            heldUp += bytes.size();
        if (onWrite)
            onWrite(bytes);
    }
    qint64 unsent() const override { return heldUp; }
    qint64 queuedInSystem() const override { return heldUpInSystem; }
    qint64 read(char *buffer, qint64 capacity) override
    {
        const qint64 count = std::min<qint64>(capacity, m_waiting.size());
        std::memcpy(buffer, m_waiting.constData(), static_cast<std::size_t>(count));
        m_waiting.remove(0, count);
        return count;
    }
    qint64 waiting() const override { return m_connected ? m_waiting.size() : 0; }
    void reportArrived() override
    {
        if (waiting() > 0)
            emit bytesArrived();
    }

    // What the test does
    void connectNow() { m_connected = true; }
    /// The device is gone: nothing can be sent, nothing is reported.
    void vanish() { m_connected = false; }
    /// Delivers the bytes in one notification.
    void receive(const QByteArray &bytes)
    {
        m_waiting += bytes;
        emit bytesArrived();
    }
    /// The bytes have arrived in the system; the event loop has not run since.
    void receiveUnreported(const QByteArray &bytes) { m_waiting += bytes; }
    void fail(const QString &description)
    {
        m_connected = false;
        emit failed(description);
    }
    /// The device of a serial port is gone, and the console is notified.
    void reportVanished()
    {
        m_connected = false;
        emit vanished();
    }
    /// Some of the bytes that are held up leave the program: for the tester or, if `intoSystem`,
    /// for the queue of the system.
    void leave(qint64 count, bool intoSystem = false)
    {
        const qint64 leaving = std::min(count, heldUp);
        heldUp -= leaving;
        if (intoSystem)
            heldUpInSystem += leaving;
        if (leaving > 0)
            emit bytesLeft();
    }
    /// The same for the queue of the system, without a notification.
    void leaveSystem(qint64 count) { heldUpInSystem -= std::min(count, heldUpInSystem); }
    void notifyWaiting() { emit bytesArrived(); }
    /// Everything has left.
    void drain()
    {
        heldUp = 0;
        heldUpInSystem = 0;
        emit bytesLeft();
    }
    QByteArray writtenBytes() const { return written.join(); }
    QByteArray takeWritten()
    {
        QByteArray bytes = writtenBytes();
        written.clear();
        return bytes;
    }

private:
    QByteArray m_waiting;
    bool m_connected = false;
};

} // namespace vantrel::test
