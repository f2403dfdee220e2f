// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/MaintenanceBench.h"
#include "app/SerialBench.h"
#include "support/TestProgram.h"

using namespace vantrel;
using namespace vantrel::test;

namespace {

constexpr int PauseTicks = 50;
constexpr int BaudOfTester = 38400;

/// 10,000 bytes for the model, ESC bytes among them, that call themselves by this revision.
QByteArray image(int model, char major, char minor)
{
    QByteArray bytes(10'000, '\x1B');
    if (model == 1)
        bytes.replace(6, 2, QByteArray("\x04\0", 2));
    else
        bytes.replace(0, 2, "NV");
    bytes[8] = major;
    bytes[9] = minor;
    return bytes;
}

template <typename Base>
struct FirmwareBench : MaintenanceBench<Base>
{
    using MaintenanceBench<Base>::MaintenanceBench;

    /// Sends the image and waits until the tester has been told to program it.
    bool download(const QByteArray &bytes, FirmwareLoader &loader)
    {
        loader.opened();
        this->dialogs.paths = {this->file("new.bin", bytes)};
        loader.fileSelectClicked();
        this->tester->clearCommandsSeen();
        loader.programClicked();
        return turnsUntil([this] {
            const QList<QByteArray> seen = this->tester->commandsSeen();
            return !seen.isEmpty() && seen.last().startsWith('\x34');
        });
    }
    bool download(const QByteArray &bytes) { return download(bytes, this->tools.loader); }

    /// The pause, as time goes by on both sides.
    bool pause()
    {
        for (int i = 0; i < PauseTicks; ++i) {
            this->tick();
            QCoreApplication::processEvents();
        }
        return this->sees("Reinitializing Communications...") && !this->session().ScriptBusy;
    }

    /// The console looks for its tester again.
    bool answeredAgain()
    {
        if (!turnsUntil([this] { return this->console.link().isConnected(); }))
            return false;
        this->second();
        return turnsUntil([this] { return this->session().LinkState >= LinkStates::Running; });
    }
};

using OverTcp = FirmwareBench<NetworkBench>;
using OverSerial = FirmwareBench<SerialBench>;

simulator::Settings settingsOf(int model)
{
    return model == 1 ? simulator::Settings::vorn1() : simulator::Settings::vorn2();
}

} // namespace

/// A tester that is given new firmware, over both kinds of link.
class tst_maintenancefirmware : public QObject
{
    Q_OBJECT

private slots:
    void overTcp_data();
    void overTcp();
    void overSerial_data();
    void overSerial();
    void packets();
    void wrongCheckValue();
    void imageOfAnotherModel();
    void corruptImage();
    void runningScript();
    void closedInThePause();
};

void tst_maintenancefirmware::overTcp_data()
{
    QTest::addColumn<int>("model");
    QTest::addColumn<QString>("line");
    QTest::newRow("Vorn 2") << 2 << "** Vorn 2 Firmware Revision  3 . 13\r\n";
    QTest::newRow("Vorn 1") << 1 << "** Vorn 1 Firmware Revision  3 . 13\r\n";
}

void tst_maintenancefirmware::overTcp()
{
    QFETCH(int, model);
    QFETCH(QString, line);
    OverTcp bench(settingsOf(model));
    const QByteArray firmware = image(model, 3, 13);
    QVERIFY(bench.download(firmware));
    QVERIFY(bench.hears("\r\nStarting Firmware Download\r\nLoading Firmware 00001000"
                        "\r\nLoading Firmware 00002000\r\nLoading Firmware 00002710"
                        "\r\nProgramming Firmware"));
    bench.tick(20);
    QVERIFY(turnsUntil([&] { return !bench.console.link().isConnected(); })); // it restarts
    QVERIFY(bench.session().ScriptBusy);
    QCOMPARE(bench.closings, 0);
    bench.tick(29);
    QCOMPARE(bench.closings, 0);
    bench.tick();
    QCOMPARE(bench.closings, 1);
    QVERIFY(bench.sees("Reinitializing Communications...\r\n"));
    QVERIFY(bench.answeredAgain());
    QVERIFY2(bench.main().CmdWin.text().contains(line), qPrintable(bench.main().CmdWin.text()));
    QCOMPARE(int(bench.session().LinkState), 3);
    QCOMPARE(bench.tester->state().firmware.programmed(), firmware);
    QCOMPARE(bench.main().Connect.text(), QStringLiteral("Disconnect"));
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_maintenancefirmware::overSerial_data()
{
    overTcp_data();
}

void tst_maintenancefirmware::overSerial()
{
    QFETCH(int, model);
    QFETCH(QString, line);
    OverSerial bench(BaudOfTester, settingsOf(model));
    const QByteArray firmware = image(model, 3, 13);
    QVERIFY(bench.download(firmware));
    QVERIFY(bench.hears("\r\nLoading Firmware 00002710\r\nProgramming Firmware"));
    QVERIFY(bench.pause());
    QVERIFY(bench.console.link().isConnected()); // the line stays open
    QCOMPARE(int(bench.session().LinkState), 1);
    QCOMPARE(bench.stepsToAnswer(1), 1); // at the rate that it was found at
    QVERIFY2(bench.main().CmdWin.text().contains(line), qPrintable(bench.main().CmdWin.text()));
    QCOMPARE(bench.tester->state().firmware.programmed(), firmware);
    QVERIFY(bench.dialogs.messages.isEmpty());
}

/// What reaches the tester, without the frames.
void tst_maintenancefirmware::packets()
{
    OverTcp bench;
    const QByteArray firmware = image(2, 3, 13);
    QVERIFY(bench.download(firmware));
    const QList<QByteArray> seen = bench.tester->commandsSeen();
    QCOMPARE(seen.size(), 5);
    QCOMPARE(seen[0], QByteArray("\x32\x00\x00\x27\x10", 5));
    QCOMPARE(seen[1], "\x33" + firmware.first(4096));
    QCOMPARE(seen[2], "\x33" + firmware.sliced(4096, 4096));
    QCOMPARE(seen[3], "\x33" + firmware.last(1808));
    QCOMPARE(seen[4].size(), 5);
}

/// The tester's own check value is another than that of a library which lies beside the program.
void tst_maintenancefirmware::wrongCheckValue()
{
    OverTcp bench;
    FirmwareLoader loader(bench.session(), bench.console.link(), bench.console.commands(),
                          bench.dialogs, bench.console.errors(),
                          QStringLiteral(CRC_LIBRARIES "/underscore"));
    QVERIFY(bench.download(image(2, 3, 13), loader));
    QVERIFY(bench.sees("*** Command Error"));
    QVERIFY(bench.pause());
    QVERIFY(bench.answeredAgain());
    QCOMPARE(bench.commandLineCount("** Vorn 2 Firmware Revision  3 . 12"), 2);
    QCOMPARE(bench.commandLineCount("Programming Firmware"), 0);
    QVERIFY(bench.tester->state().firmware.programmed().isEmpty());
    QVERIFY(bench.dialogs.messages.isEmpty());
}

/// The button stays enabled by the image chosen before; the image is checked again.
void tst_maintenancefirmware::imageOfAnotherModel()
{
    OverTcp bench;
    bench.tools.loader.opened();
    bench.dialogs.paths = {bench.file("good.bin", image(2, 3, 13)),
                           bench.file("other.bin", image(1, 3, 13))};
    bench.tools.loader.fileSelectClicked();
    bench.tools.loader.fileSelectClicked();
    QCOMPARE(bench.onlyMessage(), QStringLiteral("Vantrel: Selected File is Not a Firmware Image"));
    bench.tools.loader.programClicked();
    QCOMPARE(bench.onlyMessage(), QStringLiteral("Vantrel: Selected File is Not a Firmware Image"));
    QVERIFY(!bench.session().ScriptBusy);
    QVERIFY(bench.tester->state().firmware.programmed().isEmpty());
}

/// The tester stays in its boot loader, which takes another image.
void tst_maintenancefirmware::corruptImage()
{
    OverTcp bench;
    bench.tester->faults().firmwareCorrupts = true;
    QVERIFY(bench.download(image(2, 3, 13)));
    QVERIFY(bench.pause());
    QVERIFY(bench.answeredAgain());
    QCOMPARE(int(bench.session().LinkState), 4);
    QVERIFY(bench.commandLineSeen("** Vorn 2 Bootstrap  3 . 12"));
    QVERIFY(bench.main().mnuUtilFW.isEnabled());

    bench.tester->faults().firmwareCorrupts = false;
    QVERIFY(bench.download(image(2, 3, 14)));
    QVERIFY(bench.pause());
    QVERIFY(bench.answeredAgain());
    QCOMPARE(int(bench.session().LinkState), 3);
    QVERIFY(bench.commandLineSeen("** Vorn 2 Firmware Revision  3 . 14"));
    QVERIFY(bench.dialogs.messages.isEmpty());
}

/// The restart ends a script, and nobody reports that.
void tst_maintenancefirmware::runningScript()
{
    OverTcp bench;
    bench.console.commands().SendScriptDownloadStart();
    bench.console.commands().SendScriptDownloadEnd();
    bench.console.scriptRunClicked();
    QCOMPARE(bench.main().ScriptRun.text(), QStringLiteral("Stop"));
    bench.tester->faults().silence.all = true; // the run's own end is lost
    QVERIFY(turnsUntil([&] { return bench.tester->commandsSeen().contains("\x0D"); }));
    bench.tick();
    bench.tester->faults().silence.all = false;
    QVERIFY(bench.download(image(2, 3, 13)));
    QVERIFY(bench.pause());
    QCOMPARE(bench.main().ScriptRun.text(), QStringLiteral("Run"));
    QVERIFY(bench.answeredAgain());
    QVERIFY(bench.main().ScriptLoad.isEnabled());
}

/// The console looks for the tester at once, and too early: the restart takes that connection too,
/// which is reported like any other loss.
void tst_maintenancefirmware::closedInThePause()
{
    OverTcp bench;
    QVERIFY(bench.download(image(2, 3, 13)));
    QVERIFY(bench.hears("Programming Firmware"));
    bench.tools.loader.closed();
    QVERIFY(bench.sees("Reinitializing Communications...\r\n"));
    QVERIFY(turnsUntil([&] { return bench.console.link().isConnected(); }));
    QCoreApplication::processEvents(); // the tester's side of it
    bench.tick(20);
    QVERIFY(turnsUntil([&] { return bench.session().LinkState == LinkStates::Closed; }));
    QCOMPARE(bench.onlyMessage(),
             QStringLiteral("Vantrel Communications Manager: "
                            "Network Error Detected: The remote host closed the connection"));
    bench.tick(20);
    QVERIFY(bench.connectConsole());
    QCOMPARE(bench.session().FirmwareMinor, qint16{13});
}

VANTREL_TEST(tst_maintenancefirmware)
#include "tst_maintenancefirmware.moc"
