// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/Talk.h"
#include "simulator/TcpEnd.h"
#include "support/TestProgram.h"

#include <QHostAddress>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTest>

using namespace vantrel::test;
using namespace vantrel::simulator;

namespace {

/// A socket to the end, connected, and all that it has read.
class Client
{
public:
    explicit Client(const TcpEnd &end)
    {
        QObject::connect(&m_socket, &QTcpSocket::readyRead, &m_socket,
                         [this] { reads.append(m_socket.readAll()); });
        m_socket.connectToHost(QHostAddress::LocalHost, end.port());
    }
    bool waitUntilConnected()
    {
        return QTest::qWaitFor([this] { return m_socket.state() == QTcpSocket::ConnectedState; });
    }
    bool isClosed() const { return m_socket.state() == QTcpSocket::UnconnectedState; }
    void send(const QByteArray &bytes) { m_socket.write(bytes); }
    void close() { m_socket.disconnectFromHost(); }
    QByteArray received() const { return reads.join(); }

    QList<QByteArray> reads;

private:
    QTcpSocket m_socket;
};

} // namespace

class tst_tcpend : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void answers();
    void onlyOnLoopback();
    void takenPort();
    void newerConnectionReplacesOlder();
    void reconnects();
    void dropNow();
    void dropInMidPacket();
    void restartEndsTheConnection();
    void fragmentsAreSeparateWrites();
    void delay();
    void nobodyThere();
    void flood();

private:
    std::unique_ptr<Tester> m_tester;
    std::unique_ptr<TcpEnd> m_end;
};

void tst_tcpend::init()
{
    m_tester = makeDefaultTester(Settings::vorn2());
    m_end = std::make_unique<TcpEnd>(*m_tester);
    QVERIFY(m_end->listen());
    QVERIFY(m_end->port() != 0);
}

void tst_tcpend::cleanup()
{
    m_end.reset();
    m_tester.reset();
}

void tst_tcpend::answers()
{
    QVERIFY(!m_end->isConsoleConnected());
    Client client(*m_end);
    QVERIFY(client.waitUntilConnected());
    client.send(packet("0f"_hex) + packet("0b"_hex));
    QTRY_COMPARE(client.received(), packet("8f 02 03 0c 0040"_hex) + packet("8b 44"_hex));
    QVERIFY(m_end->isConsoleConnected());
    m_tester->reportTrigger(1);
    QTRY_VERIFY(client.received().endsWith(packet("96 01"_hex)));
    client.close();
    QTRY_VERIFY(!m_end->isConsoleConnected());
}

void tst_tcpend::onlyOnLoopback()
{
    // The port is still free on any other address.
    QTcpServer other;
    QVERIFY2(other.listen(QHostAddress(QStringLiteral("127.0.0.2")), m_end->port()),
             qPrintable(other.errorString()));
    QTcpServer same;
    QVERIFY(!same.listen(QHostAddress::LocalHost, m_end->port()));
}

void tst_tcpend::takenPort()
{
    TcpEnd second(*m_tester);
    QVERIFY(!second.listen(m_end->port()));
    QVERIFY(!second.errorString().isEmpty());
}

void tst_tcpend::newerConnectionReplacesOlder()
{
    Client older(*m_end);
    QVERIFY(older.waitUntilConnected());
    older.send(packet("0b"_hex) + "1b53 0b1b"_hex); // and half a packet
    QTRY_COMPARE(older.received(), packet("8b 44"_hex));

    Client newer(*m_end);
    QTRY_VERIFY(older.isClosed());
    newer.send(packet("03"_hex));
    QTRY_COMPARE(newer.received(), packet("83"_hex));
    QVERIFY(m_end->isConsoleConnected());
    QCOMPARE(older.received(), packet("8b 44"_hex));
}

void tst_tcpend::reconnects()
{
    for (int round = 0; round < 20; ++round) {
        Client client(*m_end);
        QVERIFY(client.waitUntilConnected());
        client.send(packet("0b"_hex));
        QTRY_COMPARE(client.received(), packet("8b 44"_hex));
    }
}

void tst_tcpend::dropNow()
{
    Client client(*m_end);
    QVERIFY(client.waitUntilConnected());
    QTRY_VERIFY(m_end->isConsoleConnected());
    m_tester->reportTrigger(1);
    m_end->dropConnection();
    QVERIFY(!m_end->isConsoleConnected());
    QTRY_VERIFY(client.isClosed());
    QCOMPARE(client.received(), packet("96 01"_hex)); // written before
    m_end->dropConnection();                          // nobody there: nothing happens
}

void tst_tcpend::dropInMidPacket()
{
    Client client(*m_end);
    QVERIFY(client.waitUntilConnected());
    m_tester->faults().dropAfter = 4;
    client.send(packet("0b"_hex) + packet("0b"_hex));
    QTRY_VERIFY(client.isClosed());
    QCOMPARE(client.received(), "1b538b44"_hex);

    Client again(*m_end);
    again.send(packet("0b"_hex));
    QTRY_COMPARE(again.received(), packet("8b 44"_hex));
}

void tst_tcpend::restartEndsTheConnection()
{
    Client client(*m_end);
    QVERIFY(client.waitUntilConnected());
    client.send(packet("32 0000000a"_hex) + packet("33 4e56 000000000000 0402"_hex) +
                packet("34 e8d3c3b1"_hex));
    QTRY_COMPARE(client.received(),
                 packet("b2"_hex) + packet("b3 0000000a"_hex) + packet("b4"_hex));
    m_tester->clock().advance(FirmwareUpdate::ProgrammingTime);
    QTRY_VERIFY(client.isClosed());
    QVERIFY(!m_end->isConsoleConnected());

    Client next(*m_end);
    QVERIFY(next.waitUntilConnected());
    m_tester->clock().advance(5000);
    next.send(packet("0f"_hex));
    QTRY_COMPARE(next.received(), packet("8f 02 04 02 0040"_hex));
}

void tst_tcpend::fragmentsAreSeparateWrites()
{
    Client client(*m_end);
    QVERIFY(client.waitUntilConnected());
    QTRY_VERIFY(m_end->isConsoleConnected());
    m_tester->faults().fragment = 1;
    // Counted at the socket before anybody has run the event loop: a reader may be too slow to
    // tell.
    QSignalSpy written(m_end->findChild<QTcpSocket *>(), &QTcpSocket::bytesWritten);
    m_tester->reportTrigger(1);
    QCOMPARE(written.size(), 6);
    QTRY_COMPARE(client.received(), packet("96 01"_hex));
}

void tst_tcpend::delay()
{
    Client client(*m_end);
    QVERIFY(client.waitUntilConnected());
    m_tester->faults().delay = 60;
    QElapsedTimer timer;
    timer.start();
    client.send(packet("0b"_hex));
    QTRY_COMPARE(client.received(), packet("8b 44"_hex));
    QVERIFY(timer.elapsed() >= 59);
}

void tst_tcpend::nobodyThere()
{
    m_tester->reportTrigger(1);
    Client client(*m_end);
    QVERIFY(client.waitUntilConnected());
    client.send(packet("0b"_hex));
    QTRY_COMPARE(client.received(), packet("8b 44"_hex)); // the trigger is past
}

void tst_tcpend::flood()
{
    Client client(*m_end);
    QVERIFY(client.waitUntilConnected());
    QTRY_VERIFY(m_end->isConsoleConnected());
    QByteArray expected;
    for (int i = 0; i < 20'000; ++i) {
        const QByteArray data = QByteArray::number(i).rightJustified(64, '.');
        m_tester->reportData(0x02, 0x81, data);
        expected += packet("92 02 81"_hex + data);
    }
    QTRY_COMPARE_WITH_TIMEOUT(client.received().size(), expected.size(), 20'000);
    QVERIFY(client.received() == expected);
}

VANTREL_TEST(tst_tcpend)
#include "tst_tcpend.moc"
