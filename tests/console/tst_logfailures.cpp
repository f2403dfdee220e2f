// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/Utils.h"
#include "support/ConsoleBench.h"
#include "support/FileContents.h"
#include "support/FileSizeLimit.h"
#include "support/ForkedProcess.h"
#include "support/TestProgram.h"

#include <QTest>

#include <optional>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// A console with a log file chosen in its dialog.
struct LoggingConsole : ConsoleBench
{
    QString path = directory.filePath(QStringLiteral("session.log"));

    void fileNew(const QString &chosen)
    {
        dialogs.paths.append(chosen);
        console.fileNewClicked();
    }
    bool isClosed() const
    {
        return !session.Logging && main.FileNew.isEnabled() && !main.FileClose.isEnabled() &&
               !main.LogFrame.isVisible();
    }
};

void compareFullDiskTold(const LoggingConsole &bench)
{
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QLatin1String("File too large: ") + bench.path);
    QCOMPARE(bench.dialogs.messages[0].title, QLatin1String("Vantrel - Error"));
    QVERIFY(bench.isClosed());
}

} // namespace

/// The session log file when it cannot be written.
class TestLogFailures : public QObject
{
    Q_OBJECT

private slots:
    void anotherInstance();
    void fullDiskAtTheTick();
    void fullDiskInAFlood();
    void fullDiskAtTheClose();
    void fullDiskAtExit();
};

/// A log of this name that another process has open is neither truncated nor written.
void TestLogFailures::anotherInstance()
{
    LoggingConsole first;
    first.fileNew(first.path);
    ShowResponseLine(first.session, "first");
    first.tick();
    const QByteArray before = contentsOf(first.path);

    ForkedProcess second([&first] {
        LoggingConsole bench;
        bench.fileNew(first.path);
        return bench.dialogs.messages.size() == 1 &&
               bench.dialogs.messages[0].title == QLatin1String("Vantrel - Error") &&
               bench.dialogs.messages[0].text ==
                   QLatin1String("Another instance of the program is writing this log: ") +
                       first.path &&
               bench.isClosed();
    });
    QVERIFY(second.succeeded());
    QCOMPARE(contentsOf(first.path), before);
    first.console.fileCloseClicked();
    QVERIFY(contentsOf(first.path).startsWith(before + "\r\n%%%%%\r\n%% Log File Ended: "));
}

void TestLogFailures::fullDiskAtTheTick()
{
    LoggingConsole bench;
    bench.fileNew(bench.path);
    std::optional<FileSizeLimit> full(0);
    ShowResponseLine(bench.session, "lost");
    bench.tick();
    compareFullDiskTold(bench);

    const qint32 bytes = bench.session.LogBytes;
    for (int ticks = 0; ticks < 20; ++ticks) {
        ShowResponseLine(bench.session, "after");
        bench.tick();
    }
    compareFullDiskTold(bench);
    QCOMPARE(bench.session.LogBytes, bytes);
    QVERIFY(bench.main.RespWin.text().endsWith(QLatin1String("after\r\n")));

    full.reset();
    bench.fileNew(bench.path);
    ShowResponseLine(bench.session, "kept");
    bench.tick();
    QVERIFY(contentsOf(bench.path).endsWith("%%%%%\r\n\r\nkept\r\n"));
}

void TestLogFailures::fullDiskInAFlood()
{
    LoggingConsole bench;
    bench.fileNew(bench.path);
    const FileSizeLimit full(0);
    for (int lines = 0; lines < 100; ++lines)
        ShowResponseLine(bench.session, std::string(10'000, 'x')); // all within one tick
    compareFullDiskTold(bench);
    bench.tick(10);
    compareFullDiskTold(bench);
}

void TestLogFailures::fullDiskAtTheClose()
{
    LoggingConsole bench;
    bench.fileNew(bench.path);
    const FileSizeLimit full(0);
    bench.console.fileCloseClicked();
    compareFullDiskTold(bench);
}

void TestLogFailures::fullDiskAtExit()
{
    LoggingConsole bench;
    bench.fileNew(bench.path);
    const FileSizeLimit full(0);
    bench.console.exitClicked();
    compareFullDiskTold(bench);
}

VANTREL_TEST(TestLogFailures)
#include "tst_logfailures.moc"
