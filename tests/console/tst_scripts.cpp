// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/ConsoleBench.h"
#include "support/Hex.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

const auto AutoModeOff = "1b53 07 00 00 1b45"_hex;
const auto AutoModeOn = "1b53 07 00 01 1b45"_hex;
const auto DownloadStart = "1b53 0c 1b45"_hex;

/// A running console and a script file of any bytes.
struct ScriptBench : ConsoleBench
{
    explicit ScriptBench(bool network = false) { run(network); }

    QString file(const QByteArray &bytes)
    {
        QFile script(directory.filePath(QStringLiteral("test.vn")));
        if (!script.open(QIODevice::WriteOnly) || script.write(bytes) != bytes.size())
            qFatal("no script file");
        return script.fileName();
    }

    /// Chooses the file and lets the download come to where it waits for the end.
    void load(const QByteArray &bytes)
    {
        begin(bytes);
        QTRY_COMPARE(session.DownloadSent, session.DownloadSize);
        settle();
    }
    /// Chooses the file; the first chunk is sent.
    void begin(const QByteArray &bytes)
    {
        dialogs.paths = {file(bytes)};
        console.scriptLoadClicked();
    }
    static void settle()
    {
        for (int turn = 0; turn < 5; ++turn)
            QCoreApplication::processEvents();
    }

    QList<QByteArray> chunks() const { return transport_().written.mid(2); }

private:
    const MemoryTransport &transport_() const { return session.NetworkMode ? *tcp : *serial; }
};

QByteArray pattern(qsizetype size)
{
    QByteArray bytes;
    for (qsizetype i = 0; i < size; ++i)
        bytes += static_cast<char>(i * 7 + i / 512);
    return bytes;
}

} // namespace

class tst_scripts : public QObject
{
    Q_OBJECT

private slots:
    void dialog();
    void cancelledDialog();
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
    void vanishedFile();
    void pollingPauses();
    void linkLost_data();
    void linkLost();
    void programClosing();
    void runStopRun();
    void linkLostDuringRun();
};

void tst_scripts::dialog()
{
    ScriptBench bench;
    bench.console.scriptLoadClicked();
    QCOMPARE(bench.dialogs.choices.size(), 1);
    const FileChoice choice = bench.dialogs.choices[0];
    QCOMPARE(choice.kind, FileChoice::Kind::OpenExisting);
    QCOMPARE(choice.title, QStringLiteral("Open Vornscript File"));
    QCOMPARE(choice.filter, QStringLiteral("VornScript Files | *.vn"));
}

void tst_scripts::cancelledDialog()
{
    ScriptBench bench;
    bench.main.ScriptName.setText(QStringLiteral("earlier.vn"));
    bench.main.ScriptRun.setEnabled(true);
    bench.console.scriptLoadClicked();
    QCOMPARE(bench.main.ScriptName.text(), QString());
    QVERIFY(bench.session.ScriptError);
    QVERIFY(!bench.main.ScriptRun.isEnabled());
    QVERIFY(bench.main.ScriptLoad.isEnabled());
    QVERIFY(bench.serial->written.isEmpty());
}

void tst_scripts::chunks_data()
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

void tst_scripts::chunks()
{
    QFETCH(int, size);
    QFETCH(int, whole);
    QFETCH(int, rest);
    ScriptBench bench;
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

void tst_scripts::downloadOrder()
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

void tst_scripts::successfulDownload()
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

void tst_scripts::noEndReport()
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

void tst_scripts::refusedAfterFirstChunk()
{
    ScriptBench bench;
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

void tst_scripts::refusedWhileWaiting()
{
    ScriptBench bench;
    bench.load("1b53 21 1b45"_hex);
    bench.answer("97"_hex);
    bench.answer("a0 00 00 21"_hex);
    QCOMPARE(bench.main.ScriptIdx.text(), QStringLiteral("Load Error"));
    QVERIFY(!bench.main.ScriptRun.isEnabled());
}

void tst_scripts::automaticModeStaysOff()
{
    ScriptBench bench;
    bench.main.Automode.adoptChecked(false);
    bench.load("1b53 21 1b45"_hex);
    bench.serial->takeWritten();
    bench.answer("a0 00 00 21"_hex);
    QVERIFY(bench.serial->written.isEmpty());
    QVERIFY(bench.main.ScriptRun.isEnabled());
}

void tst_scripts::stepsAndProgress()
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
}

void tst_scripts::warnings()
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

void tst_scripts::vanishedFile()
{
    ScriptBench bench;
    const QString path = bench.directory.filePath(QStringLiteral("gone.vn"));
    bench.dialogs.paths = {path};
    bench.console.scriptLoadClicked();
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("Vantrel - Error"));
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("No such file or directory: ") + path);
    QVERIFY(bench.main.Window.isEnabled());
    QVERIFY(!bench.session.ScriptBusy);
    QVERIFY(bench.main.ScriptLoad.isEnabled());
    QVERIFY(!bench.main.ScriptRun.isEnabled());
    QVERIFY(bench.serial->written.isEmpty()); // automatic mode was never left
}

void tst_scripts::pollingPauses()
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

void tst_scripts::linkLost_data()
{
    QTest::addColumn<bool>("whileSending");
    QTest::addColumn<bool>("byUser");
    QTest::newRow("failed while sending") << true << false;
    QTest::newRow("failed while waiting") << false << false;
    QTest::newRow("Disconnect while sending") << true << true;
    QTest::newRow("Disconnect while waiting") << false << true;
}

void tst_scripts::linkLost()
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

void tst_scripts::programClosing()
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

void tst_scripts::runStopRun()
{
    ScriptBench bench;
    bench.load("1b53 21 1b45"_hex);
    bench.answer("a0 00 00 21"_hex);
    bench.serial->takeWritten();

    bench.console.scriptRunClicked();
    QCOMPARE(bench.serial->takeWritten(), "1b53 0d 1b45"_hex);
    QCOMPARE(bench.main.ScriptRun.text(), QStringLiteral("Stop"));
    QCOMPARE(bench.main.ScriptIdx.text(), QStringLiteral("Running"));
    QVERIFY(bench.main.ScriptRun.isEnabled());
    QVERIFY(!bench.main.ScriptLoad.isEnabled());
    QVERIFY(bench.session.ScriptBusy);
    bench.tick(20);
    QVERIFY(bench.serial->written.isEmpty());

    bench.console.scriptRunClicked();
    QCOMPARE(bench.serial->takeWritten(), AutoModeOn);
    QCOMPARE(bench.main.ScriptRun.text(), QStringLiteral("Stop"));
    QVERIFY(bench.main.ScriptRun.isEnabled());
    QVERIFY(!bench.session.ScriptBusy);

    bench.answer("a0 00 05 a1 00 05"_hex);
    QCOMPARE(bench.main.ScriptRun.text(), QStringLiteral("Run"));
    QCOMPARE(bench.main.ScriptIdx.text(), QStringLiteral("Stopped @ 5"));
    QVERIFY(bench.main.ScriptLoad.isEnabled());
    QVERIFY(bench.main.CmdWin.text().endsWith(QLatin1String("\r\nScript Complete")));
    bench.serial->takeWritten();

    bench.console.scriptRunClicked();
    QCOMPARE(bench.serial->takeWritten(), "1b53 0d 1b45"_hex);
    QCOMPARE(bench.main.ScriptRun.text(), QStringLiteral("Stop"));
}

void tst_scripts::linkLostDuringRun()
{
    ScriptBench bench(true);
    bench.console.scriptRunClicked();
    QVERIFY(bench.session.ScriptBusy);
    bench.tcp->fail(QStringLiteral("gone"));
    QVERIFY(!bench.session.ScriptBusy);
    QCOMPARE(bench.main.ScriptRun.text(), QStringLiteral("Run"));
    QVERIFY(!bench.main.ScriptRun.isEnabled());
    QVERIFY(!bench.main.ScriptLoad.isEnabled());

    bench.run(true); // probes and polls as ever
    QCOMPARE(bench.session.LinkState, LinkStates::Running);
    QVERIFY(bench.main.ScriptLoad.isEnabled());
}

QTEST_GUILESS_MAIN(tst_scripts)
#include "tst_scripts.moc"
