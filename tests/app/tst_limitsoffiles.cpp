// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/NetworkBench.h"
#include "console/Main.h"
#include "support/FileContents.h"
#include "support/FileSizeLimit.h"
#include "support/TestProgram.h"
#include "support/Turns.h"

#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QTest>
#include <QTimer>

#include <sys/stat.h>
#include <unistd.h>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// The whole program, connected, with the tester's set-up behind it.
struct SessionBench : NetworkBench
{
    SessionBench()
    {
        const bool ready =
            connectConsole() && turnsUntil([this] {
                return responses().contains("Product ID: 0x0166"); // the last line of the set-up
            });
        if (!ready)
            qFatal("the console does not connect");
    }

    QString path(const char *name) const { return directory.filePath(QLatin1String(name)); }

    /// Begins a log and writes its header out; returns the header.
    QByteArray startLog(const QString &file)
    {
        console.log().start(file);
        console.Timer1();
        return contentsOf(file);
    }

    /// One report, seen and written out; returns the line that it makes.
    QByteArray report(int number)
    {
        const QByteArray counter = QByteArray::number(number + 1'000'000); // seven digits each
        const QByteArray line = "*** Message -- \r\n " + counter.toHex(' ').toUpper() + " \r\n";
        tester->reportMessage(counter);
        if (!turnsUntil([&] { return responses().endsWith(line); }))
            qFatal("a report is lost");
        console.Timer1();
        return line;
    }

    /// The console is connected and polls; no more than `boxes` boxes were opened.
    void compareWorking(qsizetype boxes)
    {
        QVERIFY(turnsUntil([this] { return session().StatusSeen; }));
        second();
        QVERIFY(turnsUntil([this] { return session().StatusSeen; }));
        QCOMPARE(session().LinkState, LinkStates::Running);
        report(999);
        QCOMPARE(dialogs.messages.size(), boxes);
    }

    void compareLogClosed()
    {
        QVERIFY(!session().Logging);
        QVERIFY(!main().LogFrame.isVisible());
        QVERIFY(main().FileNew.isEnabled());
        QVERIFY(!main().FileClose.isEnabled());
    }

    void compareDeletionShown(const QString &path)
    {
        QVERIFY(dialogs.messages.isEmpty());
        QCOMPARE(main().CmdWin.text().count(
                     QStringLiteral("\r\nThe log file was deleted, the log is closed: ") + path),
                 1);
    }

    void compareOnlyBox(const QString &text)
    {
        QCOMPARE(dialogs.messages.size(), 1);
        QCOMPARE(dialogs.messages[0].text, text);
        QCOMPARE(dialogs.messages[0].title, QStringLiteral("Vantrel - Error"));
    }
};

} // namespace

/// What the whole program makes of files that fail it.
class tst_limitsoffiles : public QObject
{
    Q_OBJECT

private slots:
    void diskFullInMidSession();
    void logDeleted_data();
    void logDeleted();
    void logDeletedBeforeItsClose();
    void logRenamed_data();
    void logRenamed();
    void unreadableNames_data();
    void unreadableNames();
    void tenThousandNames();

private:
    QTemporaryDir m_directory;
};

void tst_limitsoffiles::diskFullInMidSession()
{
    constexpr qsizetype DiskSize = 1000;
    SessionBench bench;
    const QString path = bench.path("session.log");
    QByteArray expected = bench.startLog(path);
    {
        const FileSizeLimit disk(DiskSize);
        while (bench.dialogs.messages.isEmpty() && expected.size() < 10 * DiskSize)
            expected += bench.report(static_cast<int>(expected.size()));
        QVERIFY(expected.size() > DiskSize);
        QVERIFY(expected.size() <= DiskSize + 41); // told with the first report that did not fit
        bench.compareOnlyBox(QStringLiteral("File too large: ") + path);
        bench.compareLogClosed();

        bench.compareWorking(1); // told once
        QCOMPARE(contentsOf(path), expected.first(DiskSize));
    }

    const QString next = bench.path("next.log"); // somebody has made room
    const QByteArray header = bench.startLog(next);
    const QByteArray line = bench.report(1);
    QCOMPARE(contentsOf(next), header + line);
    QCOMPARE(bench.dialogs.messages.size(), 1);
}

void tst_limitsoffiles::logDeleted_data()
{
    QTest::addColumn<bool>("withItsDirectory");
    QTest::newRow("the file") << false;
    QTest::newRow("its directory") << true;
}

void tst_limitsoffiles::logDeleted()
{
    QFETCH(bool, withItsDirectory);

    SessionBench bench;
    QDir logs(bench.path("logs"));
    QVERIFY(logs.mkpath(QStringLiteral(".")));
    const QString path = logs.filePath(QStringLiteral("session.log"));
    bench.startLog(path);
    bench.report(1);

    QVERIFY(withItsDirectory ? logs.removeRecursively() : QFile::remove(path));
    bench.console.Timer1();
    QVERIFY(bench.dialogs.messages.isEmpty()); // nothing has been lost yet
    bench.report(2);
    bench.compareDeletionShown(path);
    bench.compareLogClosed();
    QVERIFY(!QFile::exists(path));
    QCOMPARE(QDir(logs.path()).exists(), !withItsDirectory);
    bench.compareWorking(0);
    bench.compareDeletionShown(path);

    const QString next = bench.path("next.log");
    const QByteArray header = bench.startLog(next);
    const QByteArray line = bench.report(3);
    QCOMPARE(contentsOf(next), header + line);
    bench.console.fileCloseClicked(); // this one has not been deleted
    bench.compareDeletionShown(path);
    QVERIFY(contentsOf(next).startsWith(header + line + "\r\n%%%%%\r\n%% Log File Ended: "));
}

void tst_limitsoffiles::logDeletedBeforeItsClose()
{
    SessionBench bench;
    const QString path = bench.path("session.log");
    bench.startLog(path);
    QVERIFY(QFile::remove(path));
    bench.console.fileCloseClicked();
    bench.compareDeletionShown(path);
    bench.compareLogClosed();
    bench.compareWorking(0);
}

void tst_limitsoffiles::logRenamed_data()
{
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::newRow("the file") << QStringLiteral("/logs/session.log")
                              << QStringLiteral("/logs/kept.log");
    QTest::newRow("its directory") << QStringLiteral("/logs") << QStringLiteral("/kept");
}

/// Nothing is lost by that: the log goes on under its new name.
void tst_limitsoffiles::logRenamed()
{
    QFETCH(QString, from);
    QFETCH(QString, to);

    SessionBench bench;
    const QString root = bench.directory.path();
    QVERIFY(QDir(root).mkdir(QStringLiteral("logs")));
    QString path = root + QStringLiteral("/logs/session.log");
    QByteArray expected = bench.startLog(path);
    expected += bench.report(1);
    QVERIFY(QFile::rename(root + from, root + to));
    expected += bench.report(2);
    QVERIFY(bench.session().Logging);
    QCOMPARE(contentsOf(path.replace(root + from, root + to)), expected);
    bench.compareWorking(0);
}

void tst_limitsoffiles::unreadableNames_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("reason");

    const QString notRegular = QStringLiteral("Not a regular file");
    const QString fifo = m_directory.filePath(QStringLiteral("fifo"));
    QCOMPARE(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    QTest::newRow("a directory") << QStringLiteral("/") << notRegular;
    QTest::newRow("a FIFO") << fifo << notRegular;
    QTest::newRow("a device") << QStringLiteral("/dev/zero") << notRegular;
    QTest::newRow("it opens, but cannot be read")
        << QStringLiteral("/proc/self/mem") << QStringLiteral("Input/output error");
    if (::geteuid() != 0) // root reads everything
        QTest::newRow("not allowed")
            << QStringLiteral("/etc/shadow") << QStringLiteral("Permission denied");
}

void tst_limitsoffiles::unreadableNames()
{
    QFETCH(QString, target);
    QFETCH(QString, reason);

    NetworkBench bench;
    const QString path = bench.directory.filePath(QStringLiteral("names"));
    QVERIFY(QFile::link(target, path));
    bench.console.load(path);

    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, reason + QStringLiteral(": ") + path);
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("Vantrel - Error"));
    QCOMPARE(bench.main().cbNWName.items(), QStringList{QStringLiteral("<New>")});
    QVERIFY(bench.main().cbNWName.isEnabled());

    bench.selectNetwork(QString::fromLatin1(NetworkBench::Loopback), bench.end.port());
    QVERIFY(bench.connectConsole());
    QCOMPARE(bench.dialogs.messages.size(), 1);
}

void tst_limitsoffiles::tenThousandNames()
{
    constexpr int Count = 10'000;
    NetworkBench bench;
    const QString path = bench.directory.filePath(QStringLiteral("many"));
    QByteArray names;
    for (int i = 1; i < Count; ++i)
        names += "tester-" + QByteArray::number(i) + ".lab\r\n";
    names += "127.0.0.1\r\n";
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(names), names.size());
    file.close();

    Main window(bench.console);
    window.findChild<QTimer *>(QStringLiteral("Timer1"))->stop();
    window.show();
    bench.console.load(path);
    auto *const list = window.findChild<QComboBox *>(QStringLiteral("cbNWName"));
    QCOMPARE(list->count(), Count + 1);
    QCOMPARE(list->itemText(0), QStringLiteral("tester-1.lab"));
    QCOMPARE(list->itemText(4999), QStringLiteral("tester-5000.lab"));
    QCOMPARE(list->itemText(Count - 1), QStringLiteral("127.0.0.1"));
    QCOMPARE(list->itemText(Count), QStringLiteral("<New>"));

    bench.console.names().add(QStringLiteral("one-more.lab"));
    QCOMPARE(list->count(), Count + 2);
    QCOMPARE(list->currentText(), QStringLiteral("one-more.lab"));
    QCOMPARE(bench.session().RemoteHost, QStringLiteral("one-more.lab"));
    QCOMPARE(contentsOf(path), names + "one-more.lab\r\n");

    bench.main().Comm1.setChecked(false);
    bench.main().CommE.setChecked(true);
    bench.console.link().setRemotePort(bench.end.port());
    list->setCurrentIndex(Count - 1);
    emit list->activated(Count - 1); // as the user's choice does
    QCOMPARE(bench.session().RemoteHost, QStringLiteral("127.0.0.1"));
    QVERIFY(bench.connectConsole());
    QVERIFY(bench.dialogs.messages.isEmpty());
}

VANTREL_WINDOW_TEST(tst_limitsoffiles)
#include "tst_limitsoffiles.moc"
