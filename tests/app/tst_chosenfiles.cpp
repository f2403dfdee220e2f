// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ToolWindows.h"
#include "console/Main.h"
#include "link/FilePath.h"
#include "link/RegularFile.h"
#include "link/SerialTransport.h"
#include "link/TcpTransport.h"
#include "simulator/TcpEnd.h"
#include "simulator/Tester.h"
#include "support/Hex.h"
#include "support/TestProgram.h"
#include "support/Turns.h"
#include "windows/DialogBench.h"
#include "windows/FileDialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>

#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace vantrel;
using namespace vantrel::test;

namespace {

constexpr int LoopbackTurns = 10'000; // milliseconds

/// What a file is chosen for: how its dialog is opened, and what the file holds.
struct Kind
{
    const char *name;
    const char *menuItem; ///< of the tool window; empty for the main window
    const char *trigger;  ///< button or menu item that opens the dialog
    const char *suffix;
    QByteArray contents; ///< of a file to be opened
};

const QList<Kind> Kinds{
    {"script", "", "ScriptLoad", ".vn", "1b53 21 1b45"_hex},
    {"flash script", "UtilFM", "Burn", ".vn", "1b53 21 1b45"_hex},
    {"EZ-USB firmware", "EZUSB", "LoadFW", ".hex", ":00000001FF\r\n"},
    {"tester firmware", "mnuUtilFW", "fileselect", ".bin", "NV firmware"},
    {"request to open", "UtilDR", "Open", ".dr", "02 80 06 0001 0000 1200 00"_hex},
    {"request to save", "UtilDR", "Save", ".dr", {}},
    {"descriptor report", "UtilDV", "Save", ".txt", {}},
    {"log", "", "FileNew", ".log", {}},
};

bool isSaved(const Kind &kind)
{
    return kind.contents.isEmpty();
}

/// The whole program with its windows, its dialogs and a tester on a socket. Files are chosen in
/// the file dialog.
class ProgramBench
{
public:
    ProgramBench()
    {
        QFile(namesFile).open(QIODevice::WriteOnly);
        stopTicks(window);
        addToolWindows(tools, console, window);
        window.show();
        waitUntilActive(window);
        console.load(namesFile);
        if (!end.listen())
            qFatal("no free port on loopback");
        child<QAbstractButton>(window, "CommE").click();
        console.names().offer(QStringLiteral("127.0.0.1"));
        console.link().setRemotePort(end.port());
        console.connectClicked();
        const bool connected = turnsUntil([this] { return console.link().isConnected(); });
        tick(10);
        if (!connected || !sees("Product ID: 0x0166")) // the last line of the set-up
            qFatal("the console does not connect");
    }
    ~ProgramBench()
    {
        console.shutDown(); // before the tools go
        std::error_code failure;
        std::filesystem::remove_all(directory.path().toStdString(), failure); // also odd names
    }
    ProgramBench(const ProgramBench &) = delete;
    ProgramBench &operator=(const ProgramBench &) = delete;

    void tick(int count)
    {
        for (int i = 0; i < count; ++i) {
            tester->clock().advance(100);
            console.Timer1();
        }
    }
    bool sees(const char *line)
    {
        return turnsUntil([&] { return session.RespText.text().contains(line); }, LoopbackTurns);
    }

    QByteArray path(const QByteArray &name) const
    {
        return QFile::encodeName(directory.path()) + '/' + name;
    }
    void create(const QByteArray &name, const QByteArray &contents) const
    {
        const int file = ::open(path(name).constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        if (file < 0 || ::write(file, contents.constData(),
                                static_cast<std::size_t>(contents.size())) != contents.size())
            qFatal("no file");
        ::close(file);
    }

    /// Opens the window of a kind of file.
    QWidget &open(const Kind &kind)
    {
        if (qstrlen(kind.menuItem) == 0)
            return window;
        child<QAction>(window, kind.menuItem).trigger();
        turnsUntil([this] { return QApplication::activeWindow() != &window; }, LoopbackTurns);
        QWidget &tool = *QApplication::activeWindow();
        if (qstrcmp(kind.menuItem, "UtilFM") == 0) { // it reads the slot first
            turnsUntil([&] { return child<QAction>(tool, "Burn").isEnabled(); }, LoopbackTurns);
        } else if (qstrcmp(kind.menuItem, "UtilDV") == 0) { // it has nothing to save first
            child<QPushButton>(tool, "GetDesc").click();
            turnsUntil([this] { return !session.DescActive; }, LoopbackTurns);
        }
        return tool;
    }
    /// Opens the dialog of a kind of file, in its window.
    FileDialog &choose(const Kind &kind, QWidget &tool)
    {
        if (auto *const button = tool.findChild<QPushButton *>(QLatin1String(kind.trigger)))
            button->click();
        else
            child<QAction>(tool, kind.trigger).trigger();
        auto *const dialog = openWindow<FileDialog>("FileDial1");
        if (!dialog)
            qFatal("no file dialog");
        waitUntilActive(*dialog);
        return *dialog;
    }
    /// Types a name and presses Enter.
    static void enter(FileDialog &dialog, const QString &name)
    {
        auto &field = child<QLineEdit>(dialog, "fileNameEdit");
        QTest::mouseClick(&field, Qt::LeftButton);
        field.selectAll();
        QTest::keyClicks(&field, name);
        QTest::keyClick(&field, Qt::Key_Return);
    }
    static QMessageBox *box() { return openWindow<QMessageBox>("MessageBox"); }

    QTemporaryDir directory;
    QString namesFile = directory.filePath(QStringLiteral("VLnetNames.dat"));
    DialogBoxes dialogs{{directory.path(), directory.path()}};
    std::unique_ptr<simulator::Tester> tester =
        simulator::makeDefaultTester(simulator::Settings::vorn2());
    simulator::TcpEnd end{*tester};
    Console console{dialogs, std::make_unique<SerialTransport>(), std::make_unique<TcpTransport>()};
    Session &session = console.session();
    Tools tools{console, directory.path()};
    Main window{console};
};

QString textOf(QWidget &tool, const char *name)
{
    return child<QLineEdit>(tool, name).text();
}

} // namespace

Q_DECLARE_METATYPE(Kind)

/// Every kind of file that is chosen in a dialog: what is no file is refused, and a file of any
/// name is used and shown.
class TestChosenFiles : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QApplication::setQuitOnLastWindowClosed(false); }
    void fifo_data();
    void fifo();
    void fifoBehindTheDialog_data();
    void fifoBehindTheDialog();
    void tooLarge_data();
    void tooLarge();
    void requestOfAnyLength();
    void oddNames_data();
    void oddNames();

private:
    static void compareOpened(const Kind &kind, ProgramBench &bench, QWidget &tool,
                              const QString &directory, const QString &stem);
};

void TestChosenFiles::fifo_data()
{
    QTest::addColumn<Kind>("kind");
    for (const Kind &kind : Kinds)
        QTest::newRow(kind.name) << kind;
}

/// Nobody has opened its other end: to open it would never return.
void TestChosenFiles::fifo()
{
    QFETCH(const Kind, kind);
    ProgramBench bench;
    const QByteArray name = QByteArray("fifo") + kind.suffix;
    QCOMPARE(::mkfifo(bench.path(name).constData(), 0600), 0);
    QWidget &tool = bench.open(kind);
    FileDialog &dialog = bench.choose(kind, tool);
    ProgramBench::enter(dialog, QString::fromLatin1(name));

    QVERIFY(ProgramBench::box());
    QCOMPARE(ProgramBench::box()->parentWidget(), &dialog);
    QCOMPARE(ProgramBench::box()->text(),
             QString::fromUtf8(bench.path(name)) +
                 (isSaved(kind)
                      ? QStringLiteral("\nThis is not a regular file. Choose another name.")
                      : QStringLiteral("\nThis is not a regular file.")));
    ProgramBench::box()->button(QMessageBox::Ok)->click();
    QTRY_VERIFY(!ProgramBench::box());
    QVERIFY(dialog.isVisible());
    QVERIFY(!bench.session.ScriptBusy);
    QVERIFY(!bench.session.Logging);
}

void TestChosenFiles::fifoBehindTheDialog_data()
{
    QTest::addColumn<Kind>("kind");
    for (const Kind &kind : Kinds)
        QTest::newRow(kind.name) << kind;
}

/// The FIFO takes the place of the file between the choice and the use of it.
void TestChosenFiles::fifoBehindTheDialog()
{
    QFETCH(const Kind, kind);
    ProgramBench bench;
    const QByteArray name = QByteArray("chosen") + kind.suffix;
    bench.create(name, kind.contents);
    QWidget &tool = bench.open(kind);
    FileDialog &dialog = bench.choose(kind, tool);
    QObject::connect(&dialog, &QDialog::accepted, &dialog, [&bench, &name] {
        if (::unlink(bench.path(name).constData()) != 0 ||
            ::mkfifo(bench.path(name).constData(), 0600) != 0)
            qFatal("no FIFO");
    });
    ProgramBench::enter(dialog, QString::fromLatin1(name));
    if (auto *const question = ProgramBench::box(); question && isSaved(kind))
        question->button(QMessageBox::Yes)->click();
    if (qstrcmp(kind.menuItem, "UtilDV") == 0)
        return; // a report that cannot be saved is no error
    QTRY_VERIFY(ProgramBench::box());
    QCOMPARE(ProgramBench::box()->text(),
             QStringLiteral("Not a regular file: ") + QString::fromUtf8(bench.path(name)));
    QVERIFY(!bench.session.ScriptBusy);
    QVERIFY(!bench.session.Logging);
}

void TestChosenFiles::tooLarge_data()
{
    QTest::addColumn<Kind>("kind");
    QTest::addColumn<qint64>("size");
    QTest::addColumn<QString>("text"); // the path follows
    const auto reason = [](qint64 limit) {
        return QStringLiteral("The file has %1 bytes, at most %2 are read: ")
            .arg(limit + 1)
            .arg(limit);
    };
    constexpr qint64 ScriptLimit = 2'147'483'647;
    constexpr qint64 HexLimit = 33'554'432;
    QTest::newRow("script") << Kinds[0] << ScriptLimit + 1 << reason(ScriptLimit);
    QTest::newRow("flash script") << Kinds[1] << ScriptLimit + 1 << reason(ScriptLimit);
    QTest::newRow("EZ-USB firmware") << Kinds[2] << HexLimit + 1 << reason(HexLimit);
    QTest::newRow("tester firmware") << Kinds[3] << qint64{0x40001} << QString();
}

/// The files are sparse. Nothing of them is read or sent.
void TestChosenFiles::tooLarge()
{
    QFETCH(const Kind, kind);
    QFETCH(const qint64, size);
    QFETCH(const QString, text);
    ProgramBench bench;
    const QByteArray name = QByteArray("large") + kind.suffix;
    bench.create(name, kind.contents);
    QVERIFY(QFile::resize(QString::fromUtf8(bench.path(name)), size));
    QWidget &tool = bench.open(kind);
    FileDialog &dialog = bench.choose(kind, tool);
    bench.tester->clearCommandsSeen();
    ProgramBench::enter(dialog, QString::fromLatin1(name));
    QTRY_VERIFY(ProgramBench::box());
    QCOMPARE(ProgramBench::box()->text(),
             text.isEmpty() ? QStringLiteral("Selected File is Not a Firmware Image")
                            : text + QString::fromUtf8(bench.path(name)));
    QVERIFY(!bench.tester->commandsSeen().contains("0c"_hex)); // the start of a download
    QVERIFY(!bench.session.ScriptBusy);
    QVERIFY(!bench.session.leases.current());
}

/// Only its first bytes are used, and only these are read.
void TestChosenFiles::requestOfAnyLength()
{
    const Kind &kind = Kinds[4];
    ProgramBench bench;
    bench.create("long.dr", kind.contents);
    QVERIFY(QFile::resize(QString::fromUtf8(bench.path("long.dr")), Q_INT64_C(1'099'511'627'776)));
    QWidget &tool = bench.open(kind);
    ProgramBench::enter(bench.choose(kind, tool), QStringLiteral("long.dr"));
    QTRY_COMPARE(tool.windowTitle(), QStringLiteral("Device Request Builder - long.dr"));
    QCOMPARE(textOf(tool, "bReq"), QStringLiteral("0x06"));
    QCOMPARE(child<QLabel>(tool, "dsize").text(), QStringLiteral("0x20"));
    QVERIFY(!ProgramBench::box());
}

void TestChosenFiles::oddNames_data()
{
    QTest::addColumn<Kind>("kind");
    QTest::addColumn<QByteArray>("stem");
    QTest::addColumn<QString>("shown");
    for (const Kind &kind : Kinds.first(Kinds.size() - 1)) {
        QTest::addRow("%s, quotes and a line end", kind.name)
            << kind << QByteArray("a \"b\"\nc[*]&d") << QStringLiteral("a \\\"b\\\"\\nc[*]&d");
        QTest::addRow("%s, not UTF-8", kind.name)
            << kind << QByteArray("caf\xE9") << QStringLiteral("caf\\xE9");
    }
    // A name with "*" that does not exist is a pattern.
    QTest::newRow("log, quotes and a line end")
        << Kinds.last() << QByteArray("a \"b\"\nc&d") << QStringLiteral("a \\\"b\\\"\\nc&d");
    QTest::newRow("log, not UTF-8")
        << Kinds.last() << QByteArray("caf\xE9") << QStringLiteral("caf\\xE9");
}

void TestChosenFiles::oddNames()
{
    QFETCH(const Kind, kind);
    QFETCH(const QByteArray, stem);
    QFETCH(const QString, shown);
    ProgramBench bench;
    const QByteArray name = stem + kind.suffix;
    // A new name with "*" is a pattern, and cannot be typed in the escaped form.
    const bool existing = !stem.contains('"') || qstrcmp(kind.suffix, ".log") != 0;
    if (existing)
        bench.create(name, kind.contents);
    QWidget &tool = bench.open(kind);
    FileDialog &dialog = bench.choose(kind, tool);
    ProgramBench::enter(dialog, existing ? shown + QLatin1String(kind.suffix) : QString());
    if (!existing) {
        child<QLineEdit>(dialog, "fileNameEdit").setText(QString::fromUtf8(name));
        QTest::keyClick(&child<QLineEdit>(dialog, "fileNameEdit"), Qt::Key_Return);
    }
    if (auto *const question = ProgramBench::box(); question && existing && isSaved(kind)) {
        QVERIFY(question->text().startsWith(shown + QLatin1String(kind.suffix) +
                                            QLatin1String(" exists already.")));
        question->button(QMessageBox::Yes)->click();
    }
    QVERIFY(turnsUntil([] { return !openWindow<FileDialog>("FileDial1"); }));
    const QString directory = bench.directory.path() + QLatin1Char('/');
    compareOpened(kind, bench, tool, directory, shown);

    QFile file;
    QCOMPARE(openRegularFile(file, pathFromBytes(bench.path(name)), QIODevice::ReadOnly),
             std::optional<QString>());
    if (isSaved(kind))
        QVERIFY(file.readAll().size() >= 10);
}

void TestChosenFiles::compareOpened(const Kind &kind, ProgramBench &bench, QWidget &tool,
                                    const QString &directory, const QString &stem)
{
    const QString name = stem + QLatin1String(kind.suffix);
    if (qstrcmp(kind.name, "script") == 0) {
        QCOMPARE(textOf(tool, "ScriptName"), name);
        QTRY_VERIFY(child<QPushButton>(tool, "ScriptRun").isEnabled());
    } else if (qstrcmp(kind.name, "flash script") == 0) {
        QCOMPARE(textOf(tool, "filename"), name);
        QTRY_VERIFY(child<QPushButton>(tool, "BtnProgram").isVisible());
    } else if (qstrcmp(kind.name, "EZ-USB firmware") == 0) {
        QCOMPARE(textOf(tool, "filename"), directory + name);
        QTRY_VERIFY(ProgramBench::box());
        QCOMPARE(ProgramBench::box()->windowTitle(),
                 QStringLiteral("** Firmware Conversion Complete **"));
        QCOMPARE(textOf(bench.window, "ScriptName"), stem + QLatin1String(".vn"));
    } else if (qstrcmp(kind.name, "tester firmware") == 0) {
        QCOMPARE(textOf(tool, "tbFWFile"), directory + name);
        QVERIFY(child<QPushButton>(tool, "btProgram").isEnabled());
    } else if (qstrcmp(kind.menuItem, "UtilDR") == 0) {
        // In a title, "[*]" is doubled to be shown.
        QString title = QStringLiteral("Device Request Builder - ") + name;
        title.replace(QStringLiteral("[*]"), QStringLiteral("[*][*]"));
        QCOMPARE(tool.windowTitle(), title);
    } else if (qstrcmp(kind.name, "log") == 0) {
        QCOMPARE(child<QLabel>(tool, "LogInfo").text(), QStringLiteral("Logging: ") + name);
        bench.console.fileCloseClicked();
    }
}

VANTREL_WINDOW_TEST(TestChosenFiles)
#include "tst_chosenfiles.moc"
