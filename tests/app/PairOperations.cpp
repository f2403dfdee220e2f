// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/PairOperations.h"

#include "link/Deframer.h"
#include "simulator/EzUsbDevice.h"
#include "support/Hex.h"

namespace vantrel::test {

namespace {

namespace Code {
constexpr quint8 DeviceRequest = 0x01;
constexpr quint8 DataPort = 0x0A;
constexpr quint8 FirmwareBlock = 0x33;
constexpr quint8 ScriptReport = 0xA0;
} // namespace Code

constexpr int RefreshTicks = 20;
constexpr int DownloadTicks = 10;
constexpr int HexRecords = 60;

/// Messages and data port writes in turn, then the end. No packet extends beyond the end of a piece
/// of a download.
QByteArray steps(int pairs)
{
    QByteArray bytes;
    for (int i = 0; i < pairs; ++i)
        bytes += "1b53 28 4869742121 1b45 1b53 0a"_hex + static_cast<char>(i | 0x80) + "1b45"_hex;
    return bytes + "1b53 21 1b45"_hex;
}

QList<QByteArray> packets(const QByteArray &script)
{
    QList<QByteArray> bodies;
    qint16 state = RxStates::Hunting;
    QByteArray body;
    deframe(state, body, script, [&] { bodies.append(body); });
    return bodies;
}

bool hasStored(FaultBench &bench, const QList<QByteArray> &script)
{
    return bench.tester->state().script.steps() == script;
}

constexpr int ScriptPairs = 600;
constexpr int FlashPairs = 500;
constexpr int RunPairs = 30;

bool downloadHasEnded(FaultBench &bench)
{
    return bench.session().DownloadSize < 0;
}

PairOperation scriptDownload()
{
    PairOperation operation;
    operation.name = QStringLiteral("script download");
    operation.refusal = "A script download";
    operation.moment = {Code::DataPort, 60};
    operation.opens = PairOperation::Opens::First;
    operation.usesMain = true;
    operation.press = [](FaultBench &bench) {
        bench.dialogs.paths = {bench.fileOf("steps.vn", steps(ScriptPairs))};
        return pressInMain(bench, bench.main().ScriptLoad,
                           [&bench] { bench.console.scriptLoadClicked(); });
    };
    operation.hasEnded = downloadHasEnded;
    operation.outcome = [](FaultBench &bench) {
        const MainControls &main = bench.main();
        return described(hasStored(bench, packets(steps(ScriptPairs))) &&
                             main.ScriptIdx.text() == QLatin1String("VN_End @ 1200") &&
                             main.ScriptName.text() == QLatin1String("steps.vn") &&
                             main.ScriptRun.isEnabled(),
                         main.ScriptIdx.text());
    };
    return operation;
}

PairOperation scriptRun()
{
    PairOperation operation;
    operation.name = QStringLiteral("script run");
    operation.refusal = "A script run";
    operation.moment = {Code::ScriptReport, 30, true};
    operation.opens = PairOperation::Opens::First;
    operation.usesMain = true;
    operation.prepare = [](FaultBench &bench) {
        bench.dialogs.paths = {bench.fileOf("run.vn", steps(RunPairs))};
        bench.console.scriptLoadClicked();
        bench.turn([&] { return downloadHasEnded(bench); }, DownloadTicks);
    };
    operation.press = [](FaultBench &bench) {
        if (bench.session().Script == ScriptState::Running)
            return Press::Unavailable; // "Stop"
        return pressInMain(bench, bench.main().ScriptRun,
                           [&bench] { bench.console.scriptRunClicked(); });
    };
    operation.hasEnded = [](FaultBench &bench) {
        return bench.session().Script == ScriptState::Idle;
    };
    operation.outcome = [](FaultBench &bench) {
        const QByteArray lines = bench.responses();
        const MainControls &main = bench.main();
        const bool complete = lines.count("*** Message -- Index:") == RunPairs &&
                              lines.count("*** Script Response -- Index:") == RunPairs &&
                              main.ScriptIdx.text() == QLatin1String("Stopped @ 60");
        return described(complete, main.ScriptRun.text() == QLatin1String("Run") &&
                                           main.ScriptLoad.isEnabled()
                                       ? QStringLiteral("replaced")
                                       : main.ScriptIdx.text());
    };
    return operation;
}

PairOperation flashDownload()
{
    PairOperation operation;
    operation.name = QStringLiteral("flash download");
    operation.refusal = "A script download of the flash management";
    operation.moment = {Code::DataPort, 60};
    operation.opens = PairOperation::Opens::Last;
    operation.prepare = [](FaultBench &bench) {
        bench.open("FlashForm");
        bench.turn([&] { return bench.console.flash().controls().Burn.isEnabled(); }, RefreshTicks);
    };
    operation.press = [](FaultBench &bench) {
        const bool isOpen = bench.isOpen("FlashForm");
        if (!isOpen && (!isMainUsable(bench) || !bench.main().UtilFM.isEnabled()))
            return Press::Unavailable;
        if (!isOpen) {
            bench.open("FlashForm");
            return Press::Again;
        }
        bench.dialogs.paths = {bench.fileOf("flash.vn", steps(FlashPairs))};
        return press(bench.console.flash().controls().Burn,
                     [&bench] { bench.console.flash().burnClicked(); });
    };
    operation.hasEnded = downloadHasEnded;
    operation.outcome = [](FaultBench &bench) {
        FlashControls &flash = bench.console.flash().controls();
        return described(hasStored(bench, packets(steps(FlashPairs))) &&
                             flash.BtnProgram.isVisible() && flash.BtnProgram.isEnabled() &&
                             flash.filename.text() == QLatin1String("flash.vn"),
                         flash.filename.text());
    };
    return operation;
}

/// Records of 16 bytes each, from address 0 on.
QByteArray hexFile()
{
    QByteArray lines;
    for (int i = 0; i < HexRecords; ++i)
        lines += ":10" + QByteArray::number(0x10000 + 16 * i, 16).sliced(1) + "00" +
                 QByteArray(16, static_cast<char>(i + 1)).toHex() + "00\r\n";
    return lines + ":00000001FF\r\n";
}

/// The script that the file is converted to.
QList<QByteArray> hexScript()
{
    QList<QByteArray> script{"22 01"_hex, "01 09 40a0 927f 0000 0100 01"_hex};
    for (int i = 0; i < HexRecords; ++i) {
        QByteArray request = "01 09 40a0 0000 0000 1000"_hex;
        request[4] = static_cast<char>(16 * i & 0xFF);
        request[5] = static_cast<char>(16 * i >> 8);
        script.append(request + QByteArray(16, static_cast<char>(i + 1)));
    }
    return script + QList<QByteArray>{"01 09 40a0 927f 0000 0100 00"_hex, "21"_hex};
}

PairOperation ezUsbLoad()
{
    PairOperation operation;
    operation.name = QStringLiteral("EZ-USB load");
    operation.refusal = "An EZ-USB firmware load";
    operation.success = "Click RUN in VornScript Window to Load Device Firmware";
    operation.moment = {Code::DeviceRequest, 5};
    operation.prepare = [](FaultBench &bench) {
        bench.open("EZUSBForm");
        bench.tools.converter.controls().Address.setText(QStringLiteral("0x09"));
    };
    operation.press = [](FaultBench &bench) {
        bench.dialogs.paths = {bench.fileOf("blink.hex", hexFile())};
        return press(bench.tools.converter.controls().LoadFW,
                     [&bench] { bench.tools.converter.loadClicked(); });
    };
    operation.hasEnded = [](FaultBench &bench) { return !bench.isOpen("EZUSBForm"); };
    operation.outcome = [](FaultBench &bench) {
        const MainControls &main = bench.main();
        return described(hasStored(bench, hexScript()) &&
                             main.ScriptName.text() == QLatin1String("blink.vn") &&
                             main.ScriptRun.isEnabled(),
                         main.ScriptName.text());
    };
    return operation;
}

QByteArray firmware()
{
    QByteArray bytes(4096 + 50, '\x1B');
    return bytes.replace(0, 10, QByteArrayLiteral("NV\0\0\0\0\0\0\x03\x0D"));
}

PairOperation firmwareDownload()
{
    PairOperation operation;
    operation.name = QStringLiteral("firmware download");
    operation.refusal = "A download of tester firmware";
    operation.moment = {Code::FirmwareBlock, 2};
    operation.prepare = [](FaultBench &bench) {
        bench.open("FWLoad");
        bench.dialogs.paths = {bench.fileOf("new.bin", firmware())};
        bench.tools.loader.fileSelectClicked();
    };
    operation.press = [](FaultBench &bench) {
        return press(bench.tools.loader.controls().btProgram,
                     [&bench] { bench.tools.loader.programClicked(); });
    };
    operation.hasEnded = [](FaultBench &bench) { return !bench.isOpen("FWLoad"); };
    operation.outcome = [](FaultBench &bench) {
        const bool programmed = bench.tester->state().firmware.programmed() == firmware();
        return described(programmed &&
                             bench.responses().contains("Reinitializing Communications..."),
                         QStringLiteral("old firmware"));
    };
    return operation;
}

} // namespace

bool isMainUsable(FaultBench &bench)
{
    return bench.main().Window.isEnabled();
}

/// Presses a control that is enabled.
Press press(const Control &control, const std::function<void()> &handler)
{
    if (!control.isEnabled())
        return Press::Unavailable;
    handler();
    return Press::Started;
}

Press pressInMain(FaultBench &bench, const Control &control, const std::function<void()> &handler)
{
    return isMainUsable(bench) ? press(control, handler) : Press::Unavailable;
}

QString described(bool done, const QString &otherwise)
{
    return done ? QStringLiteral("done") : otherwise;
}

void attachPairDevices(FaultBench &bench)
{
    if (!simulator::attachBuiltInDevices(*bench.tester, {QStringLiteral("ftdi-plain")}))
        qFatal("the device cannot be attached");
}

QString runEzUsbScript(FaultBench &bench)
{
    bench.console.scriptRunClicked();
    const auto ended = [&bench] { return bench.session().Script == ScriptState::Idle; };
    if (!bench.turn(ended, 10))
        return QStringLiteral("the script does not end");
    const auto *const device = static_cast<const simulator::EzUsbDevice *>(
        bench.tester->state().port.deviceAt(FaultBench::EzUsb));
    QByteArray loaded;
    for (int i = 0; i < HexRecords; ++i)
        loaded += QByteArray(16, static_cast<char>(i + 1));
    if (device->ram().first(loaded.size()) != loaded)
        return QStringLiteral("the device has other firmware");
    return device->isRunning() ? QString() : QStringLiteral("the device does not run");
}

const QList<PairOperation> &pairOperations()
{
    static const QList<PairOperation> operations{
        scriptDownload(), scriptRun(),   flashDownload(), ezUsbLoad(), firmwareDownload(),
        ftdiRead(),       ftdiProgram(), ftdiVerify(),    walk(),      request(),
        networkRead(),
    };
    return operations;
}

} // namespace vantrel::test
