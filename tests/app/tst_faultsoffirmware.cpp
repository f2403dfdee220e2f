// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/FaultMatrix.h"
#include "simulator/EzUsbDevice.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

constexpr quint8 DeviceRequest = 0x01;
constexpr quint8 FirmwareBlock = 0x33;
constexpr quint8 FirmwareProgram = 0x34;

constexpr int WholeBlock = 4096;
constexpr int LastBlock = 50; // bytes; may be waited for until tick 100
constexpr int RestartTicks = 80;

bool nothingWaits(FaultBench &bench)
{
    return bench.session().waits.pendingCount() == 0;
}

/// 60 records of 16 bytes each, from address 0 on.
QByteArray hexFile()
{
    QByteArray lines;
    for (int i = 0; i < 60; ++i)
        lines += ":10" + QByteArray::number(0x10000 + 16 * i, 16).sliced(1) + "00" +
                 QByteArray(16, static_cast<char>(i + 1)).toHex() + "00\r\n";
    return lines + ":00000001FF\r\n";
}

Operation loadingEzUsb()
{
    Operation operation;
    operation.name = QStringLiteral("EZ-USB load");
    operation.window = "EZUSBForm";
    operation.prepare = [](FaultBench &bench) {
        bench.open("EZUSBForm");
        bench.tools.converter.controls().Address.setText(QStringLiteral("0x09"));
    };
    operation.start = [](FaultBench &bench) {
        bench.dialogs.paths = {bench.fileOf("blink.hex", hexFile())};
        bench.tools.converter.loadClicked();
    };
    operation.moment = {DeviceRequest, 5};
    operation.hasEnded = [](FaultBench &bench) {
        return nothingWaits(bench) && !bench.isOpen("EZUSBForm");
    };
    operation.outcome = [](FaultBench &bench) {
        return bench.main().ScriptName.text() == QLatin1String("blink.vn")
                   ? bench.main().ScriptIdx.text()
                   : QStringLiteral("no script");
    };
    // A device that has been loaded runs.
    operation.settle = [](FaultBench &bench) {
        if (!bench.session().ScriptBusy)
            return QString();
        bench.console.scriptRunClicked();
        const auto ended = [&bench] {
            return bench.main().ScriptRun.text() == QLatin1String("Run");
        };
        if (!bench.turn(ended, 10))
            return QStringLiteral("the script does not end");
        const auto *const device = static_cast<const simulator::EzUsbDevice *>(
            bench.tester->state().port.deviceAt(FaultBench::EzUsb));
        return device->isRunning() ? QString() : QStringLiteral("the device does not run");
    };
    operation.own[Fault::Refusal] = [](FaultBench &bench) {
        bench.tester->faults().refusedStep =
            static_cast<qint32>(bench.tester->state().script.steps().size());
    };
    return operation;
}

QByteArray image()
{
    QByteArray bytes(WholeBlock + LastBlock, '\x1B');
    return bytes.replace(0, 10, QByteArrayLiteral("NV\0\0\0\0\0\0\x03\x0D"));
}

void chooseImage(FaultBench &bench)
{
    bench.open("FWLoad");
    bench.dialogs.paths = {bench.fileOf("new.bin", image())};
    bench.tools.loader.fileSelectClicked();
}

QString downloadEnd(FaultBench &bench)
{
    const QByteArray lines = bench.responses();
    if (lines.contains("*** Download Failed - Communications Timeout"))
        return QStringLiteral("timed out");
    const bool programmed = bench.tester->state().firmware.programmed() == image();
    const QString firmware =
        programmed ? QStringLiteral("new firmware") : QStringLiteral("old firmware");
    return lines.contains("Reinitializing Communications...")
               ? firmware + QStringLiteral(", reconnecting")
               : firmware;
}

/// A tester without good firmware gets some.
QString programAgain(FaultBench &bench)
{
    if (!bench.tester->state().settings.bootstrap)
        return {};
    const auto bootstrap = [&bench] { return bench.session().LinkState == LinkStates::Bootstrap; };
    if (!bench.turn(bootstrap, RestartTicks))
        return QStringLiteral("no boot loader");
    chooseImage(bench);
    bench.tools.loader.programClicked();
    bench.turn([&bench] { return nothingWaits(bench); }, RestartTicks);
    return downloadEnd(bench) == QLatin1String("new firmware, reconnecting")
               ? QString()
               : QStringLiteral("not programmed");
}

Operation downloadingFirmware()
{
    Operation operation;
    operation.name = QStringLiteral("firmware download");
    operation.window = "FWLoad";
    operation.prepare = chooseImage;
    operation.start = [](FaultBench &bench) { bench.tools.loader.programClicked(); };
    operation.moment = {FirmwareBlock, 2};
    operation.hasEnded = nothingWaits;
    operation.outcome = downloadEnd;
    operation.settle = programAgain;
    operation.late = 10'000;
    operation.limit = 180;
    operation.own[Fault::ErrorStatus] = [](FaultBench &bench) {
        bench.tester->faults().firmwareCorrupts = true;
    };
    return operation;
}

/// The same once the program has run for minutes: a block is waited for until it is acknowledged.
Operation downloadingFirmwareLater()
{
    Operation operation = downloadingFirmware();
    operation.name = QStringLiteral("firmware download, minutes later");
    operation.prepare = [](FaultBench &bench) {
        bench.session().TickCount = 2 * WholeBlock;
        chooseImage(bench);
    };
    return operation;
}

/// The pause in which the tester programs and starts.
Operation restartingTester()
{
    Operation operation = downloadingFirmware();
    operation.name = QStringLiteral("firmware restart");
    operation.moment = {FirmwareProgram};
    operation.aftermath = 30;
    operation.outlives = true;
    return operation;
}

const auto Loaded = "VN_End @ 63";
const auto ClickRun = "Click RUN in VornScript Window to Load Device Firmware";
const auto Busy = "ScriptBusy";

const auto NewFirmware = "new firmware, reconnecting";

} // namespace

/// What goes wrong while firmware is on its way, to an EZ-USB device or to the tester.
class tst_faultsoffirmware : public QObject
{
    Q_OBJECT

private slots:
    void matrix_data();
    void matrix() { checkCell(); }
};

void tst_faultsoffirmware::matrix_data()
{
    addCells({
        {loadingEzUsb(),
         {
             {Fault::None, Loaded, ClickRun, Busy},
             {Fault::Silence, "no script"},
             {Fault::ErrorStatus, Loaded, ClickRun, Busy}, // what is stored is not carried out
             {Fault::Refusal, "no script"},
             {Fault::ShortReply, "no script"},
             {Fault::LateReply, "no script"},
             {Fault::DoubledReply, Loaded, ClickRun, Busy},
             {Fault::Garbage, Loaded, ClickRun, Busy},
             {Fault::Flood, Loaded, ClickRun, Busy},
             {Fault::Dropped, "no script", Gone},
             {Fault::Pulled, "no script"},
             {Fault::WindowClosed, "no script"},
             {Fault::OtherOperation, "VN_End @ 63; walk: Successful", ClickRun, Busy},
             {Fault::Reconnected, "no script"},
             {Fault::MainClosed, "no script"},
         }},
        {downloadingFirmware(),
         {
             {Fault::None, NewFirmware},
             {Fault::Silence, "timed out", "", Busy},
             {Fault::ErrorStatus, "old firmware, reconnecting"},
             {Fault::Refusal, "timed out", "", Busy},
             {Fault::ShortReply, "timed out", "", Busy},
             {Fault::LateReply, "timed out", "", Busy},
             {Fault::DoubledReply, NewFirmware},
             {Fault::Garbage, NewFirmware},
             {Fault::Flood, NewFirmware},
             {Fault::Dropped, "old firmware", Gone},
             {Fault::Pulled, "old firmware"},
             {Fault::WindowClosed, "old firmware"},
             {Fault::OtherOperation, "new firmware, reconnecting; walk: Timeout"},
             {Fault::Reconnected, "old firmware"},
             {Fault::MainClosed, "old firmware"},
         }},
        {downloadingFirmwareLater(),
         {
             {Fault::None, NewFirmware},
             {Fault::Silence, "old firmware", "", Busy}, // waits until the window is closed
             {Fault::Refusal, "old firmware", "", Busy},
             {Fault::LateReply, NewFirmware},
             {Fault::Dropped, "old firmware", Gone},
             {Fault::Pulled, "old firmware"},
             {Fault::WindowClosed, "old firmware"},
             {Fault::Reconnected, "old firmware"},
             {Fault::MainClosed, "old firmware"},
         }},
        {restartingTester(),
         {
             {Fault::None, NewFirmware},
             {Fault::Silence, NewFirmware},
             {Fault::ErrorStatus, "old firmware, reconnecting"},
             {Fault::Refusal, "old firmware, reconnecting"},
             {Fault::ShortReply, NewFirmware},
             {Fault::LateReply, NewFirmware},
             {Fault::DoubledReply, NewFirmware},
             {Fault::Garbage, NewFirmware},
             {Fault::Flood, NewFirmware},
             {Fault::Dropped, NewFirmware},
             {Fault::Pulled, "old firmware, reconnecting"},
             {Fault::WindowClosed, "old firmware, reconnecting", "", "", "", Gone},
             {Fault::OtherOperation, "new firmware, reconnecting; walk: Timeout"},
             {Fault::Reconnected, "old firmware", "", "", "", Gone},
             {Fault::MainClosed, "old firmware"},
         }},
    });
}

VANTREL_WINDOW_TEST(tst_faultsoffirmware)
#include "tst_faultsoffirmware.moc"
