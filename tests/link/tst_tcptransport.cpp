// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/TcpClient.h"
#include "support/TestProgram.h"

#include <QSignalSpy>
#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

/// The socket against a server on loopback.
class TestTcpTransport : public QObject
{
    Q_OBJECT

private slots:
    void connects();
    void connectsByName();
    void noHost();
    void refused();
    void unknownHost();
    void bytesBothWays();
    void readTakesWhatFits();
    void lineSettingsMeanNothing();
    void largeTransferIn();
    void largeTransferOut();
    void closedByThePeer();
    void lastBytesBeforeTheEnd_data();
    void lastBytesBeforeTheEnd();
    void resetByThePeer();
    void ownCloseIsSilent();
    void ownCloseSendsTheRest();
    void ownCloseOfALostConnectionIsSilent();
    void closeWhileConnecting();
    void opensAgainAfterTheEnd();
    void opensAgainWhileOpen();
    void writeWithoutConnection();
    void heldUp();
    void heldUpIsForgotten();
};

void TestTcpTransport::connects()
{
    TestServer server;
    Client client;
    QVERIFY(!client.transport.isConnected());
    QVERIFY(!client.open(server.port()));
    QTRY_VERIFY(client.transport.isConnected());
    QTRY_COMPARE(server.clients(), 1);
    QCOMPARE(client.failures, QStringList());
}

void TestTcpTransport::connectsByName()
{
    TestServer server;
    Client client;
    QVERIFY(!client.open(server.port(), QStringLiteral("localhost")));
    QTRY_VERIFY(client.transport.isConnected());
}

void TestTcpTransport::noHost()
{
    Client client;
    QVERIFY(client.open(7, QString()));
    QVERIFY(!client.transport.isConnected());
    QCOMPARE(client.failures, QStringList());
}

void TestTcpTransport::refused()
{
    Client client;
    const std::optional<QString> atOnce = client.open(unusedPort());
    QCOMPARE(client.failures, QStringList()); // told by the result, or later: never in between
    if (atOnce) {
        QCOMPARE(*atOnce, QLatin1String("Connection refused"));
    } else {
        QTRY_COMPARE(client.failures, QStringList{QStringLiteral("Connection refused")});
    }
    QVERIFY(!client.transport.isConnected());
}

void TestTcpTransport::unknownHost()
{
    Client client;
    const std::optional<QString> atOnce = client.open(7, QStringLiteral("999.999.999.999"));
    QCOMPARE(client.failures, QStringList());
    if (!atOnce)
        QTRY_COMPARE_WITH_TIMEOUT(client.failures.size(), 1, 30'000);
    QVERIFY(!client.transport.isConnected());
}

void TestTcpTransport::bytesBothWays()
{
    TestServer server;
    Client client;
    client.open(server.port());
    QTRY_COMPARE(server.clients(), 1);
    QTRY_VERIFY(client.transport.isConnected());
    const QByteArray all = pattern(70'000);

    client.transport.write(all);
    QTRY_COMPARE(server.received(), all);
    server.client()->write(all);
    QTRY_COMPARE(client.received, all);
}

void TestTcpTransport::readTakesWhatFits()
{
    TestServer server;
    TcpTransport transport;
    transport.open({Loopback, server.port(), {}});
    QTRY_COMPARE(server.clients(), 1);
    QSignalSpy arrived(&transport, &Transport::bytesArrived);
    server.client()->write("abcdef");
    QTRY_VERIFY(arrived.size() > 0);

    char buffer[4] = {};
    QCOMPARE(transport.read(buffer, 4), qint64{4});
    QCOMPARE(QByteArray(buffer, 4), QByteArray("abcd"));
    QCOMPARE(transport.read(buffer, 4), qint64{2});
    QCOMPARE(QByteArray(buffer, 2), QByteArray("ef"));
    QCOMPARE(transport.read(buffer, 4), qint64{0});
}

void TestTcpTransport::lineSettingsMeanNothing()
{
    TestServer server;
    Client client;
    client.open(server.port());
    QTRY_VERIFY(client.transport.isConnected());
    client.transport.setLineSettings(" 38400,n,8,1");
    client.transport.write("still here");
    QTRY_COMPARE(server.received(), QByteArray("still here"));
}

void TestTcpTransport::largeTransferIn()
{
    TestServer server;
    Client client;
    client.open(server.port());
    QTRY_COMPARE(server.clients(), 1);
    const QByteArray all = pattern(20'000'000);
    server.client()->write(all);
    QTRY_COMPARE_WITH_TIMEOUT(client.received.size(), all.size(), 30'000);
    QVERIFY(client.received == all);
}

void TestTcpTransport::largeTransferOut()
{
    TestServer server;
    Client client;
    client.open(server.port());
    QTRY_VERIFY(client.transport.isConnected());
    const QByteArray all = pattern(20'000'000);
    client.transport.write(all);
    QTRY_COMPARE_WITH_TIMEOUT(server.received().size(), all.size(), 30'000);
    QVERIFY(server.received() == all);
}

void TestTcpTransport::closedByThePeer()
{
    TestServer server;
    Client client;
    client.open(server.port());
    QTRY_COMPARE(server.clients(), 1);
    QTRY_VERIFY(client.transport.isConnected());

    server.client()->close();

    QTRY_COMPARE(client.failures,
                 QStringList{QStringLiteral("The remote host closed the connection")});
    QVERIFY(!client.connectedAtFailure); // a handler does not write to a closed socket
    QVERIFY(!client.transport.isConnected());
}

void TestTcpTransport::lastBytesBeforeTheEnd_data()
{
    QTest::addColumn<qsizetype>("size");

    QTest::newRow("a packet") << qsizetype{10};
    QTest::newRow("a read buffer") << qsizetype{256 * 1024};
    QTest::newRow("more than a read buffer") << qsizetype{2'000'000};
}

void TestTcpTransport::lastBytesBeforeTheEnd()
{
    QFETCH(qsizetype, size);

    TestServer server;
    Client client;
    client.open(server.port());
    QTRY_COMPARE(server.clients(), 1);
    const QByteArray all = pattern(size);

    server.client()->write(all);
    server.client()->disconnectFromHost(); // closes once everything is sent

    QTRY_COMPARE_WITH_TIMEOUT(client.failures.size(), 1, 30'000);
    QCOMPARE(client.receivedAtFailure, size);
    QVERIFY(client.received == all);
}

void TestTcpTransport::resetByThePeer()
{
    TestServer server;
    Client client;
    client.open(server.port());
    QTRY_COMPARE(server.clients(), 1);
    QTRY_VERIFY(client.transport.isConnected());
    client.transport.write("never read");
    QTRY_VERIFY(!server.received().isEmpty());
    client.transport.write(pattern(1'000'000));

    server.client()->abort(); // with bytes unread, the system sends a reset

    QTRY_COMPARE(client.failures.size(), 1);
    QVERIFY(!client.connectedAtFailure);
    QVERIFY(!client.transport.isConnected());
}

void TestTcpTransport::ownCloseIsSilent()
{
    TestServer server;
    Client client;
    client.open(server.port());
    QTRY_COMPARE(server.clients(), 1);
    QTRY_VERIFY(client.transport.isConnected());
    QSignalSpy gone(server.client(), &QTcpSocket::disconnected);

    client.transport.close();
    QVERIFY(!client.transport.isConnected());

    QTRY_COMPARE(gone.size(), 1);
    QCOMPARE(client.failures, QStringList());
}

void TestTcpTransport::ownCloseSendsTheRest()
{
    TestServer server;
    Client client;
    client.open(server.port());
    QTRY_COMPARE(server.clients(), 1);
    QTRY_VERIFY(client.transport.isConnected());

    client.transport.write("last words");
    client.transport.close();

    QTRY_COMPARE(server.received(), QByteArray("last words"));
}

void TestTcpTransport::ownCloseOfALostConnectionIsSilent()
{
    TestServer server;
    Client client;
    client.open(server.port());
    QTRY_COMPARE(server.clients(), 1);
    QTRY_VERIFY(client.transport.isConnected());
    client.transport.write("first");
    QTRY_VERIFY(!server.received().isEmpty());

    QVERIFY(reset(*server.client()));
    client.transport.write("second"); // fails as it leaves, which is when the link is closed
    client.transport.close();

    QTest::qWait(0);
    QCOMPARE(client.failures, QStringList());
}

void TestTcpTransport::closeWhileConnecting()
{
    TestServer server;
    Client client;
    client.open(server.port());
    client.transport.close();
    QVERIFY(!client.transport.isConnected());
    QTest::qWait(0);
    QVERIFY(!client.transport.isConnected());

    client.open(unusedPort());
    client.transport.close();
    client.open(server.port());
    QTRY_VERIFY(client.transport.isConnected());
    QCOMPARE(client.failures, QStringList());
}

void TestTcpTransport::opensAgainAfterTheEnd()
{
    TestServer server;
    Client client;
    client.open(server.port());
    QTRY_COMPARE(server.clients(), 1);
    server.client()->close();
    QTRY_COMPARE(client.failures.size(), 1);

    QVERIFY(!client.open(server.port()));
    QTRY_COMPARE(server.clients(), 2);
    QTRY_VERIFY(client.transport.isConnected());
    server.client()->write("hello again");
    QTRY_COMPARE(client.received, QByteArray("hello again"));
    QCOMPARE(client.failures.size(), 1);
}

void TestTcpTransport::opensAgainWhileOpen()
{
    TestServer first;
    TestServer second;
    Client client;
    client.open(first.port());
    QTRY_COMPARE(first.clients(), 1);
    QSignalSpy gone(first.client(), &QTcpSocket::disconnected);

    client.open(second.port());

    QTRY_COMPARE(second.clients(), 1);
    QTRY_COMPARE(gone.size(), 1);
    QTRY_VERIFY(client.transport.isConnected());
    QCOMPARE(client.failures, QStringList());
}

void TestTcpTransport::writeWithoutConnection()
{
    Client client;
    client.transport.write("into nothing");
    QTest::qWait(0); // when a failure would be told
    client.readAll();
    client.transport.close();
    QVERIFY(!client.transport.isConnected());
    QCOMPARE(client.received, QByteArray());
    QCOMPARE(client.failures, QStringList());
}

void TestTcpTransport::heldUp()
{
    TestServer server;
    Client client;
    client.open(server.port());
    QTRY_COMPARE(server.clients(), 1);
    QTRY_VERIFY(client.transport.isConnected());
    QCOMPARE(client.transport.unsent(), qint64{0});
    const QByteArray all = pattern(20'000'000); // more than the system takes
    server.client()->setReadBufferSize(1);
    server.client()->blockSignals(true); // reads no more
    client.transport.write(all);
    QTest::qWait(0);
    QVERIFY(client.transport.unsent() > 1'000'000);

    server.client()->blockSignals(false);
    server.client()->setReadBufferSize(0);
    server.client()->read(1);
    QTRY_COMPARE_WITH_TIMEOUT(client.transport.unsent(), qint64{0}, 30'000);
    QCOMPARE(client.failures, QStringList());
}

/// What one connection could not send is not for the next.
void TestTcpTransport::heldUpIsForgotten()
{
    TestServer server;
    Client client;
    client.open(server.port());
    QTRY_COMPARE(server.clients(), 1);
    QTRY_VERIFY(client.transport.isConnected());
    server.client()->setReadBufferSize(1);
    server.client()->blockSignals(true);
    client.transport.write(pattern(20'000'000));
    QTest::qWait(0);
    QVERIFY(client.transport.unsent() > 1'000'000);
    client.transport.close();
    QCOMPARE(client.transport.unsent(), qint64{0});

    TestServer next;
    client.open(next.port());
    QTRY_VERIFY(client.transport.isConnected());
    client.transport.write("probe");
    QTRY_COMPARE(next.received(), QByteArray("probe"));
    QCOMPARE(client.failures, QStringList());
}

VANTREL_TEST(TestTcpTransport)
#include "tst_tcptransport.moc"
