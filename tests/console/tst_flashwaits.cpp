// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/FlashBench.h"
#include "support/TestProgram.h"

using namespace vantrel;
using namespace vantrel::test;

/// The flash window while it waits: two waits at once, closed in the middle, link or program gone.
class tst_flashwaits : public QObject
{
    Q_OBJECT

private slots:
    void withoutConnection();
    void mainWindowStaysDisabled();
    void closedWhileWaiting();
    void twoWaitsAtOnce();
    void timeOutDuringADownload();
    void downloadTimesOutFirst();
    void closedAndOpenedAgain();
    void closedWhileChanging();
    void closedDuringADownload_data();
    void closedDuringADownload();
    void closedDuringTheDialog();
    void linkLost();
    void programCloses_data();
    void programCloses();
};

void tst_flashwaits::withoutConnection()
{
    ConsoleBench bench;
    bench.console.flash().opened();
    QVERIFY(
        bench.main.CmdWin.text().endsWith(QLatin1String("\r\nNot connected: nothing was sent")));
    bench.tick(20);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text,
             QStringLiteral("Failed to read Script Info from Vorn 1"));
    QVERIFY(!bench.console.flash().controls().Burn.isEnabled());
}

void tst_flashwaits::mainWindowStaysDisabled()
{
    FlashBench bench;
    bench.open("b1 00 41"_hex);
    bench.download();
    bench.answer("a0 00 00 21"_hex);
    QVERIFY(!bench.session.ScriptBusy);
    QVERIFY(!bench.main.Window.isEnabled()); // the download is over, the window is not
    bench.flash.closed();
    QVERIFY(bench.main.Window.isEnabled());
}

void tst_flashwaits::closedWhileWaiting()
{
    FlashBench bench;
    bench.flash.opened();
    bench.flash.closed();
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    bench.tick(20);
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_flashwaits::twoWaitsAtOnce()
{
    FlashBench bench;
    bench.flash.opened();
    bench.tick(15);
    bench.download();
    bench.answer("a0 00 00 21"_hex); // the later wait is answered first, and goes on at once
    QCOMPARE(bench.controls.Label1.text(), QStringLiteral("New Script Name"));
    QVERIFY(bench.dialogs.messages.isEmpty());
    bench.tick(4);
    QVERIFY(bench.dialogs.messages.isEmpty());
    bench.tick();
    QCOMPARE(bench.dialogs.messages.size(), 1); // the earlier one at its own time
}

void tst_flashwaits::timeOutDuringADownload()
{
    FlashBench bench;
    bench.dialogs.holdAnswers = true;
    bench.flash.opened();
    bench.tick(15);
    bench.download();
    bench.tick(5);
    QCOMPARE(bench.dialogs.messages.size(), 1); // at its own time, the download in the middle
    QCOMPARE(bench.dialogs.messages[0].text,
             QStringLiteral("Failed to read Script Info from Vorn 1"));
    QVERIFY(bench.session.ScriptBusy);

    bench.answer("a0 00 00 21"_hex); // and the download at its own, with nobody to close the box
    QVERIFY(!bench.session.ScriptBusy);
    QCOMPARE(bench.controls.Label1.text(), QStringLiteral("New Script Name"));
    QCOMPARE(bench.dialogs.heldCount(), 1);
    bench.dialogs.answerHeld(Answer::Ok);
    QCOMPARE(bench.session.waits.pendingCount(), 0);
}

void tst_flashwaits::downloadTimesOutFirst()
{
    FlashBench bench;
    bench.open("b1 00 41"_hex);
    bench.download();
    bench.tick(45);
    bench.flash.scriptEnableClicked();
    bench.tick(5);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Load Failed"));
    bench.tick(14);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    bench.tick();
    QCOMPARE(bench.dialogs.messages.size(), 2);
    QCOMPARE(bench.dialogs.messages[1].text, QStringLiteral("Failed to Change Script Status"));
}

void tst_flashwaits::closedAndOpenedAgain()
{
    FlashBench bench;
    bench.flash.opened();
    bench.tick(15);
    bench.flash.closed();
    bench.flash.opened();
    QCOMPARE(bench.session.waits.pendingCount(), 1);
    bench.tick(19); // the first one's time is over, and nobody tells
    QVERIFY(bench.dialogs.messages.isEmpty());
    bench.answer("b1 01 41"_hex);
    QCOMPARE(bench.controls.Status.text(), QStringLiteral("Enabled"));
    bench.tick(20);
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_flashwaits::closedWhileChanging()
{
    FlashBench bench;
    bench.open("b1 00 41"_hex);
    bench.flash.scriptEnableClicked();
    bench.serial->takeWritten();
    bench.flash.closed();
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    bench.answer("b1"_hex);
    QVERIFY(bench.serial->written.isEmpty()); // nothing is read back for a window that has gone
    bench.tick(20);
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_flashwaits::closedDuringADownload_data()
{
    QTest::addColumn<bool>("succeeds");
    QTest::newRow("succeeds") << true;
    QTest::newRow("fails") << false;
}

void tst_flashwaits::closedDuringADownload()
{
    QFETCH(bool, succeeds);
    FlashBench bench;
    bench.open("b1 00 41"_hex);
    bench.download();
    bench.flash.closed();
    QVERIFY(bench.session.ScriptBusy);
    QVERIFY(!bench.main.Window.isEnabled()); // the tester waits for the rest of its script
    QVERIFY(bench.main.DownloadProgress.isVisible());
    if (succeeds)
        bench.answer("a0 00 00 21"_hex);
    else
        bench.tick(50);

    QVERIFY(!bench.session.ScriptBusy);
    QVERIFY(bench.main.Window.isEnabled());
    QVERIFY(!bench.main.DownloadProgress.isVisible());
    QCOMPARE(bench.main.ScriptIdx.text(),
             succeeds ? QStringLiteral("VN_End @ 0") : QStringLiteral("Load Error"));
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    QVERIFY(bench.dialogs.messages.isEmpty());
    QVERIFY(!bench.controls.BtnProgram.isVisible());

    bench.flash.opened();
    QCOMPARE(bench.controls.Label1.text(), QStringLiteral("Current Script Name"));
    QVERIFY(bench.controls.ScriptName.isLocked());
}

void tst_flashwaits::closedDuringTheDialog()
{
    FlashBench bench;
    bench.open("b1 00 41"_hex);
    bench.dialogs.onChoice = [&] { bench.flash.closed(); };
    bench.download();
    QVERIFY(bench.serial->written.isEmpty());
    QVERIFY(bench.main.Window.isEnabled());
    QVERIFY(!bench.session.ScriptBusy);
}

void tst_flashwaits::linkLost()
{
    FlashBench bench;
    bench.run(true);
    bench.flash.opened();
    bench.tcp->fail(QStringLiteral("gone"));
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    QStringList texts;
    for (const Message &message : bench.dialogs.messages)
        texts.append(message.text);
    QCOMPARE(texts, (QStringList{QStringLiteral("Failed to read Script Info from Vorn 1"),
                                 QStringLiteral("Network Error Detected: gone")}));
    QVERIFY(!bench.controls.Burn.isEnabled());
}

void tst_flashwaits::programCloses_data()
{
    QTest::addColumn<bool>("downloading");
    QTest::newRow("waiting for an answer") << false;
    QTest::newRow("downloading") << true;
}

void tst_flashwaits::programCloses()
{
    QFETCH(bool, downloading);
    FlashBench bench;
    if (downloading) {
        bench.open("b1 00 41"_hex);
        bench.download();
    } else {
        bench.flash.opened();
    }
    bench.console.shutDown();
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    QVERIFY(bench.dialogs.messages.isEmpty()); // nobody is there to read one
    QVERIFY(!bench.session.ScriptBusy);
    QVERIFY(bench.main.Window.isEnabled());
}

VANTREL_TEST(tst_flashwaits)
#include "tst_flashwaits.moc"
