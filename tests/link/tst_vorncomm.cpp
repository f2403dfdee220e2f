// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Hex.h"
#include "support/LinkBench.h"
#include "support/TestProgram.h"

#include <QSignalSpy>
#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

/// The link over transports that end in the test.
class TestVornComm : public QObject
{
    Q_OBJECT

private slots:
    void stuffEscapes_data();
    void stuffEscapes();
    void opensSerial_data();
    void opensSerial();
    void opensTcp();
    void closesTheOneInUse();
    void openErrorIsPassedOn();
    void connectPending();
    void nextBaudRate();
    void nextBaudRateBeyondTheSearch();
    void reopensAtTheRateReached();
    void sendsInOneWrite_data();
    void sendsInOneWrite();
    void sendsNothingUnconnected_data() { sendsInOneWrite_data(); }
    void sendsNothingBeyondTheLimit_data() { sendsInOneWrite_data(); }
    void sendsNothingBeyondTheLimit();
    void sendsNothingUnconnected();
    void receives_data() { sendsInOneWrite_data(); }
    void receives();
    void receivesMoreThanOneReadTakes();
    void packetOverManyNotifications();
    void endlessBodyIsGivenUp();
    void packetOverAReconnect();
    void packetStaysAfterDispatch();
    void nextByteAfterTheDispatcherReturned();
    void answeredWaitGoesOnAtOnce();
    void socketErrorIsTold();
    void serialNeverTells();
};

void TestVornComm::stuffEscapes_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("stuffed");

    QTest::newRow("empty") << QByteArray() << QByteArray();
    QTest::newRow("none") << "05 53 45"_hex
                          << "05 53 45"_hex;
    QTest::newRow("two at the end") << "05 1b 1b"_hex
                                    << "05 1b 1b 1b 1b"_hex;
    QTest::newRow("one in front") << "1b 05"_hex
                                  << "1b 1b 05"_hex;
    QTest::newRow("alone") << "1b"_hex
                           << "1b 1b"_hex;
    QTest::newRow("zero and high bytes") << "00 9b 1b ff"_hex
                                         << "00 9b 1b 1b ff"_hex;
}

void TestVornComm::stuffEscapes()
{
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, stuffed);

    QCOMPARE(StuffEscapes(body), stuffed);
    QCOMPARE(body, QByteArray());
}

void TestVornComm::opensSerial_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("device");

    QTest::newRow("COM1") << 1 << QStringLiteral("/dev/one");
    QTest::newRow("COM2") << 2 << QStringLiteral("/dev/two");
    QTest::newRow("COM3") << 3 << QStringLiteral("/dev/three");
    QTest::newRow("COM4") << 4 << QStringLiteral("/dev/four");
}

void TestVornComm::opensSerial()
{
    QFETCH(int, number);
    QFETCH(QString, device);

    LinkBench bench;
    bench.link.setSerialDevice(1, QStringLiteral("/dev/one"));
    bench.link.setSerialDevice(2, QStringLiteral("/dev/two"));
    bench.link.setSerialDevice(3, QStringLiteral("/dev/three"));
    bench.link.setSerialDevice(4, QStringLiteral("/dev/four"));
    bench.link.setSerialPortNumber(number);
    QCOMPARE(bench.link.serialPortNumber(), number);

    QVERIFY(!bench.link.OpenLink());

    QCOMPARE(bench.serial->opened.size(), 1);
    QCOMPARE(bench.serial->opened[0].address, device);
    QCOMPARE(bench.serial->opened[0].settings, QByteArray(" 19200,n,8,1"));
    QCOMPARE(bench.tcp->opened.size(), 0);
    QVERIFY(bench.link.isConnected());
}

void TestVornComm::opensTcp()
{
    LinkBench bench;
    bench.session.NetworkMode = true;
    bench.link.setRemoteHost(QStringLiteral("tester-7.lab"));
    QVERIFY(!bench.link.OpenLink());
    bench.link.setRemotePort(4711);
    QVERIFY(!bench.link.OpenLink());

    QCOMPARE(bench.tcp->opened.size(), 2);
    QCOMPARE(bench.tcp->opened[0].address, QLatin1String("tester-7.lab"));
    QCOMPARE(bench.tcp->opened[0].port, quint16{7});
    QCOMPARE(bench.tcp->opened[1].port, quint16{4711});
    QCOMPARE(bench.serial->opened.size(), 0);
}

void TestVornComm::closesTheOneInUse()
{
    LinkBench bench;
    bench.open();
    bench.link.CloseLink();
    QCOMPARE(bench.serial->closes, 1);
    QCOMPARE(bench.tcp->closes, 0);
    QVERIFY(!bench.link.isConnected());

    bench.open(true);
    bench.link.CloseLink();
    QCOMPARE(bench.serial->closes, 1);
    QCOMPARE(bench.tcp->closes, 1);
    QVERIFY(!bench.link.isConnected());
}

void TestVornComm::openErrorIsPassedOn()
{
    LinkBench bench;
    bench.serial->openError = QStringLiteral("no such device");
    bench.tcp->openError = QStringLiteral("no host");

    QCOMPARE(bench.link.OpenLink(), std::optional(QStringLiteral("no such device")));
    QVERIFY(!bench.link.isConnected());
    bench.session.NetworkMode = true;
    QCOMPARE(bench.link.OpenLink(), std::optional(QStringLiteral("no host")));
    QVERIFY(!bench.link.isConnected());
}

void TestVornComm::connectPending()
{
    LinkBench bench;
    bench.tcp->connectsAtOnce = false;
    bench.open(true);
    QVERIFY(!bench.link.isConnected());
    bench.tcp->connectNow();
    QVERIFY(bench.link.isConnected());
}

void TestVornComm::nextBaudRate()
{
    LinkBench bench;
    bench.open();
    QList<qint16> indices;
    for (int call = 0; call < 9; ++call) {
        bench.link.NextBaudRate();
        indices.append(bench.session.BaudIndex);
    }

    QCOMPARE(bench.serial->settings,
             (QList<QByteArray>{" 19200,n,8,1", " 38400,n,8,1", " 57600,n,8,1", " 115200,n,8,1",
                                " 19200,n,8,1", " 38400,n,8,1", " 57600,n,8,1", " 115200,n,8,1",
                                " 19200,n,8,1", " 38400,n,8,1"}));
    QCOMPARE(indices, (QList<qint16>{1, 2, 3, 0, 1, 2, 3, 0, 1}));
    QCOMPARE(bench.serial->opened.size(), 1);
}

void TestVornComm::nextBaudRateBeyondTheSearch()
{
    LinkBench bench;
    bench.open();
    for (const qint16 index : {qint16{3}, qint16{4}, qint16{5}, qint16{6}}) {
        bench.session.BaudIndex = index;
        bench.link.NextBaudRate();
        QCOMPARE(bench.session.BaudIndex, qint16{0});
        QCOMPARE(bench.serial->settings.last(), QByteArray(" 19200,n,8,1"));
    }
}

void TestVornComm::reopensAtTheRateReached()
{
    LinkBench bench;
    bench.open();
    bench.link.NextBaudRate();
    bench.link.NextBaudRate();
    bench.link.CloseLink();
    bench.open();

    QCOMPARE(bench.session.BaudIndex, qint16{2});
    QCOMPARE(bench.serial->opened.last().settings, QByteArray(" 57600,n,8,1"));
    QCOMPARE(bench.link.lineSettings(), QByteArray(" 57600,n,8,1"));
}

void TestVornComm::sendsInOneWrite_data()
{
    QTest::addColumn<bool>("network");

    QTest::newRow("serial") << false;
    QTest::newRow("TCP") << true;
}

void TestVornComm::sendsInOneWrite()
{
    QFETCH(bool, network);

    LinkBench bench;
    bench.open(network);
    const QByteArray packet = "1b53 01 00 ff 1b1b 1b45"_hex;
    bench.link.SendPacket(packet);

    QCOMPARE((network ? bench.tcp : bench.serial)->written, QList<QByteArray>{packet});
    QCOMPARE((network ? bench.serial : bench.tcp)->written, QList<QByteArray>());
    QCOMPARE(bench.session.Main.CmdWin.text(), QString());
}

void TestVornComm::sendsNothingBeyondTheLimit()
{
    QFETCH(bool, network);

    LinkBench bench;
    bench.open(network);
    MemoryTransport &transport = network ? *bench.tcp : *bench.serial;
    const QByteArray packet = "1b53 0f 1b45"_hex;
    transport.heldUp = 67'108'863; // a byte below 64 MiB: the packet is taken whole
    QVERIFY(bench.link.takesPackets());
    QVERIFY(bench.link.SendPacket(packet));
    QCOMPARE(bench.session.Main.CmdWin.text(), QString());

    transport.heldUp = 67'108'864;
    QVERIFY(!bench.link.takesPackets());
    QVERIFY(!bench.link.SendPacket(packet));
    QCOMPARE(bench.session.Main.CmdWin.text(),
             QLatin1String("\r\nThe tester takes no bytes: nothing was sent"));
    QCOMPARE(transport.written, QList<QByteArray>{packet});

    transport.heldUp = 0;
    QVERIFY(bench.link.SendPacket(packet));
    QCOMPARE(transport.written.size(), 2);
}

void TestVornComm::sendsNothingUnconnected()
{
    QFETCH(bool, network);

    LinkBench bench;
    bench.session.NetworkMode = network;
    bench.link.SendPacket("1b53 0f 1b45"_hex);
    QCOMPARE(bench.session.Main.CmdWin.text(),
             QLatin1String("\r\nNot connected: nothing was sent"));

    bench.open(network);
    bench.link.CloseLink();
    bench.link.SendPacket("1b53 0f 1b45"_hex);
    QCOMPARE(bench.session.Main.CmdWin.text(),
             QLatin1String("\r\nNot connected: nothing was sent"
                           "\r\nNot connected: nothing was sent"));
    QCOMPARE(bench.serial->written, QList<QByteArray>());
    QCOMPARE(bench.tcp->written, QList<QByteArray>());
}

void TestVornComm::receives()
{
    QFETCH(bool, network);

    LinkBench bench;
    QList<QByteArray> packets;
    bench.link.setDispatcher([&] { packets.append(bench.session.RxPacket); });
    bench.open(network);

    (network ? bench.tcp : bench.serial)->receive("1b53 83 1b45 41 1b53 84 1b1b 1b45"_hex);

    QCOMPARE(packets, (QList<QByteArray>{"83"_hex, "84 1b"_hex}));
}

void TestVornComm::receivesMoreThanOneReadTakes()
{
    LinkBench bench;
    QList<QByteArray> packets;
    bench.link.setDispatcher([&] { packets.append(bench.session.RxPacket); });
    bench.open();
    const QByteArray body = QByteArray(1'000'000, 'x') + "1b"_hex + QByteArray(1'000'000, 'y');
    QByteArray copy = body;

    bench.serial->receive("1b53"_hex + StuffEscapes(copy) + "1b45 1b53 83 1b45"_hex);

    QCOMPARE(packets, (QList<QByteArray>{body, "83"_hex}));
}

void TestVornComm::packetOverManyNotifications()
{
    LinkBench bench;
    QList<QByteArray> packets;
    bench.link.setDispatcher([&] { packets.append(bench.session.RxPacket); });
    bench.open();

    bench.serial->receive("1b"_hex);
    QCOMPARE(bench.session.RxState, qint16{1});
    bench.serial->receive("53"_hex);
    QCOMPARE(bench.session.RxState, qint16{2});
    bench.serial->receive("81 1b"_hex);
    QCOMPARE(bench.session.RxState, qint16{3});
    QCOMPARE(bench.session.RxPacket, "81"_hex);
    bench.serial->receive("1b 07 1b"_hex);
    QCOMPARE(packets.size(), 0);
    bench.serial->receive("45"_hex);
    QCOMPARE(bench.session.RxState, qint16{0});
    QCOMPARE(packets, QList<QByteArray>{"81 1b 07"_hex});
}

void TestVornComm::endlessBodyIsGivenUp()
{
    LinkBench bench;
    QList<QByteArray> packets;
    bench.link.setDispatcher([&] { packets.append(bench.session.RxPacket); });
    bench.open();
    bench.serial->receive("1b53"_hex + QByteArray(VornComm::BodyLimit, 'x'));
    QCOMPARE(bench.session.RxPacket.size(), VornComm::BodyLimit);
    bench.serial->receive("1b"_hex); // it may still end
    QCOMPARE(bench.session.RxState, qint16{3});
    bench.serial->receive("78"_hex);
    QCOMPARE(bench.session.RxState, qint16{0});
    QCOMPARE(bench.session.RxPacket.capacity(), 0);
    bench.serial->receive("7878 1b45 1b53 83 1b45"_hex);
    QCOMPARE(packets, QList<QByteArray>{"83"_hex});
}

void TestVornComm::packetOverAReconnect()
{
    LinkBench bench;
    QList<QByteArray> packets;
    bench.link.setDispatcher([&] { packets.append(bench.session.RxPacket); });
    bench.open();
    bench.serial->receive("1b53 81 02"_hex);
    bench.link.CloseLink();

    bench.open(true);
    QCOMPARE(bench.session.RxState, qint16{2});
    bench.tcp->receive("03 1b45"_hex);

    QCOMPARE(packets, QList<QByteArray>{"81 02 03"_hex});
}

void TestVornComm::packetStaysAfterDispatch()
{
    LinkBench bench;
    bench.link.setDispatcher([] {});
    bench.open();
    bench.serial->receive("1b53 8b 04 1b45 ffff 1b"_hex);
    QCOMPARE(bench.session.RxPacket, "8b 04"_hex);
    bench.serial->receive("53"_hex);
    QCOMPARE(bench.session.RxPacket, QByteArray());
}

void TestVornComm::nextByteAfterTheDispatcherReturned()
{
    LinkBench bench;
    QList<QByteArray> seen;
    bench.link.setDispatcher([&] {
        seen.append(bench.session.RxPacket);
        bench.link.SendPacket(bench.session.RxPacket); // what a decoder may do
        seen.append(bench.session.RxPacket);
    });
    bench.open();
    bench.serial->receive("1b53 83 1b45 1b53 84 1b45"_hex);
    QCOMPARE(seen, (QList<QByteArray>{"83"_hex, "83"_hex, "84"_hex, "84"_hex}));
    QCOMPARE(bench.serial->written, (QList<QByteArray>{"83"_hex, "84"_hex}));
}

namespace {
QCoro::Task<> noteEnd(Session &session, std::optional<WaitEnd> &end)
{
    end = co_await session.waits.until([&session] { return session.FwBlockAck; },
                                       deadlineIn(session, 20));
}
} // namespace

void TestVornComm::answeredWaitGoesOnAtOnce()
{
    LinkBench bench;
    bench.link.setDispatcher([&] { bench.session.FwBlockAck = true; });
    bench.open();
    std::optional<WaitEnd> end;
    noteEnd(bench.session, end);
    bench.serial->receive("1b53 b3"_hex);
    QVERIFY(!end);

    bench.serial->receive("1b45"_hex);

    QCOMPARE(end, std::optional(WaitEnd::Answered));
}

void TestVornComm::socketErrorIsTold()
{
    LinkBench bench;
    QSignalSpy errors(&bench.link, &VornComm::socketError);
    bench.open(true);

    bench.tcp->fail(QStringLiteral("The remote host closed the connection"));

    QCOMPARE(errors.size(), 1);
    QCOMPARE(errors[0][0].toString(), QLatin1String("The remote host closed the connection"));
}

void TestVornComm::serialNeverTells()
{
    LinkBench bench;
    QSignalSpy errors(&bench.link, &VornComm::socketError);
    bench.open();

    bench.serial->vanish();
    bench.serial->fail(QStringLiteral("gone"));

    QCOMPARE(errors.size(), 0);
    QVERIFY(!bench.link.isConnected());
}

VANTREL_TEST(TestVornComm)
#include "tst_vorncomm.moc"
