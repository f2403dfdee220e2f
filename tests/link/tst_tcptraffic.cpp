// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/TcpClient.h"
#include "support/TestProgram.h"

#include <QTest>

#include <algorithm>
#include <array>

using namespace vantrel;
using namespace vantrel::test;

/// When the bytes of the socket leave and arrive.
class TestTcpTraffic : public QObject
{
    Q_OBJECT

private slots:
    void noNotificationTakesInAFlood();
    void writeLeavesAtOnce();
    void writeIntoAReset();
};

/// Between two of them the window has its turn.
void TestTcpTraffic::noNotificationTakesInAFlood()
{
    TestServer server;
    TcpTransport transport;
    qint64 received = 0;
    qint64 most = 0;
    connect(&transport, &Transport::bytesArrived, &transport, [&] {
        std::array<char, 50'000> buffer{};
        qint64 taken = 0;
        while (const qint64 count = transport.read(buffer.data(), buffer.size()))
            taken += count;
        most = std::max(most, taken);
        received += taken;
    });
    transport.open({Loopback, server.port(), {}});
    QTRY_COMPARE(server.clients(), 1);
    const QByteArray all = pattern(5'000'000);
    server.client()->write(all);
    QTRY_COMPARE_WITH_TIMEOUT(received, all.size(), 30'000);
    QVERIFY2(most <= 256 * 1024, qPrintable(QString::number(most)));
}

/// No turn of the event loop of ours lies between a packet and the wire.
void TestTcpTraffic::writeLeavesAtOnce()
{
    TestServer server;
    Client client;
    client.open(server.port());
    QTRY_COMPARE(server.clients(), 1);
    QTRY_VERIFY(client.transport.isConnected());
    client.transport.write("packet");
    QCOMPARE(client.transport.unsent(), qint64{0});
    QVERIFY(server.client()->waitForReadyRead(30'000)); // handles events of the server alone
}

/// The caller that writes continues before the failure is reported.
void TestTcpTraffic::writeIntoAReset()
{
    TestServer server;
    Client client;
    client.open(server.port());
    QTRY_COMPARE(server.clients(), 1);
    QTRY_VERIFY(client.transport.isConnected());
    QVERIFY(reset(*server.client()));

    client.transport.write("into nothing");
    QVERIFY(!client.transport.isConnected());
    QCOMPARE(client.failures, QStringList());
    client.transport.write("and again");
    QTRY_COMPARE(client.failures.size(), 1);
    QVERIFY(!client.failures.first().isEmpty());

    QVERIFY(!client.open(server.port()));
    QTRY_VERIFY(client.transport.isConnected());
    QCOMPARE(client.failures.size(), 1);
}

VANTREL_TEST(TestTcpTraffic)
#include "tst_tcptraffic.moc"
