// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/ConsoleBench.h"
#include "support/Hex.h"
#include "support/RecordingClient.h"
#include "support/TestProgram.h"
#include "support/Turns.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

const auto VersionReply = "1b53 8f 02 03 0c 00 40 1b45"_hex;
const auto StatusReply = "1b53 8b 46 1b45"_hex;
const auto Acknowledgement = "1b53 83 1b45"_hex;

qsizetype connectingLines(const ConsoleBench &bench)
{
    return bench.main.CmdWin.text().count(QLatin1String("\r\nConnecting..."));
}

/// A console each of whose packets takes half the limit of a turn.
struct SlowConsole : ConsoleBench
{
    void slowDown()
    {
        console.link().setReceiveClock([this] { return receiveTime += VornComm::TurnLimit / 2; });
    }
    /// Packets of which the turn has processed the first ones.
    void flood(const QByteArray &last) { transport().receive(Acknowledgement.repeated(20) + last); }
    bool hasCaughtUp()
    {
        return turnsUntil([this] { return console.link().reception().isComplete(); });
    }
};

} // namespace

/// What has arrived while the program did not run, or has not been processed yet, is not taken for
/// silence of the tester.
class TestSilence : public QObject
{
    Q_OBJECT

private slots:
    void versionReplyBeforeTheStep();
    void statusReplyBeforeTheStep_data();
    void statusReplyBeforeTheStep();
    void replyBeforeTheDeadline();
    void stepWaitsForWhatHadArrived_data();
    void stepWaitsForWhatHadArrived();
    void silenceOfATesterThatSendsOtherThings();
    void walkEndsAfterWhatHadArrived();
    void requestExpiresAfterWhatHadArrived();
    void panesAndCountGoOn();
};

/// On a serial line the next probe would leave at another rate.
void TestSilence::versionReplyBeforeTheStep()
{
    ConsoleBench bench;
    bench.connect();
    bench.second();
    bench.tick(9);
    bench.serial->receiveUnreported(VersionReply);
    bench.tick();
    QCOMPARE(bench.session.LinkState, LinkStates::Running);
    QCOMPARE(bench.serial->settings, QList<QByteArray>{" 19200,n,8,1"});
}

void TestSilence::statusReplyBeforeTheStep_data()
{
    QTest::addColumn<bool>("network");
    QTest::newRow("serial") << false;
    QTest::newRow("network") << true;
}

void TestSilence::statusReplyBeforeTheStep()
{
    QFETCH(bool, network);
    ConsoleBench bench;
    bench.run(network);
    bench.second();
    for (int seconds = 0; seconds < 5; ++seconds) {
        bench.tick(9);
        bench.transport().receiveUnreported(StatusReply);
        bench.tick();
    }
    QCOMPARE(bench.session.LinkState, LinkStates::Running);
    QCOMPARE(connectingLines(bench), 1);
    bench.second();
    bench.second(); // silent indeed
    QCOMPARE(connectingLines(bench), 2);
}

void TestSilence::replyBeforeTheDeadline()
{
    ConsoleBench bench;
    bench.run();
    QByteArray buffer = "....";
    std::optional<int> result;
    const auto read = [&]() -> QCoro::Task<> {
        result = co_await bench.console.commands().SendConfigMemoryRead(0x0010, buffer, 4);
    };
    const auto task = read();
    bench.tick(19);
    bench.serial->receiveUnreported("1b53 b6 61 62 63 64 1b45"_hex);
    bench.tick();
    QCOMPARE(result, std::optional(0));
    QCOMPARE(buffer, QByteArray("abcd"));
}

void TestSilence::stepWaitsForWhatHadArrived_data()
{
    QTest::addColumn<bool>("probing");
    QTest::addColumn<bool>("answers");
    QTest::newRow("running, answer") << false << true;
    QTest::newRow("running, none") << false << false;
    QTest::newRow("probing, answer") << true << true;
    QTest::newRow("probing, none") << true << false;
}

void TestSilence::stepWaitsForWhatHadArrived()
{
    QFETCH(bool, probing);
    QFETCH(bool, answers);
    SlowConsole bench;
    if (probing) {
        bench.connect();
        bench.second();
    } else {
        bench.run();
        bench.second();
    }
    const auto before = bench.session.LinkState;
    bench.slowDown();
    bench.tick(9);
    bench.flood(answers ? (probing ? VersionReply : StatusReply) : Acknowledgement);
    bench.tick(15);
    QCOMPARE(bench.session.LinkState, before); // undecided
    QCOMPARE(bench.serial->settings.size(), 1);
    QVERIFY(bench.hasCaughtUp());
    bench.tick();
    if (answers) {
        QCOMPARE(bench.session.LinkState, LinkStates::Running);
        QCOMPARE(connectingLines(bench), 1);
    } else {
        QCOMPARE(bench.session.LinkState, LinkStates::Probing);
        QCOMPARE(bench.serial->settings.size(), probing ? 2 : 1);
        QCOMPARE(connectingLines(bench), probing ? 1 : 2);
    }
}

/// What arrives after the second is over does not put the decision off any longer.
void TestSilence::silenceOfATesterThatSendsOtherThings()
{
    SlowConsole bench;
    bench.run();
    bench.second();
    bench.slowDown();
    bench.flood({});
    for (int round = 0; round < 40 && connectingLines(bench) == 1; ++round) {
        bench.tick();
        bench.transport().receiveUnreported(Acknowledgement.repeated(2));
        QCoreApplication::processEvents();
    }
    QCOMPARE(connectingLines(bench), 2);
}

void TestSilence::walkEndsAfterWhatHadArrived()
{
    SlowConsole bench;
    bench.run();
    RecordingClient viewer;
    bench.console.requests().setHandler(DeviceRequests::Client::Viewer, &viewer);
    bench.console.requests().beginWalk("02 80 06 00 01 00 00 12 00"_hex);
    bench.slowDown();
    bench.tick(49);
    bench.flood({});
    bench.tick(5);
    QCOMPARE(viewer.timeouts, 0);
    QCOMPARE(bench.session.DescTimeout, qint16{1});
    QVERIFY(bench.hasCaughtUp());
    bench.tick();
    QCOMPARE(viewer.timeouts, 1);
    QCOMPARE(bench.session.DescTimeout, qint16{0});
    bench.console.requests().setHandler(DeviceRequests::Client::Viewer, nullptr);
}

void TestSilence::requestExpiresAfterWhatHadArrived()
{
    SlowConsole bench;
    bench.run();
    DeviceRequests &requests = bench.console.requests();
    RecordingClient builder;
    requests.setHandler(DeviceRequests::Client::Builder, &builder);
    requests.send(DeviceRequests::Client::Builder, "02 80 00 00 00 00 00 02 00"_hex);
    bench.slowDown();
    bench.tick(DeviceRequests::ReplyTicks - 1);
    bench.flood("1b53 81 00 01 00 1b45"_hex);
    bench.tick(5);
    QVERIFY(bench.hasCaughtUp());
    QCOMPARE(builder.replies.size(), 1);
    requests.setHandler(DeviceRequests::Client::Builder, nullptr);
}

void TestSilence::panesAndCountGoOn()
{
    SlowConsole bench;
    bench.run();
    bench.slowDown();
    const qint32 count = bench.session.TickCount;
    bench.flood({});
    bench.transport().receiveUnreported("1b53 94 1b45"_hex);
    bench.session.RespDirty = true;
    bench.tick(3);
    QCOMPARE(bench.session.TickCount, count + 3);
    QVERIFY(!bench.session.RespDirty);
}

VANTREL_TEST(TestSilence)
#include "tst_silence.moc"
