// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/ScriptFile.h"

#include "link/Wire.h"

namespace vantrel {

namespace {

std::optional<QString> oddityAt(const char *what, qint64 offset)
{
    return QStringLiteral("%1, at byte %2").arg(QLatin1String(what)).arg(offset);
}

} // namespace

void ScriptCheck::examine(QByteArrayView piece)
{
    while (!piece.isEmpty() && m_state != State::Odd) {
        if (m_state != State::InBody) {
            examineByte(static_cast<quint8>(piece.front()));
            piece = piece.sliced(1);
            continue;
        }
        const qsizetype esc = piece.indexOf(static_cast<char>(wire::Esc));
        const QByteArrayView plain = esc < 0 ? piece : piece.first(esc);
        addToBody(plain);
        m_at += plain.size();
        piece = piece.sliced(plain.size());
        if (esc >= 0) {
            m_state = State::InBodyAfterEsc;
            ++m_at;
            piece = piece.sliced(1);
        }
    }
}

/// Outside a body, or behind an ESC in one.
void ScriptCheck::examineByte(quint8 byte)
{
    const qint64 at = m_at++;
    switch (m_state) {
    case State::BetweenPackets:
        m_packetStart = at;
        if (byte == wire::Esc)
            m_state = State::Starting;
        else
            setOdd("no packet starts here", m_packetStart);
        break;
    case State::Starting:
        m_bodySize = 0;
        if (byte == wire::Start)
            m_state = State::InBody;
        else
            setOdd("no packet starts here", m_packetStart);
        break;
    case State::InBodyAfterEsc:
        afterEscInBody(byte);
        break;
    case State::InBody:
    case State::Odd:
        break;
    }
}

void ScriptCheck::afterEscInBody(quint8 byte)
{
    constexpr char Esc = static_cast<char>(wire::Esc);
    if (byte == wire::End) {
        endPacket();
    } else if (byte == wire::Esc) {
        addToBody(QByteArrayView(&Esc, 1));
        m_state = State::InBody;
    } else {
        setOdd("a stray ESC in a packet", m_at - 2);
    }
}

void ScriptCheck::addToBody(QByteArrayView bytes)
{
    if (m_bodySize == 0 && !bytes.isEmpty())
        m_firstOfBody = static_cast<quint8>(bytes.front());
    m_bodySize += bytes.size();
}

void ScriptCheck::endPacket()
{
    m_state = State::BetweenPackets;
    if (m_bodySize == 0)
        setOdd("an empty packet", m_packetStart);
}

void ScriptCheck::setOdd(const char *what, qint64 offset)
{
    m_state = State::Odd;
    m_oddity = what;
    m_oddityOffset = offset;
}

std::optional<QString> ScriptCheck::oddity() const
{
    switch (m_state) {
    case State::BetweenPackets:
        break;
    case State::Starting:
        return oddityAt("no packet starts here", m_packetStart);
    case State::InBody:
        return oddityAt("the packet does not end", m_packetStart);
    case State::InBodyAfterEsc:
        return oddityAt("a stray ESC in a packet", m_at - 1);
    case State::Odd:
        return oddityAt(m_oddity, m_oddityOffset);
    }
    if (m_at == 0)
        return oddityAt("the script is empty", 0);
    const auto end = static_cast<quint8>(wire::Command::ScriptDownloadEnd);
    if (m_bodySize != 1 || m_firstOfBody != end)
        return oddityAt("the last packet is not the end of the script", m_packetStart);
    return std::nullopt;
}

std::optional<QString> oddityOfScript(QByteArrayView script)
{
    ScriptCheck check;
    check.examine(script);
    return check.oddity();
}

} // namespace vantrel
