// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/ConsoleBench.h"
#include "support/ControlSets.h"
#include "support/Hex.h"
#include "support/SessionState.h"
#include "support/TestProgram.h"

#include <QSignalSpy>
#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

const NameSet Selection = namesOf({"Comm1", "Comm2", "Comm3", "Comm4", "CommE", "cbNWName"});
const QString Initializing = QStringLiteral("\r\nInitializing Communications...");

void compareOnlyBox(const FakeDialogs &dialogs, const QString &text, const char *title)
{
    QCOMPARE(dialogs.messages.size(), 1);
    QCOMPARE(dialogs.messages[0].text, text);
    QCOMPARE(dialogs.messages[0].title, QLatin1String(title));
    QCOMPARE(dialogs.messages[0].buttons, Message::Buttons::Ok);
}

} // namespace

/// Connecting, disconnecting and what goes wrong with the link.
class TestConnection : public QObject
{
    Q_OBJECT

private slots:
    void connectSerial_data();
    void connectSerial();
    void connectNetwork();
    void firstSelectedPortWins();
    void connectedControls_data();
    void connectedControls();
    void testerIsForgotten();
    void oldTesterRefusesTheProbe();
    void connectIsDisabledMeanwhile();
    void openError_data() { connectedControls_data(); }
    void openError();
    void openErrorThenAnotherTry();
    void disconnect_data() { connectedControls_data(); }
    void disconnect();
    void disconnectLeavesTheLoaderItem_data();
    void disconnectLeavesTheLoaderItem();
    void disconnectWhileProbing();
    void stateDecidesNotTheCaption();
    void reconnectAtTheRateReached();
    void serialAfterNetwork();
    void socketError_data();
    void socketError();
    void socketErrorBoxComesFirst();
    void connectAgainAfterASocketError();
    void vanishedPortShowsNothing();
    void automode_data();
    void automode();
    void automodeOffIsSentBeforeTheWarning();
    void shutDownEndsWaits();
};

void TestConnection::connectSerial_data()
{
    QTest::addColumn<int>("port");
    for (int port = 1; port <= 4; ++port)
        QTest::addRow("COM%d", port) << port;
}

void TestConnection::connectSerial()
{
    QFETCH(int, port);

    ConsoleBench bench;
    MainControls &main = bench.main;
    Control *const options[] = {&main.Comm1, &main.Comm2, &main.Comm3, &main.Comm4};
    bench.select(*options[port - 1]);
    bench.console.connectClicked();

    QCOMPARE(bench.serial->opened.size(), 1);
    QCOMPARE(bench.serial->opened[0].address, QStringLiteral("/dev/serial%1").arg(port));
    QCOMPARE(bench.serial->opened[0].settings, QByteArray(" 19200,n,8,1"));
    QCOMPARE(bench.tcp->opened.size(), 0);
    QCOMPARE(bench.session.NetworkMode, false);
    QCOMPARE(bench.console.link().serialPortNumber(), port);
    QCOMPARE(int(bench.session.LinkState), 1);
    QCOMPARE(main.CmdWin.text(), Initializing);
    QCOMPARE(bench.serial->written, QList<QByteArray>()); // the first probe is the timer's
}

void TestConnection::connectNetwork()
{
    ConsoleBench bench;
    bench.console.names().offer(QStringLiteral("tester-7.lab"));
    bench.tcp->connectsAtOnce = false;
    bench.connect(true);

    QCOMPARE(bench.tcp->opened.size(), 1);
    QCOMPARE(bench.tcp->opened[0].address, QLatin1String("tester-7.lab"));
    QCOMPARE(bench.tcp->opened[0].port, quint16{7});
    QCOMPARE(bench.serial->opened.size(), 0);
    QCOMPARE(bench.session.NetworkMode, true);
    QCOMPARE(int(bench.session.LinkState), 1);
    QCOMPARE(bench.main.CmdWin.text(), Initializing);
}

void TestConnection::firstSelectedPortWins()
{
    ConsoleBench bench;
    for (Control *option : {&bench.main.Comm2, &bench.main.Comm4, &bench.main.CommE})
        option->adoptChecked(true);
    bench.main.Comm1.adoptChecked(false);
    bench.console.connectClicked();
    QCOMPARE(bench.serial->opened.size(), 1);
    QCOMPARE(bench.serial->opened[0].address, QLatin1String("/dev/serial2"));
}

void TestConnection::connectedControls_data()
{
    QTest::addColumn<bool>("network");
    QTest::newRow("serial") << false;
    QTest::newRow("network") << true;
}

void TestConnection::connectedControls()
{
    QFETCH(bool, network);

    ConsoleBench bench;
    setAllEnabled(bench.session, true);
    bench.connect(network);

    QCOMPARE(controlsWith(bench.session, false),
             Selection | namesOf({"mnuUtilFW", "mnuUtilFTDI", "cbHSInhibit"}));
    QCOMPARE(bench.main.Connect.text(), QLatin1String("Disconnect"));
    QCOMPARE(bench.main.Connect.toolTip(), QLatin1String("Disconnect from Vorn Tester"));
    QCOMPARE(bench.dialogs.messages.size(), 0);
}

void TestConnection::testerIsForgotten()
{
    ConsoleBench bench;
    bench.session.FirmwareMajor = 3;
    bench.session.FirmwareMinor = 12;
    bench.session.TesterRamK = 64;
    bench.connect();
    QCOMPARE(int{bench.session.FirmwareMajor}, -1);
    QCOMPARE(int{bench.session.FirmwareMinor}, -2);
    QCOMPARE(int{bench.session.TesterRamK}, -1);
}

void TestConnection::oldTesterRefusesTheProbe()
{
    const QString notice = QStringLiteral("\r\n** Vorn-1 Firmware Version: 2.8 or Lower **\r\n");
    ConsoleBench bench;
    for (int connection = 1; connection <= 2; ++connection) {
        bench.connect();
        bench.second();
        for (int refusal = 0; refusal < 3; ++refusal)
            bench.answer("95"_hex);
        QCOMPARE(bench.main.CmdWin.text().count(notice), connection);
        QCOMPARE(bench.session.RespText.text(),
                 QByteArray("*** Command Error \r\n").repeated(connection));
        QCOMPARE(int(bench.session.LinkState), 2);
        bench.console.connectClicked();
    }
}

void TestConnection::connectIsDisabledMeanwhile()
{
    ConsoleBench bench;
    bench.serial->openError = QStringLiteral("busy");
    bench.dialogs.holdAnswers = true;
    bench.connect();
    QVERIFY(!bench.main.Connect.isEnabled());
    bench.dialogs.answerHeld(Answer::Ok);
    QVERIFY(bench.main.Connect.isEnabled());
}

void TestConnection::openError()
{
    QFETCH(bool, network);

    ConsoleBench bench;
    bench.session.FirmwareMajor = 3;
    bench.session.FirmwareMinor = 12;
    (network ? bench.tcp : bench.serial)->openError = QStringLiteral("No such file or directory");
    bench.dialogs.holdAnswers = true;
    bench.connect(network);

    compareOnlyBox(bench.dialogs, QStringLiteral("Error Opening Communications Port"),
                   "Vantrel - Error");
    QVERIFY(controlsWith(bench.session, false).contains(Selection));
    bench.dialogs.answerHeld(Answer::Ok);

    QVERIFY(controlsWith(bench.session, true).contains(Selection));
    QCOMPARE(int(bench.session.LinkState), 0);
    QCOMPARE(bench.main.Connect.text(), QLatin1String("Connect"));
    QCOMPARE(bench.main.Connect.toolTip(), QLatin1String("Connect to Vorn Tester"));
    QCOMPARE(bench.main.CmdWin.text(), QString());
    QCOMPARE(int{bench.session.FirmwareMajor}, 3);
    QCOMPARE(int{bench.session.FirmwareMinor}, 12);
    bench.tick(30);
    QCOMPARE(bench.transport().written, QList<QByteArray>());
}

void TestConnection::openErrorThenAnotherTry()
{
    ConsoleBench bench;
    bench.serial->openError = QStringLiteral("busy");
    bench.connect();
    bench.serial->openError.reset();
    bench.connect();
    QCOMPARE(int(bench.session.LinkState), 1);
    QCOMPARE(bench.dialogs.messages.size(), 1);
}

void TestConnection::disconnect()
{
    QFETCH(bool, network);

    ConsoleBench bench;
    bench.run(network);
    setAllEnabled(bench.session, true);
    for (Control *control : {&bench.main.Comm1, &bench.main.CommE, &bench.main.cbNWName})
        control->setEnabled(false);

    bench.console.connectClicked();

    QCOMPARE(int(bench.session.LinkState), 0);
    QCOMPARE(bench.transport().closes, 1);
    QVERIFY(!bench.transport().isConnected());
    QCOMPARE(controlsWith(bench.session, false),
             namesOf({"VoltSet", "VoltEnable", "VoltDisable", "Suspend", "USBResume", "USBReset",
                      "VoltWin", "ScriptLoad", "ScriptRun", "Automode", "Vcc_AR", "UtilFM",
                      "UtilDR", "UtilDV", "EZUSB", "mnuConfigureNetwork", "mnuUtilFTDI"}));
    QCOMPARE(bench.main.Connect.text(), QLatin1String("Connect"));
    QCOMPARE(bench.main.Connect.toolTip(), QLatin1String("Connect to Vorn Tester"));
    QCOMPARE(bench.dialogs.messages.size(), 0);
    bench.tick(30);
    QCOMPARE(bench.transport().written, QList<QByteArray>());
}

void TestConnection::disconnectLeavesTheLoaderItem_data()
{
    QTest::addColumn<bool>("enabled");
    QTest::newRow("enabled") << true;
    QTest::newRow("disabled") << false;
}

void TestConnection::disconnectLeavesTheLoaderItem()
{
    QFETCH(bool, enabled);

    ConsoleBench bench;
    bench.run();
    bench.main.mnuUtilFW.setEnabled(enabled);
    bench.main.cbHSInhibit.setEnabled(enabled);
    bench.console.connectClicked();
    QCOMPARE(bench.main.mnuUtilFW.isEnabled(), enabled);
    QCOMPARE(bench.main.cbHSInhibit.isEnabled(), enabled);
}

void TestConnection::disconnectWhileProbing()
{
    ConsoleBench bench;
    bench.connect();
    bench.tick(25);
    QCOMPARE(int(bench.session.LinkState), 2);
    bench.console.connectClicked();
    QCOMPARE(int(bench.session.LinkState), 0);
    QCOMPARE(bench.main.Connect.text(), QLatin1String("Connect"));
    bench.serial->takeWritten();
    bench.tick(30);
    QCOMPARE(bench.serial->written, QList<QByteArray>());
    QCOMPARE(bench.serial->opened.size(), 1);
}

void TestConnection::stateDecidesNotTheCaption()
{
    ConsoleBench bench;
    bench.main.Connect.setText(QStringLiteral("another text"));
    bench.console.connectClicked();
    QCOMPARE(bench.serial->opened.size(), 1);
    QCOMPARE(bench.main.Connect.text(), QLatin1String("Disconnect"));
    bench.main.Connect.setText(QStringLiteral("Connect"));
    bench.console.connectClicked();
    QVERIFY(bench.session.LinkState == LinkStates::Closed);
    QVERIFY(bench.main.Connect.isEnabled());
}

void TestConnection::reconnectAtTheRateReached()
{
    ConsoleBench bench;
    bench.connect();
    bench.tick(30); // probes at 19200, 38400, 57600
    bench.console.connectClicked();
    bench.connect();
    QCOMPARE(bench.serial->opened.size(), 2);
    QCOMPARE(bench.serial->opened[1].settings, QByteArray(" 57600,n,8,1"));
}

void TestConnection::serialAfterNetwork()
{
    ConsoleBench bench;
    bench.connect(true);
    bench.console.connectClicked();
    QCOMPARE(bench.tcp->closes, 1);
    QCOMPARE(bench.session.NetworkMode, true);
    bench.connect(false);
    QCOMPARE(bench.session.NetworkMode, false);
    QCOMPARE(bench.serial->opened.size(), 1);
}

void TestConnection::socketError_data()
{
    QTest::addColumn<int>("linkState");
    QTest::newRow("opened") << 1;
    QTest::newRow("probing") << 2;
    QTest::newRow("running") << 3;
    QTest::newRow("bootstrap") << 4;
}

void TestConnection::socketError()
{
    QFETCH(int, linkState);

    ConsoleBench bench;
    bench.connect(true);
    bench.session.LinkState = static_cast<LinkStates>(linkState);

    bench.tcp->fail(QStringLiteral("Connection refused"));

    compareOnlyBox(bench.dialogs, QStringLiteral("Network Error Detected: Connection refused"),
                   "Vantrel Communications Manager");
    QCOMPARE(int(bench.session.LinkState), 0);
    QCOMPARE(bench.tcp->closes, 1);
    QCOMPARE(bench.main.Connect.text(), QLatin1String("Connect"));
    QVERIFY(controlsWith(bench.session, true).contains(Selection));
}

void TestConnection::socketErrorBoxComesFirst()
{
    ConsoleBench bench;
    bench.run(true);
    bench.dialogs.holdAnswers = true;
    bench.tcp->fail(QStringLiteral("gone"));
    QCOMPARE(bench.dialogs.heldCount(), 1);
    QCOMPARE(bench.main.Connect.text(), QLatin1String("Disconnect"));
    QVERIFY(bench.main.USBReset.isEnabled());

    bench.dialogs.answerHeld(Answer::Ok);
    QCOMPARE(bench.main.Connect.text(), QLatin1String("Connect"));
    QVERIFY(!bench.main.USBReset.isEnabled());
    QCOMPARE(int(bench.session.LinkState), 0);
}

void TestConnection::connectAgainAfterASocketError()
{
    ConsoleBench bench;
    bench.run(true);
    bench.tcp->fail(QStringLiteral("gone"));
    bench.run(true);
    QCOMPARE(int(bench.session.LinkState), 3);
    QCOMPARE(bench.tcp->opened.size(), 2);
    QCOMPARE(bench.dialogs.messages.size(), 1);
}

void TestConnection::vanishedPortShowsNothing()
{
    ConsoleBench bench;
    bench.run();
    bench.serial->vanish();
    bench.tick(50);
    QCOMPARE(bench.dialogs.messages.size(), 0);
    QCOMPARE(int(bench.session.LinkState), 2);
    QCOMPARE(bench.main.Connect.text(), QLatin1String("Disconnect"));
}

void TestConnection::automode_data()
{
    QTest::addColumn<bool>("checked");
    QTest::addColumn<QByteArray>("written");
    QTest::addColumn<int>("boxes");

    QTest::newRow("on") << true << "1b53 07 00 01 1b45"_hex << 0;
    QTest::newRow("off") << false << "1b53 07 00 00 1b45"_hex << 1;
}

void TestConnection::automode()
{
    QFETCH(bool, checked);
    QFETCH(QByteArray, written);
    QFETCH(int, boxes);

    ConsoleBench bench;
    bench.run();
    bench.main.Automode.adoptChecked(checked);
    bench.console.automodeClicked();
    QCOMPARE(bench.serial->written, QList<QByteArray>{written});
    QCOMPARE(bench.dialogs.messages.size(), boxes);
    if (boxes > 0)
        compareOnlyBox(bench.dialogs, QStringLiteral("You Have DISABLED Automatic Mode"),
                       "Vantrel - Warning");
    QCOMPARE(bench.main.Automode.isChecked(), checked);
}

void TestConnection::automodeOffIsSentBeforeTheWarning()
{
    ConsoleBench bench;
    bench.run();
    QByteArray writtenByThen;
    bench.dialogs.onMessage = [&] { writtenByThen = bench.serial->writtenBytes(); };
    bench.main.Automode.adoptChecked(false);
    bench.console.automodeClicked();
    QCOMPARE(writtenByThen, "1b53 07 00 00 1b45"_hex);
}

void TestConnection::shutDownEndsWaits()
{
    ConsoleBench bench;
    bench.run();
    std::optional<bool> answered;
    [](VornCommands &commands, std::optional<bool> &result) -> QCoro::Task<> {
        commands.SendFlashScriptInfoQuery(0);
        result = co_await commands.WaitFlashResponse();
    }(bench.console.commands(), answered);
    QVERIFY(!answered);
    bench.console.shutDown();
    QCOMPARE(answered, std::optional(false));
    QVERIFY(!bench.serial->isConnected());
    bench.console.shutDown();
}

VANTREL_TEST(TestConnection)
#include "tst_connection.moc"
