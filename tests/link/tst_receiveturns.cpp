// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/Utils.h"
#include "support/Hex.h"
#include "support/LinkBench.h"
#include "support/TestProgram.h"
#include "support/Turns.h"

#include <QSignalSpy>
#include <QTest>

#include <optional>

using namespace vantrel;
using namespace vantrel::test;
using namespace std::chrono_literals;

namespace {

/// The framed packet whose body is one byte.
QByteArray packetOf(int number)
{
    QByteArray body(1, static_cast<char>(number));
    return "1b53"_hex + StuffEscapes(body) + "1b45"_hex;
}

QByteArray packets(int first, int count)
{
    QByteArray bytes;
    for (int i = 0; i < count; ++i)
        bytes += packetOf(first + i);
    return bytes;
}

/// A link each of whose packets takes a quarter of the limit of a turn.
struct SlowBench : LinkBench
{
    explicit SlowBench(bool network = false)
    {
        link.setDispatcher([this] {
            numbers.append(session.RxPacket.at(0));
            receiveTime += VornComm::TurnLimit / 4;
            if (onPacket)
                onPacket();
        });
        open(network);
    }

    QList<int> numbersUpTo(int last) const
    {
        QList<int> all;
        for (int i = 1; i <= last; ++i)
            all.append(i);
        return all;
    }
    bool hasProcessed(int count)
    {
        return turnsUntil([&] { return numbers.size() >= count; });
    }

    QList<int> numbers;
    std::function<void()> onPacket;
};

QCoro::Task<> noteEnd(Session &session, std::function<bool()> flag, std::optional<WaitEnd> &end)
{
    end = co_await session.waits.until(std::move(flag), deadlineIn(session, 2));
}

} // namespace

/// The limit of the work on received bytes in a turn of the event loop.
class TestReceiveTurns : public QObject
{
    Q_OBJECT

private slots:
    void endsBetweenTwoPacketsOfARead();
    void otherEventsComeBetween();
    void newerBytesComeAfter();
    void packetAcrossTwoTurns();
    void bytesWithoutPackets();
    void discardedByClose_data();
    void discardedByClose();
    void closedWhileDispatching();
    void bytesThatArriveWhileDispatching();
    void failureAfterTheLastByte();
    void failureOfAClosedLinkIsNotReported();
    void unreportedBytes();
    void unreportedBytesComeAfter();
    void deadlineAfterWhatHadArrived();
    void deadlineDuringAnEndlessFlood();
    void deadlineAfterADisconnect();
};

void TestReceiveTurns::endsBetweenTwoPacketsOfARead()
{
    SlowBench bench;
    bench.serial->receive(packets(1, 10));
    QCOMPARE(bench.numbers, bench.numbersUpTo(4));
    QVERIFY(turnsUntil([&] { return bench.numbers.size() > 4; }));
    QCOMPARE(bench.numbers, bench.numbersUpTo(8));
    QVERIFY(bench.hasProcessed(10));
    QCOMPARE(bench.numbers, bench.numbersUpTo(10));
    QVERIFY(bench.link.reception().isComplete());
}

void TestReceiveTurns::otherEventsComeBetween()
{
    SlowBench bench;
    bench.serial->receive(packets(1, 40));
    QList<qsizetype> seen;
    QTimer other;
    other.callOnTimeout([&] { seen.append(bench.numbers.size()); });
    other.start(0);
    QVERIFY(bench.hasProcessed(40));
    for (qsizetype count = 8; count < 40; count += 4)
        QVERIFY2(seen.contains(count), qPrintable(QString::number(count)));
}

void TestReceiveTurns::newerBytesComeAfter()
{
    SlowBench bench;
    bench.serial->receive(packets(1, 6));
    bench.serial->receive(packets(7, 3)); // reported in the same turn
    QCOMPARE(bench.numbers, bench.numbersUpTo(4));
    QVERIFY(bench.hasProcessed(9));
    QCOMPARE(bench.numbers, bench.numbersUpTo(9));
}

void TestReceiveTurns::packetAcrossTwoTurns()
{
    SlowBench bench;
    bench.serial->receive(packets(1, 5) + "1b53 06"_hex);
    QVERIFY(bench.hasProcessed(5));
    QCOMPARE(bench.session.RxState, qint16{2});
    bench.serial->receive("1b45"_hex);
    QCOMPARE(bench.numbers, bench.numbersUpTo(6));
}

/// The time is also looked at where no packet is complete: after each read.
void TestReceiveTurns::bytesWithoutPackets()
{
    LinkBench bench;
    bench.link.setDispatcher([] {});
    bench.link.setReceiveClock([&] { return bench.receiveTime += VornComm::TurnLimit / 2; });
    bench.open();
    bench.serial->receive(QByteArray(1'000'000, 'x'));
    QVERIFY(!bench.link.reception().isComplete());
    QVERIFY(bench.link.reception().processed >= 65'536);
    QVERIFY(turnsUntil([&] { return bench.link.reception().isComplete(); }));
    QCOMPARE(bench.link.reception().processed, quint64{1'000'000});
}

void TestReceiveTurns::discardedByClose_data()
{
    QTest::addColumn<bool>("network");
    QTest::addColumn<bool>("opened");
    QTest::newRow("serial, closed") << false << false;
    QTest::newRow("serial, opened") << false << true;
    QTest::newRow("network, closed") << true << false;
    QTest::newRow("network, opened") << true << true;
}

void TestReceiveTurns::discardedByClose()
{
    QFETCH(bool, network);
    QFETCH(bool, opened);
    SlowBench bench(network);
    MemoryTransport &transport = network ? *bench.tcp : *bench.serial;
    transport.receive(packets(1, 6));
    if (!opened)
        bench.link.CloseLink();
    bench.open(network);
    QVERIFY(bench.link.reception().isComplete());
    transport.receive(packets(50, 1));
    QCOMPARE(bench.numbers, bench.numbersUpTo(4) + QList<int>{50});
    QTest::qWait(0);
    QCOMPARE(bench.numbers.size(), 5);
}

void TestReceiveTurns::closedWhileDispatching()
{
    SlowBench bench(true);
    bench.onPacket = [&] {
        if (bench.numbers.last() == 2)
            bench.link.CloseLink();
    };
    bench.tcp->receive(packets(1, 6));
    QTest::qWait(0);
    QCOMPARE(bench.numbers, bench.numbersUpTo(2));
}

/// The buffer of the read that is being processed is not overwritten.
void TestReceiveTurns::bytesThatArriveWhileDispatching()
{
    LinkBench bench;
    QByteArray seen;
    bench.link.setDispatcher([&] {
        seen += bench.session.RxPacket;
        if (bench.session.RxPacket == "a")
            bench.serial->receive("1b53 78 1b45"_hex); // x
    });
    bench.open();
    bench.serial->receive("1b53 61 1b45 1b53 62 1b45 1b53 63 1b45"_hex);
    QCOMPARE(seen, QByteArray("abcx"));
}

void TestReceiveTurns::failureAfterTheLastByte()
{
    SlowBench bench(true);
    QSignalSpy errors(&bench.link, &VornComm::socketError);
    bench.tcp->receive(packets(1, 10));
    bench.tcp->fail(QStringLiteral("gone"));
    QCOMPARE(errors.size(), 0);
    QVERIFY(turnsUntil([&] { return bench.numbers.size() > 4; }));
    QCOMPARE(errors.size(), 0);
    QVERIFY(turnsUntil([&] { return !errors.isEmpty(); }));
    QCOMPARE(bench.numbers, bench.numbersUpTo(10));
    QCOMPARE(errors[0][0].toString(), QStringLiteral("gone"));
}

void TestReceiveTurns::failureOfAClosedLinkIsNotReported()
{
    SlowBench bench(true);
    QSignalSpy errors(&bench.link, &VornComm::socketError);
    bench.tcp->receive(packets(1, 10));
    bench.tcp->fail(QStringLiteral("gone"));
    bench.link.CloseLink();
    QTest::qWait(0);
    QCOMPARE(errors.size(), 0);
    QCOMPARE(bench.numbers, bench.numbersUpTo(4));
}

void TestReceiveTurns::unreportedBytes()
{
    SlowBench bench;
    bench.serial->receiveUnreported(packets(1, 2));
    QCOMPARE(bench.numbers, QList<int>());
    bench.link.receiveArrived();
    QCOMPARE(bench.numbers, bench.numbersUpTo(2));
}

void TestReceiveTurns::unreportedBytesComeAfter()
{
    SlowBench bench;
    bench.serial->receive(packets(1, 6));
    bench.serial->receiveUnreported(packets(7, 1));
    bench.link.receiveArrived(); // in a turn whose limit is reached
    QCOMPARE(bench.numbers, bench.numbersUpTo(4));
    QVERIFY(bench.hasProcessed(7));
    QCOMPARE(bench.numbers, bench.numbersUpTo(7));
}

void TestReceiveTurns::deadlineAfterWhatHadArrived()
{
    for (const bool answers : {true, false}) {
        SlowBench bench;
        std::optional<WaitEnd> end;
        const int expected = answers ? 10 : 99;
        noteEnd(
            bench.session, [&] { return bench.numbers.contains(expected); }, end);
        bench.serial->receive(packets(1, 6));
        bench.serial->receiveUnreported(packets(7, 4));
        bench.tick(3);
        QVERIFY(!end); // the answer may be among the packets 5 to 10
        QVERIFY(bench.hasProcessed(10));
        QCOMPARE(end, std::optional(answers ? WaitEnd::Answered : WaitEnd::TimedOut));
    }
}

/// What arrives after the deadline does not move it.
void TestReceiveTurns::deadlineDuringAnEndlessFlood()
{
    SlowBench bench;
    std::optional<WaitEnd> end;
    noteEnd(
        bench.session, [] { return false; }, end);
    bench.serial->receive(packets(1, 6));
    bench.tick(2);
    bench.onPacket = [&] { bench.serial->receiveUnreported(packets(50, 2)); };
    for (int turn = 0; turn < 100 && !end; ++turn)
        QCoreApplication::processEvents();
    QCOMPARE(end, std::optional(WaitEnd::TimedOut));
    QVERIFY(!bench.link.reception().isComplete());
    bench.onPacket = {};
    bench.link.CloseLink();
}

void TestReceiveTurns::deadlineAfterADisconnect()
{
    SlowBench bench;
    std::optional<WaitEnd> end;
    noteEnd(
        bench.session, [] { return false; }, end);
    bench.serial->receive(packets(1, 6));
    bench.tick(2);
    QVERIFY(!end);
    bench.link.CloseLink();
    bench.tick();
    QCOMPARE(end, std::optional(WaitEnd::TimedOut));
}

VANTREL_TEST(TestReceiveTurns)
#include "tst_receiveturns.moc"
