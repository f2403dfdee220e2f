// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestProgram.h"
#include "windows/NameBench.h"
#include "windows/UndecodedNames.h"

#include <QComboBox>
#include <QLabel>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace vantrel;
using namespace vantrel::test;

namespace {

const QByteArray Latin1Name = "caf\xE9.vn";
const QString Latin1Shown = QStringLiteral("caf\\xE9.vn");

} // namespace

/// Names that a file dialog must not take for something else: with quotes, line ends, backslashes,
/// with bytes that are not UTF-8, and those of other things than files.
class TestFileNames : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QApplication::setQuitOnLastWindowClosed(false); }
    void typed_data();
    void typed();
    void quoteSeparatesNothing();
    void newNameWithQuotes();
    void selectedInTheView_data();
    void selectedInTheView();
    void viewShowsOneLine();
    void listedBelow();
    void notListed();
    void listedLater();
    void filtered();
    void byMouse();
    void byKeyboard();
    void literalNameFirst();
    void directorySelectedInTheView();
    void editedAfterASelection();
    void asksBeforeReplacing();
    void savesIntoExistingFile();
    void refusesReadOnlyFile();
    void undecodedDirectory();
    void undecodedDirectoryTyped();
    void manyNames();
    void notRegular_data();
    void notRegular();
};

void TestFileNames::typed_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("typed");
    const auto row = [](const QByteArray &name, const char *typed) {
        QTest::newRow(typed) << name << QString::fromLatin1(typed);
    };
    row("a\"b.vn", "a\"b.vn");
    row("a\"b.vn", "a\\\"b.vn");
    row("\"quoted\".vn", "\"quoted\".vn");
    row("x\" \"y.vn", "x\" \"y.vn");
    row("back\\slash.vn", "back\\slash.vn");
    row("back\\slash.vn", "back\\\\slash.vn");
    row("two\nlines.vn", "two\\nlines.vn");
    row("\x1B[31mred.vn", "\\x1B[31mred.vn");
    row(Latin1Name, "caf\\xE9.vn");
    row(Latin1Name, "caf\\xe9"); // the suffix is completed
    row("what\xE9?.vn", "what\\xE9?.vn");
    row("caf\xC3\xA9.vn", "caf\\xC3\\xA9.vn");
}

void TestFileNames::typed()
{
    QFETCH(QByteArray, name);
    QFETCH(QString, typed);
    const NameBench bench(opening(), {name});
    bench.enter(typed);
    QCOMPARE(bench.chosen(), bench.path(name));
}

void TestFileNames::quoteSeparatesNothing()
{
    const NameBench bench(opening(), {"b.vn", "c.vn"});
    for (const char *typed : {"a\"b.vn", "\"b.vn\"", "\"b.vn\" \"c.vn\""}) {
        bench.type(QLatin1String(typed));
        QTest::keyClick(&bench.field(), Qt::Key_Return);
        QCOMPARE(bench.chosen(), QByteArray("none"));
        QCOMPARE(bench.boxText(), shownPath(bench.directory.filePath(QLatin1String(typed))) +
                                      QLatin1String("\nThis file does not exist."));
        bench.bench->box()->button(QMessageBox::Ok)->click();
        QTRY_VERIFY(!bench.bench->box());
    }
}

void TestFileNames::newNameWithQuotes()
{
    for (const QByteArray name : {"new \"one\"", "\"", "caf\\xE9"}) {
        const NameBench bench(saving(), {});
        bench.type(QString::fromLatin1(name));
        QVERIFY(bench.button().isEnabled());
        bench.button().click();
        QCOMPARE(bench.chosen(), bench.path(name + ".log"));
    }
}

void TestFileNames::selectedInTheView_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("shown");
    QTest::newRow("plain") << QByteArray("plain.vn") << QStringLiteral("plain.vn");
    QTest::newRow("quote") << QByteArray("a\"b.vn") << QStringLiteral("a\\\"b.vn");
    QTest::newRow("first a quote") << QByteArray("\"b.vn") << QStringLiteral("\\\"b.vn");
    QTest::newRow("line end") << QByteArray("a\nb.vn") << QStringLiteral("a\\nb.vn");
    QTest::newRow("backslash") << QByteArray("a\\nb.vn") << QStringLiteral("a\\\\nb.vn");
    QTest::newRow("pattern") << QByteArray("a\n?.vn") << QStringLiteral("a\\n?.vn");
}

void TestFileNames::selectedInTheView()
{
    QFETCH(QByteArray, name);
    QFETCH(QString, shown);
    const NameBench bench(opening(), {name, "b.vn", "other.vn"});
    waitUntilActive(bench.bench->dialog());
    bench.clickInView(QString::fromUtf8(name));
    QCOMPARE(bench.field().text(), shown);
    QTRY_VERIFY(bench.button().isEnabled());
    bench.button().click();
    QCOMPARE(bench.chosen(), bench.path(name));
}

/// A line end in a name must not make its row higher than the others.
void TestFileNames::viewShowsOneLine()
{
    const NameBench bench(opening(), {"two\nlines.vn", "plain.vn"});
    const auto &view = child<QListView>(bench.bench->dialog(), "listView");
    const QModelIndex plain = bench.indexOf(QStringLiteral("plain.vn"));
    const QModelIndex odd = bench.indexOf(QStringLiteral("two\nlines.vn"));
    const QStyleOptionViewItem option;
    const auto sizeOf = [&](const QModelIndex &index) {
        return view.itemDelegate()->sizeHint(option, index);
    };
    QCOMPARE(sizeOf(odd).height(), sizeOf(plain).height());
    const QFontMetrics metrics(option.font);
    const auto widthOf = [&](const char *text) {
        return metrics.horizontalAdvance(QLatin1String(text));
    };
    QCOMPARE(sizeOf(odd).width() - sizeOf(plain).width(),
             widthOf("two\\nlines.vn") - widthOf("plain.vn"));
}

void TestFileNames::listedBelow()
{
    const NameBench bench(opening(), {"plain.vn", Latin1Name, "\xFF\n.vn", "caf\xC3\xA9.vn"});
    QTRY_COMPARE(bench.undecodedNames(), (QStringList{Latin1Shown, QStringLiteral("\\xFF\\n.vn")}));
    auto &label = child<QLabel>(bench.bench->dialog(), "undecodedLabel");
    QCOMPARE(label.text(), QStringLiteral("Names that are not &UTF-8:"));
    QCOMPARE(label.buddy(), &bench.undecoded());
    QCOMPARE(bench.undecoded().height() * 3 < bench.bench->dialog().height(), true);
}

void TestFileNames::notListed()
{
    const NameBench bench(opening(), {"plain.vn", "caf\xE9.txt", ".\xE9.vn"});
    bench.indexOf(QStringLiteral("plain.vn"));
    QTest::qWait(0);
    QVERIFY(!bench.undecoded().isVisible());
}

void TestFileNames::listedLater()
{
    const NameBench bench(opening(), {});
    QTest::qWait(0);
    QVERIFY(!bench.undecoded().isVisible());
    bench.create(Latin1Name);
    QTRY_COMPARE(bench.undecodedNames(), QStringList{Latin1Shown});
    QCOMPARE(::unlink(bench.path(Latin1Name).constData()), 0);
    QTRY_VERIFY(!bench.undecoded().isVisible());
}

void TestFileNames::filtered()
{
    const NameBench bench(opening(), {Latin1Name, "caf\xE9.txt"});
    QTRY_COMPARE(bench.undecodedNames(), QStringList{Latin1Shown});
    bench.enter(QStringLiteral("caf?.txt"));
    QTRY_COMPARE(bench.undecodedNames(), QStringList{QStringLiteral("caf\\xE9.txt")});
    auto &kinds = child<QComboBox>(bench.bench->dialog(), "fileTypeCombo");
    QTest::keyClick(&kinds, Qt::Key_Up);
    QTRY_COMPARE(bench.undecodedNames(), QStringList{Latin1Shown});
}

void TestFileNames::byMouse()
{
    for (const bool twice : {false, true}) {
        const NameBench bench(opening(), {Latin1Name, "plain.vn"});
        QTRY_COMPARE(bench.undecodedNames(), QStringList{Latin1Shown});
        bench.clickInView(QStringLiteral("plain.vn"));
        bench.clickInList(0, twice);
        if (!twice) {
            QCOMPARE(bench.field().text(), Latin1Shown);
            QVERIFY(bench.button().isEnabled());
            bench.button().click();
        }
        QCOMPARE(bench.chosen(), bench.path(Latin1Name));
    }
}

void TestFileNames::byKeyboard()
{
    const NameBench bench(opening(), {Latin1Name, "caf\xEA.vn"});
    QTRY_VERIFY(bench.undecoded().isVisible());
    waitUntilActive(bench.bench->dialog());
    QTest::keyClick(&bench.bench->dialog(), Qt::Key_U, Qt::AltModifier);
    QTRY_VERIFY(bench.undecoded().hasFocus());
    QTest::keyClick(&bench.undecoded(), Qt::Key_Down);
    QTest::keyClick(&bench.undecoded(), Qt::Key_Down);
    QCOMPARE(bench.field().text(), QStringLiteral("caf\\xEA.vn"));
    QTest::keyClick(&bench.undecoded(), Qt::Key_Return);
    QCOMPARE(bench.chosen(), bench.path("caf\xEA.vn"));
}

/// There is a file whose name is the escaped form of another one's.
void TestFileNames::literalNameFirst()
{
    const QByteArray literal = "caf\\xE9.vn";
    {
        const NameBench bench(opening(), {Latin1Name, literal});
        bench.enter(Latin1Shown);
        QCOMPARE(bench.chosen(), bench.path(literal));
    }
    {
        const NameBench bench(opening(), {Latin1Name, literal});
        QTRY_VERIFY(bench.undecoded().isVisible());
        bench.clickInView(QString::fromLatin1(literal));
        bench.clickInList(0);
        bench.button().click();
        QCOMPARE(bench.chosen(), bench.path(Latin1Name));
    }
    {
        const NameBench bench(opening(), {Latin1Name, literal});
        QTRY_VERIFY(bench.undecoded().isVisible());
        bench.clickInList(0);
        bench.clickInView(QString::fromLatin1(literal));
        bench.button().click();
        QCOMPARE(bench.chosen(), bench.path(literal));
    }
}

/// The name in the field stays; the button enters the directory.
void TestFileNames::directorySelectedInTheView()
{
    const NameBench bench(opening(), {"plain.vn"});
    QVERIFY(QDir(bench.directory.path()).mkdir(QStringLiteral("below")));
    bench.clickInView(QStringLiteral("plain.vn"));
    bench.clickInView(QStringLiteral("below"));
    QCOMPARE(bench.field().text(), QStringLiteral("plain.vn"));
    bench.button().click();
    QVERIFY(!bench.bench->chosen);
    QCOMPARE(bench.bench->dialog().directory().path(),
             bench.directory.filePath(QStringLiteral("below")));
}

void TestFileNames::editedAfterASelection()
{
    const NameBench bench(opening(), {Latin1Name, "plain.vn"});
    QTRY_VERIFY(bench.undecoded().isVisible());
    bench.clickInList(0);
    bench.enter(QStringLiteral("plain.vn"));
    QCOMPARE(bench.chosen(), bench.path("plain.vn"));
}

void TestFileNames::asksBeforeReplacing()
{
    const NameBench bench(saving(), {"caf\xE9.log"});
    bench.enter(QStringLiteral("caf\\xE9")); // with the default suffix
    QCOMPARE(bench.boxText(), QStringLiteral("caf\\xE9.log exists already.\nReplace it?"));
    QVERIFY(!bench.bench->chosen);
    bench.bench->box()->button(QMessageBox::Yes)->click();
    QCOMPARE(bench.chosen(), bench.path("caf\xE9.log"));
}

void TestFileNames::savesIntoExistingFile()
{
    const NameBench bench(savingInto(), {"caf\xE9.txt"});
    QTRY_VERIFY(bench.undecoded().isVisible());
    bench.clickInList(0);
    bench.button().click();
    QVERIFY(!bench.bench->box());
    QCOMPARE(bench.chosen(), bench.path("caf\xE9.txt"));
}

void TestFileNames::refusesReadOnlyFile()
{
    const NameBench bench(saving(), {"caf\xE9.log"});
    QCOMPARE(::chmod(bench.path("caf\xE9.log").constData(), 0400), 0);
    bench.enter(QStringLiteral("caf\\xE9.log"));
    QCOMPARE(bench.boxText(), bench.directory.filePath(QStringLiteral("caf\\xE9.log")) +
                                  QLatin1String("\nThis file is read-only. Choose another name."));
    QVERIFY(!bench.bench->chosen);
}

void TestFileNames::undecodedDirectory()
{
    const NameBench bench(opening(), {Latin1Name});
    QCOMPARE(::mkdir(bench.path("d\xE9&").constData(), 0700), 0);
    QCOMPARE(::mkdir(bench.path("d\xE9&/below").constData(), 0700), 0);
    bench.create("d\xE9&/below/in.vn");
    bench.create("d\xE9&/in.txt");
    QTRY_COMPARE(bench.undecodedNames(), (QStringList{Latin1Shown, QStringLiteral("d\\xE9&/")}));
    bench.clickInList(1, true);
    QTRY_COMPARE(bench.undecodedNames(),
                 (QStringList{QStringLiteral("../"), QStringLiteral("below/")}));
    QCOMPARE(child<QLabel>(bench.bench->dialog(), "undecodedLabel").text(),
             QStringLiteral("Files of the director&y d\\xE9&&:"));
    bench.clickInList(1, true);
    QTRY_COMPARE(bench.undecodedNames(),
                 (QStringList{QStringLiteral("../"), QStringLiteral("in.vn")}));
    bench.clickInList(0, true);
    QTRY_COMPARE(bench.undecodedNames(),
                 (QStringList{QStringLiteral("../"), QStringLiteral("below/")}));
    bench.clickInList(0, true);
    QTRY_COMPARE(bench.undecodedNames(), (QStringList{Latin1Shown, QStringLiteral("d\\xE9&/")}));
    bench.clickInList(1, true);
    QTRY_COMPARE(bench.undecodedNames(),
                 (QStringList{QStringLiteral("../"), QStringLiteral("below/")}));
    bench.clickInList(1, true);
    QTRY_COMPARE(bench.undecodedNames(),
                 (QStringList{QStringLiteral("../"), QStringLiteral("in.vn")}));
    bench.clickInList(1);
    QCOMPARE(bench.field().text(), QStringLiteral("d\\xE9&/below/in.vn"));
    bench.button().click();
    QCOMPARE(bench.chosen(), bench.path("d\xE9&/below/in.vn"));
}

void TestFileNames::undecodedDirectoryTyped()
{
    const NameBench bench(saving(), {});
    QCOMPARE(::mkdir(bench.path("d\xE9").constData(), 0700), 0);
    bench.enter(QStringLiteral("d\\xE9/new"));
    QCOMPARE(bench.chosen(), bench.path("d\xE9/new.log"));
}

void TestFileNames::manyNames()
{
    QList<QByteArray> names;
    for (int i = 0; i <= UndecodedNames::MostNames; ++i)
        names.append("\xE9" + QByteArray::number(10'000 + i) + ".vn");
    const NameBench bench(opening(), names);
    QTRY_COMPARE(bench.undecoded().count(), UndecodedNames::MostNames);
    QTRY_COMPARE(child<QLabel>(bench.bench->dialog(), "undecodedLabel").text(),
                 QStringLiteral("Names that are not &UTF-8: (the first 1000)"));
    QCOMPARE(bench.undecoded().item(0)->text(), QStringLiteral("\\xE910000.vn"));
}

void TestFileNames::notRegular_data()
{
    QTest::addColumn<FileChoice>("choice");
    QTest::addColumn<QByteArray>("name");
    for (const QByteArray suffix : {"fifo", "socket", "device"}) {
        QTest::newRow("open " + suffix) << opening() << suffix + ".vn";
        QTest::newRow("save " + suffix) << saving() << suffix + ".log";
        QTest::newRow("save into " + suffix) << savingInto() << suffix + ".txt";
    }
}

void TestFileNames::notRegular()
{
    QFETCH(FileChoice, choice);
    QFETCH(QByteArray, name);
    const NameBench bench(choice, {});
    const QByteArray path = bench.path(name);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    QVERIFY(path.size() < qsizetype{sizeof(address.sun_path)});
    std::copy(path.begin(), path.end(), std::begin(address.sun_path));
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (name.startsWith("fifo"))
        QCOMPARE(::mkfifo(path.constData(), 0600), 0);
    else if (name.startsWith("device"))
        QCOMPARE(::symlink("/dev/zero", path.constData()), 0);
    else
        QCOMPARE(::bind(socket, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0);

    bench.enter(QString::fromLatin1(name));
    ::close(socket);
    const bool opens = choice.kind == FileChoice::Kind::OpenExisting;
    QCOMPARE(bench.boxText(),
             QString::fromUtf8(path) +
                 (opens ? QStringLiteral("\nThis is not a regular file.")
                        : QStringLiteral("\nThis is not a regular file. Choose another name.")));
    bench.bench->box()->button(QMessageBox::Ok)->click();
    QVERIFY(!bench.bench->chosen);
    QVERIFY(bench.bench->dialog().isVisible());
}

VANTREL_WINDOW_TEST(TestFileNames)
#include "tst_filenames.moc"
