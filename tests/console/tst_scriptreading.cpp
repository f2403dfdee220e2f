// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/FlashBench.h"
#include "console/ScriptBench.h"
#include "support/TestProgram.h"

#include <QTimer>

using namespace vantrel;
using namespace vantrel::test;

namespace {

constexpr int Slices = 8;
constexpr qint64 LargeSize = Slices * 1'048'576;

/// Counts the turns that the event loop takes.
struct TurnCounter
{
    TurnCounter()
    {
        timer.callOnTimeout([this] { ++turns; });
        timer.start(0);
    }
    QTimer timer;
    int turns = 0;
};

/// A console that has begun to read a large script; nothing has been sent.
struct ReadingBench : ScriptBench
{
    ReadingBench()
    {
        begin(script);
        if (session.DownloadSize != LargeSize || !serial->written.isEmpty())
            qFatal("the script was read in one turn");
    }

    /// Lets the reading go on until it has ended.
    bool ends()
    {
        return QTest::qWaitFor([this] { return session.DownloadSize < 0; });
    }
    void compareNothingSent()
    {
        QVERIFY(ends());
        QVERIFY(serial->written.isEmpty());
        QVERIFY(!main.DownloadProgress.isVisible());
        QVERIFY(main.Window.isEnabled());
        QVERIFY(!main.ScriptRun.isEnabled());
        QVERIFY(!session.ScriptBusy);
        QVERIFY(!session.leases.current());
    }

    const QByteArray script = pattern(LargeSize);
    const QString path = directory.filePath(QStringLiteral("test.vn"));
};

} // namespace

/// A script file on its way into memory, before anything is sent.
class TestScriptReading : public QObject
{
    Q_OBJECT

private slots:
    void tooLarge_data();
    void tooLarge();
    void tooLargeForTheFlash();
    void progressFromTheFirstByte();
    void turnsWhileReading();
    void changed_data();
    void changed();
    void deleted();
    void linkLost();
    void programClosing();
    void flashWindowClosed();
    void stepsOfARunDoNotCount();
};

void TestScriptReading::tooLarge_data()
{
    QTest::addColumn<qint64>("size");
    QTest::newRow("2 GiB") << Q_INT64_C(2'147'483'648);
    QTest::newRow("4 GiB and 5 bytes") << Q_INT64_C(4'294'967'301);
    QTest::newRow("1 TiB") << Q_INT64_C(1'099'511'627'776);
}

/// The files are sparse: they need no space on the disk.
void TestScriptReading::tooLarge()
{
    QFETCH(qint64, size);
    ScriptBench bench;
    const QString path = bench.file({});
    QVERIFY(QFile::resize(path, size));
    bench.dialogs.paths = {path};
    bench.console.scriptLoadClicked();

    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("Vantrel - Error"));
    QCOMPARE(bench.dialogs.messages[0].text,
             QStringLiteral("The file has %1 bytes, at most 2147483647 are read: ").arg(size) +
                 path);
    QVERIFY(bench.serial->written.isEmpty());
    QCOMPARE(bench.session.DownloadSize, -1);
    QVERIFY(!bench.main.DownloadProgress.isVisible());
    QVERIFY(bench.main.Window.isEnabled());
    QVERIFY(bench.main.ScriptLoad.isEnabled());
    QVERIFY(!bench.main.ScriptRun.isEnabled());
    QVERIFY(!bench.session.leases.current());
}

void TestScriptReading::tooLargeForTheFlash()
{
    FlashBench bench;
    bench.open("b1 01 00 01 4e616d6520202020"_hex);
    const QString path = bench.directory.filePath(QStringLiteral("large.vn"));
    QFile(path).open(QIODevice::WriteOnly);
    QVERIFY(QFile::resize(path, Q_INT64_C(2'147'483'648)));
    bench.dialogs.paths = {path};
    bench.flash.burnClicked();
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text,
             QStringLiteral("The file has 2147483648 bytes, at most 2147483647 are read: ") + path);
    QVERIFY(bench.serial->written.isEmpty());
}

void TestScriptReading::progressFromTheFirstByte()
{
    ReadingBench bench;
    const Control &bar = bench.main.DownloadProgress;
    QVERIFY(bar.isVisible());
    QCOMPARE(bar.progress(), (Progress{0, LargeSize}));
    QCOMPARE(bar.text(), QStringLiteral("0 of 8388608 bytes sent, 0 steps stored"));
    QVERIFY(!bench.main.Window.isEnabled());
    QVERIFY(!bench.session.ScriptBusy); // the connection is polled until something is sent
}

/// Each slice has a turn of its own, and the script is sent whole afterwards.
void TestScriptReading::turnsWhileReading()
{
    ReadingBench bench;
    const TurnCounter counter;
    int turns = 0;
    bench.serial->onWrite = [&](const QByteArray &) {
        if (turns == 0)
            turns = counter.turns;
    };
    QTRY_VERIFY(!bench.serial->written.isEmpty());
    QVERIFY(turns >= Slices - 2);
    QCOMPARE(bench.serial->written.first(), AutoModeOff);
    QTRY_COMPARE(bench.session.DownloadSent, bench.session.DownloadSize);
    QVERIFY(bench.chunks().join() == bench.script);
    QVERIFY(bench.main.CmdWin.text().endsWith(
        QLatin1String("\r\nWarning: no packet starts here, at byte 0")));
}

void TestScriptReading::changed_data()
{
    QTest::addColumn<qint64>("size");
    QTest::newRow("cut") << LargeSize / 2;
    QTest::newRow("emptied") << Q_INT64_C(0);
    QTest::newRow("grown") << 2 * LargeSize;
    QTest::newRow("rewritten") << LargeSize;
}

void TestScriptReading::changed()
{
    QFETCH(qint64, size);
    ReadingBench bench;
    QFile file(bench.path);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.resize(size));
    QVERIFY(file.setFileTime(QDateTime(QDate(2001, 2, 3), QTime(4, 5)),
                             QFileDevice::FileModificationTime));
    file.close();
    bench.compareNothingSent();
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text,
             QStringLiteral("The file was changed while it was read: ") + bench.path);
    QVERIFY(bench.main.ScriptLoad.isEnabled());
}

/// The open file is complete.
void TestScriptReading::deleted()
{
    ReadingBench bench;
    QVERIFY(QFile::remove(bench.path));
    QTRY_COMPARE(bench.session.DownloadSent, bench.session.DownloadSize);
    QVERIFY(bench.chunks().join() == bench.script);
}

void TestScriptReading::linkLost()
{
    ReadingBench bench;
    bench.console.link().CloseLink();
    bench.session.connection.cancel();
    bench.compareNothingSent();
    QVERIFY(bench.session.ScriptError);
    QVERIFY(bench.main.CmdWin.text().endsWith(
        QLatin1String("\r\nThe connection has ended: no script was sent")));
}

void TestScriptReading::programClosing()
{
    ReadingBench bench;
    bench.console.shutDown();
    QVERIFY(bench.serial->written.isEmpty());
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    QCOMPARE(bench.session.DownloadSize, -1);
}

/// Nothing has been sent yet: nothing goes on without the window.
void TestScriptReading::flashWindowClosed()
{
    FlashBench bench;
    bench.open("b1 01 00 01 4e616d6520202020"_hex);
    QFile script(bench.directory.filePath(QStringLiteral("large.vn")));
    QVERIFY(script.open(QIODevice::WriteOnly));
    QCOMPARE(script.write(pattern(LargeSize)), LargeSize);
    script.close();
    bench.dialogs.paths = {script.fileName()};
    bench.flash.burnClicked();
    QCOMPARE(bench.session.DownloadSize, LargeSize);
    bench.flash.closed();
    QTRY_COMPARE(bench.session.DownloadSize, -1);
    QVERIFY(bench.serial->written.isEmpty());
    QVERIFY(bench.main.CmdWin.text().endsWith(
        QLatin1String("\r\nThe window was closed: no script was sent")));
    QVERIFY(bench.main.Window.isEnabled());
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestScriptReading::stepsOfARunDoNotCount()
{
    ReadingBench bench;
    bench.answer("a0 00 05 21"_hex);
    QTRY_VERIFY(!bench.serial->written.isEmpty());
    QCOMPARE(bench.session.ScriptSteps, 0);
}

VANTREL_TEST(TestScriptReading)
#include "tst_scriptreading.moc"
