// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/TcpTransport.h"

#include <QByteArray>
#include <QList>

namespace vantrel::bench {

/// What went over a link: each write, with how many bytes had come by then.
struct Recording
{
    struct Write
    {
        QByteArray bytes;
        qint64 receivedBefore = 0;
    };

    QList<Write> writes;
    qint64 received = 0;
};

/// A socket that keeps what goes over it.
class RecordingTransport : public TcpTransport
{
public:
    void write(const QByteArray &bytes) override
    {
        m_recording.writes.append({bytes, m_recording.received});
        TcpTransport::write(bytes);
    }
    qint64 read(char *buffer, qint64 capacity) override
    {
        const qint64 count = TcpTransport::read(buffer, capacity);
        m_recording.received += count;
        return count;
    }

    /// What has gone over it since the last call.
    Recording take() { return std::exchange(m_recording, {}); }
    const Recording &recording() const { return m_recording; }

private:
    Recording m_recording;
};

} // namespace vantrel::bench
