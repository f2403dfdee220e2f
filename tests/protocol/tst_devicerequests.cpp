// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Hex.h"
#include "support/ProtocolBench.h"
#include "support/RecordingClient.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

using Client = DeviceRequests::Client;

constexpr auto WaitingLine = "\r\nThe device request waits until an earlier exchange has ended";
constexpr auto PaneLine = "-- Device Request Response: Status = 00\r\n ";

/// A recording client for the viewer and one for the FTDI utility. A request is one byte of
/// payload, so that what was sent reads as a list of bytes.
struct RequestBench : ProtocolBench
{
    RequestBench()
    {
        requests.setHandler(Client::Viewer, &viewer);
        requests.setHandler(Client::Ftdi, &ftdi);
    }

    void send(Client client, char block) { requests.send(client, QByteArray(1, block)); }
    void beginWalk(char block) { requests.beginWalk(QByteArray(1, block)); }
    /// A reply with one byte of data.
    void reply(char data) { dispatch("81 00"_hex + data); }

    /// The blocks sent since the last call.
    QByteArray sent()
    {
        QByteArray blocks;
        for (const QByteArray &packet : std::exchange(serial->written, {}))
            blocks += packet.mid(3, packet.size() - 5);
        return blocks;
    }
    /// The data of the replies that the client has received.
    static QByteArray received(const RecordingClient &client)
    {
        QByteArray data;
        for (const QByteArray &payload : client.replies)
            data += payload.mid(2);
        return data;
    }
    void ticks(int count)
    {
        for (int i = 0; i < count; ++i) {
            tick();
            requests.tick();
        }
    }

    RecordingClient viewer;
    RecordingClient ftdi;
};

} // namespace

/// Which device request is sent when, and to whom each reply goes.
class TestDeviceRequests : public QObject
{
    Q_OBJECT

private slots:
    void repliesGoToTheirClients();
    void ownRequestsAreNotHeld();
    void othersWaitForTheReply();
    void othersWaitForTheWalk();
    void othersWaitForAWalkThatStalls();
    void waitingInOrder();
    void walkWaits();
    void walkTimesOut();
    void walkThatHasEnded();
    void abandonedRequestIsDiscarded();
    void nothingIsSentBeforeALateReply();
    void lostReplyExpires_data();
    void lostReplyExpires();
    void abandonedWhileWaiting();
    void holdKeepsRequests();
    void newConnectionStartsAfresh();
    void notSent();
    void withoutStatus();
    void repliesThatNothingAskedFor();
    void withoutHandler();
};

void TestDeviceRequests::repliesGoToTheirClients()
{
    RequestBench bench;
    bench.send(Client::Ftdi, 'f');
    QVERIFY(bench.session.FtdiActive);
    bench.reply('1');
    QVERIFY(!bench.session.FtdiActive);
    QCOMPARE(RequestBench::received(bench.ftdi), QByteArray("1"));

    bench.beginWalk('v');
    QVERIFY(bench.session.DescActive);
    QCOMPARE(int{bench.session.DescTimeout}, 50);
    bench.reply('2');
    QVERIFY(bench.session.DescActive);
    QCOMPARE(RequestBench::received(bench.viewer), QByteArray("2"));
    bench.requests.endWalk();
    QVERIFY(!bench.session.DescActive);
    QCOMPARE(int{bench.session.DescTimeout}, 0);

    bench.send(Client::Builder, 'b');
    bench.reply('3');
    QCOMPARE(bench.responses(), QByteArray(PaneLine) + "33 \r\n");
    QCOMPARE(RequestBench::received(bench.ftdi), QByteArray("1"));
    QCOMPARE(RequestBench::received(bench.viewer), QByteArray("2"));
    QCOMPARE(bench.commandPane(), QString()); // nothing had to wait
}

void TestDeviceRequests::ownRequestsAreNotHeld()
{
    RequestBench bench;
    bench.send(Client::Builder, 'a');
    bench.send(Client::Ftdi, 'f');
    bench.send(Client::Builder, 'b');
    QCOMPARE(bench.sent(), QByteArray("ab"));
    bench.reply('1');
    QCOMPARE(bench.sent(), QByteArray());
    bench.reply('2');
    QCOMPARE(bench.sent(), QByteArray("f"));
    bench.reply('3');
    QCOMPARE(bench.responses(), QByteArray(PaneLine) + "31 \r\n" + PaneLine + "32 \r\n");
    QCOMPARE(RequestBench::received(bench.ftdi), QByteArray("3"));
}

void TestDeviceRequests::othersWaitForTheReply()
{
    RequestBench bench;
    bench.send(Client::Ftdi, 'f');
    bench.send(Client::Builder, 'b');
    QCOMPARE(bench.sent(), QByteArray("f"));
    QCOMPARE(bench.commandPane(), QLatin1String(WaitingLine));
    QVERIFY(bench.requests.isWaiting(Client::Builder));
    bench.reply('1');
    QCOMPARE(bench.sent(), QByteArray("b"));
    QVERIFY(!bench.requests.isWaiting(Client::Builder));
    bench.reply('2');
    QCOMPARE(RequestBench::received(bench.ftdi), QByteArray("1"));
    QCOMPARE(bench.responses(), QByteArray(PaneLine) + "32 \r\n");
}

void TestDeviceRequests::othersWaitForTheWalk()
{
    RequestBench bench;
    int left = 2;
    bench.viewer.replied = [&] {
        if (left-- > 0)
            bench.send(Client::Viewer, 'w');
        else
            bench.requests.endWalk();
    };
    bench.beginWalk('v');
    bench.send(Client::Builder, 'b');
    bench.send(Client::Ftdi, 'f');
    QCOMPARE(bench.ftdi.sent, 0);
    QVERIFY(!bench.session.FtdiActive);
    bench.reply('1');
    bench.reply('2');
    QCOMPARE(bench.sent(), QByteArray("vww"));
    bench.reply('3'); // the walk ends
    QCOMPARE(bench.sent(), QByteArray("b"));
    bench.reply('4');
    QCOMPARE(bench.sent(), QByteArray("f"));
    QCOMPARE(bench.ftdi.sent, 1);
    bench.reply('5');
    QCOMPARE(RequestBench::received(bench.viewer), QByteArray("123"));
    QCOMPARE(bench.responses(), QByteArray(PaneLine) + "34 \r\n");
    QCOMPARE(RequestBench::received(bench.ftdi), QByteArray("5"));
}

/// A reply with a bLength of 0 leaves the walk without a request until its time-out.
void TestDeviceRequests::othersWaitForAWalkThatStalls()
{
    RequestBench bench;
    bench.beginWalk('v');
    bench.reply('1');
    bench.send(Client::Builder, 'b');
    QCOMPARE(bench.sent(), QByteArray("v"));
    bench.requests.endWalk();
    QCOMPARE(bench.sent(), QByteArray("b"));
}

void TestDeviceRequests::waitingInOrder()
{
    RequestBench bench;
    bench.send(Client::Ftdi, 'f');
    bench.send(Client::Builder, 'b');
    bench.reply('1');
    bench.send(Client::Ftdi, 'g'); // behind the request that has just gone out
    QCOMPARE(bench.sent(), QByteArray("fb"));
    bench.beginWalk('v');
    bench.send(Client::Builder, 'c'); // the exchange of the builder goes on
    QCOMPARE(bench.sent(), QByteArray("c"));
    bench.reply('2');
    bench.reply('3');
    QCOMPARE(bench.sent(), QByteArray("g"));
    bench.reply('4');
    QCOMPARE(bench.sent(), QByteArray("v"));
    bench.reply('5');
    QCOMPARE(RequestBench::received(bench.ftdi), QByteArray("14"));
    QCOMPARE(RequestBench::received(bench.viewer), QByteArray("5"));
}

/// Nothing of a walk has begun before its first request is sent.
void TestDeviceRequests::walkWaits()
{
    RequestBench bench;
    bench.send(Client::Builder, 'b');
    bench.beginWalk('v');
    bench.ticks(7);
    QVERIFY(!bench.session.DescActive);
    QCOMPARE(int{bench.session.DescTimeout}, 0);
    bench.reply('1');
    QCOMPARE(bench.responses(), QByteArray(PaneLine) + "31 \r\n");
    QVERIFY(bench.session.DescActive);
    QCOMPARE(int{bench.session.DescTimeout}, 50);
}

void TestDeviceRequests::walkTimesOut()
{
    RequestBench bench;
    bench.beginWalk('v');
    bench.ticks(49);
    QCOMPARE(bench.viewer.timeouts, 0);
    bench.ticks(1);
    QCOMPARE(bench.viewer.timeouts, 1);
}

/// Its replies are shown as those to any other request, and not given to the next walk.
void TestDeviceRequests::walkThatHasEnded()
{
    RequestBench bench;
    bench.beginWalk('v');
    bench.requests.endWalk();
    bench.beginWalk('w');
    QCOMPARE(bench.sent(), QByteArray("v"));
    bench.reply('1');
    QCOMPARE(bench.responses(), QByteArray(PaneLine) + "31 \r\n");
    QCOMPARE(bench.sent(), QByteArray("w"));
    bench.reply('2');
    QCOMPARE(RequestBench::received(bench.viewer), QByteArray("2"));
}

void TestDeviceRequests::abandonedRequestIsDiscarded()
{
    RequestBench bench;
    bench.send(Client::Ftdi, 'f');
    bench.requests.abandon(Client::Ftdi);
    QVERIFY(bench.session.FtdiActive); // its reply can still come
    bench.reply('1');
    QVERIFY(!bench.session.FtdiActive);
    QCOMPARE(bench.ftdi.replies.size(), 0);
    QCOMPARE(bench.responses(), QByteArray());
}

void TestDeviceRequests::nothingIsSentBeforeALateReply()
{
    RequestBench bench;
    bench.send(Client::Ftdi, 'f');
    bench.requests.abandon(Client::Ftdi);
    bench.send(Client::Ftdi, 'g');
    bench.send(Client::Builder, 'b');
    QCOMPARE(bench.sent(), QByteArray("f"));
    QCOMPARE(bench.ftdi.sent, 1);
    bench.reply('1');
    QCOMPARE(bench.sent(), QByteArray("g"));
    bench.reply('2');
    QCOMPARE(RequestBench::received(bench.ftdi), QByteArray("2"));
    QCOMPARE(bench.sent(), QByteArray("b"));
}

void TestDeviceRequests::lostReplyExpires_data()
{
    QTest::addColumn<int>("start"); // of the tick counter
    QTest::newRow("early") << 0;
    QTest::newRow("over the wrap of the counter") << 1'999'999'970;
}

void TestDeviceRequests::lostReplyExpires()
{
    QFETCH(int, start);

    RequestBench bench;
    bench.session.TickCount = start;
    bench.send(Client::Ftdi, 'f');
    bench.requests.abandon(Client::Ftdi);
    bench.send(Client::Ftdi, 'g');
    bench.ticks(59);
    QCOMPARE(bench.sent(), QByteArray("f"));
    bench.ticks(1);
    QCOMPARE(bench.sent(), QByteArray("g"));
    bench.reply('2');
    QCOMPARE(RequestBench::received(bench.ftdi), QByteArray("2"));
}

void TestDeviceRequests::abandonedWhileWaiting()
{
    RequestBench bench;
    bench.send(Client::Builder, 'b');
    bench.send(Client::Ftdi, 'f');
    bench.requests.abandon(Client::Ftdi);
    bench.reply('1');
    QCOMPARE(bench.sent(), QByteArray("b"));
    QCOMPARE(bench.ftdi.sent, 0);
    QCOMPARE(bench.ftdi.discarded, 0);
}

void TestDeviceRequests::holdKeepsRequests()
{
    RequestBench bench;
    {
        const PacketHold download(bench.link);
        bench.beginWalk('v');
        bench.ticks(60);
        QCOMPARE(bench.sent(), QByteArray());
        QVERIFY(!bench.session.DescActive);
    }
    QCOMPARE(bench.sent(), QByteArray("v"));
    QCOMPARE(int{bench.session.DescTimeout}, 50);
}

void TestDeviceRequests::newConnectionStartsAfresh()
{
    RequestBench bench;
    bench.send(Client::Ftdi, 'f');
    bench.beginWalk('v');
    bench.send(Client::Builder, 'b');
    bench.session.connection.cancel();
    bench.requests.tick();
    QVERIFY(!bench.session.FtdiActive);
    QCOMPARE(bench.viewer.discarded, 1);
    QCOMPARE(bench.ftdi.discarded, 0); // none of its requests waited
    QVERIFY(bench.commandPane().endsWith(
        QLatin1String("\r\nThe connection has ended: device requests were not sent")));

    bench.sent();
    bench.send(Client::Builder, 'c');
    QCOMPARE(bench.sent(), QByteArray("c"));
    bench.reply('1');
    QCOMPARE(bench.responses(), QByteArray(PaneLine) + "31 \r\n");
    QCOMPARE(bench.ftdi.replies.size(), 0);
}

void TestDeviceRequests::notSent()
{
    RequestBench bench;
    bench.link.CloseLink();
    bench.send(Client::Ftdi, 'f');
    QCOMPARE(bench.ftdi.sent, 1);
    QVERIFY(bench.session.FtdiActive);
    QCOMPARE(bench.commandPane(), QLatin1String("\r\nNot connected: nothing was sent"));
    bench.requests.abandon(Client::Ftdi);
    QVERIFY(!bench.session.FtdiActive); // no reply can come

    bench.open();
    bench.send(Client::Builder, 'b');
    QCOMPARE(bench.sent(), QByteArray("b")); // nothing is outstanding
}

void TestDeviceRequests::withoutStatus()
{
    RequestBench bench;
    bench.send(Client::Ftdi, 'f');
    bench.dispatch("81"_hex);
    QVERIFY(bench.session.FtdiActive);
    QCOMPARE(bench.ftdi.replies.size(), 0);
    bench.reply('1');
    QCOMPARE(RequestBench::received(bench.ftdi), QByteArray("1"));
}

void TestDeviceRequests::repliesThatNothingAskedFor()
{
    RequestBench bench;
    bench.reply('1');
    QCOMPARE(bench.takeResponses(), QByteArray(PaneLine) + "31 \r\n");

    bench.beginWalk('v');
    bench.reply('2');
    bench.reply('3'); // the walk is still under way
    QCOMPARE(RequestBench::received(bench.viewer), QByteArray("23"));
    bench.requests.endWalk();

    bench.send(Client::Ftdi, 'f');
    bench.requests.abandon(Client::Ftdi);
    bench.ticks(60); // expired, and FtdiActive is still set
    QVERIFY(bench.session.FtdiActive);
    bench.reply('4');
    QVERIFY(!bench.session.FtdiActive);
    QCOMPARE(bench.ftdi.replies.size(), 0);
    QCOMPARE(bench.takeResponses(), QByteArray());
}

void TestDeviceRequests::withoutHandler()
{
    RequestBench bench;
    bench.requests.setHandler(Client::Viewer, nullptr);
    bench.beginWalk('v');
    bench.reply('1');
    bench.ticks(50);
    QCOMPARE(int{bench.session.DescTimeout}, 0);
    QCOMPARE(bench.viewer.timeouts, 0);
}

VANTREL_TEST(TestDeviceRequests)
#include "tst_devicerequests.moc"
