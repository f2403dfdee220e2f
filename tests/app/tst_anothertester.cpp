// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/MaintenanceBench.h"
#include "app/ScriptBench.h"
#include "simulator/FtdiDevice.h"
#include "support/Hex.h"
#include "support/TestProgram.h"

using namespace vantrel;
using namespace vantrel::test;

namespace {

const QString Refusal = QStringLiteral("Vantrel - Illegal Operation: ");

/// A console that is connected to one tester, and another tester on a socket of its own.
struct TwoTestersBench : MaintenanceBench<>
{
    explicit TwoTestersBench(const simulator::Settings &settings = simulator::Settings::vorn2())
        : other(simulator::makeDefaultTester(settings)), otherEnd(*other)
    {
        if (!otherEnd.listen())
            qFatal("no free port on loopback");
    }

    bool connectToTheOther()
    {
        console.connectClicked();
        selectNetwork(QString::fromLatin1(Loopback), otherEnd.port());
        const bool connected = connectConsole();
        dialogs.messages.clear();
        other->clearCommandsSeen();
        return connected;
    }
    /// The only box is the refusal, and the other tester received no command of this code.
    bool isRefused(quint8 code)
    {
        second(); // what was written has arrived with the replies to the poll
        if (!onlyMessage().startsWith(Refusal))
            return false;
        const QList<QByteArray> seen = other->commandsSeen();
        return std::none_of(seen.begin(), seen.end(), [code](const QByteArray &command) {
            return command.startsWith(static_cast<char>(code));
        });
    }

    std::unique_ptr<simulator::Tester> other;
    simulator::TcpEnd otherEnd;
};

} // namespace

/// What was read from one tester or chosen for it does not reach another.
class tst_anothertester : public QObject
{
    Q_OBJECT

private slots:
    void networkSettings();
    void networkSettingsAfterAReconnect();
    void firmware();
    void firmwareAfterAReconnect();
    void eepromImage();
    void eepromOfAnotherAddress();
    void scriptLoadedForTheFlash();
    void fileChosenOverALostConnection();
    void stepsOfARunAfterAReconnect();
    void restartInMidRun();
};

void tst_anothertester::networkSettings()
{
    TwoTestersBench bench;
    bench.tools.network.opened();
    QVERIFY(!bench.tools.network.controls().btUpdate.isEnabled());
    QVERIFY(turnsUntil([&] { return bench.tools.network.controls().btUpdate.isEnabled(); }));
    QVERIFY(bench.connectToTheOther());
    bench.tools.network.updateClicked();
    QVERIFY(bench.isRefused(0x35));
    QCOMPARE(bench.closings, 0);

    bench.tools.network.closed();
    bench.tools.network.opened(); // the settings of this tester
    QVERIFY(turnsUntil([&] { return bench.tools.network.controls().btUpdate.isEnabled(); }));
    bench.tools.network.updateClicked();
    QVERIFY(bench.hears("\r\nWriting Tester Configuration Memory"));
}

void tst_anothertester::networkSettingsAfterAReconnect()
{
    TwoTestersBench bench;
    bench.tools.network.opened();
    QVERIFY(turnsUntil([&] { return bench.tools.network.controls().btUpdate.isEnabled(); }));
    bench.console.connectClicked();
    QVERIFY(bench.connectConsole());
    bench.tester->clearCommandsSeen();
    bench.tools.network.updateClicked();
    bench.second();
    QVERIFY(bench.onlyMessage().startsWith(Refusal));
    for (const QByteArray &command : bench.tester->commandsSeen())
        QVERIFY(!command.startsWith('\x35'));
}

void tst_anothertester::firmware()
{
    TwoTestersBench bench(simulator::Settings::vorn1());
    FirmwareLoader &loader = bench.tools.loader;
    loader.opened();
    bench.dialogs.paths = {bench.file("new.bin", "NV" + QByteArray(200'000, 'x'))};
    loader.fileSelectClicked();
    QVERIFY(loader.controls().btProgram.isEnabled());
    QVERIFY(bench.connectToTheOther());
    loader.programClicked();
    QVERIFY(bench.isRefused(0x32));
    QVERIFY(!bench.session().ScriptBusy);
    QVERIFY(loader.controls().fileselect.isEnabled());
}

void tst_anothertester::firmwareAfterAReconnect()
{
    TwoTestersBench bench;
    FirmwareLoader &loader = bench.tools.loader;
    loader.opened();
    bench.dialogs.paths = {bench.file("new.bin", "NV" + QByteArray(5000, 'x'))};
    loader.fileSelectClicked();
    bench.console.connectClicked();
    QVERIFY(bench.connectConsole());
    loader.programClicked();
    QVERIFY(bench.onlyMessage().startsWith(Refusal));
    QVERIFY(!bench.session().ScriptBusy);

    bench.dialogs.paths = {bench.file("new.bin", "NV" + QByteArray(5000, 'x'))};
    loader.fileSelectClicked();
    loader.programClicked();
    QVERIFY(bench.hears("\r\nStarting Firmware Download"));
    loader.closed();
}

void tst_anothertester::eepromImage()
{
    TwoTestersBench bench;
    bench.plugIn<simulator::FtdiDevice>("ftdi-plain");
    FtdiUtility &ftdi = bench.tools.ftdi;
    ftdi.opened();
    ftdi.controls().DevAddr.adoptText(QStringLiteral("0x0A"));
    ftdi.readClicked();
    QVERIFY(turnsUntil([&] { return ftdi.controls().btProgram.isEnabled(); }));
    QVERIFY(bench.dialogs.messages.isEmpty());
    QVERIFY(bench.connectToTheOther());

    bench.dialogs.answers = {Answer::No};
    ftdi.programClicked();
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QVERIFY(bench.dialogs.messages[0].noIsDefault);
    QVERIFY(bench.dialogs.messages.takeFirst().text.startsWith(
        QLatin1String("The EEPROM was read from another device address")));
    bench.second();
    for (const QByteArray &command : bench.other->commandsSeen())
        QVERIFY(!command.startsWith('\x01'));
}

void tst_anothertester::eepromOfAnotherAddress()
{
    TwoTestersBench bench;
    bench.plugIn<simulator::FtdiDevice>("ftdi-plain");
    FtdiUtility &ftdi = bench.tools.ftdi;
    ftdi.opened();
    ftdi.controls().DevAddr.adoptText(QStringLiteral("0x0A"));
    ftdi.readClicked();
    QVERIFY(turnsUntil([&] { return ftdi.controls().btProgram.isEnabled(); }));
    ftdi.controls().DevAddr.adoptText(QStringLiteral("0x08"));
    bench.dialogs.answers = {Answer::No};
    ftdi.programClicked();
    QCOMPARE(bench.dialogs.messages.size(), 1);

    bench.dialogs.messages.clear();
    ftdi.controls().DevAddr.adoptText(QStringLiteral("0x0A")); // the device that was read
    ftdi.programClicked();
    QVERIFY(turnsUntil([&] { return ftdi.controls().btProgram.isEnabled(); }));
    QCOMPARE(bench.onlyMessage(), QStringLiteral("0 boxes"));
}

void tst_anothertester::scriptLoadedForTheFlash()
{
    TwoTestersBench bench;
    FlashScripts &flash = bench.console.flash();
    flash.opened();
    QVERIFY(turnsUntil([&] { return flash.controls().Burn.isEnabled(); }));
    bench.dialogs.paths = {example("suspend-and-resume")};
    flash.burnClicked();
    QVERIFY(turnsUntil([&] { return flash.controls().BtnProgram.isVisible(); }));
    QVERIFY(bench.connectToTheOther());
    flash.programClicked();
    QVERIFY(bench.isRefused(0x31));
    flash.closed();
}

void tst_anothertester::fileChosenOverALostConnection()
{
    TwoTestersBench bench;
    bench.dialogs.onChoice = [&] { bench.console.connectClicked(); }; // disconnects
    bench.dialogs.paths = {example("suspend-and-resume")};
    bench.console.scriptLoadClicked();
    QVERIFY(bench.main().Window.isEnabled());
    QVERIFY(bench.commandLineSeen("The connection has ended: no script was sent"));
    QCOMPARE(bench.session().waits.pendingCount(), 0);
    QVERIFY(!bench.main().ScriptRun.isEnabled());
}

/// The run goes on in the tester; what it reports is decoded, and not counted as steps stored.
void tst_anothertester::stepsOfARunAfterAReconnect()
{
    TwoTestersBench bench;
    bench.console.scriptRunClicked();
    QCOMPARE(bench.main().ScriptIdx.text(), QStringLiteral("Running"));
    bench.console.connectClicked();
    QCOMPARE(bench.main().ScriptIdx.text(), QStringLiteral("Running"));
    QCOMPARE(bench.main().ScriptRun.text(), QStringLiteral("Run"));
    QVERIFY(bench.connectConsole());
    bench.session().RespText.clear();
    emit bench.tester->bytesReady("1b53 a0 00 07 83 1b45"_hex);
    QVERIFY(bench.sees("*** Script Response -- Index:  7\r\n"));
    QVERIFY(bench.commandLineSeen("\r\nSuspending"));
}

void tst_anothertester::restartInMidRun()
{
    TwoTestersBench bench;
    bench.console.scriptRunClicked();
    QCOMPARE(bench.main().ScriptRun.text(), QStringLiteral("Stop"));
    QVERIFY(bench.session().ScriptBusy);
    emit bench.tester->bytesReady("1b53 8f 02 03 0c 00 40 1b45"_hex);
    QVERIFY(turnsUntil([&] { return bench.main().ScriptRun.text() == QLatin1String("Run"); }));
    QVERIFY(!bench.session().ScriptBusy);
    QVERIFY(bench.main().ScriptLoad.isEnabled());
}

VANTREL_TEST(tst_anothertester)
#include "tst_anothertester.moc"
