// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/SerialBench.h"
#include "support/Hex.h"
#include "support/TestProgram.h"
#include "support/Turns.h"

using namespace vantrel;
using namespace vantrel::test;

namespace {
constexpr int OneSecond = 1000; // ms
} // namespace

class tst_serial : public QObject
{
    Q_OBJECT

private slots:
    void findsTheRate_data();
    void findsTheRate();
    void nextConnectStartsAtTheRateFound();
    void missingDevice();
    void silenceMovesOn();
    void pulledAdapterComesBack();
    void droppedConnectionComesBack();
    void reconnectListsDevices_data();
    void reconnectListsDevices();
    void stuffedBytesBothWays();
};

void tst_serial::findsTheRate_data()
{
    QTest::addColumn<int>("baud");
    QTest::addColumn<int>("probe");
    QTest::newRow("19200") << 19200 << 1;
    QTest::newRow("38400") << 38400 << 2;
    QTest::newRow("57600") << 57600 << 3;
    QTest::newRow("115200") << 115200 << 4;
}

void tst_serial::findsTheRate()
{
    QFETCH(int, baud);
    QFETCH(int, probe);
    SerialBench bench(baud);
    bench.console.connectClicked();
    QCOMPARE(bench.session().LinkState, LinkStates::Opened);
    QCOMPARE(bench.stepsToAnswer(5), probe);
    QCOMPARE(bench.session().LinkState, LinkStates::Running);
    QVERIFY(bench.commandLineSeen("** Vorn 1 Firmware Revision  2 . 17"));
    QCOMPARE(bench.commandLineCount("Connecting..."), 1);
}

void tst_serial::nextConnectStartsAtTheRateFound()
{
    SerialBench bench(57600);
    bench.console.connectClicked();
    QCOMPARE(bench.stepsToAnswer(5), 3);
    bench.console.connectClicked();
    QCOMPARE(bench.session().LinkState, LinkStates::Closed);
    bench.console.connectClicked();
    QCOMPARE(bench.stepsToAnswer(5), 1);
}

void tst_serial::missingDevice()
{
    Bench bench;
    bench.console.link().setSerialDevice(1, bench.directory.filePath(QStringLiteral("nothing")));
    bench.console.connectClicked();
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Error Opening Communications Port"));
    QCOMPARE(bench.session().LinkState, LinkStates::Closed);
    QVERIFY(bench.main().Comm1.isEnabled());
    QCOMPARE(bench.main().Connect.text(), QStringLiteral("Connect"));
}

void tst_serial::silenceMovesOn()
{
    SerialBench bench(19200);
    bench.console.connectClicked();
    QCOMPARE(bench.stepsToAnswer(1), 1);
    bench.tester->faults().silence.all = true;
    bench.session().StatusSeen = false;
    bench.second();
    QCOMPARE(bench.commandLineCount("Connecting..."), 2);
    bench.second(); // probes at 38400
    QCOMPARE(bench.console.link().lineSettings(), QByteArray(" 38400,n,8,1"));
    bench.tester->faults().silence.all = false;
    QCOMPARE(bench.stepsToAnswer(5), 3); // 57600, 115200, 19200
}

void tst_serial::pulledAdapterComesBack()
{
    SerialBench bench(19200);
    bench.console.connectClicked();
    QCOMPARE(bench.stepsToAnswer(1), 1);

    bench.end.unplug();
    QVERIFY(turnsUntil([&] { return !bench.console.link().isConnected(); }, OneSecond));
    bench.second(); // asks for the status in vain
    bench.second();
    QCOMPARE(bench.session().LinkState, LinkStates::Probing);
    QCOMPARE(bench.commandLineCount("Connecting..."), 2);
    const QString paneBefore = bench.main().CmdWin.text();
    bench.second();
    bench.second();
    QCOMPARE(bench.main().CmdWin.text(), paneBefore); // probing in vain, without a word
    QVERIFY(bench.dialogs.messages.isEmpty());
    QVERIFY(!bench.commandLineSeen("has been lost")); // nothing was under way

    QVERIFY(bench.end.plug());
    bench.second();
    QVERIFY(bench.console.link().isConnected());
    QVERIFY(turnsUntil([&] { return bench.end.isConsoleConnected(); }, OneSecond));
    QVERIFY(bench.stepsToAnswer(4) > 0); // at the rate that the tester has
    QVERIFY(bench.dialogs.messages.isEmpty());
    bench.second();
    QTRY_COMPARE(bench.main().power.text(), QStringLiteral("On"));
}

/// The device and its symbolic link are back by themselves.
void tst_serial::droppedConnectionComesBack()
{
    SerialBench bench(19200);
    bench.console.connectClicked();
    QCOMPARE(bench.stepsToAnswer(1), 1);
    bench.tester->dropConnection();
    QVERIFY(turnsUntil([&] { return !bench.console.link().isConnected(); }, OneSecond));
    QTRY_VERIFY(bench.end.isPlugged());
    bench.second();
    bench.second();
    QCOMPARE(bench.session().LinkState, LinkStates::Probing);
    bench.second();
    QVERIFY(bench.console.link().isConnected());
    QVERIFY(turnsUntil([&] { return bench.end.isConsoleConnected(); }, OneSecond));
    QVERIFY(bench.stepsToAnswer(4) > 0);
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_serial::reconnectListsDevices_data()
{
    QTest::addColumn<bool>("byUser");
    QTest::newRow("Disconnect and Connect") << true;
    QTest::newRow("after a silence") << false;
}

/// The tester has been in automatic mode all the time.
void tst_serial::reconnectListsDevices()
{
    QFETCH(bool, byUser);
    SerialBench bench(19200);
    bench.console.connectClicked();
    QCOMPARE(bench.stepsToAnswer(1), 1);
    QTRY_VERIFY(bench.responses().contains("Product ID: 0x0166"));
    bench.session().RespText.clear();
    if (byUser) {
        bench.console.connectClicked();
        bench.console.connectClicked();
    } else {
        bench.session().LinkState = LinkStates::Opened; // as after a restart of the tester
    }
    QCOMPARE(bench.stepsToAnswer(1), 1);
    QTRY_COMPARE(bench.responses().count("*** Connect "), 2);
    QVERIFY(bench.responses().contains("Product ID: 0x0166"));
    QVERIFY(bench.tester->state().automaticMode.isOn());
}

void tst_serial::stuffedBytesBothWays()
{
    SerialBench bench(19200);
    bench.console.connectClicked();
    QCOMPARE(bench.stepsToAnswer(1), 1);

    QByteArray block = "1b 80 06 1b00 1b1b 1b00"_hex;
    bench.console.commands().SendDeviceRequest(block);
    QTRY_VERIFY(bench.tester->commandsSeen().contains("01 1b 80 06 1b00 1b1b 1b00"_hex));
    bench.tester->reportMessage("1b 11 13 0a 0d 7f 04 03 1b"_hex);
    QTRY_VERIFY(bench.responses().contains("*** Message -- \r\n 1B 11 13 0A 0D 7F 04 03 1B \r\n"));
}

VANTREL_TEST(tst_serial)
#include "tst_serial.moc"
