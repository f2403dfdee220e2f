// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "protocol/SetupPacket.h"

#include <QByteArray>

namespace vantrel {

struct Session;

/// A device request as a ".dr" file holds it.
struct RequestFile
{
    quint8 address = 0;
    SetupPacket setup;
    QByteArray data; ///< zeros for a device-to-host request

    /// Address, setup packet (words low byte first), data, one zero byte.
    QByteArray toBytes() const;
};

/// The fields of a ".dr" file, each read when it is asked for: a file that is short or holds a word
/// out of range still gives those before. There is no signature; any bytes are a file.
class RequestFileReader
{
public:
    static constexpr qsizetype DataOffset = 9;
    static constexpr qsizetype MostData = 32; ///< bytes
    static constexpr qsizetype MostBytes =
        DataOffset + MostData; ///< a longer file is read no further

    RequestFileReader(const Session &session, QByteArray bytes)
        : m_session(session), m_bytes(std::move(bytes))
    {
    }

    // A field that lies beyond the end throws RuntimeError "Subscript out of range", a word that
    // deviceWord() does not take "Overflow".
    quint8 address() const { return byte(0); }
    quint8 bmRequestType() const { return byte(1); }
    quint8 bRequest() const { return byte(2); }
    quint16 wValue() const { return word(3); }
    quint16 wIndex() const { return word(5); }
    quint16 wLength() const { return word(7); }

    /// All that follows, the zero byte that ends a saved request among it.
    QByteArray data() const;

private:
    quint8 byte(qsizetype offset) const;
    quint16 word(qsizetype offset) const;

    const Session &m_session;
    QByteArray m_bytes;
};

} // namespace vantrel
