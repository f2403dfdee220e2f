// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QList>
#include <QObject>

namespace vantrel::soak {

struct Subject;

/// Sends data reports that carry a running number, and knows which of them went to which
/// connection.
class Reports : public QObject
{
public:
    // From no device that is ever attached
    static constexpr quint8 Address = 0x7A;
    static constexpr quint8 Endpoint = 0xEE;

    /// The reports that went to one connection, all with the numbers from `first` to before `end`.
    struct Conversation
    {
        quint32 first = 0;
        quint32 end = 0;
        quint32 due =
            0; ///< the log must have those before this; of the others, the first ones or none
        bool mayHaveGaps =
            false; ///< on a serial line: some were sent while the console had another rate
    };

    explicit Reports(Subject &subject);

    /// Follows the target that the subject has now. Before each change, takeConversations().
    void follow();

    /// Sends the next number. False, and nothing sent, when no console is connected or the tester
    /// is silent.
    bool send();

    /// All that has been sent on this connection must be in the log.
    void allAreDue() { m_conversations.last().due = m_next; }

    /// Since the last call. A connection that still stands begins anew.
    QList<Conversation> takeConversations();

    quint32 sent() const { return m_next; }
    int connections() const { return m_connections; }

    /// What the report of that number carries: the number in four bytes, and 0 to 60 bytes more.
    static QByteArray dataOf(quint32 number);

private:
    void begin();

    void noteLostWrites();

    Subject &m_subject;
    quint64 m_lostWrites = 0; // of the target, when the conversation began
    QList<Conversation> m_conversations;
    quint32 m_next = 0;
    int m_connections = 0;
};

} // namespace vantrel::soak
