// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/MaintenanceBench.h"
#include "simulator/EzUsbDevice.h"
#include "support/Hex.h"
#include "support/TestProgram.h"

using namespace vantrel;
using namespace vantrel::test;
using simulator::EzUsbDevice;

namespace {

const QByteArray HexFile = ":0300000002010000FA\r\n"
                           ":04010000001B0203DB\r\n"
                           ":00000001FF\r\n";

struct EzUsbBench : MaintenanceBench<>
{
    /// Converts the file with the window's settings and takes the success box away.
    bool convert(const char *address, bool fx2)
    {
        EzUsbControls &controls = tools.converter.controls();
        tools.converter.opened();
        controls.Address.adoptText(QLatin1String(address));
        tools.converter.addressLeft();
        controls.optEZUSB.adoptChecked(!fx2);
        controls.optFX2.adoptChecked(fx2);
        dialogs.paths = {file("blink.fw.hex", HexFile)};
        tools.converter.loadClicked();
        return turnsUntil([this] { return closings == 1; }) &&
               onlyMessage() ==
                   QLatin1String("** Firmware Conversion Complete **: "
                                 "Click RUN in VornScript Window to Load Device Firmware");
    }

    /// Presses Run and lets the script come to its end.
    bool run()
    {
        console.scriptRunClicked();
        return turnsUntil([this] { return session().ScriptBusy; }) && turnsUntil([this] {
                   tester->clock().advance(5);
                   return !session().ScriptBusy;
               });
    }
};

} // namespace

/// Firmware for EZ-USB devices, from the file to the running device.
class tst_maintenanceezusb : public QObject
{
    Q_OBJECT

private slots:
    void loadsTheDevice_data();
    void loadsTheDevice();
    void wrongKindLoadsNothing();
    void consoleGoesOn();
};

void tst_maintenanceezusb::loadsTheDevice_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("address");
    QTest::addColumn<bool>("fx2");
    QTest::addColumn<QByteArray>("waiting");
    QTest::addColumn<QByteArray>("loaded");
    QTest::addColumn<QString>("product");
    QTest::newRow("FX2") << QByteArray("fx2") << QByteArray("8") << true
                         << QByteArray("Product ID: 0x0F20") << QByteArray("Product ID: 0x0F21")
                         << "EZ-USB/FX2 with firmware";
    QTest::newRow("EZ-USB") << QByteArray("ezusb") << QByteArray("9") << false
                            << QByteArray("Product ID: 0x0E20") << QByteArray("Product ID: 0x0E21")
                            << "EZ-USB with firmware";
}

void tst_maintenanceezusb::loadsTheDevice()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, address);
    QFETCH(bool, fx2);
    QFETCH(QByteArray, waiting);
    QFETCH(QByteArray, loaded);
    QFETCH(QString, product);

    EzUsbBench bench;
    auto &device = bench.plugIn<EzUsbDevice>(name.constData());
    QVERIFY(bench.sees(waiting));
    QVERIFY(!bench.walk(address.constData()).contains(product));
    QVERIFY(bench.convert(address.constData(), fx2));
    QCOMPARE(bench.main().ScriptName.text(), QStringLiteral("blink.vn"));
    QCOMPARE(device.ram(), QByteArray(0x10000, '\0')); // stored in the tester, not carried out

    QVERIFY(bench.run());
    QVERIFY(bench.sees(loaded));
    QVERIFY(device.isRunning());
    QCOMPARE(device.ram().left(3), "020100"_hex);
    QCOMPARE(device.ram().mid(0x100, 4), "001b0203"_hex);
    const QString report = bench.walk(address.constData());
    QVERIFY2(report.contains(product), qPrintable(report));
}

/// The other kind's register is no register here: the device's CPU is not held, and what is written
/// under it starts nothing.
void tst_maintenanceezusb::wrongKindLoadsNothing()
{
    EzUsbBench bench;
    auto &device = bench.plugIn<EzUsbDevice>("fx2");
    QVERIFY(bench.convert("8", false));
    QVERIFY(bench.run());
    QCOMPARE(device.ram().left(3), "020100"_hex);
    QVERIFY(!device.isRunning());
    QCOMPARE(device.reconnections(), 0);
    QVERIFY(!bench.walk("8").contains(QLatin1String("with firmware")));
}

/// The link belongs to the script from the conversion to the end of its run, and then to the
/// console again.
void tst_maintenanceezusb::consoleGoesOn()
{
    EzUsbBench bench;
    bench.plugIn<EzUsbDevice>("fx2");
    QVERIFY(bench.convert("8", true));
    bench.tester->clearCommandsSeen();
    bench.tick(30);
    QVERIFY(bench.tester->commandsSeen().isEmpty());
    QVERIFY(bench.run());
    bench.tester->clearCommandsSeen();
    bench.tick(10);
    QVERIFY(turnsUntil([&] { return bench.tester->commandsSeen().contains("0b"_hex); }));
    QCOMPARE(bench.session().LinkState, LinkStates::Running);
    QVERIFY(bench.dialogs.messages.isEmpty());
}

VANTREL_TEST(tst_maintenanceezusb)
#include "tst_maintenanceezusb.moc"
