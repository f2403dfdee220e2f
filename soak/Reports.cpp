// SPDX-License-Identifier: GPL-3.0-or-later
#include "Reports.h"

#include "Subject.h"

#include "link/Bytes.h"
#include "link/Wire.h"

#include <utility>

namespace vantrel::soak {

Reports::Reports(Subject &subject) : m_subject(subject)
{
    m_conversations.append(Conversation{});
}

void Reports::follow()
{
    begin();
    Target &target = *m_subject.target;
    connect(&target, &Target::consoleConnected, this, [this, &target] {
        ++m_connections;
        begin();
        // The console keeps an unfinished packet of a broken connection, which may cost it the next
        // packet. After two starts it is at the beginning of one in any case.
        target.tester().sendRaw(QByteArrayLiteral("\x1BS\x1BS"));
    });
    const QByteArray numbered = ByteWriter{wire::Report::Data}.byte(Address).byte(Endpoint).take();
    connect(&target.tester(), &simulator::Tester::packetSent, this,
            [this, numbered](const QByteArray &body) {
                if (body.startsWith(numbered))
                    m_conversations.last().end = ++m_next;
            });
}

/// What is delayed may be sent after the console has changed its rate.
void Reports::noteLostWrites()
{
    if (m_subject.target && m_subject.target->lostWrites() != m_lostWrites)
        m_conversations.last().mayHaveGaps = true;
}

void Reports::begin()
{
    if (!m_conversations.isEmpty())
        noteLostWrites();
    m_conversations.append({m_next, m_next, m_next, false});
    m_lostWrites = m_subject.target ? m_subject.target->lostWrites() : 0;
}

bool Reports::send()
{
    if (!m_subject.target->isConsoleListening())
        return false;
    const quint32 number = m_next;
    m_subject.target->tester().reportData(Address, Endpoint, dataOf(number));
    return m_next != number;
}

QList<Reports::Conversation> Reports::takeConversations()
{
    noteLostWrites();
    const QList<Conversation> taken = std::exchange(m_conversations, {});
    begin();
    return taken;
}

QByteArray Reports::dataOf(quint32 number)
{
    constexpr quint32 Longest = 60;
    ByteWriter data;
    for (const int shift : {24, 16, 8, 0})
        data.byte(static_cast<quint8>(number >> static_cast<quint32>(shift)));
    const quint32 more = number * 7 % (Longest + 1);
    for (quint32 i = 0; i < more; ++i)
        data.byte(static_cast<quint8>(number * 31 + i * 17));
    return data.take();
}

} // namespace vantrel::soak
