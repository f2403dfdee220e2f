// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/ConsoleBench.h"
#include "support/ControlSets.h"
#include "support/TestProgram.h"

#include <QDir>
#include <QSignalSpy>
#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

/// The console's start, and what it leaves usable.
class TestStartup : public QObject
{
    Q_OBJECT

private slots:
    void usableControls();
    void enabledOnesBecomeDisabled();
    void connectionSettings();
    void defaultHost();
    void valuesStartAnew();
    void firstCaptions();
    void nothingIsSent();
    void missingNamesFile();
    void unreadableNamesFile();
    void descriptorViewerNeedsAutoMode();
    void clear();
};

void TestStartup::usableControls()
{
    const ConsoleBench bench;
    QCOMPARE(controlsWith(bench.session, false), namesOf({"VoltDisable",
                                                          "VoltEnable",
                                                          "VoltSet",
                                                          "Suspend",
                                                          "USBResume",
                                                          "USBReset",
                                                          "VoltWin",
                                                          "ScriptLoad",
                                                          "ScriptRun",
                                                          "UtilFM",
                                                          "UtilDV",
                                                          "UtilDR",
                                                          "EZUSB",
                                                          "Automode",
                                                          "Vcc_AR",
                                                          "mnuUtilFW",
                                                          "mnuUtilFTDI",
                                                          "cbHSInhibit",
                                                          "mnuConfigureNetwork",
                                                          "FileClose"}));
    QVERIFY(!bench.main.LogFrame.isVisible());
}

void TestStartup::enabledOnesBecomeDisabled()
{
    ConsoleBench bench(ConsoleBench::Start::Bare);
    setAllEnabled(bench.session, true);
    bench.console.load(bench.namesFile);
    for (const QString &name : controlsWith(bench.session, true))
        QVERIFY2(namesOf({"Comm1",      "Comm2",       "Comm3",
                          "Comm4",      "CommE",       "cbNWName",
                          "Connect",    "conxsts",     "power",
                          "vornstate",  "ClrResp",     "CurrWin",
                          "ScriptName", "ScriptIdx",   "LogFrame",
                          "LogInfo",    "LogSizeInfo", "DownloadProgress",
                          "CmdWin",     "RespWin",     "FileNew",
                          "FileClose"})
                     .contains(name),
                 qPrintable(name));
}

void TestStartup::connectionSettings()
{
    ConsoleBench bench;
    QVERIFY(bench.main.Comm1.isChecked());
    QCOMPARE(bench.console.link().serialPortNumber(), 1);
    QCOMPARE(bench.session.NetworkMode, false);
    QCOMPARE(bench.session.BaudTable[0], 19200);
    QCOMPARE(bench.session.PacketStart, QByteArray("\x1BS"));
    QCOMPARE(bench.session.RemoteHost, QString());
    QCOMPARE(bench.main.cbNWName.items(), QStringList{QStringLiteral("<New>")});
}

void TestStartup::defaultHost()
{
    ConsoleBench bench;
    QCOMPARE(bench.console.link().remoteHost(), QLatin1String("192.168.1.10"));
    bench.connect(true); // to a transport that ends here
    QCOMPARE(bench.tcp->opened.size(), 1);
    QCOMPARE(bench.tcp->opened[0].address, QLatin1String("192.168.1.10"));
    QCOMPARE(bench.tcp->opened[0].port, quint16{7});
}

void TestStartup::valuesStartAnew()
{
    ConsoleBench bench(ConsoleBench::Start::Bare);
    Session &session = bench.session;
    session.RespText.append("something");
    session.RespDirty = true;
    session.TickCount = 77;
    session.DescTimeout = 5;
    session.BaudIndex = 2;
    session.RxState = 3;
    session.NetworkMode = true;
    bench.console.link().setSerialPortNumber(3);

    bench.console.load(bench.namesFile);

    QCOMPARE(session.RespText.text(), QByteArray());
    QCOMPARE(session.RespDirty, false);
    QCOMPARE(session.TickCount, 0);
    QCOMPARE(int{session.DescTimeout}, 0);
    QCOMPARE(int{session.BaudIndex}, 0);
    QCOMPARE(int{session.RxState}, 0);
    QCOMPARE(session.NetworkMode, false);
    QCOMPARE(bench.console.link().serialPortNumber(), 1);
}

void TestStartup::firstCaptions()
{
    const ConsoleBench bench;
    QCOMPARE(bench.main.Connect.text(), QLatin1String("Connect"));
    QCOMPARE(bench.main.Connect.toolTip(), QLatin1String("Connect to Vorn Tester"));
    QCOMPARE(bench.main.ScriptRun.text(), QLatin1String("Run"));
    QCOMPARE(bench.main.CmdWin.text(), QString());
    QCOMPARE(bench.main.RespWin.text(), QString());
}

void TestStartup::nothingIsSent()
{
    ConsoleBench bench;
    bench.tick(50);
    QCOMPARE(bench.serial->opened.size(), 0);
    QCOMPARE(bench.tcp->opened.size(), 0);
    QCOMPARE(bench.serial->written, QList<QByteArray>());
    QCOMPARE(bench.main.CmdWin.text(), QString());
    QCOMPARE(int(bench.session.LinkState), 0);
    QCOMPARE(bench.dialogs.messages.size(), 0);
}

void TestStartup::missingNamesFile()
{
    ConsoleBench bench(ConsoleBench::Start::Bare);
    bench.dialogs.holdAnswers = true;

    bench.console.load(bench.namesFile);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QLatin1String("Creating Network Name File"));
    QCOMPARE(bench.dialogs.messages[0].title, QLatin1String("Vantrel Initialization"));
    QCOMPARE(bench.dialogs.messages[0].buttons, Message::Buttons::Ok);
    QVERIFY(!bench.main.cbNWName.isEnabled());
    QVERIFY(!bench.main.VoltWin.isEnabled());

    bench.dialogs.answerHeld(Answer::Ok);
    QVERIFY(bench.main.cbNWName.isEnabled());
    QCOMPARE(bench.main.cbNWName.items(), QStringList{QStringLiteral("<New>")});
    QVERIFY(QFile::exists(bench.namesFile));
}

void TestStartup::unreadableNamesFile()
{
    ConsoleBench bench(ConsoleBench::Start::Bare);
    QVERIFY(QDir().mkdir(bench.namesFile)); // a directory in its place

    bench.console.load(bench.namesFile);

    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].title, QLatin1String("Vantrel - Error"));
    QVERIFY(bench.dialogs.messages[0].text.endsWith(QLatin1String(": ") + bench.namesFile));
    QVERIFY(bench.main.cbNWName.isEnabled());
    QCOMPARE(bench.main.cbNWName.items(), QStringList{QStringLiteral("<New>")});
}

void TestStartup::descriptorViewerNeedsAutoMode()
{
    ConsoleBench bench;
    QSignalSpy wanted(&bench.console, &Console::descriptorViewerWanted);

    bench.main.Automode.adoptChecked(false);
    bench.console.descriptorViewerClicked();
    QCOMPARE(wanted.size(), 0);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text,
             QLatin1String("Descriptor Viewer Only works in Automatic Mode"));
    QCOMPARE(bench.dialogs.messages[0].title, QLatin1String("Vantrel - Illegal Operation"));
    QCOMPARE(bench.dialogs.messages[0].buttons, Message::Buttons::Ok);

    bench.main.Automode.adoptChecked(true);
    bench.console.descriptorViewerClicked();
    QCOMPARE(wanted.size(), 1);
    QCOMPARE(bench.dialogs.messages.size(), 1);
}

void TestStartup::clear()
{
    ConsoleBench bench;
    bench.run();
    bench.answer("\x94");
    bench.tick();
    QVERIFY(!bench.main.RespWin.text().isEmpty());
    QVERIFY(!bench.main.CmdWin.text().isEmpty());

    bench.console.clearClicked();
    QCOMPARE(bench.session.RespText.text(), QByteArray());
    QCOMPARE(bench.session.RespDirty, true);
    QCOMPARE(bench.main.CmdWin.text(), QString());
    QVERIFY(!bench.main.RespWin.text().isEmpty()); // until the next tick
    bench.tick();
    QCOMPARE(bench.main.RespWin.text(), QString());

    bench.answer("\x83");
    QCOMPARE(bench.main.CmdWin.text(), QLatin1String("\r\nSuspending")); // an empty line first
}

VANTREL_TEST(TestStartup)
#include "tst_startup.moc"
