// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/NetworkBench.h"
#include "support/Hex.h"
#include "support/TestProgram.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

class tst_network : public QObject
{
    Q_OBJECT

private slots:
    void identifiesTheTester_data();
    void identifiesTheTester();
    void pollsStatusAndCurrent();
    void silenceIsFollowedByProbing();
    void answersBringItBack();
    void oneByteFragments();
    void packetsInOneRead();
    void droppedInsideAPacket();
    void refusedConnection();
    void closedByTheTester();
    void noHostName();
    void disconnectAndConnectAgain();
    void floodLosesNothing();
};

void tst_network::identifiesTheTester_data()
{
    QTest::addColumn<int>("model");
    QTest::addColumn<bool>("bootstrap");
    QTest::addColumn<QString>("line");
    QTest::addColumn<int>("state");

    QTest::newRow("Vorn 1") << 1 << false
                            << "** Vorn 1 Firmware Revision  2 . 17\r\n     32K RAM\r\n"
                            << 3;
    QTest::newRow("Vorn 2") << 2 << false
                            << "** Vorn 2 Firmware Revision  3 . 12\r\n     64K RAM\r\n"
                            << 3;
    QTest::newRow("Vorn 2 bootstrap")
        << 2 << true << "** Vorn 2 Bootstrap  3 . 12\r\n     64K RAM\r\n"
        << 4;
}

void tst_network::identifiesTheTester()
{
    QFETCH(int, model);
    QFETCH(bool, bootstrap);
    QFETCH(QString, line);
    QFETCH(int, state);

    auto settings = model == 1 ? simulator::Settings::vorn1() : simulator::Settings::vorn2();
    settings.bootstrap = bootstrap;
    NetworkBench bench(settings);
    QVERIFY(bench.connectConsole());

    QCOMPARE(int(bench.session().LinkState), state);
    QCOMPARE(int{bench.session().TesterModel}, model);
    QVERIFY(bench.main().CmdWin.text().startsWith(
        QLatin1String("\r\nInitializing Communications...\r\nConnecting...")));
    QVERIFY2(bench.main().CmdWin.text().contains(line), qPrintable(bench.main().CmdWin.text()));
    QCOMPARE(bench.main().Connect.text(), QStringLiteral("Disconnect"));
    QVERIFY(bench.main().USBReset.isEnabled());
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_network::pollsStatusAndCurrent()
{
    NetworkBench bench;
    QVERIFY(bench.connectConsole());
    bench.second();
    QTRY_COMPARE(bench.main().power.text(), QStringLiteral("On"));
    QTRY_VERIFY(bench.main().CurrWin.text().endsWith(QLatin1String(" mA")));
    QCOMPARE(bench.main().vornstate.text(), QStringLiteral("Active"));
    QTRY_VERIFY(bench.session().StatusSeen);

    bench.console.act([&] { bench.console.ports().suspendClicked(); });
    bench.second();
    QTRY_COMPARE(bench.main().vornstate.text(), QStringLiteral("Suspended"));
    QVERIFY(bench.main().USBResume.isEnabled());
    QVERIFY(!bench.main().Suspend.isEnabled());
}

void tst_network::silenceIsFollowedByProbing()
{
    NetworkBench bench;
    QVERIFY(bench.connectConsole());
    bench.second();
    QTRY_VERIFY(bench.session().StatusSeen);

    bench.tester->faults().silence.all = true;
    QCOMPARE(bench.commandLineCount("Connecting..."), 1);
    bench.second(); // polls, and hears nothing
    bench.second(); // notices
    QCOMPARE(bench.commandLineCount("Connecting..."), 2);
    QCOMPARE(bench.session().LinkState, LinkStates::Probing);
    bench.second();
    QCOMPARE(bench.commandLineCount("Connecting..."), 2);
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_network::answersBringItBack()
{
    NetworkBench bench;
    QVERIFY(bench.connectConsole());
    bench.tester->faults().silence.all = true;
    bench.session().StatusSeen = false;
    bench.second();
    QCOMPARE(bench.session().LinkState, LinkStates::Probing);

    bench.tester->faults().silence.all = false;
    bench.second();
    QTRY_COMPARE(bench.session().LinkState, LinkStates::Running);
    QCOMPARE(bench.commandLineCount("** Vorn 2 Firmware Revision  3 . 12"), 2);
}

void tst_network::oneByteFragments()
{
    NetworkBench bench;
    bench.tester->faults().fragment = 1;
    QVERIFY(bench.connectConsole());
    bench.tester->reportData(0x02, 0x81, "001b531b451b1bff"_hex);
    QTRY_VERIFY2(bench.responses().contains("*** Data --  Address: 0x02   EndPoint: 0x81\r\n "
                                            "00 1B 53 1B 45 1B 1B FF \r\n"),
                 bench.responses());
}

void tst_network::packetsInOneRead()
{
    NetworkBench bench;
    QVERIFY(bench.connectConsole());
    bench.tester->sendRaw("1b53 88 1b45 1b53 83 1b45 41 1b53 9601 1b45"_hex);
    QTRY_VERIFY(bench.commandLineSeen("\r\nExecuting USB Reset\r\nSuspending"));
    QVERIFY(bench.responses().contains("*** Trigger Input Channel 1\r\n"));
}

void tst_network::droppedInsideAPacket()
{
    NetworkBench bench;
    QVERIFY(bench.connectConsole());
    const QByteArray before = bench.responses();

    bench.tester->faults().dropAfter = 6; // ESC S A8 01 02 03, and gone
    bench.tester->reportMessage("0102030405"_hex);
    QTRY_COMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("Vantrel Communications Manager"));
    QVERIFY(bench.dialogs.messages[0].text.startsWith(QLatin1String("Network Error Detected: ")));
    QCOMPARE(bench.session().LinkState, LinkStates::Closed);
    QCOMPARE(bench.main().Connect.text(), QStringLiteral("Connect"));
    QVERIFY(bench.main().CommE.isEnabled());
    QCOMPARE(bench.responses(), before);

    // The rest of that packet never comes: the next packet begins anew, and nothing else is lost.
    QVERIFY(bench.connectConsole());
    bench.tester->reportMessage("77"_hex);
    QTRY_VERIFY(bench.responses().contains("*** Message -- \r\n 77 \r\n"));
}

void tst_network::refusedConnection()
{
    quint16 deadPort = 0;
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        deadPort = server.serverPort();
    }
    Bench bench;
    bench.selectNetwork(QString::fromLatin1(NetworkBench::Loopback), deadPort);
    bench.console.connectClicked();
    QCOMPARE(bench.session().LinkState, LinkStates::Opened);
    QTRY_COMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text,
             QStringLiteral("Network Error Detected: Connection refused"));
    QCOMPARE(bench.session().LinkState, LinkStates::Closed);
    QCOMPARE(bench.main().Connect.text(), QStringLiteral("Connect"));
}

void tst_network::closedByTheTester()
{
    NetworkBench bench;
    QVERIFY(bench.connectConsole());
    bench.tester->reportMessage("55"_hex);
    bench.end.dropConnection();
    QTRY_COMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text,
             QStringLiteral("Network Error Detected: The remote host closed the connection"));
    QVERIFY2(bench.responses().endsWith("*** Message -- \r\n 55 \r\n"), bench.responses());
    QVERIFY(!bench.main().VoltEnable.isEnabled());
}

void tst_network::noHostName()
{
    Bench bench;
    bench.selectNetwork({}, 7);
    bench.console.connectClicked();
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Error Opening Communications Port"));
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("Vantrel - Error"));
    QCOMPARE(bench.session().LinkState, LinkStates::Closed);
    QCOMPARE(bench.main().Connect.text(), QStringLiteral("Connect"));
    QVERIFY(bench.main().cbNWName.isEnabled());
}

void tst_network::disconnectAndConnectAgain()
{
    NetworkBench bench;
    QVERIFY(bench.connectConsole());
    bench.console.connectClicked();
    QCOMPARE(bench.session().LinkState, LinkStates::Closed);
    QTRY_VERIFY(!bench.end.isConsoleConnected());
    QVERIFY(bench.connectConsole());
    QCOMPARE(bench.commandLineCount("** Vorn 2 Firmware Revision  3 . 12"), 2);
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_network::floodLosesNothing()
{
    constexpr int Reports = 100'000;
    const QString logPath = QStringLiteral("/flood.log");

    NetworkBench bench;
    QVERIFY(bench.connectConsole());
    QTRY_VERIFY(bench.responses().contains("Product ID: 0x0166")); // the set-up is done
    bench.console.log().start(bench.directory.path() + logPath);

    QByteArray expected;
    for (int i = 0; i < Reports; ++i) {
        const QByteArray counter = QByteArray::number(i + 1'000'000); // seven digits each
        bench.tester->reportData(0x02, 0x81, counter);
        expected += "*** Data --  Address: 0x02   EndPoint: 0x81\r\n " +
                    counter.toHex(' ').toUpper() + " \r\n";
    }
    const QByteArray last = expected.last(80);
    QTRY_VERIFY_WITH_TIMEOUT(bench.responses().endsWith(last), 60'000);
    bench.console.fileCloseClicked();

    QFile log(bench.directory.path() + logPath);
    QVERIFY(log.open(QIODevice::ReadOnly));
    const QByteArray lines = log.readAll();
    const qsizetype start = lines.indexOf("*** Data");
    const qsizetype end = lines.lastIndexOf("\r\n%%%%%\r\n%% Log File Ended");
    QVERIFY(start >= 0 && end > start);
    QVERIFY(lines.sliced(start, end - start) == expected);
}

VANTREL_TEST(tst_network)
#include "tst_network.moc"
