// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/MaintenanceTour.h"

#include "app/Stage.h"
#include "app/TourFiles.h"
#include "simulator/BuiltInDevices.h"
#include "simulator/Tester.h"
#include "simulator/VirtualDevice.h"

#include <QWidget>

namespace vantrel {

namespace {

constexpr int RestartTicks = 150; // of 100 ms: download, a pause of five seconds, the next probe

QString text(const char *latin1)
{
    return QString::fromLatin1(latin1);
}

/// A Vorn 2 image of 10,000 bytes that calls itself 3.13.
QByteArray firmwareImage()
{
    QByteArray image(10'000, '\xA5');
    image.replace(0, 2, "NV");
    image[8] = 3;
    image[9] = 13;
    return image;
}

} // namespace

void MaintenanceTour::attach(const char *device)
{
    const simulator::BuiltInDevice *found = simulator::findBuiltInDevice(text(device));
    if (found == nullptr || !m_tester.attach(found->make(), found->address))
        throw TourFailure(text("cannot attach ") + text(device));
}

QString MaintenanceTour::path(const char *fileName) const
{
    return m_stage.directory() + QLatin1Char('/') + text(fileName);
}

QCoro::Task<> MaintenanceTour::walk()
{
    co_await loadEzUsbFirmware();
    co_await runEzUsbScript();
    co_await readEeprom();
    co_await programEeprom();
    co_await changeNetworkAddress();
    co_await replaceFirmware();
}

QCoro::Task<> MaintenanceTour::loadEzUsbFirmware()
{
    m_stage.say(text("Turn EZ-USB firmware into a script"));
    attach("fx2");
    const QString hexFile = path(tourfile::HexFile);
    Stage::write(hexFile, ":0300000002010000FA\r\n"
                          ":0401000000010203F5\r\n"
                          ":00000001FF\r\n");
    m_stage.choose("EZUSB");
    co_await m_stage.expectDialog(text("EZUSBForm"));
    m_stage.press("optFX2");
    m_stage.enter("Address", text("8"));
    m_stage.picture(text("EZUSBForm"), m_stage.dialog(text("EZUSBForm")));
    m_stage.press("LoadFW");
    co_await m_stage.answerFileDialog(hexFile);
    co_await m_stage.expectBox(text("** Firmware Conversion Complete **"),
                               text("Click RUN in VornScript Window to Load Device Firmware"));
    co_await m_stage.expectClosed(text("EZUSBForm"));
    co_await m_stage.expectText(text("ScriptName"), text("blink.vn"));
}

QCoro::Task<> MaintenanceTour::runEzUsbScript()
{
    m_stage.say(text("Run it: the device comes back as what was loaded"));
    m_stage.press("ScriptRun");
    co_await m_stage.expectLine(text("CmdWin"), text("Script Complete"));
    co_await m_stage.expectLine(text("RespWin"), text("*** Connect "));
}

QCoro::Task<> MaintenanceTour::readEeprom()
{
    m_stage.say(text("Read the EEPROM of an FTDI device"));
    attach("ftdi");
    m_stage.choose("mnuUtilFTDI");
    co_await m_stage.expectDialog(text("frmFTDI"));
    m_stage.enter("DevAddr", text("7"));
    m_stage.press("btRead");
    co_await m_stage.expectText(text("tbPID"), text("0x6001"));
    co_await m_stage.expectText(text("tbMfr"), text("FTDI"));
    co_await m_stage.expectEnabled(text("btProgram"));
    m_stage.picture(text("frmFTDI"), m_stage.dialog(text("frmFTDI")));
}

QCoro::Task<> MaintenanceTour::programEeprom()
{
    m_stage.say(text("Give it another product string, and read it back"));
    m_stage.enter("tbProduct", text("Bench cable"));
    m_stage.press("cbKeepLayout"); // the strings of this device do not start at byte 20
    m_stage.press("btProgram");
    co_await m_stage.expectEnabled(text("btVerify"));
    m_stage.press("btVerify");
    co_await m_stage.expectDialog(text("MessageBox"));
    m_stage.picture(text("box-verified"), m_stage.dialog(text("MessageBox")));
    m_stage.closeWindow(text("MessageBox"));
    m_stage.closeWindow(text("frmFTDI"));
}

QCoro::Task<> MaintenanceTour::changeNetworkAddress()
{
    m_stage.say(text("Change the tester's network address"));
    m_stage.choose("mnuConfigureNetwork");
    co_await m_stage.expectDialog(text("frmNWCfg"));
    co_await m_stage.expectText(text("tbIP_3"), text("10"));
    m_stage.enter("tbIP_3", text("77"));
    m_stage.picture(text("frmNWCfg"), m_stage.dialog(text("frmNWCfg")));
    m_stage.press("btUpdate");
    co_await m_stage.expectLine(text("CmdWin"), text("Writing Tester Configuration Memory"));
    co_await m_stage.expectClosed(text("frmNWCfg"));
}

QCoro::Task<> MaintenanceTour::replaceFirmware()
{
    m_stage.say(text("Give the tester a new firmware"));
    const QString image = path(tourfile::Firmware);
    Stage::write(image, firmwareImage());
    m_stage.choose("mnuUtilFW");
    co_await m_stage.expectDialog(text("FWLoad"));
    m_stage.press("fileselect");
    co_await m_stage.answerFileDialog(image);
    co_await m_stage.expectText(text("lblStatus"), text("Ready to Download"));
    m_stage.picture(text("FWLoad"), m_stage.dialog(text("FWLoad")));
    m_stage.press("btProgram");
    co_await m_stage.expectLine(text("CmdWin"), text("Loading Firmware 00002710"));
    co_await m_stage.expectLine(text("CmdWin"), text("Programming Firmware"));
    co_await m_stage.expectLine(text("RespWin"), text("Reinitializing Communications..."),
                                RestartTicks);
    co_await m_stage.expectLine(text("CmdWin"), text("** Vorn 2 Firmware Revision  3 . 13"),
                                RestartTicks);
}

} // namespace vantrel
