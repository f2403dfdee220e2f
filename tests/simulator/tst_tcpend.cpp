// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/Talk.h"
#include "simulator/TcpEnd.h"
#include "support/Resources.h"
#include "support/TestProgram.h"

#include <QHostAddress>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTest>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

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
        QObject::connect(&m_socket, &QTcpSocket::connected, &m_socket,
                         [this] { m_port = m_socket.localPort(); });
        m_socket.connectToHost(QHostAddress::LocalHost, end.port());
    }
    /// The connection may have ended by then.
    bool waitUntilConnected()
    {
        return QTest::qWaitFor([this] { return m_port != 0; });
    }
    bool isClosed() const { return m_socket.state() == QTcpSocket::UnconnectedState; }
    void send(const QByteArray &bytes) { m_socket.write(bytes); }
    void close() { m_socket.disconnectFromHost(); }
    QByteArray received() const { return reads.join(); }
    quint16 port() const { return m_port; }

    QList<QByteArray> reads;

private:
    QTcpSocket m_socket;
    quint16 m_port = 0;
};

/// A socket of the system: what it does has happened when the call returns, and no event loop of
/// this side reads what arrives.
class RawClient
{
public:
    explicit RawClient(quint16 serverPort) : m_socket(::socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(serverPort);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (::connect(m_socket, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0)
            qFatal("no connection");
    }
    ~RawClient() { close(false); }
    RawClient(const RawClient &) = delete;
    RawClient &operator=(const RawClient &) = delete;

    quint16 port() const
    {
        sockaddr_in address{};
        socklen_t size = sizeof address;
        ::getsockname(m_socket, reinterpret_cast<sockaddr *>(&address), &size);
        return ntohs(address.sin_port);
    }
    void send(const QByteArray &bytes)
    {
        if (::send(m_socket, bytes.constData(), static_cast<size_t>(bytes.size()), 0) !=
            bytes.size())
            qFatal("the socket does not take the bytes");
    }
    QByteArray receive()
    {
        QByteArray bytes(1 << 20, Qt::Uninitialized);
        const ssize_t count = ::recv(m_socket, bytes.data(), 1 << 20, MSG_DONTWAIT);
        return bytes.left(std::max<ssize_t>(0, count));
    }
    /// All that has been received since the last time that this was true.
    bool receives(const QByteArray &expected)
    {
        m_received += receive();
        return m_received == expected;
    }
    void close(bool resets)
    {
        const linger mode{resets ? 1 : 0, 0};
        if (m_socket >= 0 && resets)
            ::setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &mode, sizeof mode);
        if (m_socket >= 0)
            ::close(std::exchange(m_socket, -1));
    }

private:
    int m_socket;
    QByteArray m_received;
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
    void secondClientIsRefused();
    void clientThatHasLeft_data();
    void clientThatHasLeft();
    void acceptsOnlyOnePort();
    void clientThatDoesNotRead();
    void fragmentsOfAClientThatDoesNotRead();
    void droppedClientsThatDoNotRead();
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

void tst_tcpend::secondClientIsRefused()
{
    QSignalSpy refused(m_end.get(), &TcpEnd::clientRefused);
    QSignalSpy connected(m_end.get(), &TcpEnd::consoleConnected);
    Client console(*m_end);
    QVERIFY(console.waitUntilConnected());
    console.send(packet("0b"_hex) + "1b53 0b1b"_hex); // and half a packet
    QTRY_COMPARE(console.received(), packet("8b 44"_hex));

    for (int i = 1; i <= 3; ++i) {
        Client other(*m_end);
        QVERIFY(other.waitUntilConnected());
        const quint16 port = other.port();
        other.send(packet("03"_hex));
        QTRY_VERIFY(other.isClosed());
        QCOMPARE(other.received(), QByteArray());
        QCOMPARE(refused.size(), i);
        QCOMPARE(refused.last().first().value<quint16>(), port);
    }
    QCOMPARE(connected.size(), 1);
    QVERIFY(!console.isClosed());
    console.send("45"_hex); // the other half
    QTRY_COMPARE(console.received(), packet("8b 44"_hex) + packet("8b 44"_hex));
    QCOMPARE(m_tester->commandsSeen(), (QList<QByteArray>{"0b"_hex, "0b"_hex}));
}

void tst_tcpend::clientThatHasLeft_data()
{
    QTest::addColumn<bool>("resets");
    QTest::newRow("closed") << false;
    QTest::newRow("reset") << true;
}

/// The end of one connection and the next one are reported in the same turn of the event loop.
void tst_tcpend::clientThatHasLeft()
{
    QFETCH(bool, resets);
    QSignalSpy refused(m_end.get(), &TcpEnd::clientRefused);
    for (int round = 1; round <= 10; ++round) {
        RawClient first(m_end->port());
        QTRY_VERIFY(m_end->isConsoleConnected());
        m_tester->clearCommandsSeen();
        first.send(packet("03"_hex)); // its last command is carried out
        first.close(resets);
        RawClient second(m_end->port());
        second.send(packet("0b"_hex));
        QTRY_VERIFY(second.receives(packet("8b 44"_hex)) || second.receives(packet("8b 4c"_hex)));
        QCOMPARE(refused.size(), 0);
        if (!resets)
            QCOMPARE(m_tester->commandsSeen(), (QList<QByteArray>{"03"_hex, "0b"_hex}));
        second.close(false);
        QTRY_VERIFY(!m_end->isConsoleConnected());
    }
}

void tst_tcpend::acceptsOnlyOnePort()
{
    QSignalSpy refused(m_end.get(), &TcpEnd::clientRefused);
    std::optional<quint16> port = 0;
    m_end->acceptOnly([&] { return port; });
    Client stranger(*m_end);
    QTRY_VERIFY(stranger.isClosed());
    QCOMPARE(refused.size(), 1);

    port.reset(); // not known yet
    RawClient early(m_end->port());
    RawClient console(m_end->port());
    console.send(packet("0b"_hex));
    QTest::qWait(0);
    QVERIFY(!m_end->isConsoleConnected());
    QCOMPARE(refused.size(), 1);
    port = console.port();
    QTRY_VERIFY(console.receives(packet("8b 44"_hex)));
    QCOMPARE(refused.size(), 2);
    Client another(*m_end);
    QTRY_VERIFY(another.isClosed());
    QCOMPARE(refused.size(), 3);
    QVERIFY(m_end->isConsoleConnected());
}

void tst_tcpend::clientThatDoesNotRead()
{
    QSignalSpy dropped(m_end.get(), &TcpEnd::packetsDropped);
    m_tester->setRecording(false);
    RawClient client(m_end->port());
    QTRY_VERIFY(m_end->isConsoleConnected());
    const QByteArray data(60'000, 'd');
    const QByteArray report = packet("92 02 81"_hex + data);
    const qint64 before = allocatedBytes();
    for (int i = 0; i < 1000; ++i) { // 60 MB, of which the system takes a few
        m_tester->reportData(0x02, 0x81, data);
        QCoreApplication::processEvents();
    }
    QVERIFY(allocatedBytes() - before < SendLimit::Most + 2'000'000);
    QCOMPARE(dropped.size(), 1);

    // It reads again: whole packets, as many as were kept, and then the answers to its commands.
    QByteArray received;
    client.send(packet("0b"_hex));
    QTRY_VERIFY_WITH_TIMEOUT((received += client.receive()).endsWith(packet("8b 44"_hex)), 30'000);
    received.chop(6);
    QVERIFY(received == report.repeated(received.size() / report.size()));
    QVERIFY(received.size() > SendLimit::Most - report.size());
    QVERIFY(allocatedBytes() - before - received.capacity() < 2'000'000);

    client.close(false);
    QTRY_VERIFY(!m_end->isConsoleConnected());
    RawClient next(m_end->port());
    QTRY_VERIFY(m_end->isConsoleConnected());
    for (int i = 0; i < 1000; ++i) {
        m_tester->reportData(0x02, 0x81, data);
        QCoreApplication::processEvents();
    }
    QCOMPARE(dropped.size(), 2); // once a connection
}

/// A packet that was begun is completed, whatever waits by then.
void tst_tcpend::fragmentsOfAClientThatDoesNotRead()
{
    m_tester->setRecording(false);
    m_tester->faults().fragment = 1000;
    RawClient client(m_end->port());
    QTRY_VERIFY(m_end->isConsoleConnected());
    const QByteArray data(60'000, 'd');
    const QByteArray report = packet("92 02 81"_hex + data);
    for (int i = 0; i < 500; ++i)
        m_tester->reportData(0x02, 0x81, data);
    QByteArray received;
    const QByteArray answer = packet("8b 44"_hex);
    QTRY_VERIFY_WITH_TIMEOUT(
        [&] {
            client.send(packet("0b"_hex)); // not answered while the limit is exceeded
            return (received += client.receive()).contains(answer);
        }(),
        30'000);
    received.truncate(received.indexOf(answer));
    QVERIFY(received.size() < 500 * report.size());
    QVERIFY(received == report.repeated(received.size() / report.size()));
}

/// A connection that was dropped while its client does not read is kept until the next is dropped.
void tst_tcpend::droppedClientsThatDoNotRead()
{
    m_tester->setRecording(false);
    const QByteArray data(60'000, 'd');
    std::vector<std::unique_ptr<RawClient>> clients;
    qint64 afterTheFirst = 0;
    const qint64 before = allocatedBytes();
    for (int i = 0; i < 5; ++i) {
        clients.push_back(std::make_unique<RawClient>(m_end->port()));
        QTRY_VERIFY(m_end->isConsoleConnected());
        for (int report = 0; report < 300; ++report)
            m_tester->reportData(0x02, 0x81, data);
        m_tester->dropConnection();
        QCoreApplication::processEvents();
        if (i == 0)
            afterTheFirst = allocatedBytes() - before;
    }
    QVERIFY(afterTheFirst > 1'000'000);
    QVERIFY(allocatedBytes() - before < 2 * SendLimit::Most);
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
