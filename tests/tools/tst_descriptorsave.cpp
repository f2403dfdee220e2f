// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/FileSizeLimit.h"
#include "support/TestProgram.h"
#include "tools/ViewerBench.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// A viewer whose report is short: a device that fails at once.
struct SaveBench : ViewerBench
{
    SaveBench()
    {
        start();
        reply({}, "0c"_hex);
    }

    QString path(const char *name) const { return directory.filePath(QString::fromLatin1(name)); }

    QString create(const char *name, const QByteArray &contents) const
    {
        QFile file(path(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size())
            qFatal("no file %s", name);
        return file.fileName();
    }

    QByteArray saved(const QString &file)
    {
        dialogs.paths = {file};
        viewer.saveClicked();
        return contents(file);
    }

    static QByteArray contents(const QString &path)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return "nothing to read";
        return file.readAll();
    }
};

const QByteArray Report = "\r\n*** Get Descriptors Terminated\r\n      --- Failure code = 0C\r\n";

} // namespace

class tst_descriptorsave : public QObject
{
    Q_OBJECT

private slots:
    void enabledByTheFirstRetrieval();
    void dialog();
    void cancelled();
    void writesThePane();
    void keepsTheOldTail();
    void oneByteACharacter();
    void takesTheTextOfTheAnswer();
    void failures_data();
    void failures();
    void fullDisk();
};

void tst_descriptorsave::enabledByTheFirstRetrieval()
{
    ViewerBench bench;
    QVERIFY(!bench.controls.Save.isEnabled());
    bench.start();
    QVERIFY(bench.controls.Save.isEnabled());
    bench.tick(50);
    QVERIFY(bench.controls.Save.isEnabled());
}

void tst_descriptorsave::dialog()
{
    SaveBench bench;
    bench.viewer.saveClicked();
    QCOMPARE(bench.dialogs.choices.size(), 1);
    const FileChoice choice = bench.dialogs.choices[0];
    QCOMPARE(choice.kind, FileChoice::Kind::SaveExisting);
    QCOMPARE(choice.title, QStringLiteral("Save Descriptors to File"));
    QCOMPARE(choice.filter, QStringLiteral("Text Files|*.txt"));
    QCOMPARE(choice.defaultSuffix, QStringLiteral("txt"));
    QCOMPARE(choice.fileName, QString());
}

void tst_descriptorsave::cancelled()
{
    SaveBench bench;
    const QStringList before = QDir(bench.directory.path()).entryList(QDir::Files);
    bench.viewer.saveClicked();
    QCOMPARE(QDir(bench.directory.path()).entryList(QDir::Files), before);
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.report().toLatin1(), Report);
}

void tst_descriptorsave::writesThePane()
{
    SaveBench bench;
    QCOMPARE(bench.saved(bench.create("report.txt", {})), Report);
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_descriptorsave::keepsTheOldTail()
{
    SaveBench bench;
    const QByteArray old = QByteArray(Report.size(), '.') + "the old tail\r\n";
    QCOMPARE(bench.saved(bench.create("report.txt", old)), Report + "the old tail\r\n");
    QCOMPARE(bench.saved(bench.create("short.txt", "old")), Report);
}

void tst_descriptorsave::oneByteACharacter()
{
    SaveBench bench;
    bench.controls.DescInfo.setText(QStringLiteral("M\u00fcller \u20ac 5\r\n"));
    QCOMPARE(bench.saved(bench.create("report.txt", {})), "4d fc 6c6c6572 20 3f 20 35 0d0a"_hex);
}

void tst_descriptorsave::takesTheTextOfTheAnswer()
{
    ViewerBench bench;
    bench.start();
    const QString path = bench.directory.filePath(QStringLiteral("report.txt"));
    bench.dialogs.paths = {path};
    bench.dialogs.onChoice = [&bench] { bench.reply({}, "0c"_hex); };
    bench.viewer.saveClicked();
    QCOMPARE(SaveBench::contents(path), Report);
}

void tst_descriptorsave::failures_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("reason");
    QTest::newRow("device") << QStringLiteral("/dev/full") << QStringLiteral("Not a regular file");
    QTest::newRow("directory") << QDir::tempPath() << QStringLiteral("Not a regular file");
    QTest::newRow("missing directory")
        << QStringLiteral("/nowhere/report.txt") << QStringLiteral("No such file or directory");
}

void tst_descriptorsave::failures()
{
    QFETCH(QString, path);
    QFETCH(QString, reason);
    SaveBench bench;
    bench.dialogs.paths = {path};
    bench.viewer.saveClicked();
    QCOMPARE(bench.dialogs.choices.size(), 1);
    QVERIFY(bench.dialogs.messages.isEmpty());
    QVERIFY(bench.main.CmdWin.text().endsWith(
        QStringLiteral("\r\nThe descriptors were not saved: %1: %2").arg(reason, path)));
    QCOMPARE(bench.report().toLatin1(), Report);
    QVERIFY(bench.controls.Save.isEnabled());
    const QString before = bench.main.CmdWin.text();
    QCOMPARE(bench.saved(bench.create("report.txt", {})), Report); // the next one succeeds
    QCOMPARE(bench.main.CmdWin.text(), before);
}

void tst_descriptorsave::fullDisk()
{
    SaveBench bench;
    const QString path = bench.create("report.txt", "old");
    const FileSizeLimit full(10);
    QCOMPARE(bench.saved(path), Report.first(10)); // in place
    QVERIFY(bench.dialogs.messages.isEmpty());
    QVERIFY(bench.main.CmdWin.text().endsWith(
        QStringLiteral("\r\nThe descriptors were not saved: File too large: ") + path));
}

VANTREL_TEST(tst_descriptorsave)
#include "tst_descriptorsave.moc"
