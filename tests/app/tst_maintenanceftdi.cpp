// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/EepromBench.h"
#include "maintenance/RealEeprom.h"
#include "support/Hex.h"
#include "support/TestProgram.h"

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// realEeprom() with the product "Bench cable": strings from byte 20 on, the tail as it was,
/// signed.
const QByteArray BenchCable = "0040030401600006a03208000002940a"
                              "9e18b6120a0346005400440049001803"
                              "420065006e0063006800200063006100"
                              "62006c00650012034600540047005800"
                              "5300590057004a00690061006c001203"
                              "46005400470058005300590057004a00"
                              "02030000000000000000000000000000"
                              "0000000000000000000000000000f3d6"_hex;

const QString &Title = EepromBench::Title;

} // namespace

/// The EEPROM of a device under test: what the utility, the tester and the device make of it.
class tst_maintenanceftdi : public QObject
{
    Q_OBJECT

private slots:
    void reads();
    void programs();
    void eraseFails();
    void writeFails();
    void readFails();
    void verifyTellsTheDifference();
    void noDevice();
    void lateReply();
    void alwaysLate();
    void disconnectedMeanwhile();
};

void tst_maintenanceftdi::reads()
{
    EepromBench bench;
    QVERIFY(bench.read());
    QCOMPARE(bench.tools.ftdi.image().bytes(), realEeprom());
    QCOMPARE(bench.controls.tbVID.text(), QStringLiteral("0x0403"));
    QCOMPARE(bench.controls.tbPID.text(), QStringLiteral("0x6001"));
    QCOMPARE(bench.controls.tbMajRev.text(), QStringLiteral("6"));
    QCOMPARE(bench.controls.tbMinRev.text(), QStringLiteral("0"));
    QCOMPARE(bench.controls.tbMaxPower.text(), QStringLiteral("100"));
    QCOMPARE(bench.controls.tbMfr.text(), QStringLiteral("FTDI"));
    QCOMPARE(bench.controls.tbProduct.text(), QStringLiteral("UM232R USB <-> Serial"));
    QCOMPARE(bench.controls.tbSerial.text(), QStringLiteral("FTGXSYWJ"));
    QVERIFY(bench.controls.cbSerial.isChecked());
    QVERIFY(bench.dialogs.messages.isEmpty());
    QVERIFY(!bench.responses().contains("*** Device Request")); // replies go to the utility
}

void tst_maintenanceftdi::programs()
{
    EepromBench bench;
    QVERIFY(bench.walk("7").contains(QLatin1String("UM232R USB <-> Serial")));
    QVERIFY(bench.read());
    bench.enterProduct("Bench cable");
    bench.dialogs.answers = {Answer::Yes};
    QVERIFY(bench.program());
    QVERIFY(bench.onlyMessage().contains(QLatin1String("Bytes that will be lost: 20 to 22")));
    QCOMPARE(bench.device.latency(), quint8{0x10});
    QCOMPARE(bench.device.eeprom().toHex(), BenchCable.toHex());
    QCOMPARE(bench.backup(), realEeprom());
    QVERIFY(bench.commandLineSeen("\r\nEEPROM as read saved in "));

    QVERIFY(bench.verify());
    QCOMPARE(bench.onlyMessage(),
             Title + QStringLiteral("All 64 EEPROM words agree with the image"));

    // The device goes on with what it has told the host until the bus is reset.
    QVERIFY(!bench.walk("7").contains(QLatin1String("Bench cable")));
    bench.console.act([&] { bench.console.ports().usbResetClicked(); });
    QVERIFY(bench.hears("Executing USB Reset"));
    const QString report = bench.walk("7");
    QVERIFY2(report.contains(QLatin1String("Bench cable")), qPrintable(report));
    QVERIFY(!report.contains(QLatin1String("UM232R")));
    QVERIFY(report.contains(QLatin1String("FTGXSYWJ")));
}

void tst_maintenanceftdi::eraseFails()
{
    EepromBench bench;
    QVERIFY(bench.read());
    bench.enterProduct("Bench cable");
    bench.keepLayout();
    bench.tester->faults().eepromEraseFails = true;
    QVERIFY(bench.program());
    QCOMPARE(bench.onlyMessage(), Title + QStringLiteral("Error Erasing EEPROM"));
    QCOMPARE(bench.device.eeprom(), realEeprom());
}

/// The words before it have been written, and those behind it have not. Another try heals it.
void tst_maintenanceftdi::writeFails()
{
    EepromBench bench;
    QVERIFY(bench.read());
    bench.enterProduct("Bench cable");
    bench.keepLayout();
    bench.tester->faults().eepromWriteFails = 40;
    QVERIFY(bench.program());
    QCOMPARE(bench.onlyMessage(), Title + QStringLiteral("Error Writing EEPROM word 40"));
    const QByteArray image = bench.tools.ftdi.image().bytes();
    QCOMPARE(bench.device.eeprom(), image.first(80) + QByteArray(48, '\xFF'));

    bench.tester->faults().eepromWriteFails.reset();
    QVERIFY(bench.program());
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.device.eeprom(), image);
}

void tst_maintenanceftdi::readFails()
{
    EepromBench bench;
    bench.tester->faults().eepromReadFails = 5;
    QVERIFY(bench.read());
    QCOMPARE(bench.onlyMessage(), Title + QStringLiteral("Error Reading EEPROM word 5"));
    QCOMPARE(bench.tools.ftdi.image().bytes().first(10), realEeprom().first(10));
    QCOMPARE(bench.controls.tbVID.text(), QString());
}

void tst_maintenanceftdi::verifyTellsTheDifference()
{
    EepromBench bench;
    QVERIFY(bench.read());
    bench.keepLayout();
    bench.controls.cbRemoteWake.adoptChecked(false);
    bench.tools.ftdi.remoteWakeClicked();
    QVERIFY(bench.verify());
    QCOMPARE(bench.onlyMessage(),
             Title +
                 QStringLiteral("EEPROM word 4 is 0x32A0 in the device and 0x3280 in the image"));
    QCOMPARE(bench.device.eeprom(), realEeprom());
}

void tst_maintenanceftdi::noDevice()
{
    EepromBench bench;
    bench.controls.DevAddr.adoptText(QStringLiteral("9"));
    QVERIFY(bench.read());
    QCOMPARE(bench.onlyMessage(), Title + QStringLiteral("Error Reading EEPROM word 0"));
}

/// It is dropped, whether or not anybody waits, and the next answers find their requests.
void tst_maintenanceftdi::lateReply()
{
    EepromBench bench;
    const QByteArray before = bench.responses();
    bench.tester->faults().delay = 1200;
    bench.tools.ftdi.readClicked();
    QVERIFY(turnsUntil([&] { return bench.tester->commandsSeen().last().startsWith('\x01'); }));
    bench.tick(9);
    QVERIFY(bench.dialogs.messages.isEmpty());
    bench.tick();
    QCOMPARE(bench.onlyMessage(), Title + QStringLiteral("Vorn Tester not Responding"));
    QVERIFY(bench.session().FtdiActive);

    bench.tester->faults().delay = 0;
    bench.tick(2);
    QVERIFY(turnsUntil([&] { return !bench.session().FtdiActive; }));
    QCOMPARE(bench.responses(), before);
    QVERIFY(bench.read());
    QCOMPARE(bench.tools.ftdi.image().bytes(), realEeprom());
    QVERIFY(bench.dialogs.messages.isEmpty());
}

/// A tester that always takes longer than the utility waits: its answer to one request is never
/// taken for the answer to the next.
void tst_maintenanceftdi::alwaysLate()
{
    EepromBench bench;
    const auto request = [&bench] {
        bench.tester->clearCommandsSeen();
        bench.tools.ftdi.readClicked();
        return turnsUntil([&] { return !bench.tester->commandsSeen().isEmpty(); });
    };
    bench.tester->faults().delay = 1200;
    QVERIFY(request());
    bench.tick(10);
    QCOMPARE(bench.onlyMessage(), Title + QStringLiteral("Vorn Tester not Responding"));

    bench.tester->clearCommandsSeen();
    bench.tools.ftdi.readClicked(); // waits for the reply to the first request
    QVERIFY(bench.tester->commandsSeen().isEmpty());
    bench.tick(2);                                        // the first is answered
    emit bench.tester->bytesReady("1b53 a8 55 1b45"_hex); // right behind it on the line
    QVERIFY(bench.sees("*** Message -- \r\n 55 \r\n"));
    QVERIFY(!bench.controls.btRead.isEnabled());
    QVERIFY(turnsUntil([&] { return !bench.tester->commandsSeen().isEmpty(); }));
    bench.tick(10);
    QCOMPARE(bench.onlyMessage(), Title + QStringLiteral("Vorn Tester not Responding"));
    QCOMPARE(bench.tools.ftdi.image(), FtdiEeprom());

    bench.tester->faults().delay = 0;
    bench.tick(2); // the second is answered
    QVERIFY(turnsUntil([&] { return !bench.session().FtdiActive; }));
    QVERIFY(bench.read());
    QCOMPARE(bench.tools.ftdi.image().bytes(), realEeprom());
    QVERIFY(bench.dialogs.messages.isEmpty());
}

/// A read ends at once when the user disconnects.
void tst_maintenanceftdi::disconnectedMeanwhile()
{
    EepromBench bench;
    bench.tester->faults().silence.all = true;
    bench.tools.ftdi.readClicked();
    bench.console.connectClicked();
    QVERIFY(bench.controls.btRead.isEnabled());
    QVERIFY(!bench.session().FtdiActive);
    QCOMPARE(bench.onlyMessage(), Title + QStringLiteral("Vorn Tester not Responding"));
    QCOMPARE(bench.session().waits.pendingCount(), 0);
}

VANTREL_TEST(tst_maintenanceftdi)
#include "tst_maintenanceftdi.moc"
