// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/DrivenLayout.h"
#include "support/TestProgram.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

using namespace vantrel::test;

namespace {

const QString CreatingBox = QStringLiteral("Vantrel Initialization: Creating Network Name File");
const QString NoBox = QStringLiteral("none");

} // namespace

/// The program as packages install it, and as a copy anywhere else: where it keeps its files.
class tst_installed : public QObject
{
    Q_OBJECT

private slots:
    void firstStart();
    void firstStartOfACopy();
    void ownListIsTheList();
    void listForAllUsers_data();
    void listForAllUsers();
    void orderOfLists();
    void addToListForAllUsers();
    void unreadableOwnList();
    void copyThatCannotWriteBesideItself();
    void optionsDoNotWaitForTheBox_data();
    void optionsDoNotWaitForTheBox();
    void connectDoesNotWaitForTheBox();
    void realProgramConnectsBehindTheBox();
    void logDialog();
    void logDialogOfACopy();
    void otherFileDialogs();
    void fileDialogsKeepNothing_data();
    void fileDialogsKeepNothing();
    void tourLeavesTheUserFilesAlone();
};

void tst_installed::firstStart()
{
    const Layout layout(Layout::Kind::Installed);
    Running program(layout);
    QCOMPARE(program.ask("box"), CreatingBox);
    QCOMPARE(program.ask("names"), text("disabled, -1:"));
    QVERIFY(!QFile::exists(layout.ownList()));

    QCOMPARE(program.ask("ok"), text("closed"));
    QCOMPARE(program.ask("names"), text("enabled, -1: <New>"));
    QCOMPARE(contentsOf(layout.ownList()), QByteArray());
    QCOMPARE(program.ask("add 10.0.0.7"), text("enabled, 0: 10.0.0.7, <New>"));
    QCOMPARE(contentsOf(layout.ownList()), QByteArray("10.0.0.7\r\n"));
    QCOMPARE(program.end(), 0);

    Running again(layout);
    QCOMPARE(again.ask("box"), NoBox);
    QCOMPARE(again.ask("names"), text("enabled, -1: 10.0.0.7, <New>"));
    QCOMPARE(layout.listing("prefix/bin"), QStringList{text("vantrel")});
}

void tst_installed::firstStartOfACopy()
{
    const Layout layout(Layout::Kind::Copied);
    Running program(layout);
    QCOMPARE(program.ask("box"), CreatingBox);
    QCOMPARE(program.ask("ok"), text("closed"));
    program.ask("add 10.0.0.7");
    QCOMPARE(contentsOf(layout.path("prefix/bin/VLnetNames.dat")), QByteArray("10.0.0.7\r\n"));
    QVERIFY(!QFile::exists(layout.ownList()));
}

void tst_installed::ownListIsTheList()
{
    const Layout layout(Layout::Kind::Installed);
    layout.write("prefix/bin/VLnetNames.dat", "shared\r\n");
    Layout::write(layout.ownList(), "mine\n");
    Running program(layout);
    QCOMPARE(program.ask("box"), NoBox);
    QCOMPARE(program.ask("names"), text("enabled, -1: mine, <New>"));
    program.ask("add other");
    QCOMPARE(contentsOf(layout.ownList()), QByteArray("mine\nother\r\n"));
    QCOMPARE(contentsOf(layout.path("prefix/bin/VLnetNames.dat")), QByteArray("shared\r\n"));
}

void tst_installed::listForAllUsers_data()
{
    QTest::addColumn<QByteArray>("place");
    for (const char *place :
         {"prefix/bin", "config1/vantrel", "config2/vantrel", "data1/vantrel", "data2/vantrel"})
        QTest::newRow(place) << QByteArray(place);
}

void tst_installed::listForAllUsers()
{
    QFETCH(QByteArray, place);
    const Layout layout(Layout::Kind::Installed);
    layout.write(qPrintable(QString::fromLatin1(place) + text("/VLnetNames.dat")),
                 "lab-1\r\nlab-2\r\n");
    Running program(layout);
    QCOMPARE(program.ask("box"), NoBox);
    QCOMPARE(program.ask("names"), text("enabled, -1: lab-1, lab-2, <New>"));
    QCOMPARE(program.end(), 0);
    QVERIFY(!QFile::exists(layout.path("home/.local/share/Vantrel")));
}

void tst_installed::orderOfLists()
{
    const Layout layout(Layout::Kind::Installed);
    for (const char *place :
         {"data2/vantrel", "data1/vantrel", "config2/vantrel", "config1/vantrel", "prefix/bin"}) {
        const QByteArray entry = QByteArray(place).replace('/', '.');
        layout.write(qPrintable(text(place) + text("/VLnetNames.dat")), entry + "\r\n");
        Running program(layout);
        QCOMPARE(program.ask("names"),
                 text("enabled, -1: ") + QString::fromLatin1(entry) + text(", <New>"));
    }
}

void tst_installed::addToListForAllUsers()
{
    const Layout layout(Layout::Kind::Installed);
    layout.write("config1/vantrel/VLnetNames.dat", "lab-1\nlab-2");
    Running program(layout, {text("--host"), text("for-this-run")});
    QCOMPARE(program.ask("names"), text("enabled, 2: lab-1, lab-2, for-this-run, <New>"));
    QCOMPARE(program.ask("add mine"), text("enabled, 3: lab-1, lab-2, for-this-run, mine, <New>"));
    QCOMPARE(program.ask("box"), NoBox);
    QCOMPARE(contentsOf(layout.ownList()), QByteArray("lab-1\r\nlab-2\r\nmine\r\n"));
    QCOMPARE(contentsOf(layout.path("config1/vantrel/VLnetNames.dat")), QByteArray("lab-1\nlab-2"));
    QCOMPARE(program.end(), 0);

    layout.write("config1/vantrel/VLnetNames.dat", "changed later\r\n");
    Running again(layout);
    QCOMPARE(again.ask("names"), text("enabled, -1: lab-1, lab-2, mine, <New>"));
}

void tst_installed::unreadableOwnList()
{
    const Layout layout(Layout::Kind::Installed);
    layout.write("config1/vantrel/VLnetNames.dat", "lab\r\n");
    QVERIFY(QDir().mkpath(QFileInfo(layout.ownList()).path()));
    QVERIFY(QFile::link(text("/proc/self/mem"), layout.ownList()));
    Running program(layout);
    QCOMPARE(program.ask("box"), text("Vantrel - Error: Input/output error: ") + layout.ownList());
    program.ask("ok");
    QCOMPARE(program.ask("names"), text("enabled, -1: <New>"));
}

/// A list that can be read is in use there, and is not lost with the first name of the user's own.
void tst_installed::copyThatCannotWriteBesideItself()
{
    const Layout layout(Layout::Kind::Copied);
    layout.write("prefix/bin/VLnetNames.dat", "lab\r\n");
    layout.protectProgram();
    Running program(layout);
    QCOMPARE(program.ask("box"), NoBox);
    QCOMPARE(program.ask("names"), text("enabled, -1: lab, <New>"));
    QVERIFY(!QFile::exists(layout.path("home/.local/share/Vantrel")));
    QCOMPARE(program.ask("add mine"), text("enabled, 1: lab, mine, <New>"));
    QCOMPARE(contentsOf(layout.ownList()), QByteArray("lab\r\nmine\r\n"));
    QCOMPARE(contentsOf(layout.path("prefix/bin/VLnetNames.dat")), QByteArray("lab\r\n"));
}

void tst_installed::optionsDoNotWaitForTheBox_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("host");
    QTest::newRow("--host") << QStringList{text("--host"), text("bench-7")} << text("bench-7");
    QTest::newRow("--simulator") << QStringList{text("--simulator")} << text("127.0.0.1");
}

void tst_installed::optionsDoNotWaitForTheBox()
{
    QFETCH(QStringList, options);
    QFETCH(QString, host);
    const Layout layout(Layout::Kind::Installed);
    Running program(layout, options);
    QCOMPARE(program.ask("box"), CreatingBox);
    QCOMPARE(program.ask("names"), text("disabled, 0: ") + host);
    program.ask("ok");
    QCOMPARE(program.ask("names"), text("enabled, 0: ") + host + text(", <New>"));
    QCOMPARE(contentsOf(layout.ownList()), QByteArray());
}

void tst_installed::connectDoesNotWaitForTheBox()
{
    const Layout layout(Layout::Kind::Installed);
    Running program(layout, {text("--simulator"), text("--connect")});
    QCOMPARE(program.ask("box"), CreatingBox);
    program.ask("ok");
    QCOMPARE(program.ask("names"), text("disabled, 0: 127.0.0.1, <New>"));
    QCOMPARE(program.ask("press Connect"), text("Connect")); // it was "Disconnect"
    QCOMPARE(program.ask("names"), text("enabled, 0: 127.0.0.1, <New>"));
    QCOMPARE(program.ask("add mine"), text("enabled, 1: 127.0.0.1, mine, <New>"));
    QCOMPARE(contentsOf(layout.ownList()), QByteArray("mine\r\n"));
}

/// Nobody closes the box of this one.
void tst_installed::realProgramConnectsBehindTheBox()
{
    const Layout layout(Layout::Kind::Installed, VANTREL);
    QTcpServer tester;
    QVERIFY(tester.listen(QHostAddress::LocalHost));
    Running program(layout, {text("--host"), text("127.0.0.1"), text("--port"),
                             QString::number(tester.serverPort()), text("--connect")});
    QVERIFY(tester.waitForNewConnection(20'000));
    QTcpSocket *const console = tester.nextPendingConnection();
    QVERIFY(console->waitForReadyRead(20'000));
    QCOMPARE(console->readAll(), QByteArray::fromHex("1b530f1b45")); // the version query
    QVERIFY(!QFile::exists(layout.ownList()));
    program.terminate();
    QCOMPARE(layout.listing("prefix/bin"), QStringList{text("vantrel")});
}

void tst_installed::logDialog()
{
    const Layout layout(Layout::Kind::Installed);
    layout.write("config1/vantrel/VLnetNames.dat", "lab\r\n");
    Running program(layout);
    QCOMPARE(program.ask("box"), NoBox);
    QVERIFY(!QFile::exists(layout.path("home/.local/share/Vantrel")));
    program.ask("press FileNew");
    QCOMPARE(program.ask("directory"), layout.path("home/.local/share/Vantrel"));
    program.ask("choose first.log");
    QVERIFY(QFile::exists(layout.path("home/.local/share/Vantrel/first.log")));
}

void tst_installed::logDialogOfACopy()
{
    const Layout layout(Layout::Kind::Copied);
    layout.write("prefix/bin/VLnetNames.dat", {});
    Running program(layout);
    program.ask("press FileNew");
    QCOMPARE(program.ask("directory"), layout.path("work"));
    QVERIFY(!QFile::exists(layout.path("home/.local/share/Vantrel")));
}

void tst_installed::otherFileDialogs()
{
    const Layout layout(Layout::Kind::Installed);
    layout.write("config1/vantrel/VLnetNames.dat", "lab\r\n");
    layout.write("logs/old.log", {});
    Running program(layout, {text("--simulator"), text("--connect")});
    const auto scriptDirectory = [&program] {
        program.ask("press ScriptLoad"); // disabled until the tester has answered
        return program.ask("directory");
    };
    QTRY_COMPARE_WITH_TIMEOUT(scriptDirectory(), layout.path("home"), 20'000);
    program.ask("cancel");
    program.ask("press FileNew");
    QCOMPARE(program.ask("directory"), layout.path("home/.local/share/Vantrel"));
    program.ask(text("choose ") + layout.path("logs/new.log"));
    QVERIFY(QFile::exists(layout.path("logs/new.log")));

    QCOMPARE(scriptDirectory(), layout.path("logs")); // that of the file chosen last
    program.ask("cancel");
    program.ask("press FileClose");
    program.ask("press FileNew");
    QCOMPARE(program.ask("directory"), layout.path("logs"));
}

void tst_installed::fileDialogsKeepNothing_data()
{
    QTest::addColumn<bool>("installed");
    QTest::newRow("installed") << true;
    QTest::newRow("copy") << false;
}

void tst_installed::fileDialogsKeepNothing()
{
    QFETCH(bool, installed);
    const Layout layout(installed ? Layout::Kind::Installed : Layout::Kind::Copied);
    layout.write("config1/vantrel/VLnetNames.dat", "lab\r\n");
    Running program(layout);
    program.ask("press FileNew");
    QCOMPARE(program.ask("cancel"), text("cancelled"));
    program.ask("press FileNew");
    program.ask(text("choose ") + layout.path("work/new.log"));
    QVERIFY(QFile::exists(layout.path("work/new.log")));
    QCOMPARE(program.end(), 0);
    QVERIFY(!QFile::exists(layout.path("home/.config")));
}

/// A tour writes to its own directory, and begins with the box of a first start everywhere.
void tst_installed::tourLeavesTheUserFilesAlone()
{
    const Layout layout(Layout::Kind::Installed, VANTREL);
    layout.write("config1/vantrel/VLnetNames.dat", "lab\r\n");
    QProcess tour;
    tour.setProcessEnvironment(layout.environment());
    tour.setWorkingDirectory(layout.path("work"));
    tour.start(layout.program(), {text("--tour"), layout.path("tour")});
    QVERIFY(tour.waitForFinished(90'000));
    const QByteArray output = tour.readAllStandardOutput();
    QVERIFY2(tour.exitCode() == 0, output.constData());
    QVERIFY(output.contains("Creating Network Name File"));
    QCOMPARE(contentsOf(layout.path("tour/VLnetNames.dat")), QByteArray("bench-tester\r\n"));
    QVERIFY(!QFile::exists(layout.path("home/.local/share/Vantrel")));
    QCOMPARE(layout.listing("prefix/bin"), QStringList{text("vantrel")});
}

VANTREL_TEST(tst_installed)
#include "tst_installed.moc"
