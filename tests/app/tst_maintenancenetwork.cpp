// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/MaintenanceBench.h"
#include "maintenance/RealEeprom.h"
#include "simulator/FtdiDevice.h"
#include "support/Hex.h"
#include "support/TestProgram.h"

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// The record that every simulated tester comes with: 192.0.2.10, gateway .1, mask /24.
const QByteArray Shipped = "c000020a c0000201 ffffff00 02564f524e02"_hex;

struct RecordBench : MaintenanceBench<>
{
    bool open()
    {
        tools.network.opened();
        return turnsUntil([this] { return !controls.tbIP[0].text().isEmpty(); });
    }
    bool update()
    {
        tools.network.updateClicked();
        return hears("\r\nWriting Tester Configuration Memory");
    }
    QString shown()
    {
        QStringList all;
        for (int i = 0; i < NetworkRecord::Size; ++i)
            all.append(controls.box(i).text());
        return all.join(QLatin1Char(' '));
    }
    QByteArray kept() { return *tester->state().configMemory.read(0x0010, 18); }

    NetworkControls &controls = tools.network.controls();
};

} // namespace

/// The tester's network settings, read and written over the link; and two tools at work at once.
class tst_maintenancenetwork : public QObject
{
    Q_OBJECT

private slots:
    void readChangedReadAgain();
    void macIsWritten();
    void silentTester();
    void besideAnEepromRead();
};

void tst_maintenancenetwork::readChangedReadAgain()
{
    RecordBench bench;
    QVERIFY(bench.open());
    QCOMPARE(bench.shown(), QStringLiteral("192 0 2 10 192 0 2 1 255 255 255 0 02 56 4F 52 4E 02"));
    bench.controls.tbIP[3].adoptText(QStringLiteral("300"));
    bench.tools.network.ipLeft(3);
    bench.controls.tbGWIP[3].adoptText(QStringLiteral("27")); // an ESC on the line
    bench.tools.network.gatewayLeft(3);
    bench.controls.tbMask[3].adoptText(QStringLiteral("128"));
    bench.tester->clearCommandsSeen();
    QVERIFY(bench.update());
    QCOMPARE(bench.closings, 1);
    QVERIFY(bench.tester->commandsSeen().contains(
        "35 0010 c00002ff c000021b ffffff80 02564f524e02"_hex));

    QVERIFY(bench.open());
    QCOMPARE(bench.shown(),
             QStringLiteral("192 0 2 255 192 0 2 27 255 255 255 128 02 56 4F 52 4E 02"));
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_maintenancenetwork::macIsWritten()
{
    RecordBench bench;
    QVERIFY(bench.open());
    bench.dialogs.answers = {Answer::Yes};
    bench.controls.cbMACEnbl.adoptChecked(true);
    bench.tools.network.macEnableClicked();
    QVERIFY(bench.controls.tbMAC[5].isEnabled());
    bench.controls.tbMAC[5].adoptText(QStringLiteral("1B"));
    QVERIFY(bench.update());
    QCOMPARE(bench.kept(), Shipped.first(17) + "1b"_hex);
}

void tst_maintenancenetwork::silentTester()
{
    RecordBench bench;
    bench.tester->faults().silence.all = true;
    bench.tools.network.opened();
    bench.tick(19);
    QVERIFY(bench.dialogs.messages.isEmpty());
    bench.tick();
    QCOMPARE(bench.onlyMessage(),
             QStringLiteral("Read Configuration: "
                            "Failed to Read Configuration Information from Tester"));
    QCOMPARE(bench.shown(), QString(17, QLatin1Char(' ')));
}

/// Each gets its own answers, and neither waits for the other's end.
void tst_maintenancenetwork::besideAnEepromRead()
{
    RecordBench bench;
    bench.plugIn<simulator::FtdiDevice>("ftdi");
    FtdiUtility &ftdi = bench.tools.ftdi;
    ftdi.opened();
    ftdi.controls().DevAddr.adoptText(QStringLiteral("7"));
    ftdi.readClicked();
    QVERIFY(turnsUntil([&] { return ftdi.controls().WordProgress.progress().done >= 3; }));
    QVERIFY(bench.open());
    QVERIFY(!ftdi.controls().btRead.isEnabled()); // still reading
    QVERIFY(turnsUntil([&] { return ftdi.controls().btRead.isEnabled(); }));
    QCOMPARE(ftdi.image().bytes(), realEeprom());
    QCOMPARE(bench.shown(), QStringLiteral("192 0 2 10 192 0 2 1 255 255 255 0 02 56 4F 52 4E 02"));
    QVERIFY(bench.dialogs.messages.isEmpty());
}

VANTREL_TEST(tst_maintenancenetwork)
#include "tst_maintenancenetwork.moc"
