// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/PairOperations.h"

#include "simulator/FtdiDevice.h"
#include "support/Hex.h"

#include <QDir>
#include <QFile>

namespace vantrel::test {

namespace {

constexpr quint8 DeviceRequest = 0x01;
constexpr quint8 ConfigMemoryRead = 0x36;

constexpr quint8 PlainFtdi = 0x0A; // address of the device whose EEPROM is used

const auto NetworkShown = "192 0 2 10 192 0 2 1 255 255 255 0 02 56 4F 52 4E 02";

QByteArray eeprom(FaultBench &bench)
{
    const auto *const device =
        static_cast<const simulator::FtdiDevice *>(bench.tester->state().port.deviceAt(PlainFtdi));
    return device->eeprom();
}

bool utilityIsIdle(FaultBench &bench)
{
    return bench.tools.ftdi.controls().btRead.isEnabled();
}

void readEeprom(FaultBench &bench)
{
    bench.open("frmFTDI");
    bench.tools.ftdi.controls().DevAddr.setText(QStringLiteral("0x0A"));
    bench.tools.ftdi.readClicked();
    bench.turn([&bench] { return utilityIsIdle(bench); }, 1);
}

} // namespace

PairOperation ftdiRead()
{
    PairOperation operation;
    operation.name = QStringLiteral("FTDI read");
    operation.refusal = "Reading an FTDI EEPROM";
    operation.moment = {DeviceRequest, 10}; // word 9
    // The utility is opened anew: nothing has been read.
    operation.prepare = [](FaultBench &bench) {
        bench.close("frmFTDI");
        bench.open("frmFTDI");
        bench.tools.ftdi.controls().DevAddr.setText(QStringLiteral("0x0A"));
    };
    operation.press = [](FaultBench &bench) {
        return press(bench.tools.ftdi.controls().btRead,
                     [&bench] { bench.tools.ftdi.readClicked(); });
    };
    operation.hasEnded = utilityIsIdle;
    operation.outcome = [](FaultBench &bench) {
        FtdiControls &controls = bench.tools.ftdi.controls();
        return described(bench.tools.ftdi.image().bytes() == eeprom(bench) &&
                             eeprom(bench) == simulator::FtdiDevice::plainImage() &&
                             controls.tbVID.text() == QLatin1String("0x0403") &&
                             controls.ImageNote.text().isEmpty(),
                         controls.ImageNote.text());
    };
    return operation;
}

namespace {

/// The one file in the directory of the saved images.
QByteArray backup(FaultBench &bench)
{
    const QDir folder(bench.directory.path());
    const QStringList names = folder.entryList({QStringLiteral("*.bin")}, QDir::Files);
    for (const QString &name : names) {
        QFile saved(folder.filePath(name));
        if (name.startsWith(QLatin1String("ftdi-eeprom")) && saved.open(QIODevice::ReadOnly))
            return saved.readAll();
    }
    return {};
}

/// With the product string "Pair". What is behind the last string stays.
QByteArray programmedImage()
{
    QByteArray image = simulator::FtdiDevice::plainImage();
    const QByteArray serial = image.mid(56, 18);
    image.replace(16, 4, "9e0a a812"_hex); // offsets and lengths of product and serial number
    image.replace(30, 10, "0a03 5000 6100 6900 7200"_hex);
    image.replace(40, 18, serial);
    const quint16 sum = simulator::FtdiDevice::checksum(image);
    image[126] = static_cast<char>(sum & 0xFF);
    image[127] = static_cast<char>(sum >> 8);
    return image;
}

} // namespace

PairOperation ftdiProgram()
{
    PairOperation operation;
    operation.name = QStringLiteral("FTDI program");
    operation.refusal = "Programming an FTDI EEPROM";
    operation.moment = {DeviceRequest, 12}; // word 9, after erasing and the latency
    operation.prepare = readEeprom;
    operation.press = [](FaultBench &bench) {
        FtdiControls &controls = bench.tools.ftdi.controls();
        return press(controls.btProgram, [&] {
            controls.tbProduct.setText(QStringLiteral("Pair"));
            bench.tools.ftdi.programClicked();
        });
    };
    operation.hasEnded = utilityIsIdle;
    operation.outcome = [](FaultBench &bench) {
        const QByteArray held = eeprom(bench);
        if (held == simulator::FtdiDevice::plainImage())
            return QStringLiteral("not programmed");
        return described(held == programmedImage() &&
                             backup(bench) == simulator::FtdiDevice::plainImage(),
                         QStringLiteral("partly written"));
    };
    return operation;
}

PairOperation ftdiVerify()
{
    PairOperation operation;
    operation.name = QStringLiteral("FTDI verify");
    operation.refusal = "Verifying an FTDI EEPROM";
    operation.success = "All 64 EEPROM words agree with the image";
    operation.moment = {DeviceRequest, 10}; // word 9
    operation.prepare = readEeprom;
    operation.press = [](FaultBench &bench) {
        return press(bench.tools.ftdi.controls().btVerify,
                     [&bench] { bench.tools.ftdi.verifyClicked(); });
    };
    operation.hasEnded = utilityIsIdle;
    operation.outcome = [](FaultBench &bench) { // the rest is in the box
        return described(eeprom(bench) == simulator::FtdiDevice::plainImage(),
                         QStringLiteral("the EEPROM has changed"));
    };
    return operation;
}

namespace {

QString goldenReport()
{
    QFile file(QStringLiteral(VANTREL_TESTS "/app/reports/phone.txt"));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no report");
    return QString::fromUtf8(file.readAll());
}

} // namespace

PairOperation walk()
{
    PairOperation operation;
    operation.name = QStringLiteral("descriptor walk");
    operation.moment = {DeviceRequest, 4};
    operation.prepare = [](FaultBench &bench) { bench.open("GetDescForm"); };
    operation.press = [](FaultBench &bench) {
        return press(bench.tools.viewer.controls().GetDesc, [&bench] { bench.startWalk(); });
    };
    operation.hasEnded = [](FaultBench &bench) { return !bench.walkEnd().isEmpty(); };
    operation.outcome = [](FaultBench &bench) {
        return described(bench.tools.viewer.controls().DescInfo.text() == goldenReport(),
                         bench.walkEnd());
    };
    return operation;
}

namespace {

QByteArray keyboardReply()
{
    return "-- Device Request Response: Status = 00\r\n"
           " 12 01 10 01 00 00 00 08 F3 05 07 00 20 03 00 00 00 01 \r\n";
}

} // namespace

PairOperation request()
{
    PairOperation operation;
    operation.name = QStringLiteral("device request");
    operation.moment = {DeviceRequest};
    operation.prepare = [](FaultBench &bench) {
        RequestControls &controls = bench.tools.builder.controls();
        controls.Address.setText(QStringLiteral("0x02"));
        controls.bmReqType.setText(QStringLiteral("0x80"));
        controls.bReq.setText(QStringLiteral("0x06"));
        controls.wValue.setText(QStringLiteral("0x0100"));
        controls.wLength.setText(QStringLiteral("0x0012"));
    };
    operation.press = [](FaultBench &bench) {
        return press(bench.tools.builder.controls().Send,
                     [&bench] { bench.tools.builder.sendClicked(); });
    };
    operation.hasEnded = [](FaultBench &bench) {
        return bench.responses().contains("-- Device Request Response");
    };
    operation.outcome = [](FaultBench &bench) {
        return described(bench.responses().contains(keyboardReply()), QStringLiteral("no reply"));
    };
    return operation;
}

PairOperation networkRead()
{
    PairOperation operation;
    operation.name = QStringLiteral("network read");
    operation.moment = {ConfigMemoryRead};
    operation.usesMain = true;
    operation.press = [](FaultBench &bench) {
        if (bench.isOpen("frmNWCfg"))
            return Press::Unavailable;
        return pressInMain(bench, bench.main().mnuConfigureNetwork,
                           [&bench] { bench.open("frmNWCfg"); });
    };
    operation.hasEnded = [](FaultBench &bench) {
        return bench.tools.network.controls().btUpdate.isEnabled();
    };
    operation.outcome = [](FaultBench &bench) {
        QStringList boxes;
        for (const Control *box : std::as_const(bench.tools.network.controls().all))
            boxes.append(box->text());
        const QString shown = boxes.first(18).join(QLatin1Char(' '));
        return described(shown == QLatin1String(NetworkShown), shown);
    };
    return operation;
}

} // namespace vantrel::test
