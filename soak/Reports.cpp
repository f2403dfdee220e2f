// SPDX-License-Identifier: GPL-3.0-or-later
#include "Reports.h"

#include "Subject.h"

#include "link/Bytes.h"
#include "link/Wire.h"

#include <utility>

namespace vantrel::soak {

Reports::Reports(Subject &subject) : m_subject(subject)
{
    begin();
    connect(&subject.end, &simulator::TcpEnd::consoleConnected, this, [this] {
        ++m_connections;
        begin();
        // The console takes up what a connection that broke has left unfinished, and that may cost
        // it the next packet. After two starts it is at the beginning of one, wherever it was.
        m_subject.tester.sendRaw(QByteArrayLiteral("\x1BS\x1BS"));
    });
    const QByteArray numbered = ByteWriter{wire::Report::Data}.byte(Address).byte(Endpoint).take();
    connect(&subject.tester, &simulator::Tester::packetSent, this,
            [this, numbered](const QByteArray &body) {
                if (body.startsWith(numbered))
                    m_conversations.last().end = ++m_next;
            });
}

void Reports::begin()
{
    m_conversations.append({m_next, m_next, m_next});
}

bool Reports::send()
{
    if (!m_subject.end.isConsoleConnected())
        return false;
    const quint32 number = m_next;
    m_subject.tester.reportData(Address, Endpoint, dataOf(number));
    return m_next != number;
}

QList<Reports::Conversation> Reports::takeConversations()
{
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
