// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestProgram.h"
#include "windows/FileDialogBench.h"

#include <QDialogButtonBox>
#include <QPushButton>

using namespace vantrel;
using namespace vantrel::test;

namespace {

using Bench = FileDialogBench;

} // namespace

/// Names with wildcards in the file dialog.
class TestFilePatterns : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QApplication::setQuitOnLastWindowClosed(false); }
    void initialPattern();
    void patternsChooseNoFile_data();
    void patternsChooseNoFile();
    void patternFilters();
    void patternInAnotherDirectory();
    void patternInAMissingDirectory();
    void patternByButton();
    void fileNamedLikeAPattern();
};

void TestFilePatterns::initialPattern()
{
    const Bench bench(saving());
    const auto &field = child<QLineEdit>(bench.dialog(), "fileNameEdit");
    waitUntilActive(bench.dialog());
    QCOMPARE(field.text(), QStringLiteral("*.log"));
    QCOMPARE(field.selectedText(), QStringLiteral("*.log"));
    QVERIFY(field.hasFocus());
}

void TestFilePatterns::patternsChooseNoFile_data()
{
    QTest::addColumn<FileChoice>("choice");
    QTest::addColumn<QString>("pattern");
    QTest::newRow("save, as it comes up") << saving() << QString();
    QTest::newRow("save") << saving() << QStringLiteral("*.txt");
    QTest::newRow("save, no suffix") << saving() << QStringLiteral("a*");
    QTest::newRow("save, one character") << saving() << QStringLiteral("a?.log");
    QTest::newRow("save into") << savingInto() << QStringLiteral("*.txt");
    QTest::newRow("open") << opening() << QStringLiteral("*.vn");
}

void TestFilePatterns::patternsChooseNoFile()
{
    QFETCH(FileChoice, choice);
    QFETCH(QString, pattern);
    const QTemporaryDir directory;
    const Bench bench(choice, {directory.path(), directory.path()});
    auto &field = child<QLineEdit>(bench.dialog(), "fileNameEdit");
    waitUntilActive(bench.dialog());
    if (!pattern.isEmpty())
        field.setText(pattern);
    const QString entered = field.text();
    QTest::keyClick(&field, Qt::Key_Return);
    QVERIFY(!bench.chosen);
    QVERIFY(!bench.box());
    QVERIFY(bench.dialog().isVisible());
    QCOMPARE(field.text(), entered);
    QCOMPARE(field.selectedText(), entered);
    QVERIFY(QDir(directory.path()).isEmpty());
}

void TestFilePatterns::patternFilters()
{
    const QTemporaryDir directory;
    Bench bench(opening(), {directory.path(), {}});
    bench.write(directory, {"a.vn", "b.vn", "a.txt", "my a.txt", "plain"});
    QTRY_COMPARE(bench.listed(), (QStringList{QStringLiteral("a.vn"), QStringLiteral("b.vn")}));
    bench.enter(QStringLiteral("*.txt"));
    QTRY_COMPARE(bench.listed(),
                 (QStringList{QStringLiteral("a.txt"), QStringLiteral("my a.txt")}));
    bench.enter(QStringLiteral("my *"));
    QTRY_COMPARE(bench.listed(), QStringList{QStringLiteral("my a.txt")});
    bench.enter(QStringLiteral("?.vn"));
    QTRY_COMPARE(bench.listed(), (QStringList{QStringLiteral("a.vn"), QStringLiteral("b.vn")}));
    bench.enter(QStringLiteral("*"));
    QTRY_COMPARE(bench.listed(), (QStringList{QStringLiteral("a.txt"), QStringLiteral("a.vn"),
                                              QStringLiteral("b.vn"), QStringLiteral("my a.txt"),
                                              QStringLiteral("plain")}));
    bench.enter(QStringLiteral("*.vn")); // that of the dialog
    QCOMPARE(bench.dialog().nameFilters(), QStringList{QStringLiteral("VornScript Files (*.vn)")});
    QTRY_COMPARE(bench.listed(), (QStringList{QStringLiteral("a.vn"), QStringLiteral("b.vn")}));
    bench.enter(QStringLiteral("b.vn"));
    QCOMPARE(bench.chosen, directory.filePath(QStringLiteral("b.vn")));
}

void TestFilePatterns::patternInAnotherDirectory()
{
    const Bench bench(opening());
    bench.create("a.txt");
    bench.enter(bench.file("*.txt"));
    QCOMPARE(bench.dialog().directory().path(), bench.directory.path());
    QCOMPARE(child<QLineEdit>(bench.dialog(), "fileNameEdit").text(), QStringLiteral("*.txt"));
    QTRY_COMPARE(bench.listed(), QStringList{QStringLiteral("a.txt")});
}

void TestFilePatterns::patternInAMissingDirectory()
{
    const Bench bench(saving());
    bench.enter(bench.file("nowhere/*.log"));
    QVERIFY(bench.box());
    QVERIFY(bench.box()->text().startsWith(bench.file("nowhere")));
    QVERIFY(!bench.chosen);
}

void TestFilePatterns::patternByButton()
{
    FileChoice choice = opening();
    choice.fileName = QStringLiteral("*.vn");
    const Bench bench(choice);
    auto &buttons = child<QDialogButtonBox>(bench.dialog(), "buttonBox");
    for (const char *pattern : {"*.vn", "*.txt"}) {
        child<QLineEdit>(bench.dialog(), "fileNameEdit").setText(QLatin1String(pattern));
        QVERIFY(buttons.button(QDialogButtonBox::Open)->isEnabled());
        buttons.button(QDialogButtonBox::Open)->click();
        QVERIFY(!bench.chosen);
        QCOMPARE(bench.dialog().selectedNameFilter().contains(QLatin1String(pattern)), true);
    }
}

void TestFilePatterns::fileNamedLikeAPattern()
{
    const Bench bench(opening());
    const QString path = bench.create("what?.vn");
    bench.enter(path);
    QCOMPARE(bench.chosen, path);
}

VANTREL_WINDOW_TEST(TestFilePatterns)
#include "tst_filepatterns.moc"
