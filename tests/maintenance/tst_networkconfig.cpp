// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/NetworkBench.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

const QByteArray Request = "1b53 36 0010 0012 1b45"_hex;

} // namespace

class TestNetworkConfig : public QObject
{
    Q_OBJECT

private slots:
    void boxesAreTheRecord();
    void openingReads();
    void recordIsShown();
    void shortAnswers_data();
    void shortAnswers();
    void longAnswer();
    void noAnswer();
    void withoutConnection();
    void openingAgain();
    void closedWhileReading();
    void linkLostWhileReading();
    void programClosesWhileReading();
    void answerAfterClosing();

    void macConfirmed();
    void macRefused();
    void macDisabledAgain();
    void closedOverTheQuestion();

    void updateWritesBack();
    void updateWritesWhatWasEntered();
    void updateAfterAFailedRead();
    void updateDoublesEscapes();
    void updateOverflows_data();
    void updateOverflows();
    void cancel();
};

void TestNetworkConfig::boxesAreTheRecord()
{
    NetworkControls controls;
    QCOMPARE(&controls.box(0), &controls.tbIP[0]);
    QCOMPARE(&controls.box(3), &controls.tbIP[3]);
    QCOMPARE(&controls.box(4), &controls.tbGWIP[0]);
    QCOMPARE(&controls.box(8), &controls.tbMask[0]);
    QCOMPARE(&controls.box(12), &controls.tbMAC[0]);
    QCOMPARE(&controls.box(17), &controls.tbMAC[5]);
}

void TestNetworkConfig::openingReads()
{
    NetworkBench bench;
    bench.config.opened();
    QCOMPARE(bench.serial->takeWritten(), Request);
    QVERIFY(!bench.controls.cbMACEnbl.isChecked());
    QVERIFY(!bench.macEnabled());
    QCOMPARE(bench.texts().count(QString()), 18);
    QCOMPARE(bench.hint(), QString());
}

void TestNetworkConfig::recordIsShown()
{
    NetworkBench bench;
    bench.open();
    QCOMPARE(bench.joined(), QStringLiteral("192 168 1 10 192 168 1 1 255 255 255 0 "
                                            "00 A2 C3 D4 E5 F6"));
    QVERIFY(bench.dialogs.messages.isEmpty());
    QVERIFY(!bench.macEnabled());
    bench.tick(30);
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestNetworkConfig::shortAnswers_data()
{
    QTest::addColumn<QByteArray>("record");
    QTest::addColumn<QString>("texts");

    QTest::newRow("nothing") << QByteArray() << QString(17, QLatin1Char(' '));
    QTest::newRow("one byte") << "c0"_hex << QStringLiteral("192") + QString(17, QLatin1Char(' '));
    QTest::newRow("addresses only") << "c0a8010a c0a80101 ffffff00"_hex
                                    << "192 168 1 10 192 168 1 1 255 255 255 0      ";
    QTest::newRow("all but the last") << "c0a8010a c0a80101 ffffff00 00a2c3d4e5"_hex
                                      << "192 168 1 10 192 168 1 1 255 255 255 0 00 A2 C3 D4 E5 ";
}

void TestNetworkConfig::shortAnswers()
{
    QFETCH(QByteArray, record);
    NetworkBench bench;
    bench.open(record);
    QTEST(bench.joined(), "texts");
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestNetworkConfig::longAnswer()
{
    NetworkBench bench;
    bench.open(NetworkBench::Record + "0102030405"_hex);
    QCOMPARE(bench.controls.tbMAC[5].text(), QStringLiteral("F6"));
    QCOMPARE(bench.hint(), QString());
}

void TestNetworkConfig::noAnswer()
{
    NetworkBench bench;
    bench.config.opened();
    bench.tick(19);
    QVERIFY(bench.dialogs.messages.isEmpty());
    bench.tick();
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text,
             QStringLiteral("Failed to Read Configuration Information from Tester"));
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("Read Configuration"));
    QCOMPARE(bench.dialogs.messages[0].buttons, Message::Buttons::Ok);
    QCOMPARE(bench.texts().count(QString()), 18);
    QCOMPARE(bench.closes.count(), 0);

    bench.answer("b6"_hex + NetworkBench::Record); // too late
    QCOMPARE(bench.texts().count(QString()), 18);
}

void TestNetworkConfig::withoutConnection()
{
    ConsoleBench bench;
    NetworkConfig config(bench.session, bench.console.commands(), bench.dialogs,
                         bench.console.errors());
    config.opened();
    QVERIFY(
        bench.main.CmdWin.text().endsWith(QLatin1String("\r\nNot connected: nothing was sent")));
    bench.tick(20);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("Read Configuration"));
}

void TestNetworkConfig::openingAgain()
{
    NetworkBench bench;
    bench.open();
    bench.controls.cbMACEnbl.adoptChecked(true);
    bench.dialogs.answers = {Answer::Yes};
    bench.config.macEnableClicked();
    bench.config.closed();
    bench.config.opened();
    QCOMPARE(bench.serial->takeWritten(), Request);
    QCOMPARE(bench.texts().count(QString()), 18);
    QVERIFY(!bench.controls.cbMACEnbl.isChecked());
    QVERIFY(!bench.macEnabled());
    bench.answer("b6"_hex + NetworkBench::Record);
    QCOMPARE(bench.controls.tbIP[0].text(), QStringLiteral("192"));
}

void TestNetworkConfig::closedWhileReading()
{
    NetworkBench bench;
    bench.config.opened();
    bench.tick(5);
    bench.config.closed();
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    bench.tick(30);
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestNetworkConfig::linkLostWhileReading()
{
    NetworkBench bench;
    bench.config.opened();
    bench.console.connectClicked(); // disconnects
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    bench.tick(30);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text,
             QStringLiteral("Failed to Read Configuration Information from Tester"));
    QCOMPARE(bench.texts().count(QString()), 18);
}

void TestNetworkConfig::programClosesWhileReading()
{
    NetworkBench bench;
    bench.config.opened();
    bench.console.shutDown();
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestNetworkConfig::answerAfterClosing()
{
    NetworkBench bench;
    bench.config.opened();
    bench.config.closed();
    bench.answer("b6"_hex + NetworkBench::Record);
    QCOMPARE(bench.texts().count(QString()), 18);
}

void TestNetworkConfig::macConfirmed()
{
    NetworkBench bench;
    bench.open();
    bench.dialogs.answers = {Answer::Yes};
    bench.controls.cbMACEnbl.adoptChecked(true);
    bench.config.macEnableClicked();
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text,
             QStringLiteral("Changing the MAC Address could result in conflicts on the network\r\n"
                            "Are you sure you want to enable MAC address modification?"));
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("Enable MAC Address Modification"));
    QCOMPARE(bench.dialogs.messages[0].buttons, Message::Buttons::YesNo);
    QVERIFY(bench.macEnabled());
    QVERIFY(bench.controls.cbMACEnbl.isChecked());
}

void TestNetworkConfig::macRefused()
{
    NetworkBench bench;
    bench.open();
    bench.dialogs.answers = {Answer::No};
    bench.controls.cbMACEnbl.adoptChecked(true);
    bench.config.macEnableClicked();
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QVERIFY(!bench.macEnabled());
    QVERIFY(!bench.controls.cbMACEnbl.isChecked());
}

void TestNetworkConfig::macDisabledAgain()
{
    NetworkBench bench;
    bench.open();
    bench.dialogs.answers = {Answer::Yes};
    bench.controls.cbMACEnbl.adoptChecked(true);
    bench.config.macEnableClicked();
    bench.controls.cbMACEnbl.adoptChecked(false);
    bench.config.macEnableClicked();
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QVERIFY(!bench.macEnabled());
}

void TestNetworkConfig::closedOverTheQuestion()
{
    NetworkBench bench;
    bench.open();
    bench.dialogs.holdAnswers = true;
    bench.controls.cbMACEnbl.adoptChecked(true);
    bench.config.macEnableClicked();
    bench.config.closed();
    bench.open();
    bench.dialogs.answerHeld(Answer::Yes);
    QVERIFY(!bench.macEnabled());
    QVERIFY(!bench.controls.cbMACEnbl.isChecked());
}

void TestNetworkConfig::updateWritesBack()
{
    NetworkBench bench;
    bench.open();
    bench.config.updateClicked();
    QCOMPARE(bench.serial->takeWritten(),
             "1b53 35 0010 c0a8010a c0a80101 ffffff00 00a2c3d4e5f6 1b45"_hex);
    QCOMPARE(bench.closes.count(), 1);
    QVERIFY(bench.dialogs.messages.isEmpty());

    bench.answer("b5"_hex);
    QVERIFY(bench.main.CmdWin.text().endsWith(
        QLatin1String("\r\nWriting Tester Configuration Memory")));
}

void TestNetworkConfig::updateWritesWhatWasEntered()
{
    NetworkBench bench;
    bench.open();
    const QStringList entered = {QStringLiteral("10"),
                                 QStringLiteral(" 0 "),
                                 QStringLiteral("1x"),
                                 QStringLiteral("2.5"),
                                 QStringLiteral("10"),
                                 QStringLiteral("0"),
                                 QString(),
                                 QStringLiteral("1"),
                                 QStringLiteral("255.4"),
                                 QStringLiteral("0"),
                                 QStringLiteral("-0"),
                                 QStringLiteral("abc"),
                                 QStringLiteral("2"),
                                 QStringLiteral("1G"),
                                 QStringLiteral("ff"),
                                 QString(),
                                 QStringLiteral("0x7"),
                                 QStringLiteral("A B")};
    for (int i = 0; i < NetworkRecord::Size; ++i)
        bench.controls.box(i).adoptText(entered[i]);
    bench.config.updateClicked();
    QCOMPARE(bench.serial->takeWritten(),
             "1b53 35 0010 0a000102 0a000001 ff000000 0201ff0007ab 1b45"_hex);
}

void TestNetworkConfig::updateAfterAFailedRead()
{
    NetworkBench bench;
    bench.config.opened();
    bench.tick(20);
    bench.serial->takeWritten();
    bench.config.updateClicked();
    QCOMPARE(bench.serial->takeWritten(),
             "1b53 35 0010 00000000 00000000 00000000 000000000000 1b45"_hex);
    QCOMPARE(bench.closes.count(), 1);
}

void TestNetworkConfig::updateDoublesEscapes()
{
    NetworkBench bench;
    bench.open("1b1b1b1b"_hex +
               NetworkBench::Record.sliced(2)); // the answer's own ESC bytes come as pairs
    QCOMPARE(bench.controls.tbIP[1].text(), QStringLiteral("27"));
    bench.enter(bench.controls.tbMAC[0], QStringLiteral("1B"));
    bench.config.updateClicked();
    QVERIFY(bench.serial->takeWritten().startsWith("1b53 35 0010 1b1b 1b1b"_hex));
}

void TestNetworkConfig::updateOverflows_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("text");

    QTest::newRow("mask above 255") << 8 << "256";
    QTest::newRow("mask rounds to 256") << 11 << "255.5";
    QTest::newRow("mask below 0") << 9 << "-1";
    QTest::newRow("address never left") << 0 << "300";
    QTest::newRow("gateway never left") << 7 << "-4";
    QTest::newRow("MAC never left") << 17 << "100";
}

void TestNetworkConfig::updateOverflows()
{
    QFETCH(int, index);
    QFETCH(QString, text);
    NetworkBench bench;
    bench.open();
    bench.enter(bench.controls.box(index), text);
    bench.config.updateClicked();
    QCOMPARE(bench.serial->takeWritten(), QByteArray());
    QCOMPARE(bench.closes.count(), 0);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Overflow"));
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("Vantrel - Error"));
}

void TestNetworkConfig::cancel()
{
    NetworkBench bench;
    bench.open();
    bench.config.cancelClicked();
    QCOMPARE(bench.closes.count(), 1);
    QCOMPARE(bench.serial->takeWritten(), QByteArray());
}

VANTREL_TEST(TestNetworkConfig)
#include "tst_networkconfig.moc"
