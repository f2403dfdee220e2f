// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/FtdiBench.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// A field, by what makes it leave.
struct Field
{
    Control FtdiControls::*box;
    bool (FtdiUtility::*left)();
};

const Field Address{&FtdiControls::DevAddr, &FtdiUtility::devAddrLeft};
const Field Vid{&FtdiControls::tbVID, &FtdiUtility::vidLeft};
const Field Pid{&FtdiControls::tbPID, &FtdiUtility::pidLeft};
const Field Major{&FtdiControls::tbMajRev, &FtdiUtility::majRevLeft};
const Field Minor{&FtdiControls::tbMinRev, &FtdiUtility::minRevLeft};
const Field Power{&FtdiControls::tbMaxPower, &FtdiUtility::maxPowerLeft};
const Field Mfr{&FtdiControls::tbMfr, &FtdiUtility::mfrLeft};
const Field Product{&FtdiControls::tbProduct, &FtdiUtility::productLeft};
const Field Serial{&FtdiControls::tbSerial, &FtdiUtility::serialLeft};

} // namespace

/// What becomes of the fields as they are left, and of the check boxes.
class TestFtdiFields : public QObject
{
    Q_OBJECT

private slots:
    void checkBoxes();
    void numbersLeft_data();
    void numbersLeft();
    void numbersOverflow_data();
    void numbersOverflow();
    void maxPower_data();
    void maxPower();
    void textsLeft();
    void textsRefused_data();
    void textsRefused();
    void fieldsOfAClosedWindow();
};

void TestFtdiFields::checkBoxes()
{
    FtdiBench bench;
    FtdiControls &controls = bench.controls;
    const auto attributes = [&] { return int{bench.ftdi.image().byte(8)}; };
    const auto options = [&] { return int{bench.ftdi.image().byte(10)}; };
    QCOMPARE(attributes(), 0xA0);
    bench.tickBox(controls.cbSelfPower, true, &FtdiUtility::selfPowerClicked);
    QCOMPARE(attributes(), 0xE0);
    bench.tickBox(controls.cbRemoteWake, false, &FtdiUtility::remoteWakeClicked);
    QCOMPARE(attributes(), 0xC0);
    bench.tickBox(controls.cbSelfPower, false, &FtdiUtility::selfPowerClicked);
    QCOMPARE(attributes(), 0x80);
    bench.tickBox(controls.cbRemoteWake, true, &FtdiUtility::remoteWakeClicked);
    QCOMPARE(attributes(), 0xA0);

    QCOMPARE(options(), 0x18);
    bench.tickBox(controls.cbSerial, false, &FtdiUtility::serialClicked);
    QCOMPARE(options(), 0x10);
    QVERIFY(!controls.tbSerial.isEnabled());
    QVERIFY(!controls.lblSerial.isEnabled());
    bench.tickBox(controls.cbSerial, true, &FtdiUtility::serialClicked);
    QCOMPARE(options(), 0x18);
    QVERIFY(controls.tbSerial.isEnabled());
    QVERIFY(controls.lblSerial.isEnabled());
}

void TestFtdiFields::numbersLeft_data()
{
    QTest::addColumn<Field>("field");
    QTest::addColumn<QString>("entered");
    QTest::addColumn<QString>("shown");

    QTest::newRow("address") << Address << "0x1a"
                             << "0x1A";
    QTest::newRow("address, decimal") << Address << "16"
                                      << "0x10";
    QTest::newRow("address, largest") << Address << "127"
                                      << "0x7F";
    QTest::newRow("address, above") << Address << "128"
                                    << "0x7F";
    QTest::newRow("address, empty") << Address << ""
                                    << "0x00";
    QTest::newRow("address, below") << Address << "-1"
                                    << "0x00";
    QTest::newRow("address, far below") << Address << "-32769"
                                        << "0x00";
    QTest::newRow("VID, hexadecimal") << Vid << "0x10c4"
                                      << "0x10C4";
    QTest::newRow("VID, above") << Vid << "70000"
                                << "0xFFFF";
    QTest::newRow("VID, largest") << Vid << "65535"
                                  << "0xFFFF";
    QTest::newRow("VID, decimal") << Vid << " 1027 "
                                  << "0x0403";
    QTest::newRow("VID, no number") << Vid << "abc"
                                    << "0x0000";
    QTest::newRow("VID, below") << Vid << "-1"
                                << "0x0000";
    QTest::newRow("PID, below") << Pid << "-1"
                                << "0x0000";
    QTest::newRow("PID") << Pid << "0X6001"
                         << "0x6001";
    QTest::newRow("PID, above") << Pid << "0x10000"
                                << "0xFFFF";
    QTest::newRow("major") << Major << "6"
                           << "6";
    QTest::newRow("major, above") << Major << "256"
                                  << "255";
    QTest::newRow("major, below stays") << Major << "-1"
                                        << "-1";
    QTest::newRow("major, hexadecimal") << Major << "0x10"
                                        << "16";
    QTest::newRow("major, empty") << Major << ""
                                  << "0";
    QTest::newRow("minor") << Minor << "12"
                           << "12";
    QTest::newRow("minor, above") << Minor << "1000"
                                  << "255";
    QTest::newRow("minor, below") << Minor << "-1"
                                  << "0";
    QTest::newRow("minor, half to even") << Minor << "2.5"
                                         << "2";
}

void TestFtdiFields::numbersLeft()
{
    QFETCH(Field, field);
    QFETCH(QString, entered);
    FtdiBench bench;
    Control &box = bench.controls.*field.box;
    box.adoptText(entered);
    QVERIFY((bench.ftdi.*field.left)());
    QTEST(box.text(), "shown");
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.ftdi.image(), FtdiEeprom()); // the text only
}

void TestFtdiFields::numbersOverflow_data()
{
    QTest::addColumn<Field>("field");
    QTest::addColumn<QString>("entered");

    QTest::newRow("address, beyond 32 bits") << Address << "0x80000000";
    QTest::newRow("address, below 32 bits") << Address << "-2147483649";
    QTest::newRow("VID") << Vid << "1e10";
    QTest::newRow("PID, once -1") << Pid << "0xFFFFFFFF";
    QTest::newRow("major") << Major << "3000000000";
    QTest::newRow("minor") << Minor << "-3000000000";
    QTest::newRow("power") << Power << "1e12";
}

void TestFtdiFields::numbersOverflow()
{
    QFETCH(Field, field);
    QFETCH(QString, entered);
    FtdiBench bench;
    Control &box = bench.controls.*field.box;
    box.adoptText(entered);
    QVERIFY(!(bench.ftdi.*field.left)());
    QCOMPARE(bench.onlyError(), QStringLiteral("Overflow"));
    QCOMPARE(box.text(), entered);
    QCOMPARE(bench.ftdi.image(), FtdiEeprom());
}

void TestFtdiFields::maxPower_data()
{
    QTest::addColumn<QString>("entered");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<int>("byte");

    QTest::newRow("even") << "90"
                          << "90" << 45;
    QTest::newRow("odd") << "101"
                         << "100" << 50;
    QTest::newRow("below") << "-3"
                           << "0" << 0;
    QTest::newRow("above") << "900"
                           << "500" << 250;
    QTest::newRow("largest") << "500"
                             << "500" << 250;
    QTest::newRow("just above") << "501"
                                << "500" << 250;
    QTest::newRow("one") << "1"
                         << "0" << 0;
    QTest::newRow("half to even") << "2.5"
                                  << "2" << 1;
    QTest::newRow("empty") << ""
                           << "0" << 0;
    QTest::newRow("decimal only") << "0x64"
                                  << "0" << 0;
}

void TestFtdiFields::maxPower()
{
    QFETCH(QString, entered);
    FtdiBench bench;
    bench.controls.tbMaxPower.adoptText(entered);
    bench.ftdi.maxPowerLeft();
    QTEST(bench.controls.tbMaxPower.text(), "shown");
    QTEST(int{bench.ftdi.image().byte(9)}, "byte");
}

void TestFtdiFields::textsLeft()
{
    FtdiBench bench;
    bench.enter(bench.controls.tbMfr, "Caf\u00E9 \u00FF");
    QVERIFY(bench.ftdi.mfrLeft());
    QCOMPARE(bench.controls.tbMfr.text(), QStringLiteral("Caf\u00E9 \u00FF"));
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestFtdiFields::textsRefused_data()
{
    QTest::addColumn<Field>("field");
    QTest::addColumn<QString>("entered");
    QTest::addColumn<QString>("character");

    QTest::newRow("just beyond") << Mfr << QStringLiteral("x\u0100y") << QStringLiteral("\u0100");
    QTest::newRow("euro") << Product << QStringLiteral("\u20AC\u0100") << QStringLiteral("\u20AC");
    QTest::newRow("beyond 16 bits")
        << Serial << QStringLiteral("a\U0001F600") << QStringLiteral("\U0001F600");
}

void TestFtdiFields::textsRefused()
{
    QFETCH(Field, field);
    QFETCH(QString, entered);
    QFETCH(QString, character);
    FtdiBench bench;
    bench.readAll(realEeprom());
    Control &box = bench.controls.*field.box;
    const QString asRead = box.text();
    box.adoptText(entered);
    QVERIFY(!(bench.ftdi.*field.left)());
    QCOMPARE(bench.onlyMessage(),
             QStringLiteral("Strings hold one byte a character: \"%1\" cannot be stored")
                 .arg(character));
    QCOMPARE(box.text(), asRead);

    bench.enter(box, "taken");
    (bench.ftdi.*field.left)();
    box.adoptText(entered);
    QVERIFY(!(bench.ftdi.*field.left)());
    QCOMPARE(box.text(), QStringLiteral("taken"));
}

void TestFtdiFields::fieldsOfAClosedWindow()
{
    FtdiBench bench;
    bench.enter(bench.controls.tbMfr, "\u20AC");
    bench.enter(bench.controls.tbVID, "1e10");
    bench.ftdi.closed();
    bench.ftdi.mfrLeft();
    bench.ftdi.vidLeft();
    QVERIFY(bench.dialogs.messages.isEmpty());
}

VANTREL_TEST(TestFtdiFields)
#include "tst_ftdifields.moc"
