// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestProgram.h"
#include "windows/FileDialogBench.h"

#include <QDialogButtonBox>
#include <QMessageBox>
#include <QPushButton>

using namespace vantrel;
using namespace vantrel::test;

namespace {

using Bench = FileDialogBench;

} // namespace

/// The file dialog: what it gives, what it refuses, what it asks.
class TestFileDialog : public QObject
{
    Q_OBJECT

public:
    /// The directory of the user's settings.
    static const QTemporaryDir &settings()
    {
        static const QTemporaryDir directory;
        return directory;
    }

private slots:
    void initTestCase()
    {
        QApplication::setQuitOnLastWindowClosed(false);
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(settings().path()));
    }
    void nameFilter_data();
    void nameFilter();
    void asAskedFor();
    void initialName();
    void startsInTheDirectoryOfItsKind();
    void startsWhereAFileWasChosen();
    void directoryHasGone();
    void dataDirectoryCannotBeMade();
    void startsAsQtDoes();
    void savesNewFile();
    void defaultSuffix();
    void asksBeforeReplacing();
    void saysWhatStays();
    void keepsWhatIsThere();
    void refusesReadOnlyFile();
    void refusesMissingDirectory();
    void savesIntoExistingFile();
    void offersToCreate();
    void createsNothing();
    void refusesReadOnlyFileToSaveInto();
    void refusesMissingDirectoryToSaveInto();
    void cannotCreate();
    void opensExistingFile();
    void opensFileWithoutSuffix();
    void opensFileWithDefaultSuffix();
    void refusesMissingFile();
    void keepsNoSettings();
    void cancelled();
    void closedByFrame();
    void windowGoes();
    void withoutAWindow();
};

void TestFileDialog::nameFilter_data()
{
    QTest::addColumn<QString>("given");
    QTest::addColumn<QString>("filter");
    QTest::newRow("log") << QStringLiteral("Log Files|*.log")
                         << QStringLiteral("Log Files (*.log)");
    QTest::newRow("blanks") << QStringLiteral("VornScript Files | *.vn")
                            << QStringLiteral("VornScript Files (*.vn)");
}

void TestFileDialog::nameFilter()
{
    QFETCH(QString, given);
    QTEST(FileDialog::nameFilter(given), "filter");
}

void TestFileDialog::asAskedFor()
{
    const Bench bench(saving());
    QCOMPARE(bench.dialog().windowTitle(), QStringLiteral("Open New Log File"));
    QCOMPARE(bench.dialog().nameFilters(), QStringList{QStringLiteral("Log Files (*.log)")});
    QCOMPARE(bench.dialog().acceptMode(), QFileDialog::AcceptSave);
    QCOMPARE(bench.dialog().windowModality(), Qt::WindowModal);
    QCOMPARE(bench.dialog().parentWidget(), bench.window.get());
    QVERIFY(!bench.chosen);
}

void TestFileDialog::initialName()
{
    FileChoice named = saving();
    named.fileName = QStringLiteral("bench.log");
    const Bench bench(named);
    QCOMPARE(child<QLineEdit>(bench.dialog(), "fileNameEdit").text(), QStringLiteral("bench.log"));
}

void TestFileDialog::startsInTheDirectoryOfItsKind()
{
    const Places places;
    Bench bench(opening(), places.start());
    QCOMPARE(bench.dialog().directory().path(), places.home);
    QVERIFY(!QFileInfo::exists(places.data));
    bench.dialog().close();

    bench.chosen.reset();
    ask(bench.dialogs, savingAmongData(), bench.chosen);
    QCOMPARE(bench.dialog().directory().path(), places.data); // made now
    QVERIFY(QFileInfo(places.data).isDir());
    bench.dialog().close();

    ask(bench.dialogs, opening(), bench.chosen); // nothing was chosen
    QCOMPARE(bench.dialog().directory().path(), places.home);
}

void TestFileDialog::startsWhereAFileWasChosen()
{
    const Places places;
    Bench bench(savingAmongData(), places.start());
    bench.enter(bench.file("new.log"));
    QCOMPARE(bench.chosen, bench.file("new.log"));
    for (const FileChoice &choice : {opening(), savingAmongData()}) {
        ask(bench.dialogs, choice, bench.chosen);
        QCOMPARE(bench.dialog().directory().path(), bench.directory.path());
        bench.dialog().close();
    }
}

void TestFileDialog::directoryHasGone()
{
    const Places places;
    Bench bench(saving(), places.start());
    bench.enter(bench.file("new.log"));
    QVERIFY(bench.directory.remove());
    QFileDialog().setDirectory(QDir::rootPath()); // which Qt would take in its place
    ask(bench.dialogs, opening(), bench.chosen);
    QCOMPARE(bench.dialog().directory().path(), places.home);
}

void TestFileDialog::dataDirectoryCannotBeMade()
{
    Places places;
    places.data = QStringLiteral("/proc/data");
    const Bench bench(savingAmongData(), places.start());
    QCOMPARE(bench.dialog().directory().path(), places.home);
}

void TestFileDialog::startsAsQtDoes()
{
    const QString before = QFileDialog().directory().path();
    Bench bench(savingAmongData());
    QCOMPARE(bench.dialog().directory().path(), before);
    bench.enter(bench.file("new.log"));
    const QString after = QFileDialog().directory().path();
    ask(bench.dialogs, opening(), bench.chosen);
    QCOMPARE(bench.dialog().directory().path(), after);
}

void TestFileDialog::savesNewFile()
{
    const Bench bench(saving());
    bench.enter(bench.file("new.log"));
    QCOMPARE(bench.chosen, bench.file("new.log"));
    QVERIFY(!QFile::exists(bench.file("new.log")));
}

void TestFileDialog::defaultSuffix()
{
    const Bench bench(saving());
    bench.enter(bench.file("new"));
    QCOMPARE(bench.chosen, bench.file("new.log"));
}

void TestFileDialog::asksBeforeReplacing()
{
    const Bench bench(saving());
    const QString path = bench.create("old.log");
    bench.enter(path);
    QVERIFY(bench.box());
    QVERIFY(!bench.chosen);
    QVERIFY(bench.box()->text().contains(QLatin1String("old.log")));
    bench.box()->button(QMessageBox::Yes)->click();
    QCOMPARE(bench.chosen, path);
}

void TestFileDialog::saysWhatStays()
{
    FileChoice choice = saving();
    choice.keepsRest = true;
    const Bench bench(choice);
    bench.enter(bench.create("old.log"));
    QVERIFY(bench.box());
    QCOMPARE(bench.box()->text(), QStringLiteral("old.log exists already.\nReplace it? If it is "
                                                 "longer than the new contents, the rest of it "
                                                 "stays."));
}

void TestFileDialog::keepsWhatIsThere()
{
    const Bench bench(saving());
    bench.enter(bench.create("old.log"));
    QVERIFY(bench.box());
    bench.box()->button(QMessageBox::No)->click();
    QVERIFY(!bench.chosen);
    QVERIFY(bench.dialog().isVisible());
    bench.enter(bench.file("new.log"));
    QCOMPARE(bench.chosen, bench.file("new.log"));
}

void TestFileDialog::refusesReadOnlyFile()
{
    const Bench bench(saving());
    const QString path = bench.create("old.log");
    QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::ReadUser));
    bench.enter(path);
    QVERIFY(bench.box());
    QCOMPARE(bench.box()->standardButtons(), QMessageBox::StandardButtons(QMessageBox::Ok));
    QVERIFY(bench.box()->text().contains(QLatin1String("read-only")));
    bench.box()->button(QMessageBox::Ok)->click();
    QVERIFY(!bench.chosen);
    QVERIFY(bench.dialog().isVisible());
}

void TestFileDialog::refusesMissingDirectory()
{
    const Bench bench(saving());
    bench.enter(bench.file("nowhere/new.log"));
    QVERIFY(bench.box());
    QVERIFY(bench.box()->text().startsWith(bench.file("nowhere")));
    bench.box()->button(QMessageBox::Ok)->click();
    QVERIFY(!bench.chosen);
    QVERIFY(bench.dialog().isVisible());
}

void TestFileDialog::savesIntoExistingFile()
{
    const Bench bench(savingInto());
    QCOMPARE(bench.dialog().acceptMode(), QFileDialog::AcceptSave);
    const QString path = bench.create("old.txt");
    bench.enter(bench.file("old")); // with the default suffix
    QVERIFY(!bench.box());
    QCOMPARE(bench.chosen, path);
    QCOMPARE(QFileInfo(path).size(), 3);
}

void TestFileDialog::offersToCreate()
{
    const Bench bench(savingInto());
    bench.enter(bench.file("new"));
    QVERIFY(bench.box());
    QCOMPARE(bench.box()->text(), QStringLiteral("new.txt does not exist.\nCreate it?"));
    QVERIFY(!QFile::exists(bench.file("new.txt")));
    QVERIFY(!bench.chosen);
    bench.box()->button(QMessageBox::Yes)->click();
    QCOMPARE(bench.chosen, bench.file("new.txt"));
    QVERIFY(QFile::exists(bench.file("new.txt")));
    QCOMPARE(QFileInfo(bench.file("new.txt")).size(), 0);
}

void TestFileDialog::createsNothing()
{
    const Bench bench(savingInto());
    bench.enter(bench.file("new.txt"));
    QVERIFY(bench.box());
    bench.box()->button(QMessageBox::No)->click();
    QVERIFY(!bench.chosen);
    QVERIFY(!QFile::exists(bench.file("new.txt")));
    QVERIFY(bench.dialog().isVisible());
    const QString path = bench.create("old.txt");
    bench.enter(path);
    QCOMPARE(bench.chosen, path);
}

void TestFileDialog::refusesReadOnlyFileToSaveInto()
{
    const Bench bench(savingInto());
    const QString path = bench.create("old.txt");
    QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::ReadUser));
    bench.enter(path);
    QVERIFY(bench.box());
    QVERIFY(bench.box()->text().contains(QLatin1String("read-only")));
    bench.box()->button(QMessageBox::Ok)->click();
    QVERIFY(!bench.chosen);
    QVERIFY(bench.dialog().isVisible());
}

void TestFileDialog::refusesMissingDirectoryToSaveInto()
{
    const Bench bench(savingInto());
    bench.enter(bench.file("nowhere/new.txt"));
    QVERIFY(bench.box());
    QVERIFY(bench.box()->text().startsWith(bench.file("nowhere")));
    bench.box()->button(QMessageBox::Ok)->click();
    QVERIFY(!bench.chosen);
}

/// A file may come up while the question stands: its contents are not to be lost.
void TestFileDialog::cannotCreate()
{
    const Bench bench(savingInto());
    bench.enter(bench.file("new.txt"));
    QMessageBox *question = bench.box();
    QVERIFY(question);
    bench.create("new.txt");
    question->button(QMessageBox::Yes)->click();
    QTRY_VERIFY(bench.box() && bench.box() != question);
    QVERIFY(bench.box()->text().startsWith(bench.file("new.txt") +
                                           QLatin1String("\nThis file cannot be created: ")));
    bench.box()->button(QMessageBox::Ok)->click();
    QVERIFY(!bench.chosen);
    QVERIFY(bench.dialog().isVisible());
    QCOMPARE(QFileInfo(bench.file("new.txt")).size(), 3);
}

void TestFileDialog::opensExistingFile()
{
    const Bench bench(opening());
    const QString path = bench.create("script.vn");
    bench.enter(path);
    QCOMPARE(bench.chosen, path);
}

void TestFileDialog::opensFileWithoutSuffix()
{
    const Bench bench(opening());
    const QString path = bench.create("script");
    bench.create("script.vn");
    bench.enter(path);
    QCOMPARE(bench.chosen, path);
}

void TestFileDialog::opensFileWithDefaultSuffix()
{
    const Bench bench(opening());
    const QString path = bench.create("script.vn");
    bench.enter(bench.file("script"));
    QCOMPARE(bench.chosen, path);
}

/// Qt's file dialog writes QtProject.conf when it is deleted.
void TestFileDialog::keepsNoSettings()
{
    const Bench bench(opening());
    const QPointer<FileDialog> dialog = &bench.dialog();
    bench.dialog().close();
    QTRY_VERIFY(!dialog);
    QCOMPARE(QDir(settings().path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList());
}

void TestFileDialog::refusesMissingFile()
{
    const Bench bench(opening());
    bench.enter(bench.file("missing.vn"));
    QVERIFY(bench.box());
    bench.box()->close();
    QVERIFY(!bench.chosen);
    QVERIFY(bench.dialog().isVisible());
}

void TestFileDialog::cancelled()
{
    const Bench bench(saving());
    child<QDialogButtonBox>(bench.dialog(), "buttonBox").button(QDialogButtonBox::Cancel)->click();
    QCOMPARE(bench.chosen, QString());
}

void TestFileDialog::closedByFrame()
{
    const Bench bench(saving());
    bench.dialog().close();
    QCOMPARE(bench.chosen, QString());
}

void TestFileDialog::windowGoes()
{
    Bench bench(saving());
    bench.enter(bench.create("old.log"));
    QVERIFY(bench.box());
    bench.window.reset();
    QCOMPARE(bench.chosen, QString());
}

void TestFileDialog::withoutAWindow()
{
    DialogBoxes dialogs;
    std::optional<QString> chosen;
    ask(dialogs, saving(), chosen);
    QCOMPARE(chosen, QString());
}

VANTREL_WINDOW_TEST(TestFileDialog)
#include "tst_filedialog.moc"
