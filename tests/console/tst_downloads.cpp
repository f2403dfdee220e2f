// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/ScriptBench.h"
#include "support/TestProgram.h"

#include <QTimer>

using namespace vantrel;
using namespace vantrel::test;

/// A script on its way to the tester, ticks driven by hand.
class tst_downloads : public QObject
{
    Q_OBJECT

private slots:
    void chunks_data();
    void chunks();
    void downloadOrder();
    void successfulDownload();
    void noEndReport();
    void refusedAfterFirstChunk();
    void refusedWhileWaiting();
    void automaticModeStaysOff();
    void stepsAndProgress();
    void warnings();
    void pollingPauses();
    void linkLost_data();
    void linkLost();
    void programClosing();
    void refusedBeforeTheRest_data();
    void refusedBeforeTheRest();
    void refusedWithoutAutomaticMode();
    void refusalShowsNothing();
    void timeCountsFromTheLastChunk();
    void lineTimeComesFirst();
    void queuesComeFirst_data();
    void queuesComeFirst();
    void answerNeedsNoLineTime();
    void chunkWaitsForThePort();
    void portTakesNothing();
    void socketTakesNothing();
    void endReportedWhileSending();
    void turnAfterEachChunk();
    void othersComeAfterIt();
    void acknowledgementShows();
};

void tst_downloads::chunks_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("whole");
    QTest::addColumn<int>("rest");
    QTest::newRow("0") << 0 << 0 << 0;
    QTest::newRow("511") << 511 << 0 << 511;
    QTest::newRow("512") << 512 << 1 << 0;
    QTest::newRow("1024") << 1024 << 2 << 0;
    QTest::newRow("1025") << 1025 << 2 << 1;
    QTest::newRow("1 MiB") << 1048576 << 2048 << 0;
}

void tst_downloads::chunks()
{
    QFETCH(int, size);
    QFETCH(int, whole);
    QFETCH(int, rest);
    ScriptBench bench(true);
    const QByteArray script = pattern(size);
    bench.load(script);

    const QList<QByteArray> chunks = bench.chunks();
    QCOMPARE(chunks.size(), whole + (rest > 0 ? 1 : 0));
    for (int i = 0; i < whole; ++i)
        QCOMPARE(chunks[i].size(), 512);
    if (rest > 0)
        QCOMPARE(chunks.last().size(), rest);
    QVERIFY(chunks.join() == script);

    // Nothing ends it but the report or the time, an empty file included.
    bench.tick(49);
    QVERIFY(bench.session.ScriptBusy);
    bench.tick();
    QVERIFY(!bench.session.ScriptBusy);
    QCOMPARE(bench.main.ScriptIdx.text(), QStringLiteral("Load Error"));
}

void tst_downloads::downloadOrder()
{
    ScriptBench bench;
    bench.load("1b53 21 1b45"_hex);
    QCOMPARE(bench.serial->written,
             (QList<QByteArray>{AutoModeOff, DownloadStart, "1b53 21 1b45"_hex}));
    QVERIFY(bench.session.ScriptBusy);
    QVERIFY(!bench.session.ScriptDone);
    QVERIFY(!bench.main.Window.isEnabled());
    QVERIFY(!bench.main.ScriptLoad.isEnabled());
    QVERIFY(!bench.main.ScriptRun.isEnabled());
    QCOMPARE(bench.main.ScriptName.text(), QStringLiteral("test.vn"));
}

void tst_downloads::successfulDownload()
{
    ScriptBench bench;
    bench.load("1b53 21 1b45"_hex);
    bench.serial->takeWritten();
    bench.answer("a0 00 00 21"_hex);
    QCOMPARE(bench.main.ScriptIdx.text(), QStringLiteral("VN_End @ 0"));
    QVERIFY(!bench.session.ScriptBusy);
    QVERIFY(!bench.session.ScriptError);
    QVERIFY(bench.main.Window.isEnabled());
    QVERIFY(bench.main.ScriptRun.isEnabled());
    QVERIFY(bench.main.ScriptLoad.isEnabled());
    QCOMPARE(bench.serial->takeWritten(), AutoModeOn);
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_downloads::noEndReport()
{
    ScriptBench bench;
    bench.session.TickCount = 1'999'999'970; // the deadline lies beyond the wrap
    bench.load("1b53 08 1b45 1b53 21 1b45"_hex);
    bench.answer("a0 00 00 08"_hex);
    bench.serial->takeWritten();
    bench.tick(49);
    QCOMPARE(bench.main.ScriptIdx.text(), QStringLiteral(" 0"));
    QVERIFY(!bench.main.Window.isEnabled());
    bench.tick();
    QCOMPARE(bench.main.ScriptIdx.text(), QStringLiteral("Load Error"));
    QVERIFY(bench.session.ScriptDone);
    QVERIFY(bench.session.ScriptError);
    QVERIFY(bench.main.Window.isEnabled());
    QVERIFY(!bench.main.ScriptRun.isEnabled());
    QVERIFY(bench.main.ScriptLoad.isEnabled());
    QCOMPARE(bench.serial->takeWritten(), AutoModeOn);
}

void tst_downloads::refusedAfterFirstChunk()
{
    ScriptBench bench(true);
    bench.begin(pattern(2000));
    QCOMPARE(bench.chunks().size(), 1);
    bench.answer("97"_hex);
    bench.settle();
    QCOMPARE(bench.chunks().size(), 1);
    QVERIFY(bench.session.ScriptBusy); // the end is still waited for
    bench.tick(50);
    QVERIFY(!bench.session.ScriptBusy);
    QCOMPARE(bench.main.ScriptIdx.text(), QStringLiteral("Load Error"));
    QVERIFY(!bench.main.ScriptRun.isEnabled());
    QVERIFY(bench.main.ScriptLoad.isEnabled());
}

void tst_downloads::refusedWhileWaiting()
{
    ScriptBench bench;
    bench.load("1b53 21 1b45"_hex);
    bench.answer("97"_hex);
    bench.answer("a0 00 00 21"_hex);
    QCOMPARE(bench.main.ScriptIdx.text(), QStringLiteral("Load Error"));
    QVERIFY(!bench.main.ScriptRun.isEnabled());
}

void tst_downloads::automaticModeStaysOff()
{
    ScriptBench bench;
    bench.main.Automode.adoptChecked(false);
    bench.load("1b53 21 1b45"_hex);
    bench.serial->takeWritten();
    bench.answer("a0 00 00 21"_hex);
    QVERIFY(bench.serial->written.isEmpty());
    QVERIFY(bench.main.ScriptRun.isEnabled());
}

void tst_downloads::stepsAndProgress()
{
    ScriptBench bench;
    QVERIFY(!bench.main.DownloadProgress.isVisible());
    bench.begin(pattern(1000));
    Control &bar = bench.main.DownloadProgress;
    QVERIFY(bar.isVisible());
    QCOMPARE(bar.progress(), (Progress{512, 1000}));
    QCOMPARE(bar.text(), QStringLiteral("512 of 1000 bytes sent, 0 steps stored"));
    bench.answer("a0 00 07 8d"_hex);
    QCOMPARE(bench.main.ScriptIdx.text(), QStringLiteral(" 7"));
    QCOMPARE(bar.text(), QStringLiteral("512 of 1000 bytes sent, 1 steps stored"));
    QTRY_COMPARE(bar.progress(), (Progress{1000, 1000}));
    bench.answer("a0 00 08 21"_hex);
    QVERIFY(!bar.isVisible());

    bench.begin(pattern(600)); // counts from the beginning
    QVERIFY(bar.isVisible());
    QCOMPARE(bar.progress(), (Progress{512, 600}));
    QCOMPARE(bar.text(), QStringLiteral("512 of 600 bytes sent, 0 steps stored"));
}

void tst_downloads::warnings()
{
    ScriptBench bench;
    bench.load("1b53 08 1b45"_hex);
    QVERIFY(bench.main.CmdWin.text().endsWith(
        QLatin1String("\r\nWarning: the last packet is not the end of the script, at byte 0")));
    QCOMPARE(bench.chunks(), QList<QByteArray>{"1b53 08 1b45"_hex}); // sent all the same

    ScriptBench good;
    good.load("1b53 21 1b45"_hex);
    QVERIFY(!good.main.CmdWin.text().contains(QLatin1String("Warning: ")));
}

void tst_downloads::pollingPauses()
{
    ScriptBench bench;
    bench.load("1b53 21 1b45"_hex);
    bench.serial->takeWritten();
    bench.tick(40);
    QVERIFY(bench.serial->written.isEmpty());
    bench.answer("a0 00 00 21"_hex);
    bench.serial->takeWritten();
    bench.session.StatusSeen = true;
    bench.second();
    QCOMPARE(bench.serial->takeWritten(), "1b53 0e 1b45 1b53 0b 1b45"_hex);
}

void tst_downloads::linkLost_data()
{
    QTest::addColumn<bool>("whileSending");
    QTest::addColumn<bool>("byUser");
    QTest::newRow("failed while sending") << true << false;
    QTest::newRow("failed while waiting") << false << false;
    QTest::newRow("Disconnect while sending") << true << true;
    QTest::newRow("Disconnect while waiting") << false << true;
}

void tst_downloads::linkLost()
{
    QFETCH(bool, whileSending);
    QFETCH(bool, byUser);
    ScriptBench bench(true);
    if (whileSending)
        bench.begin(pattern(5000));
    else
        bench.load("1b53 21 1b45"_hex);
    if (byUser)
        bench.console.connectClicked();
    else
        bench.tcp->fail(QStringLiteral("gone"));
    bench.settle();

    QVERIFY(!bench.session.ScriptBusy);
    QVERIFY(bench.session.ScriptError);
    QCOMPARE(bench.main.ScriptIdx.text(), QStringLiteral("Load Error"));
    QVERIFY(bench.main.Window.isEnabled());
    QVERIFY(!bench.main.DownloadProgress.isVisible());
    QCOMPARE(bench.session.LinkState, LinkStates::Closed);
    QVERIFY(!bench.main.ScriptLoad.isEnabled());
    QVERIFY(!bench.main.ScriptRun.isEnabled());
    QCOMPARE(bench.session.waits.pendingCount(), 0);
}

void tst_downloads::programClosing()
{
    ScriptBench bench;
    bench.load("1b53 21 1b45"_hex);
    bench.serial->takeWritten();
    bench.console.shutDown();
    QVERIFY(!bench.session.ScriptBusy);
    QVERIFY(bench.main.Window.isEnabled());
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    QCOMPARE(bench.serial->takeWritten(), AutoModeOn); // the tester is left as it was found
}

void tst_downloads::refusedBeforeTheRest_data()
{
    QTest::addColumn<int>("size");
    QTest::newRow("one byte left") << 1025;
    QTest::newRow("a chunk and a byte left") << 1537;
}

void tst_downloads::refusedBeforeTheRest()
{
    QFETCH(int, size);
    ScriptBench bench(true);
    bench.tcp->onWrite = [&](const QByteArray &) {
        if (bench.chunks().size() == 2)
            bench.answer("97"_hex);
    };
    bench.begin(pattern(size));
    QTRY_COMPARE(bench.chunks().size(), 2);
    bench.settle();
    QCOMPARE(bench.chunks().size(), 2);
    QCOMPARE(bench.main.DownloadProgress.progress(), (Progress{1024, size}));
    bench.tick(50);
    QCOMPARE(bench.main.ScriptIdx.text(), QStringLiteral("Load Error"));
}

void tst_downloads::refusedWithoutAutomaticMode()
{
    ScriptBench bench;
    bench.main.Automode.adoptChecked(false);
    bench.load("1b53 21 1b45"_hex);
    bench.answer("97"_hex);
    bench.serial->takeWritten();
    bench.tick(50);
    QCOMPARE(bench.main.ScriptIdx.text(), QStringLiteral("Load Error"));
    QVERIFY(!bench.serial->writtenBytes().contains("07"_hex));
}

void tst_downloads::refusalShowsNothing()
{
    ScriptBench bench;
    bench.load("1b53 21 1b45"_hex);
    const QString lines = bench.main.CmdWin.text();
    bench.answer("97"_hex);
    QCOMPARE(bench.main.CmdWin.text(), lines);
    QCOMPARE(bench.session.RespText.text(), QByteArray());
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_downloads::timeCountsFromTheLastChunk()
{
    ScriptBench bench(true);
    bench.begin(pattern(2000));
    bench.tick(60);
    QVERIFY(bench.session.ScriptBusy);
    QTRY_COMPARE(bench.session.DownloadSent, 2000);
    bench.settle();
    bench.tick(49);
    QVERIFY(bench.session.ScriptBusy);
    bench.tick();
    QVERIFY(!bench.session.ScriptBusy);
}

/// 2,000 bytes and the packets before them are 10 ticks of 192 bytes on the line at 19200 baud. The
/// system has taken them at once, as that of a pseudo-terminal does.
void tst_downloads::lineTimeComesFirst()
{
    ScriptBench bench;
    bench.load(pattern(2000));
    bench.tick(59);
    QVERIFY(bench.session.ScriptBusy);
    bench.tick();
    QVERIFY(!bench.session.ScriptBusy);
    QCOMPARE(bench.main.ScriptIdx.text(), QStringLiteral("Load Error"));
}

void tst_downloads::queuesComeFirst_data()
{
    QTest::addColumn<bool>("network");
    QTest::addColumn<bool>("inSystem");
    QTest::newRow("serial, program") << false << false;
    QTest::newRow("serial, system") << false << true;
    QTest::newRow("network") << true << false;
}

/// The deadline of the end report starts when the last byte has left.
void tst_downloads::queuesComeFirst()
{
    QFETCH(bool, network);
    QFETCH(bool, inSystem);
    ScriptBench bench(network);
    MemoryTransport &transport = bench.transport();
    qint64 &queue = inSystem ? transport.heldUpInSystem : transport.heldUp;
    queue = 1000;
    bench.load("1b53 21 1b45"_hex);
    for (queue = 1000; queue > 0; queue -= 100)
        bench.tick(10); // slower than the line, but within the margin
    transport.drain();
    bench.tick(49);
    QVERIFY(bench.session.ScriptBusy);
    bench.tick();
    QVERIFY(!bench.session.ScriptBusy);
    QVERIFY(!bench.main.CmdWin.text().contains(QLatin1String("takes no bytes")));
}

void tst_downloads::answerNeedsNoLineTime()
{
    ScriptBench bench;
    bench.load(pattern(2000));
    bench.answer("a0 00 01 21"_hex); // no tick is needed
    QVERIFY(!bench.session.ScriptBusy);
    QVERIFY(!bench.session.ScriptError);

    bench.main.ScriptIdx.setText({});
    bench.load("1b53 08 1b45"_hex); // what has been received is not on the line any more
    bench.tick(50);
    QCOMPARE(bench.main.ScriptIdx.text(), QStringLiteral("Load Error"));
}

void tst_downloads::chunkWaitsForThePort()
{
    ScriptBench bench;
    bench.serial->heldUp = 512;
    bench.begin(pattern(1600));
    bench.settle();
    QCOMPARE(bench.chunks().size(), 1);
    bench.tick(3);
    QCOMPARE(bench.chunks().size(), 1);
    bench.serial->heldUp = 0;
    QCOMPARE(bench.chunks().size(), 1);
    bench.serial->drain(); // goes on at once, without a tick
    QTRY_COMPARE(bench.session.DownloadSent, 1600);
    QCOMPARE(bench.chunks().size(), 4);
}

/// The first chunk is 3 ticks on the line; 20 more are the margin. The download then ends at once.
void tst_downloads::portTakesNothing()
{
    ScriptBench bench;
    bench.serial->heldUp = 512;
    bench.begin(pattern(1600));
    bench.settle();
    bench.tick(22);
    QVERIFY(bench.session.ScriptBusy);
    bench.tick();
    QVERIFY(!bench.session.ScriptBusy);
    QCOMPARE(bench.chunks().size(), 2);
    QCOMPARE(bench.chunks().last(), AutoModeOn);
    QCOMPARE(bench.main.ScriptIdx.text(), QStringLiteral("Load Error"));
    QVERIFY(bench.main.Window.isEnabled());
    QVERIFY(bench.main.CmdWin.text().endsWith(
        QLatin1String("\r\nThe tester takes no bytes: the download has ended")));
    QCOMPARE(bench.session.waits.pendingCount(), 0);
}

/// All chunks are in the program's memory; the download ends when none leaves for 50 ticks.
void tst_downloads::socketTakesNothing()
{
    ScriptBench bench(true);
    bench.tcp->heldUp = 1600;
    bench.load(pattern(1600));
    QCOMPARE(bench.chunks().size(), 4);
    bench.tick(49);
    bench.tcp->heldUp = 1599;
    bench.tick(50);
    QVERIFY(bench.session.ScriptBusy);
    bench.tick();
    QVERIFY(!bench.session.ScriptBusy);
    QCOMPARE(bench.main.ScriptIdx.text(), QStringLiteral("Load Error"));
    QCOMPARE(bench.main.CmdWin.text().count(QLatin1String("takes no bytes")), 1);
}

void tst_downloads::endReportedWhileSending()
{
    ScriptBench bench;
    const QByteArray script = pattern(2000);
    bench.begin(script);
    bench.answer("a0 00 01 21"_hex);
    QTRY_VERIFY(!bench.session.ScriptBusy); // no tick is needed
    QVERIFY(bench.serial->writtenBytes().contains(script));
    QCOMPARE(bench.main.ScriptIdx.text(), QStringLiteral("VN_End @ 1"));
    QVERIFY(bench.main.ScriptRun.isEnabled());
}

void tst_downloads::turnAfterEachChunk()
{
    ScriptBench bench;
    QList<qsizetype> reports; // chunks sent as each step report came
    bench.serial->onWrite = [&](const QByteArray &bytes) {
        if (bytes.size() == 512)
            QTimer::singleShot(0, &bench.console, [&] {
                reports.append(bench.chunks().size());
                bench.answer("a0 00 00 0b"_hex);
            });
    };
    bench.begin(pattern(1600));
    QTRY_COMPARE(bench.session.DownloadSent, 1600);
    bench.settle();
    QCOMPARE(reports, (QList<qsizetype>{1, 2, 3}));
    QCOMPARE(bench.session.ScriptSteps, 3);
}

/// What another window sends meanwhile would cut a step in two. It waits until the tester has
/// reported the end of the script.
void tst_downloads::othersComeAfterIt()
{
    ScriptBench bench;
    const QByteArray script = pattern(2000);
    bench.begin(script);
    QCOMPARE(bench.chunks().size(), 1);
    bench.console.commands().SendCurrentQuery();
    bench.console.commands().SendPortStatusQuery();
    QTRY_COMPARE(bench.session.DownloadSent, bench.session.DownloadSize);
    bench.settle();
    QVERIFY(bench.chunks().join() == script);
    bench.serial->takeWritten();

    bench.answer("a0 0002 21"_hex);
    QVERIFY(bench.serial->takeWritten().startsWith("1b53 0e 1b45 1b53 0b 1b45"_hex));
}

void tst_downloads::acknowledgementShows()
{
    ScriptBench bench;
    bench.load("1b53 21 1b45"_hex);
    bench.answer("8c"_hex);
    QVERIFY(bench.main.CmdWin.text().endsWith(QLatin1String("\r\nVornScript Download")));
}

VANTREL_TEST(tst_downloads)
#include "tst_downloads.moc"
