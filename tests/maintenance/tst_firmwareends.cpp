// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/FirmwareBench.h"
#include "support/TestProgram.h"

using namespace vantrel;
using namespace vantrel::test;

namespace {

const QByteArray TimeoutLine = "*** Download Failed - Communications Timeout\r\n";
const QByteArray ReconnectLine = "Reinitializing Communications...\r\n";

} // namespace

/// Downloads that do not end well.
class tst_firmwareends : public QObject
{
    Q_OBJECT

private slots:
    void blockTimesOut_data();
    void blockTimesOut();
    void laterBlockTimesOut();
    void noTimeOutLater();
    void acknowledgedInTheLastTick();
    void stuckWindow();
    void closingTheStuckWindow();
    void disconnectedWhileSending();
    void socketFailsWhileSending();
    void serialDeviceVanishes();
    void tryingAgain();
    void withoutConnection();
    void closedWhileSending();
    void openedAgainMeanwhile();
    void programClosesWhileSending();
    void closedInThePause_data();
    void closedInThePause();
    void disconnectedInThePause();
    void programClosesInThePause();
    void closedDuringTheDialog();
    void closedDuringTheRefusal();
};

void tst_firmwareends::blockTimesOut_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("now");
    QTest::addColumn<int>("ticks"); // that pass without a time-out
    QTest::newRow("small block") << 8 << 20 << 37;
    QTest::newRow("one tick before") << 8 << 57 << 0;
    QTest::newRow("full block") << 4096 << 4100 << 45;
}

void tst_firmwareends::blockTimesOut()
{
    QFETCH(int, length);
    QFETCH(int, now);
    QFETCH(int, ticks);
    FirmwareBench bench;
    bench.choose("NV" + QByteArray(length - 2, 'x'));
    bench.session.TickCount = now;
    bench.loader.programClicked();
    bench.serial->takeWritten();
    bench.tick(ticks);
    QCOMPARE(bench.session.RespText.text(), QByteArray());
    bench.tick();
    QCOMPARE(bench.session.RespText.text(), TimeoutLine);
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    QVERIFY(bench.serial->written.isEmpty());
}

void tst_firmwareends::laterBlockTimesOut()
{
    FirmwareBench bench;
    bench.choose("NV" + QByteArray(9998, 'x'));
    bench.session.TickCount = 1850;
    bench.loader.programClicked();
    bench.answer(BlockAck);
    bench.answer(BlockAck);
    bench.serial->takeWritten();
    bench.tick(7);
    QCOMPARE(bench.session.RespText.text(), QByteArray());
    bench.tick(); // 1808 bytes and 50
    QCOMPARE(bench.session.TickCount, 1858);
    QCOMPARE(bench.session.RespText.text(), TimeoutLine);
    QVERIFY(bench.serial->written.isEmpty());
}

/// Equal, not later: once the counter has passed, the wait lasts until the answer.
void tst_firmwareends::noTimeOutLater()
{
    FirmwareBench equal;
    equal.choose("NVxxxxxx");
    equal.session.TickCount = 58;
    equal.loader.programClicked();
    QCOMPARE(equal.session.RespText.text(), TimeoutLine);

    FirmwareBench later;
    later.choose("NVxxxxxx");
    later.session.TickCount = 59;
    later.loader.programClicked();
    later.serial->takeWritten();
    later.tick(10'000);
    QCOMPARE(later.session.RespText.text(), QByteArray());
    QVERIFY(later.session.ScriptBusy);
    later.answer(BlockAck);
    QVERIFY(later.serial->takeWritten().startsWith("1b53 34"_hex));
}

void tst_firmwareends::acknowledgedInTheLastTick()
{
    FirmwareBench bench;
    bench.choose("NVxxxxxx");
    bench.session.TickCount = 56;
    bench.loader.programClicked();
    bench.tick();
    bench.answer(BlockAck);
    bench.tick(2);
    QCOMPARE(bench.session.RespText.text(), QByteArray());
    QVERIFY(bench.session.RestartExpected);
}

void tst_firmwareends::stuckWindow()
{
    FirmwareBench bench;
    bench.choose("NVxxxxxx");
    bench.session.TickCount = 58;
    bench.loader.programClicked();
    bench.serial->takeWritten();
    QVERIFY(!bench.buttonsEnabled());
    QVERIFY(bench.session.ScriptBusy);
    QVERIFY(!bench.session.RestartExpected);
    QCOMPARE(bench.closings, 0);

    bench.answer(BlockAck); // too late
    bench.tick(100);
    QVERIFY(bench.serial->written.isEmpty());
    QVERIFY(bench.session.ScriptBusy);
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_firmwareends::closingTheStuckWindow()
{
    FirmwareBench bench;
    bench.choose("NVxxxxxx");
    bench.session.TickCount = 58;
    bench.loader.programClicked();
    bench.serial->takeWritten();
    bench.loader.closed();
    QVERIFY(!bench.session.ScriptBusy);
    bench.second();
    QVERIFY(!bench.serial->written.isEmpty()); // the console goes on

    bench.loader.opened();
    QVERIFY(bench.controls.fileselect.isEnabled());
    QVERIFY(bench.controls.btCancel.isEnabled());
    QVERIFY(!bench.controls.btProgram.isEnabled());
    QVERIFY(!bench.controls.BlockProgress.isVisible());

    bench.session.leases.beginRun(); // somebody else's
    bench.loader.closed();
    QVERIFY(bench.session.ScriptBusy);
}

void tst_firmwareends::disconnectedWhileSending()
{
    FirmwareBench bench;
    bench.choose("NV" + QByteArray(9000, 'x'));
    bench.loader.programClicked();
    bench.serial->takeWritten();
    bench.console.connectClicked();
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    QVERIFY(!bench.session.ScriptBusy);
    QVERIFY(bench.buttonsEnabled());
    QVERIFY(!bench.controls.BlockProgress.isVisible());
    QCOMPARE(bench.session.LinkState, LinkStates::Closed);
    QVERIFY(bench.serial->written.isEmpty());
    QCOMPARE(bench.session.RespText.text(), QByteArray());
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.closings, 0);
}

void tst_firmwareends::socketFailsWhileSending()
{
    FirmwareBench bench(true);
    bench.choose("NV" + QByteArray(9000, 'x'));
    bench.loader.programClicked();
    bench.tcp->fail(QStringLiteral("reset"));
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    QVERIFY(!bench.session.ScriptBusy);
    QCOMPARE(bench.dialogs.messages.size(), 1); // no restart was expected
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Network Error Detected: reset"));
}

void tst_firmwareends::serialDeviceVanishes()
{
    FirmwareBench bench;
    bench.choose("NV" + QByteArray(9000, 'x'));
    bench.loader.programClicked();
    bench.serial->vanish();
    bench.tick();
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    QVERIFY(!bench.session.ScriptBusy);
    QVERIFY(bench.buttonsEnabled());
}

/// The image was chosen for the tester of the first connection.
void tst_firmwareends::tryingAgain()
{
    FirmwareBench bench;
    bench.choose("NVxxxxxx");
    bench.loader.programClicked();
    bench.console.connectClicked();
    bench.run();
    bench.loader.programClicked();
    QCOMPARE(bench.serial->takeWritten(), QByteArray());
    QCOMPARE(bench.dialogs.messages.takeLast().title,
             QStringLiteral("Vantrel - Illegal Operation"));
    QVERIFY(!bench.session.ScriptBusy);

    bench.choose("NVxxxxxx");
    bench.loader.programClicked();
    QCOMPARE(bench.serial->takeWritten(), "1b53 32 00000008 1b45"
                                          "1b53 33 4e56787878787878 1b45"_hex);
}

void tst_firmwareends::withoutConnection()
{
    FirmwareBench bench;
    bench.choose("NV" + QByteArray(9000, 'x'));
    bench.console.connectClicked();
    bench.loader.programClicked();
    QVERIFY(bench.serial->written.isEmpty());
    QCOMPARE(bench.dialogs.messages.takeLast().title,
             QStringLiteral("Vantrel - Illegal Operation"));
    QVERIFY(!bench.session.ScriptBusy);
    QVERIFY(bench.buttonsEnabled());
    QCOMPARE(bench.session.waits.pendingCount(), 0);
}

void tst_firmwareends::closedWhileSending()
{
    FirmwareBench bench;
    bench.choose("NV" + QByteArray(9000, 'x'));
    bench.loader.programClicked();
    bench.serial->takeWritten();
    bench.loader.closed();
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    QVERIFY(!bench.session.ScriptBusy);
    QVERIFY(!bench.session.RestartExpected);
    QVERIFY(bench.serial->written.isEmpty());
    bench.answer(BlockAck);
    QVERIFY(bench.serial->written.isEmpty());
    QCOMPARE(bench.session.LinkState, LinkStates::Running);
}

void tst_firmwareends::openedAgainMeanwhile()
{
    FirmwareBench bench;
    bench.choose("NV" + QByteArray(9000, 'x'));
    bench.loader.programClicked();
    bench.loader.closed();
    bench.loader.opened();
    QVERIFY(!bench.controls.btProgram.isEnabled());
    bench.choose("NV1");
    bench.serial->takeWritten();
    bench.loader.programClicked();
    QCOMPARE(bench.serial->takeWritten(), "1b53 32 00000003 1b45"
                                          "1b53 33 4e5631 1b45"_hex);
}

void tst_firmwareends::programClosesWhileSending()
{
    FirmwareBench bench;
    bench.choose("NV" + QByteArray(9000, 'x'));
    bench.loader.programClicked();
    bench.serial->takeWritten();
    bench.console.shutDown();
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    QVERIFY(!bench.session.ScriptBusy);
    QVERIFY(bench.serial->written.isEmpty());
    QCOMPARE(bench.session.RespText.text(), QByteArray());
}

void tst_firmwareends::closedInThePause_data()
{
    QTest::addColumn<bool>("network");
    QTest::addColumn<int>("opened");
    QTest::newRow("serial") << false << 1;
    QTest::newRow("network") << true << 2;
}

/// The tester restarts whatever the user does; the console looks for it at once.
void tst_firmwareends::closedInThePause()
{
    QFETCH(bool, network);
    FirmwareBench bench(network);
    bench.programSmall();
    bench.tick(10);
    bench.loader.closed();
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    QTEST(static_cast<int>(bench.transport().opened.size()), "opened");
    QCOMPARE(bench.session.LinkState, LinkStates::Opened);
    QCOMPARE(bench.session.RespText.text(), ReconnectLine);
    QVERIFY(!bench.session.ScriptBusy);
    QVERIFY(!bench.session.RestartExpected);
    QCOMPARE(bench.closings, 0);
}

void tst_firmwareends::disconnectedInThePause()
{
    FirmwareBench bench(true);
    bench.programSmall();
    bench.console.connectClicked();
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    QCOMPARE(bench.session.LinkState, LinkStates::Closed);
    QCOMPARE(bench.tcp->opened.size(), 1);
    QCOMPARE(bench.session.RespText.text(), QByteArray());
    QVERIFY(!bench.session.ScriptBusy);
    QVERIFY(!bench.session.RestartExpected);
    QCOMPARE(bench.closings, 1);
}

void tst_firmwareends::programClosesInThePause()
{
    FirmwareBench bench(true);
    bench.programSmall();
    bench.console.shutDown();
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    QCOMPARE(bench.tcp->opened.size(), 1);
    QCOMPARE(bench.session.RespText.text(), QByteArray());
    QVERIFY(!bench.session.ScriptBusy);
    QVERIFY(!bench.session.RestartExpected);
}

void tst_firmwareends::closedDuringTheDialog()
{
    FirmwareBench bench;
    bench.dialogs.onChoice = [&] { bench.loader.closed(); };
    bench.choose("NVxxxxxx");
    QVERIFY(!bench.controls.btProgram.isEnabled());
    QCOMPARE(bench.controls.lblCRC.text(), QString());
}

void tst_firmwareends::closedDuringTheRefusal()
{
    FirmwareBench bench;
    bench.dialogs.holdAnswers = true;
    bench.choose("something else");
    bench.loader.closed();
    bench.loader.opened();
    bench.dialogs.holdAnswers = false;
    bench.choose("NVxxxxxx");
    bench.dialogs.answerHeld(Answer::Ok);
    QCOMPARE(bench.controls.lblStatus.text(), QStringLiteral("Ready to Download"));
}

VANTREL_TEST(tst_firmwareends)
#include "tst_firmwareends.moc"
