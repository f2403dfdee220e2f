// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/Tester.h"
#include "support/Hex.h"

#include <QList>
#include <QObject>

#include <memory>

namespace vantrel::test {

/// ESC S, the bytes as they stand, ESC E. Doubled ESC bytes are typed by hand.
inline QByteArray packet(const QByteArray &stuffedBody)
{
    return "1b53"_hex + stuffedBody + "1b45"_hex;
}

/// A tester and the wire to it: what goes in, and every write that comes out.
class Talk
{
public:
    explicit Talk(std::unique_ptr<simulator::Tester> owned) : m_tester(std::move(owned))
    {
        QObject::connect(m_tester.get(), &simulator::Tester::bytesReady,
                         [this](const QByteArray &bytes) { writes.append(bytes); });
        QObject::connect(m_tester.get(), &simulator::Tester::connectionDropped,
                         [this] { ++drops; });
    }
    /// With the built-in devices attached.
    explicit Talk(const simulator::Settings &settings = simulator::Settings::vorn2())
        : Talk(simulator::makeDefaultTester(settings))
    {
    }
    static Talk withoutDevices(const simulator::Settings &settings)
    {
        return Talk(std::make_unique<simulator::Tester>(settings));
    }
    Talk(const Talk &) = delete;
    Talk &operator=(const Talk &) = delete;
    ~Talk() { m_tester.reset(); }

    simulator::Tester &tester() { return *m_tester; }

    /// Sends a command and returns all that comes out at once.
    QByteArray ask(const QByteArray &stuffedBody)
    {
        m_tester->receive(packet(stuffedBody));
        return take();
    }
    QByteArray take()
    {
        const QByteArray bytes = writes.join();
        writes.clear();
        return bytes;
    }

    QList<QByteArray> writes;
    int drops = 0;

private:
    std::unique_ptr<simulator::Tester> m_tester;
};

} // namespace vantrel::test
