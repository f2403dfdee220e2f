// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/FaultMatrix.h"
#include "simulator/FtdiDevice.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

constexpr quint8 DeviceRequest = 0x01;

bool nothingWaits(FaultBench &bench)
{
    return bench.session().waits.pendingCount() == 0;
}

void openFtdi(FaultBench &bench)
{
    bench.open("frmFTDI");
    bench.tools.ftdi.controls().DevAddr.setText(QStringLiteral("0x07"));
}

Operation walking()
{
    Operation operation;
    operation.name = QStringLiteral("descriptor walk");
    operation.window = "GetDescForm";
    operation.prepare = [](FaultBench &bench) { bench.open("GetDescForm"); };
    operation.start = [](FaultBench &bench) { bench.startWalk(); };
    operation.moment = {DeviceRequest, 4}; // the length of the second string
    operation.hasEnded = [](FaultBench &bench) {
        return !bench.session().DescActive && nothingWaits(bench);
    };
    operation.outcome = [](FaultBench &bench) { return bench.walkEnd(); };
    operation.outlives = true;
    operation.shortTo = 2; // a status, and nothing of the device's
    operation.own[Fault::OtherOperation] = [](FaultBench &bench) {
        openFtdi(bench);
        bench.tools.ftdi.readClicked();
    };
    return operation;
}

Operation readingEeprom()
{
    Operation operation;
    operation.name = QStringLiteral("FTDI read");
    operation.window = "frmFTDI";
    operation.prepare = openFtdi;
    operation.start = [](FaultBench &bench) { bench.tools.ftdi.readClicked(); };
    operation.moment = {DeviceRequest, 10}; // word 9
    operation.hasEnded = nothingWaits;
    operation.outcome = [](FaultBench &bench) {
        const FtdiControls &controls = bench.tools.ftdi.controls();
        return controls.WordProgress.isVisible() ? QStringLiteral("read: ") + controls.tbVID.text()
                                                 : QStringLiteral("not read");
    };
    operation.late = 1500;
    operation.limit = 20;
    return operation;
}

Operation programmingEeprom()
{
    Operation operation = readingEeprom();
    operation.name = QStringLiteral("FTDI program");
    operation.start = [](FaultBench &bench) { bench.tools.ftdi.programClicked(); };
    operation.moment = {DeviceRequest, 12}; // word 9, after erasing and the latency
    operation.outcome = [](FaultBench &bench) {
        const auto *const device = static_cast<const simulator::FtdiDevice *>(
            bench.tester->state().port.deviceAt(FaultBench::Ftdi));
        const bool whole = device->eeprom() == bench.tools.ftdi.image().bytes();
        return whole ? QStringLiteral("programmed") : QStringLiteral("partly written");
    };
    return operation;
}

const auto Failure = "Failure code = 05";
const auto OutOfRange = "Subscript out of range";
const auto NotResponding = "Vorn Tester not Responding";
const auto NotRead = "Error Reading EEPROM word 9";
const auto NotWritten = "Error Writing EEPROM word 9";
const auto GoneAndNotResponding = "Network Error Detected: The remote host closed the connection|"
                                  "Vorn Tester not Responding";
const auto GoneAndNotWritten = "Network Error Detected: The remote host closed the connection|"
                               "Error Writing EEPROM word 9";
const auto Read = "read: 0x0403";
const auto Active = "FtdiActive";

} // namespace

/// What goes wrong while the console exchanges requests with a device.
class tst_faultsofdevices : public QObject
{
    Q_OBJECT

private slots:
    void matrix_data();
    void matrix() { checkCell(); }
};

void tst_faultsofdevices::matrix_data()
{
    addCells({
        {walking(),
         {
             {Fault::None, "Successful"},
             {Fault::Silence, "Timeout"},
             {Fault::ErrorStatus, Failure},
             {Fault::Refusal, "Timeout"},
             {Fault::ShortReply, OutOfRange, OutOfRange},
             {Fault::LateReply, "Timeout"},
             {Fault::DoubledReply, OutOfRange, OutOfRange},
             {Fault::Garbage, "Successful"},
             {Fault::Flood, "Successful"},
             {Fault::Dropped, "Timeout", Gone},
             {Fault::Pulled, "Timeout"},
             {Fault::WindowClosed, "Successful"},
             {Fault::OtherOperation, "Successful"},
             {Fault::Reconnected, "Timeout"},
             {Fault::MainClosed, "", "", "DescActive", "DescActive"},
         }},
        {readingEeprom(),
         {
             {Fault::None, Read},
             {Fault::Silence, "not read", NotResponding, Active, Active},
             {Fault::ErrorStatus, "not read", NotRead},
             {Fault::Refusal, "not read", NotResponding, Active, Active},
             {Fault::ShortReply, "not read", NotResponding, Active, Active},
             {Fault::LateReply, "not read", NotResponding, Active},
             {Fault::DoubledReply, Read},
             {Fault::Garbage, Read},
             {Fault::Flood, Read},
             {Fault::Dropped, "not read", GoneAndNotResponding},
             {Fault::Pulled, "not read", NotResponding, Active, Active},
             {Fault::WindowClosed, "not read"},
             {Fault::OtherOperation, "read: 0x0403; walk: Successful"},
             {Fault::Reconnected, "not read", NotResponding},
             {Fault::MainClosed, "not read", "", Active, Active},
         }},
        {programmingEeprom(),
         {
             {Fault::None, "programmed"},
             {Fault::Silence, "partly written", NotWritten, Active, Active},
             {Fault::ErrorStatus, "partly written", NotWritten},
             {Fault::Refusal, "partly written", NotWritten, Active, Active},
             {Fault::ShortReply, "partly written", NotWritten, Active, Active},
             {Fault::LateReply, "partly written", NotWritten, Active},
             {Fault::DoubledReply, "programmed"},
             {Fault::Garbage, "programmed"},
             {Fault::Flood, "programmed"},
             {Fault::Dropped, "partly written", GoneAndNotWritten},
             {Fault::Pulled, "partly written", NotWritten, Active, Active},
             {Fault::WindowClosed, "partly written"},
             {Fault::OtherOperation, "programmed; walk: Successful"},
             {Fault::Reconnected, "partly written", NotWritten},
             {Fault::MainClosed, "partly written", "", Active, Active},
         }},
    });
}

VANTREL_WINDOW_TEST(tst_faultsofdevices)
#include "tst_faultsofdevices.moc"
