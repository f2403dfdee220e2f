// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/FtdiBench.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

const QByteArray Late = "00 eeee"_hex;
constexpr auto LinesOfReplies = "-- Device Request Response";

/// A read of which nothing was answered in time.
struct TimedOutBench : FtdiBench
{
    TimedOutBench()
    {
        timeOut();
        if (onlyMessage() != QLatin1String("Vorn Tester not Responding"))
            qFatal("no time-out");
    }
    void timeOut()
    {
        ftdi.readClicked();
        tick(10);
    }
};

} // namespace

/// Answers that come late, twice, never, cut, and those that nobody waits for any more.
class TestFtdiReplies : public QObject
{
    Q_OBJECT

private slots:
    void lateIsDropped();
    void lateBeforeTheAnswer();
    void lateThatNeverComes();
    void debtsGrowOld_data();
    void debtsGrowOld();
    void alwaysLate();
    void lateRefusalBeforeTheAnswer();
    void lateOverANewLink();
    void neverAsked();
    void doubled();
    void withoutStatus();
    void shortData_data();
    void shortData();
    void longData();
    void answeredInTheLastTick();
    void answersBelongToOthersAgain();

    void closedWhileReading();
    void closedAndOpenedAgain();
    void linkLostWhileReading_data();
    void linkLostWhileReading();
    void programClosesWhileReading();
};

void TestFtdiReplies::lateIsDropped()
{
    TimedOutBench bench;
    QVERIFY(bench.session.FtdiActive);
    bench.reply(Late);
    QVERIFY(!bench.session.FtdiActive);
    QVERIFY(bench.session.RespText.text().isEmpty());
    QCOMPARE(bench.ftdi.image(), FtdiEeprom());

    // No reply is outstanding: the next read receives its own replies at once.
    bench.ftdi.readClicked();
    bench.replyWords(realEeprom(), 0, 64);
    QCOMPARE(bench.ftdi.image().bytes(), realEeprom());
    QVERIFY(!bench.session.FtdiActive);
}

void TestFtdiReplies::lateBeforeTheAnswer()
{
    TimedOutBench bench;
    bench.sentRequests();
    bench.ftdi.readClicked();
    bench.tick(3);
    QCOMPARE(bench.sentRequests(), QStringList()); // it waits
    bench.reply(Late);
    QVERIFY(bench.session.FtdiActive);
    QCOMPARE(bench.sentRequests(), QStringList{QStringLiteral("02c090000000000200")});
    bench.replyWords(realEeprom(), 0, 64);
    QCOMPARE(bench.ftdi.image().bytes(), realEeprom());
    QVERIFY(bench.dialogs.messages.isEmpty());
    QVERIFY(!bench.session.FtdiActive);
}

/// A read after a lost reply waits until the reply can no longer come, and succeeds.
void TestFtdiReplies::lateThatNeverComes()
{
    TimedOutBench bench;
    bench.sentRequests();
    bench.ftdi.readClicked();
    QVERIFY(bench.main.CmdWin.text().endsWith(
        QLatin1String("\r\nThe device request waits until an earlier exchange has ended")));
    bench.tick(49);
    QCOMPARE(bench.sentRequests(), QStringList());
    QVERIFY(bench.dialogs.messages.isEmpty());
    bench.tick();
    QCOMPARE(bench.sentRequests().size(), 1);
    bench.tick(9); // its own time-out has just begun
    bench.replyWords(realEeprom(), 0, 64);
    QCOMPARE(bench.ftdi.image().bytes(), realEeprom());
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestFtdiReplies::debtsGrowOld_data()
{
    QTest::addColumn<int>("start"); // of the tick counter, which wraps at 2,000,000,000
    QTest::addColumn<int>("ticks"); // since the wait ended
    QTest::addColumn<int>("words"); // read after the first answer
    QTest::newRow("may still come") << 100 << 49 << 0;
    QTest::newRow("never comes") << 100 << 50 << 1;
    QTest::newRow("never comes, over the wrap") << 1'999'999'985 << 50 << 1;
}

void TestFtdiReplies::debtsGrowOld()
{
    QFETCH(int, start);
    QFETCH(int, ticks);
    FtdiBench bench;
    bench.session.TickCount = start;
    bench.ftdi.readClicked();
    bench.tick(10);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    bench.tick(ticks);
    bench.ftdi.readClicked();
    bench.replyWords(realEeprom(), 0, 1);
    QTEST(bench.controls.WordProgress.progress().done, "words");
}

/// Each reply comes after the wait for it has ended, and while another request waits.
void TestFtdiReplies::alwaysLate()
{
    TimedOutBench bench;
    for (int again = 0; again < 3; ++again) {
        bench.ftdi.readClicked();
        bench.tick(2);
        bench.reply(Late);
        bench.tick(10);
        QCOMPARE(bench.onlyMessage(), QStringLiteral("Vorn Tester not Responding"));
    }
    bench.tick(2);
    bench.reply(Late);
    QVERIFY(!bench.session.FtdiActive);
    QCOMPARE(bench.ftdi.image(), FtdiEeprom());
    QVERIFY(bench.session.RespText.text().isEmpty());
}

void TestFtdiReplies::lateRefusalBeforeTheAnswer()
{
    TimedOutBench bench;
    bench.ftdi.readClicked();
    bench.reply("05"_hex);
    bench.replyWords(realEeprom(), 0, 64);
    QCOMPARE(bench.ftdi.image().bytes(), realEeprom());
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestFtdiReplies::lateOverANewLink()
{
    TimedOutBench bench;
    bench.console.connectClicked();
    bench.run();
    bench.ftdi.readClicked();
    bench.replyWords(realEeprom(), 0, 64); // nothing is held back
    QCOMPARE(bench.ftdi.image().bytes(), realEeprom());
}

/// Without a link nothing is sent: no reply is outstanding on the next connection.
void TestFtdiReplies::neverAsked()
{
    FtdiBench bench;
    bench.console.connectClicked();
    bench.ftdi.readClicked();
    bench.tick(10);
    QCOMPARE(bench.onlyMessage(), QStringLiteral("Vorn Tester not Responding"));
    QVERIFY(!bench.session.FtdiActive);

    bench.run();
    bench.reply("00 1234"_hex);
    QCOMPARE(bench.session.RespText.text(),
             QByteArray("-- Device Request Response: Status = 00\r\n 12 34 \r\n"));
    bench.ftdi.readClicked();
    bench.replyWords(realEeprom(), 0, 64); // nothing is held back
    QCOMPARE(bench.ftdi.image().bytes(), realEeprom());
}

void TestFtdiReplies::doubled()
{
    FtdiBench bench;
    bench.ftdi.readClicked();
    bench.replyWords(realEeprom(), 0, 63);
    const QByteArray last = framed("81 00 0913"_hex);
    bench.transport().receive(last + last);
    QCOMPARE(bench.ftdi.image().bytes(), realEeprom());
    QVERIFY(!bench.session.FtdiActive);
    QCOMPARE(bench.session.RespText.text().count(LinesOfReplies), 1); // nobody asked for that one
    bench.reply(Late);
    QCOMPARE(bench.ftdi.image().bytes(), realEeprom());
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestFtdiReplies::withoutStatus()
{
    FtdiBench bench;
    bench.ftdi.readClicked();
    bench.reply({});
    QVERIFY(bench.session.FtdiActive);
    bench.tick(9);
    QVERIFY(bench.dialogs.messages.isEmpty());
    bench.tick();
    QCOMPARE(bench.onlyMessage(), QStringLiteral("Vorn Tester not Responding"));
    bench.reply({}); // still outstanding
    QVERIFY(bench.session.FtdiActive);
}

void TestFtdiReplies::shortData_data()
{
    QTest::addColumn<QByteArray>("reply");

    QTest::newRow("no data") << "00"_hex;
    QTest::newRow("one byte") << "00 33"_hex;
}

void TestFtdiReplies::shortData()
{
    QFETCH(QByteArray, reply);
    FtdiBench bench;
    bench.ftdi.readClicked();
    bench.replyWords(realEeprom(), 0, 4);
    bench.reply(reply);
    QCOMPARE(bench.onlyMessage(), QStringLiteral("Error Reading EEPROM word 4"));
    QCOMPARE(bench.sentRequests().size(), 5);
    QCOMPARE(bench.ftdi.image().bytes().first(8), realEeprom().first(8));
    QCOMPARE(bench.ftdi.image().bytes().sliced(8), FtdiEeprom().bytes().sliced(8));
    QCOMPARE(bench.controls.tbVID.text(), QString());
    QVERIFY(bench.controls.btRead.isEnabled());
    QVERIFY(!bench.session.FtdiActive);
}

void TestFtdiReplies::longData()
{
    FtdiBench bench;
    bench.ftdi.readClicked();
    bench.reply("00 0040 eeeeeeeeee"_hex);
    bench.replyWords(realEeprom(), 1, 62);
    bench.reply("00 0913 eeeeeeeeee"_hex);
    QCOMPARE(bench.ftdi.image().bytes(), realEeprom());
}

void TestFtdiReplies::answeredInTheLastTick()
{
    FtdiBench bench;
    bench.ftdi.readClicked();
    for (int word = 0; word < 64; ++word) {
        bench.tick(9);
        bench.replyWords(realEeprom(), word, 1);
    }
    QCOMPARE(bench.ftdi.image().bytes(), realEeprom());
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestFtdiReplies::answersBelongToOthersAgain()
{
    FtdiBench bench;
    bench.readAll(realEeprom());
    bench.reply("00 1234"_hex);
    QCOMPARE(bench.session.RespText.text(),
             QByteArray("-- Device Request Response: Status = 00\r\n 12 34 \r\n"));
    QCOMPARE(bench.ftdi.image().bytes(), realEeprom());
}

void TestFtdiReplies::closedWhileReading()
{
    FtdiBench bench;
    bench.ftdi.readClicked();
    bench.replyWords(realEeprom(), 0, 3);
    bench.ftdi.closed();
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    QVERIFY(bench.session.FtdiActive); // the answer may still come
    bench.tick(20);
    QVERIFY(bench.dialogs.messages.isEmpty());
    bench.reply(Late);
    QVERIFY(!bench.session.FtdiActive);
    QVERIFY(bench.session.RespText.text().isEmpty());
}

void TestFtdiReplies::closedAndOpenedAgain()
{
    FtdiBench bench;
    bench.ftdi.readClicked();
    bench.replyWords(realEeprom(), 0, 3);
    bench.ftdi.closed();
    bench.ftdi.opened();
    for (const Control *control : bench.controls.all)
        QVERIFY2(control->isEnabled(), qPrintable(control->name()));
    QVERIFY(!bench.controls.WordProgress.isVisible());
    QCOMPARE(bench.ftdi.image(), FtdiEeprom());

    bench.ftdi.readClicked();
    bench.reply(Late); // to the request that was given up
    bench.replyWords(realEeprom(), 0, 64);
    QCOMPARE(bench.ftdi.image().bytes(), realEeprom());
}

void TestFtdiReplies::linkLostWhileReading_data()
{
    QTest::addColumn<bool>("network");
    QTest::addColumn<QStringList>("boxes");

    const QString failure = QStringLiteral("Vorn Tester not Responding");
    QTest::newRow("serial, disconnected by the user") << false << QStringList{failure};
    QTest::newRow("network, failed")
        << true << QStringList{QStringLiteral("Network Error Detected: gone"), failure};
}

void TestFtdiReplies::linkLostWhileReading()
{
    QFETCH(bool, network);
    QFETCH(QStringList, boxes);
    FtdiBench bench;
    bench.console.connectClicked();
    bench.run(network);
    bench.ftdi.readClicked();
    bench.replyWords(realEeprom(), 0, 3);
    if (network)
        bench.tcp->fail(QStringLiteral("gone"));
    else
        bench.console.connectClicked();
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    QVERIFY(!bench.session.FtdiActive);
    QVERIFY(bench.controls.btRead.isEnabled());
    QVERIFY(!bench.controls.WordProgress.isVisible());
    bench.tick(20);
    QStringList shown;
    for (const Message &message : bench.dialogs.messages)
        shown.append(message.text);
    QCOMPARE(shown, boxes);
}

void TestFtdiReplies::programClosesWhileReading()
{
    FtdiBench bench;
    bench.ftdi.readClicked();
    bench.console.shutDown();
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    QVERIFY(bench.dialogs.messages.isEmpty());
    QVERIFY(bench.controls.btRead.isEnabled());
}

VANTREL_TEST(TestFtdiReplies)
#include "tst_ftdireplies.moc"
