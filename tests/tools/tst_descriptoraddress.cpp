// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestProgram.h"
#include "tools/ViewerBench.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

/// The field for the device's address, and where the requests go.
class tst_descriptoraddress : public QObject
{
    Q_OBJECT

private slots:
    void escapesAreDoubled();
    void addressIsReadEachTime();
    void addressStaysAsTyped();
    void leavingTheAddress_data();
    void leavingTheAddress();
    void addressIsNoByte_data();
    void addressIsNoByte();
    void addressBreaksInTheMiddle();
};

void tst_descriptoraddress::escapesAreDoubled()
{
    ViewerBench bench;
    bench.controls.DevAddr.adoptText(QStringLiteral("0x1B"));
    bench.start();
    QCOMPARE(bench.sent(), "1b53 01 1b1b 80 06 00 01 00 00 12 00 1b45"_hex.toHex());
    bench.reply(OneConfiguration);
    bench.sent();
    bench.reply(probeAnswer(0x1B));
    QCOMPARE(bench.sent(), "1b53 01 1b1b 80 06 00 02 00 00 1b1b 00 1b45"_hex.toHex());
    QCOMPARE(bench.retrieval.request, "1b 80 06 00 02 00 00 1b 00"_hex);
    bench.reply("09 02 1B 00 01 01 00 80 32"
                "09 04 1B 00 00 FF 00 00 00"
                "09 04 1B 01 00 FF 00 00 00"_hex);
    QVERIFY(bench.report().contains(QLatin1String("===== Interface  27 Descriptor =====")));
    QVERIFY(bench.endedWith("Successful"));
}

void tst_descriptoraddress::addressIsReadEachTime()
{
    ViewerBench bench;
    bench.start();
    bench.sent();
    bench.controls.DevAddr.adoptText(QStringLiteral("3"));
    bench.reply(OneConfiguration);
    QCOMPARE(bench.sent(), framed("01 03 80 06 00 02 00 00 08 00"_hex));
    bench.controls.DevAddr.adoptText(QStringLiteral(" 0xF0 ")); // not left yet, so not clamped
    bench.reply(probeAnswer(9));
    QCOMPARE(bench.sent(), framed("01 F0 80 06 00 02 00 00 09 00"_hex));
}

void tst_descriptoraddress::addressStaysAsTyped()
{
    ViewerBench bench;
    bench.controls.DevAddr.adoptText(QStringLiteral("  5 "));
    bench.start();
    QCOMPARE(bench.sent(), framed("01 05 80 06 00 01 00 00 12 00"_hex));
    QCOMPARE(bench.controls.DevAddr.text(), QStringLiteral("  5 "));
}

void tst_descriptoraddress::leavingTheAddress_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<QString>("error");
    QTest::newRow("hexadecimal") << "0x1f"
                                 << "0x1F"
                                 << "";
    QTest::newRow("decimal") << "31"
                             << "0x1F"
                             << "";
    QTest::newRow("blanks") << "  0X2  "
                            << "0x02"
                            << "";
    QTest::newRow("highest") << "0x7F"
                             << "0x7F"
                             << "";
    QTest::newRow("above") << "0x80"
                           << "0x7F"
                           << "";
    QTest::newRow("far above") << "2147483647"
                               << "0x7F"
                               << "";
    QTest::newRow("empty") << ""
                           << "0x00"
                           << "";
    QTest::newRow("no number") << "abc"
                               << "0x00"
                               << "";
    QTest::newRow("half") << "2.5"
                          << "0x02"
                          << "";
    QTest::newRow("negative") << "-1"
                              << "0x00"
                              << "";
    QTest::newRow("far below") << "-32769"
                               << "0x00"
                               << "";
    QTest::newRow("too low") << "-2147483649"
                             << "-2147483649"
                             << "Overflow";
    QTest::newRow("too large") << "0x80000000"
                               << "0x80000000"
                               << "Overflow";
}

void tst_descriptoraddress::leavingTheAddress()
{
    QFETCH(QString, typed);
    QFETCH(QString, shown);
    QFETCH(QString, error);
    ViewerBench bench;
    bench.controls.DevAddr.adoptText(typed);
    bench.viewer.devAddrLeft();
    QCOMPARE(bench.controls.DevAddr.text(), shown);
    QCOMPARE(bench.dialogs.messages.size(), error.isEmpty() ? 0 : 1);
    if (!error.isEmpty()) {
        QCOMPARE(bench.dialogs.messages[0].text, error);
        QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("Vantrel - Error"));
    }
}

void tst_descriptoraddress::addressIsNoByte_data()
{
    QTest::addColumn<QString>("address");
    QTest::newRow("256") << "256";
    QTest::newRow("negative") << "-1";
    QTest::newRow("no 32-bit number") << "0x80000000";
}

void tst_descriptoraddress::addressIsNoByte()
{
    QFETCH(QString, address);
    ViewerBench bench;
    bench.controls.DevAddr.adoptText(address);
    bench.start();
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Overflow"));
    QCOMPARE(bench.sent(), QByteArray());
    QVERIFY(bench.session.DescActive);
    bench.tick(50);
    QVERIFY(bench.endedWith("Timeout"));
}

void tst_descriptoraddress::addressBreaksInTheMiddle()
{
    ViewerBench bench;
    bench.start();
    bench.sent();
    bench.controls.DevAddr.adoptText(QStringLiteral("999"));
    bench.reply(OneConfiguration);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Overflow"));
    QVERIFY(bench.report().contains(QLatin1String("bNumConfigurations = 0x01\r\n\r\n*** Get")));
    QCOMPARE(bench.sent(), QByteArray());
    QVERIFY(bench.endedWith("Overflow"));
}

VANTREL_TEST(tst_descriptoraddress)
#include "tst_descriptoraddress.moc"
