// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/NetworkBench.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

/// What becomes of the boxes as they are edited and left.
class TestNetworkBoxes : public QObject
{
    Q_OBJECT

private slots:
    void octets_data();
    void octets();
    void octetOverflows_data();
    void octetOverflows();
    void macBytes_data();
    void macBytes();
    void macOverflow();
    void fieldsOfAClosedWindow();
    void hintFollows();
    void hintOfHalfANumber();
    void hintBlocksNothing();
};

void TestNetworkBoxes::octets_data()
{
    QTest::addColumn<QString>("entered");
    QTest::addColumn<QString>("shown");

    QTest::newRow("in range") << "17"
                              << "17";
    QTest::newRow("too large") << "300"
                               << "255";
    QTest::newRow("negative") << "-4"
                              << "0";
    QTest::newRow("no number") << "abc"
                               << "0";
    QTest::newRow("empty") << ""
                           << "0";
    QTest::newRow("leading number") << "12abc"
                                    << "12";
    QTest::newRow("blanks") << " 42 "
                            << "42";
    QTest::newRow("zeros in front") << "007"
                                    << "7";
    QTest::newRow("half to even, down") << "2.5"
                                        << "2";
    QTest::newRow("half to even, up") << "3.5"
                                      << "4";
    QTest::newRow("largest 16-bit number") << "32767"
                                           << "255";
    QTest::newRow("smallest 16-bit number") << "-32768"
                                            << "0";
}

void TestNetworkBoxes::octets()
{
    QFETCH(QString, entered);
    NetworkBench bench;
    bench.open();
    bench.enter(bench.controls.tbIP[2], entered);
    QVERIFY(bench.config.ipLeft(2));
    QTEST(bench.controls.tbIP[2].text(), "shown");
    bench.enter(bench.controls.tbGWIP[3], entered);
    QVERIFY(bench.config.gatewayLeft(3));
    QTEST(bench.controls.tbGWIP[3].text(), "shown");
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestNetworkBoxes::octetOverflows_data()
{
    QTest::addColumn<QString>("entered");

    QTest::newRow("beyond 16 bits") << "32768";
    QTest::newRow("70000") << "70000";
    QTest::newRow("negative, beyond 16 bits") << "-32769";
    QTest::newRow("beyond 32 bits") << "1e12";
}

void TestNetworkBoxes::octetOverflows()
{
    QFETCH(QString, entered);
    NetworkBench bench;
    bench.open();
    bench.enter(bench.controls.tbGWIP[0], entered);
    QVERIFY(!bench.config.gatewayLeft(0));
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Overflow"));
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("Vantrel - Error"));
    QCOMPARE(bench.controls.tbGWIP[0].text(), entered);
}

void TestNetworkBoxes::macBytes_data()
{
    QTest::addColumn<QString>("entered");
    QTest::addColumn<QString>("shown");

    QTest::newRow("other characters are skipped") << "1G"
                                                  << "01";
    QTest::newRow("too large") << "FFF"
                               << "FF";
    QTest::newRow("small letters") << "a5"
                                   << "A5";
    QTest::newRow("one digit") << "7"
                               << "07";
    QTest::newRow("empty") << ""
                           << "00";
    QTest::newRow("largest 32-bit number") << "7FFFFFFF"
                                           << "FF";
}

void TestNetworkBoxes::macBytes()
{
    QFETCH(QString, entered);
    NetworkBench bench;
    bench.open();
    bench.enter(bench.controls.tbMAC[5], entered);
    QVERIFY(bench.config.macLeft(5));
    QTEST(bench.controls.tbMAC[5].text(), "shown");
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestNetworkBoxes::macOverflow()
{
    NetworkBench bench;
    bench.open();
    bench.enter(bench.controls.tbMAC[0], QStringLiteral("80000000"));
    QVERIFY(!bench.config.macLeft(0));
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Overflow"));
}

void TestNetworkBoxes::fieldsOfAClosedWindow()
{
    NetworkBench bench;
    bench.open();
    bench.enter(bench.controls.tbIP[0], QStringLiteral("70000"));
    bench.config.closed();
    QVERIFY(bench.config.ipLeft(0));
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestNetworkBoxes::hintFollows()
{
    NetworkBench bench;
    bench.open();
    QCOMPARE(bench.hint(), QString());
    bench.enter(bench.controls.tbGWIP[2], QStringLiteral("2"));
    QCOMPARE(bench.hint(), QStringLiteral("The gateway is outside the tester's subnet"));
    bench.enter(bench.controls.tbMask[2], QStringLiteral("0"));
    QCOMPARE(bench.hint(), QString());

    bench.enter(bench.controls.tbIP[0], QStringLiteral("-4"));
    bench.config.ipLeft(0); // 0.168.1.10
    QCOMPARE(bench.hint(), QStringLiteral("The gateway is outside the tester's subnet"));
}

void TestNetworkBoxes::hintOfHalfANumber()
{
    NetworkBench bench;
    bench.open();
    const QString range =
        QStringLiteral("Each part of an address is 0 to 255, of the MAC address 00 to FF");
    bench.enter(bench.controls.tbMask[0], QStringLiteral("2555"));
    QCOMPARE(bench.hint(), range);
    bench.enter(bench.controls.tbMask[0], QStringLiteral("255"));
    QCOMPARE(bench.hint(), QString());
    bench.enter(bench.controls.tbIP[3], QStringLiteral("300"));
    QCOMPARE(bench.hint(), range);
    bench.config.ipLeft(3); // 255
    QCOMPARE(bench.hint(),
             QStringLiteral("The tester's address is the broadcast address of its subnet"));
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestNetworkBoxes::hintBlocksNothing()
{
    NetworkBench bench;
    bench.open();
    bench.enter(bench.controls.tbMAC[0], QStringLiteral("01"));
    QCOMPARE(bench.hint(),
             QStringLiteral("The MAC address is that of a group: its first byte must be even"));
    bench.config.updateClicked();
    QCOMPARE(bench.serial->takeWritten(),
             "1b53 35 0010 c0a8010a c0a80101 ffffff00 01a2c3d4e5f6 1b45"_hex);
}

VANTREL_TEST(TestNetworkBoxes)
#include "tst_networkboxes.moc"
