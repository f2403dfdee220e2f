// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArrayView>
#include <QString>

#include <optional>

namespace vantrel {

/// Looks for what is odd in a script (".vn": framed commands, one after the other), which is passed
/// in pieces of any size. Needs the same memory for every script. The tester has the last word on
/// it: an odd script is sent like any other.
class ScriptCheck
{
public:
    void examine(QByteArrayView piece);

    /// Of all that has been passed: what is odd, with the byte offset where it begins; nothing when
    /// it is well framed and ends with the end-of-script command.
    std::optional<QString> oddity() const;

private:
    enum class State {
        BetweenPackets,
        Starting, ///< behind the ESC of a start
        InBody,
        InBodyAfterEsc,
        Odd ///< nothing more is examined
    };

    void examineByte(quint8 byte);
    void afterEscInBody(quint8 byte);
    void addToBody(QByteArrayView bytes);
    void endPacket();
    void setOdd(const char *what, qint64 offset);

    State m_state = State::BetweenPackets;
    qint64 m_at = 0; ///< bytes examined
    qint64 m_packetStart = 0;
    qint64 m_bodySize = 0;
    quint8 m_firstOfBody = 0;
    const char *m_oddity = nullptr;
    qint64 m_oddityOffset = 0;
};

/// The oddity of a script as a whole.
std::optional<QString> oddityOfScript(QByteArrayView script);

} // namespace vantrel
