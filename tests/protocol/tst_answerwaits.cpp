// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Hex.h"
#include "support/ProtocolBench.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

constexpr auto TimedOut = std::optional(1);
constexpr auto Answered = std::optional(0);
constexpr auto Success = std::optional(true);
constexpr auto Failure = std::optional(false);

/// One read of the configuration memory under way.
struct Read
{
    QByteArray buffer = "untouched buffer";
    std::optional<int> result;

    QCoro::Task<> start(VornCommands &commands)
    {
        result = co_await commands.SendConfigMemoryRead(0x0010, buffer, 4);
    }
};

/// One flash command and the wait for its answer.
struct Flash
{
    std::optional<bool> result;

    QCoro::Task<> start(VornCommands &commands)
    {
        commands.SendFlashScriptInfoQuery(0);
        result = co_await commands.WaitFlashResponse();
    }
};

} // namespace

/// The two commands that wait for their answers, ticks driven by hand.
class TestAnswerWaits : public QObject
{
    Q_OBJECT

private slots:
    void readTimesOut_data();
    void readTimesOut();
    void readIsAnswered();
    void readShorterThanTheBuffer();
    void readWithoutData();
    void readAnsweredInTheLastTick();
    void staleAnswerDoesNotCount();
    void otherAnswersDoNotCount();
    void lateAnswerIsHarmless();
    void readWithoutALink();
    void flashTimesOut_data() { readTimesOut_data(); }
    void flashTimesOut();
    void flashIsAnswered();
    void flashStatus_data();
    void flashStatus();
    void bothAtOnce();
    void closingEndsBoth();
};

void TestAnswerWaits::readTimesOut_data()
{
    QTest::addColumn<qint32>("start");

    QTest::newRow("from 0") << 0;
    QTest::newRow("onto the wrap") << 1'999'999'980;
    QTest::newRow("over the wrap") << 1'999'999'990;
}

void TestAnswerWaits::readTimesOut()
{
    QFETCH(qint32, start);

    ProtocolBench bench;
    bench.session.TickCount = start;
    Read read;
    read.start(bench.commands);
    bench.tick(19);
    QVERIFY(!read.result);
    bench.tick();
    QCOMPARE(read.result, TimedOut);
    QCOMPARE(read.buffer, QByteArray("untouched buffer"));
}

void TestAnswerWaits::readIsAnswered()
{
    ProtocolBench bench;
    Read read;
    read.start(bench.commands);
    QCOMPARE(bench.serial->writtenBytes(), "1b53 36 00 10 00 04 1b45"_hex);
    bench.tick(3);
    QVERIFY(!read.result);

    bench.serial->receive("1b53 b6 41 1b1b 00 ff 1b45"_hex); // no tick needed

    QCOMPARE(read.result, Answered);
    QCOMPARE(read.buffer, "41 1b 00 ff"_hex + QByteArray("uched buffer"));
}

void TestAnswerWaits::readShorterThanTheBuffer()
{
    ProtocolBench bench;
    Read read;
    read.start(bench.commands);
    bench.serial->receive("1b53 b6 41 1b45"_hex);
    QCOMPARE(read.result, Answered);
    QCOMPARE(read.buffer, QByteArray("Antouched buffer"));
}

void TestAnswerWaits::readWithoutData()
{
    ProtocolBench bench;
    Read read;
    read.start(bench.commands);
    bench.serial->receive("1b53 b6 1b45"_hex);
    QCOMPARE(read.result, Answered);
    QCOMPARE(read.buffer, QByteArray("untouched buffer"));
}

void TestAnswerWaits::readAnsweredInTheLastTick()
{
    ProtocolBench bench;
    Read read;
    read.start(bench.commands);
    bench.tick(19);
    bench.serial->receive("1b53 b6 41 1b45"_hex);
    QCOMPARE(read.result, Answered);
    bench.tick(5);
    QCOMPARE(read.result, Answered);
}

void TestAnswerWaits::staleAnswerDoesNotCount()
{
    ProtocolBench bench;
    bench.dispatch("b6 41"_hex);
    QVERIFY(bench.session.ConfigReadDone);
    Read read;
    read.start(bench.commands);
    QVERIFY(!bench.session.ConfigReadDone);
    bench.tick(20);
    QCOMPARE(read.result, TimedOut);
    QCOMPARE(read.buffer, QByteArray("untouched buffer"));
}

void TestAnswerWaits::otherAnswersDoNotCount()
{
    ProtocolBench bench;
    Read read;
    read.start(bench.commands);
    bench.serial->receive("1b53 b5 1b45 1b53 b1 01 1b45 1b53 95 1b45 1b53 b6"_hex);
    QVERIFY(!read.result);
    bench.tick(20);
    QCOMPARE(read.result, TimedOut);
}

void TestAnswerWaits::lateAnswerIsHarmless()
{
    ProtocolBench bench;
    Read read;
    read.start(bench.commands);
    bench.tick(20);
    bench.serial->receive("1b53 b6 41 1b45"_hex);
    QCOMPARE(read.result, TimedOut);
    QCOMPARE(read.buffer, QByteArray("untouched buffer"));
}

void TestAnswerWaits::readWithoutALink()
{
    ProtocolBench bench;
    bench.link.CloseLink();
    Read read;
    read.start(bench.commands);
    QCOMPARE(bench.commandPane(), QLatin1String("\r\nNot connected: nothing was sent"));
    bench.tick(19);
    QVERIFY(!read.result);
    bench.tick();
    QCOMPARE(read.result, TimedOut);
}

void TestAnswerWaits::flashTimesOut()
{
    QFETCH(qint32, start);

    ProtocolBench bench;
    bench.session.TickCount = start;
    Flash flash;
    flash.start(bench.commands);
    bench.tick(19);
    QVERIFY(!flash.result);
    bench.tick();
    QCOMPARE(flash.result, Failure);
}

void TestAnswerWaits::flashIsAnswered()
{
    ProtocolBench bench;
    Flash flash;
    flash.start(bench.commands);
    bench.tick(19);
    bench.serial->receive("1b53 b1 01 53 1b45"_hex);
    QCOMPARE(flash.result, Success);
}

void TestAnswerWaits::flashStatus_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("success");

    QTest::newRow("1") << 1 << true;
    QTest::newRow("2") << 2 << false;
    QTest::newRow("-1") << -1 << false;
    QTest::newRow("255") << 255 << false;
}

void TestAnswerWaits::flashStatus()
{
    QFETCH(int, status);
    QFETCH(bool, success);

    ProtocolBench bench;
    Flash during;
    during.start(bench.commands);
    bench.session.FlashStatus = static_cast<qint16>(status);
    bench.session.waits.check();
    QCOMPARE(during.result, std::optional(success));

    std::optional<bool> before; // the status is there already: no wait
    [](VornCommands &commands, std::optional<bool> &result) -> QCoro::Task<> {
        result = co_await commands.WaitFlashResponse();
    }(bench.commands, before);
    QCOMPARE(before, std::optional(success));
}

void TestAnswerWaits::bothAtOnce()
{
    ProtocolBench bench;
    Flash flash;
    Read read;
    flash.start(bench.commands);
    bench.tick(10);
    read.start(bench.commands);
    bench.tick(5);

    bench.serial->receive("1b53 b1 1b45"_hex); // the older goes on while the younger waits
    QCOMPARE(flash.result, Success);
    QVERIFY(!read.result);

    Flash second;
    second.start(bench.commands);
    bench.serial->receive("1b53 b6 41 1b45"_hex); // and the other way round
    QCOMPARE(read.result, Answered);
    QVERIFY(!second.result);
    bench.tick(19);
    QVERIFY(!second.result);
    bench.tick();
    QCOMPARE(second.result, Failure);
}

void TestAnswerWaits::closingEndsBoth()
{
    ProtocolBench bench;
    Flash flash;
    Read read;
    flash.start(bench.commands);
    read.start(bench.commands);
    bench.session.waits.closeAll();
    QCOMPARE(flash.result, Failure);
    QCOMPARE(read.result, TimedOut);
    QCOMPARE(read.buffer, QByteArray("untouched buffer"));
}

VANTREL_TEST(TestAnswerWaits)
#include "tst_answerwaits.moc"
