// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/Utils.h"
#include "support/ConsoleBench.h"
#include "support/Hex.h"
#include "support/TestProgram.h"

#include <QDir>
#include <QRegularExpression>
#include <QTest>

#include <unistd.h>

using namespace vantrel;
using namespace vantrel::test;

namespace {

// A locale whose short formats are well known, before the application asks for it.
const bool LocaleIsSet = qputenv("LC_ALL", "en_GB.UTF-8");

const QByteArray Header = "%%%%%\r\n"
                          "%% Log File Started: 09:05 04/03/2026\r\n"
                          "%%%%%\r\n"
                          "\r\n";
const QByteArray Footer = "\r\n"
                          "%%%%%\r\n"
                          "%% Log File Ended: 17:30 05/03/2026\r\n"
                          "%%%%%\r\n";

QByteArray contentsOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
}

/// A log whose clock stands still until it is set.
struct LogBench
{
    QTemporaryDir directory;
    QString path = directory.filePath(QStringLiteral("session.log"));
    FakeDialogs dialogs;
    ErrorBoundary errors{dialogs};
    Session session;
    QDateTime now{QDate(2026, 3, 4), QTime(9, 5, 59)};
    SessionLog log{session, dialogs, errors, [this] { return now; }};

    void open()
    {
        dialogs.paths.append(path);
        errors.run([this] { return log.fileNew(); });
    }
    void close()
    {
        now = QDateTime(QDate(2026, 3, 5), QTime(17, 30));
        errors.runNow([this] { log.fileClose(); });
    }
};

/// A console with a log file chosen in its dialog.
struct LoggingConsole : ConsoleBench
{
    QString path = directory.filePath(QStringLiteral("session.log"));

    void fileNew(const QString &chosen)
    {
        dialogs.paths.append(chosen);
        console.fileNewClicked();
    }
    void compareClosed() const
    {
        QCOMPARE(session.Logging, false);
        QVERIFY(main.FileNew.isEnabled());
        QVERIFY(!main.FileClose.isEnabled());
        QVERIFY(!main.LogFrame.isVisible());
    }
};

} // namespace

/// The session log file.
class TestSessionLog : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(LocaleIsSet); }

    void openedAndClosed();
    void opened();
    void closed();
    void theDialog();
    void cancelled();
    void body();
    void severalLinesInOneText();
    void statusLinesAreNotLogged();
    void replacesWhatWasThere();
    void secondLog();
    void fileNameWithoutItsDirectory();
    void reportsFromTheTester();
    void clearDoesNotTouchIt();
    void exitWritesTheFooter();
    void exitWithoutLog();
    void closedByTheFrame();
    void linesAfterTheClose();
    void realClock();
    void formatsOfTheLocale_data();
    void formatsOfTheLocale();
    void cannotOpen_data();
    void cannotOpen();
};

void TestSessionLog::openedAndClosed()
{
    LogBench bench;
    bench.open();
    QCOMPARE(bench.session.LogBytes, 55);
    QCOMPARE(bench.session.Main.LogSizeInfo.text(), QLatin1String(" 55 Bytes"));
    bench.close();
    QCOMPARE(contentsOf(bench.path), Header + Footer);
    QCOMPARE(Header.size(), qsizetype{55}); // its text and the line end that the write adds
    QCOMPARE(bench.dialogs.messages.size(), 0);
}

void TestSessionLog::opened()
{
    LogBench bench;
    bench.session.Main.FileClose.setEnabled(false);
    bench.session.Main.LogFrame.setVisible(false);
    bench.session.LogBytes = 12345;
    bench.open();
    const MainControls &main = bench.session.Main;
    QCOMPARE(bench.session.Logging, true);
    QVERIFY(!main.FileNew.isEnabled());
    QVERIFY(main.FileClose.isEnabled());
    QVERIFY(main.LogFrame.isVisible());
    QCOMPARE(main.LogInfo.text(), QLatin1String("Logging: session.log"));
    QCOMPARE(bench.session.LogBytes, 55);
}

void TestSessionLog::closed()
{
    LogBench bench;
    bench.open();
    bench.close();
    const MainControls &main = bench.session.Main;
    QCOMPARE(bench.session.Logging, false);
    QVERIFY(main.FileNew.isEnabled());
    QVERIFY(!main.FileClose.isEnabled());
    QVERIFY(!main.LogFrame.isVisible());
    QCOMPARE(bench.session.LogBytes, 55); // the footer is not counted
}

void TestSessionLog::theDialog()
{
    LogBench bench;
    bool fileNewEnabled = true;
    bench.dialogs.onChoice = [&] { fileNewEnabled = bench.session.Main.FileNew.isEnabled(); };
    bench.open();
    QVERIFY(!fileNewEnabled);
    QCOMPARE(bench.dialogs.choices.size(), 1);
    const FileChoice &choice = bench.dialogs.choices[0];
    QCOMPARE(choice.kind, FileChoice::Kind::SaveAs);
    QCOMPARE(choice.title, QLatin1String("Open New Log File"));
    QCOMPARE(choice.filter, QLatin1String("Log Files|*.log"));
    QCOMPARE(choice.defaultSuffix, QLatin1String("log"));
    QCOMPARE(choice.fileName, QLatin1String("*.log"));
    QVERIFY(choice.inDataDirectory);
}

void TestSessionLog::cancelled()
{
    LoggingConsole bench;
    bench.console.fileNewClicked(); // no path: cancelled
    QCOMPARE(bench.dialogs.choices.size(), 1);
    bench.compareClosed();
    QCOMPARE(bench.session.LogBytes, 0);
    ShowResponseLine(bench.session, "line");
    bench.tick();
    QCOMPARE(bench.session.LogBytes, 0);
    QCOMPARE(QDir(bench.directory.path()).entryList(QDir::Files),
             QStringList{QStringLiteral("VLnetNames.dat")});

    bench.fileNew(bench.path);
    QCOMPARE(bench.session.Logging, true);
}

void TestSessionLog::body()
{
    LogBench bench;
    bench.open();
    ShowResponseLine(bench.session, "*** Vorn Fail ");
    QCOMPARE(bench.session.LogBytes, 55 + 16);
    QCOMPARE(bench.session.Main.LogSizeInfo.text(), QLatin1String(" 71 Bytes"));
    ShowResponseLine(bench.session, "");
    QCOMPARE(bench.session.LogBytes, 55 + 18);
    bench.close();
    QCOMPARE(contentsOf(bench.path), Header + "*** Vorn Fail \r\n\r\n" + Footer);
}

void TestSessionLog::severalLinesInOneText()
{
    LogBench bench;
    bench.open();
    ShowResponseLine(bench.session, "*** Disconnect\r\n     Address: 0x5");
    QCOMPARE(bench.session.LogBytes, 55 + 35);
    bench.close();
    QCOMPARE(contentsOf(bench.path), Header + "*** Disconnect\r\n     Address: 0x5\r\n" + Footer);
}

void TestSessionLog::statusLinesAreNotLogged()
{
    LogBench bench;
    bench.open();
    ShowStatusLine(bench.session, QStringLiteral("Connecting..."));
    bench.close();
    QCOMPARE(contentsOf(bench.path), Header + Footer);
}

void TestSessionLog::replacesWhatWasThere()
{
    LogBench bench;
    QFile old(bench.path);
    QVERIFY(old.open(QIODevice::WriteOnly));
    old.write(QByteArray(10000, 'x'));
    old.close();
    bench.open();
    bench.close();
    QCOMPARE(contentsOf(bench.path), Header + Footer);
}

void TestSessionLog::secondLog()
{
    LogBench bench;
    bench.open();
    ShowResponseLine(bench.session, "first");
    bench.close();
    bench.path = bench.directory.filePath(QStringLiteral("second.log"));
    bench.now = QDateTime(QDate(2026, 3, 4), QTime(9, 5));
    bench.open();
    QCOMPARE(bench.session.LogBytes, 55);
    QCOMPARE(bench.session.Main.LogInfo.text(), QLatin1String("Logging: second.log"));
    ShowResponseLine(bench.session, "second");
    bench.close();
    QCOMPARE(contentsOf(bench.path), Header + "second\r\n" + Footer);
}

void TestSessionLog::fileNameWithoutItsDirectory()
{
    LogBench bench;
    QVERIFY(QDir(bench.directory.path()).mkdir(QStringLiteral("a directory")));
    bench.path = bench.directory.filePath(QStringLiteral("a directory/my session.x.log"));
    bench.open();
    QCOMPARE(bench.session.Main.LogInfo.text(), QLatin1String("Logging: my session.x.log"));
    bench.close();
}

void TestSessionLog::reportsFromTheTester()
{
    LoggingConsole bench;
    bench.run();
    bench.fileNew(bench.path);
    const qint32 header = bench.session.LogBytes;
    bench.answer("94"_hex);
    bench.answer("83"_hex);
    bench.answer("90 01 05"_hex);
    QCOMPARE(bench.session.LogBytes, header + 16 + 35);
    bench.tick();
    QVERIFY(
        contentsOf(bench.path)
            .endsWith("%%%%%\r\n\r\n*** Vorn Fail \r\n*** Disconnect\r\n     Address: 0x5\r\n"));
}

void TestSessionLog::clearDoesNotTouchIt()
{
    LoggingConsole bench;
    bench.fileNew(bench.path);
    ShowResponseLine(bench.session, "before");
    const qint32 bytes = bench.session.LogBytes;
    bench.console.clearClicked();
    QCOMPARE(bench.session.LogBytes, bytes);
    QCOMPARE(bench.session.Logging, true);
    ShowResponseLine(bench.session, "after");
    bench.tick();
    QVERIFY(contentsOf(bench.path).endsWith("\r\n\r\nbefore\r\nafter\r\n"));
}

void TestSessionLog::exitWritesTheFooter()
{
    LoggingConsole bench;
    bench.fileNew(bench.path);
    ShowResponseLine(bench.session, "line");
    bench.console.exitClicked();
    bench.compareClosed();
    const QByteArray contents = contentsOf(bench.path);
    QVERIFY(contents.contains("\r\nline\r\n\r\n%%%%%\r\n%% Log File Ended: "));
    QVERIFY(contents.endsWith("\r\n%%%%%\r\n"));
}

void TestSessionLog::exitWithoutLog()
{
    LoggingConsole bench;
    bench.console.exitClicked();
    bench.compareClosed();
    QCOMPARE(bench.dialogs.messages.size(), 0);
}

void TestSessionLog::closedByTheFrame()
{
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("session.log"));
    {
        LoggingConsole bench;
        bench.fileNew(path);
        ShowResponseLine(bench.session, "the last line");
        bench.console.shutDown();
    }
    const QByteArray contents = contentsOf(path);
    QVERIFY2(contents.endsWith("%%%%%\r\n\r\nthe last line\r\n"), contents.constData());
    QVERIFY(!contents.contains("Ended"));
}

void TestSessionLog::linesAfterTheClose()
{
    LogBench bench;
    bench.open();
    bench.close();
    ShowResponseLine(bench.session, "late");
    QCOMPARE(bench.session.LogBytes, 55);
    QCOMPARE(bench.session.Main.LogSizeInfo.text(), QLatin1String(" 55 Bytes"));
    QCOMPARE(contentsOf(bench.path), Header + Footer);
}

void TestSessionLog::realClock()
{
    LoggingConsole bench;
    bench.fileNew(bench.path);
    bench.console.fileCloseClicked();
    const QRegularExpression form(
        QStringLiteral("^%%%%%\r\n%% Log File Started: \\d\\d:\\d\\d \\d\\d/\\d\\d/\\d{4}\r\n"
                       "%%%%%\r\n\r\n\r\n%%%%%\r\n"
                       "%% Log File Ended: \\d\\d:\\d\\d \\d\\d/\\d\\d/\\d{4}\r\n%%%%%\r\n$"));
    const QString contents = QString::fromLatin1(contentsOf(bench.path));
    QVERIFY2(form.match(contents).hasMatch(), qPrintable(contents));
}

void TestSessionLog::formatsOfTheLocale_data()
{
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QByteArray>("stamp");

    const QByteArray ofTheCLocale = "09:05:59 4 Mar 2026";
    QTest::newRow("C") << QStringLiteral("C") << ofTheCLocale;
    QTest::newRow("German") << QStringLiteral("de_DE") << QByteArray("09:05 04.03.26");
    QTest::newRow("Arabic, Egypt: digits") << QStringLiteral("ar_EG") << ofTheCLocale;
    QTest::newRow("Korean: morning") << QStringLiteral("ko_KR") << ofTheCLocale;
    QTest::newRow("Greek: morning") << QStringLiteral("el_GR") << ofTheCLocale;
    QTest::newRow("Bulgarian: year") << QStringLiteral("bg_BG") << ofTheCLocale;
}

void TestSessionLog::formatsOfTheLocale()
{
    QFETCH(QString, locale);
    QFETCH(QByteArray, stamp);

    FakeDialogs dialogs;
    ErrorBoundary errors(dialogs);
    Session session;
    const QDateTime now(QDate(2026, 3, 4), QTime(9, 5, 59));
    SessionLog log(
        session, dialogs, errors, [now] { return now; }, QLocale(locale));
    const QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("session.log"));
    log.start(path);
    log.fileClose();
    QCOMPARE(contentsOf(path), "%%%%%\r\n%% Log File Started: " + stamp +
                                   "\r\n%%%%%\r\n\r\n\r\n%%%%%\r\n%% Log File Ended: " + stamp +
                                   "\r\n%%%%%\r\n");
}

void TestSessionLog::cannotOpen_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("reason");

    QTest::newRow("no such directory") << QStringLiteral("/no/such/directory/a.log")
                                       << QStringLiteral("No such file or directory");
    QTest::newRow("a directory") << QStringLiteral("/tmp") << QStringLiteral("Not a regular file");
    QTest::newRow("a device") << QStringLiteral("/dev/full")
                              << QStringLiteral("Not a regular file");
    if (::geteuid() != 0)
        QTest::newRow("not allowed")
            << QStringLiteral("/root.log") << QStringLiteral("Permission denied");
}

void TestSessionLog::cannotOpen()
{
    QFETCH(QString, path);
    QFETCH(QString, reason);

    LoggingConsole bench;
    bench.fileNew(path);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, reason + QLatin1String(": ") + path);
    QCOMPARE(bench.dialogs.messages[0].title, QLatin1String("Vantrel - Error"));
    bench.compareClosed();
    bench.tick();
    ShowResponseLine(bench.session, "line");
    QCOMPARE(bench.dialogs.messages.size(), 1);

    bench.fileNew(bench.path); // another choice
    QCOMPARE(bench.session.Logging, true);
    QCOMPARE(bench.main.LogInfo.text(), QLatin1String("Logging: session.log"));
}

VANTREL_TEST(TestSessionLog)
#include "tst_sessionlog.moc"
