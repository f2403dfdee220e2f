// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/ScriptFile.h"

#include "link/Wire.h"

namespace vantrel {

namespace {

/// Walks over the packets of a script and stops at the first thing that is odd.
class ScriptReader
{
public:
    explicit ScriptReader(QByteArrayView script) : m_script(script) {}

    std::optional<QString> oddity()
    {
        if (m_script.isEmpty())
            return oddityAt(QStringLiteral("the script is empty"), 0);
        while (m_at < m_script.size()) {
            if (auto found = packet())
                return found;
        }
        const QByteArray end(1, static_cast<char>(wire::Command::ScriptDownloadEnd));
        if (m_body != end)
            return oddityAt(QStringLiteral("the last packet is not the end of the script"),
                            m_packetStart);
        return std::nullopt;
    }

private:
    static QString oddityAt(const QString &what, qsizetype offset)
    {
        return QStringLiteral("%1, at byte %2").arg(what).arg(offset);
    }

    std::optional<quint8> next()
    {
        if (m_at >= m_script.size())
            return std::nullopt;
        return static_cast<quint8>(m_script[m_at++]);
    }

    std::optional<QString> emptyPacket() const
    {
        if (!m_body.isEmpty())
            return std::nullopt;
        return oddityAt(QStringLiteral("an empty packet"), m_packetStart);
    }

    std::optional<QString> packet()
    {
        m_packetStart = m_at;
        m_body.clear();
        if (next() != wire::Esc || next() != wire::Start)
            return oddityAt(QStringLiteral("no packet starts here"), m_packetStart);
        while (const auto byte = next()) {
            if (byte != wire::Esc) {
                m_body.append(static_cast<char>(*byte));
                continue;
            }
            const auto escaped = next();
            if (escaped == wire::End)
                return emptyPacket();
            if (escaped != wire::Esc)
                return oddityAt(QStringLiteral("a stray ESC in a packet"),
                                m_at - (escaped ? 2 : 1));
            m_body.append(static_cast<char>(wire::Esc));
        }
        return oddityAt(QStringLiteral("the packet does not end"), m_packetStart);
    }

    QByteArrayView m_script;
    qsizetype m_at = 0;
    qsizetype m_packetStart = 0;
    QByteArray m_body;
};

} // namespace

std::optional<QString> oddityOfScript(QByteArrayView script)
{
    return ScriptReader(script).oddity();
}

} // namespace vantrel
