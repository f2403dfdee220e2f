// SPDX-License-Identifier: GPL-3.0-or-later

// What a user can do in each window.
#include "Scenario.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vantrel::fuzz {

/// A text is typed, then the field is left.
void Scenario::addField(Window window, Control &field, std::function<void()> left)
{
    add(window, &field, [&field, left = std::move(left)](Input &input) {
        field.adoptText(takeText(input));
        left();
    });
}

/// The control opens a file dialog.
void Scenario::addFiles(Window window, const Control &control, std::function<void()> act)
{
    add(window, &control, [this, act = std::move(act)](Input &input) {
        m_subject.dialogs.paths = {takePath(input)};
        act();
        m_subject.dialogs.paths.clear();
    });
}

void Scenario::addScripts(Window window, const Control &control, std::function<void()> act)
{
    add(window, &control, [this, act = std::move(act)](Input &input) {
        m_subject.dialogs.paths = {anyScripts ? takePath(input) : takeScript(input)};
        act();
        m_subject.dialogs.paths.clear();
    });
}

void Scenario::addMain()
{
    Console &console = m_subject.console;
    MainControls &main = m_subject.session().Main;
    const auto press = [this](const Control &control, void (Console::*handler)()) {
        add(Window::Main, &control, [this, handler](Input &) { (m_subject.console.*handler)(); });
    };
    const auto tick = [this](Control &box, std::function<void()> act) {
        add(Window::Main, &box, [&box, act = std::move(act)](Input &) {
            box.adoptChecked(!box.isChecked());
            act();
        });
    };
    const auto drive = [this](const Control &control, void (PortControls::*handler)()) {
        add(Window::Main, &control, [this, handler](Input &) {
            m_subject.console.act([this, handler] { (m_subject.console.ports().*handler)(); });
        });
    };
    press(main.Connect, &Console::connectClicked);
    press(main.ClrResp, &Console::clearClicked);
    tick(main.Automode, [&console] { console.automodeClicked(); });
    for (Control *option : {&main.Comm1, &main.Comm3, &main.CommE}) {
        add(Window::Main, option, [&main, option](Input &) {
            for (Control *each : {&main.Comm1, &main.Comm2, &main.Comm3, &main.Comm4, &main.CommE})
                each->adoptChecked(each == option);
        });
    }
    addField(Window::Main, main.VoltWin, [&console] {
        console.act([&console] { console.ports().voltWinChanged(); });
        console.act([&console] { console.ports().voltWinLostFocus(); });
    });
    drive(main.VoltEnable, &PortControls::voltEnableClicked);
    drive(main.VoltDisable, &PortControls::voltDisableClicked);
    drive(main.Vcc_AR, &PortControls::vccAutoRecoveryClicked);
    drive(main.cbHSInhibit, &PortControls::highSpeedInhibitClicked);
    drive(main.USBReset, &PortControls::usbResetClicked);
    drive(main.Suspend, &PortControls::suspendClicked);
    drive(main.USBResume, &PortControls::usbResumeClicked);
    addScripts(Window::Main, main.ScriptLoad, [&console] { console.scriptLoadClicked(); });
    press(main.ScriptRun, &Console::scriptRunClicked);
    press(main.FileClose, &Console::fileCloseClicked);
    press(main.UtilDV, &Console::descriptorViewerClicked);
    add(Window::Main, &main.cbNWName, [&console, &main](Input &input) {
        const int count = static_cast<int>(main.cbNWName.items().size());
        main.cbNWName.adoptIndex(input.choice() % std::max(1, count));
        console.networkNameClicked();
    });
    add(Window::Main, &main.cbNWName, [&console](Input &input) {
        const QString name = takeText(input);
        console.errors().run([&console, name]() -> QCoro::Task<> {
            const bool accepted = co_await console.names().isAccepted(name);
            if (accepted)
                console.names().add(name);
        });
    });
    const std::array<std::pair<const Control *, Window>, 6> items{
        {{&main.UtilFM, Window::Flash},
         {&main.UtilDR, Window::Builder},
         {&main.EZUSB, Window::Converter},
         {&main.mnuUtilFW, Window::Loader},
         {&main.mnuConfigureNetwork, Window::Network},
         {&main.mnuUtilFTDI, Window::Ftdi}}};
    for (const auto &[item, window] : items)
        add(Window::Main, item, [this, window = window](Input &) { m_subject.open(window); });
}

void Scenario::addFlash()
{
    FlashScripts &flash = m_subject.console.flash();
    FlashControls &controls = flash.controls();
    add(Window::Flash, &controls.ScriptEnable, [&flash](Input &) { flash.scriptEnableClicked(); });
    addScripts(Window::Flash, controls.Burn, [&flash] { flash.burnClicked(); });
    add(Window::Flash, &controls.BtnProgram, [&flash](Input &input) {
        if (!flash.controls().ScriptName.isLocked())
            flash.controls().ScriptName.adoptText(takeText(input));
        flash.programClicked();
    });
}

void Scenario::addViewer()
{
    DescriptorViewer &viewer = m_subject.tools.viewer;
    DescriptorViewerControls &controls = viewer.controls();
    add(Window::Viewer, &controls.GetDesc, [&viewer](Input &input) {
        viewer.controls().DevAddr.adoptText(QString::number(input.choice() % 0x80));
        viewer.getDescClicked();
    });
    addField(Window::Viewer, controls.DevAddr, [&viewer] { viewer.devAddrLeft(); });
    addFiles(Window::Viewer, controls.Save, [&viewer] { viewer.saveClicked(); });
}

void Scenario::addBuilder()
{
    RequestBuilder &builder = m_subject.tools.builder;
    RequestControls &controls = builder.controls();
    addField(Window::Builder, controls.Address, [&builder] { builder.addressLeft(); });
    addField(Window::Builder, controls.bmReqType, [&builder] { builder.bmReqTypeLeft(); });
    addField(Window::Builder, controls.bReq, [&builder] { builder.bReqLeft(); });
    addField(Window::Builder, controls.wValue, [&builder] { builder.wValueLeft(); });
    addField(Window::Builder, controls.windex, [&builder] { builder.windexLeft(); });
    addField(Window::Builder, controls.wLength, [&builder] { builder.wLengthLeft(); });
    add(Window::Builder, nullptr, [&builder](Input &input) {
        const int index = input.choice() % RequestControls::DataFieldCount;
        Control &field = builder.controls().dataField(index);
        if (!field.isEnabled())
            return;
        builder.dataEntered(index);
        field.adoptText(takeText(input));
        builder.fieldEdited();
        builder.dataLeft(index);
    });
    add(Window::Builder, nullptr, [&builder](Input &input) {
        builder.maxPacketClicked(static_cast<qint16>(input.choice() % 4));
        builder.controls().FullSpeed.adoptChecked(!builder.controls().FullSpeed.isChecked());
        builder.fullSpeedClicked();
    });
    add(Window::Builder, &controls.Send, [&builder](Input &) { builder.sendClicked(); });
    addFiles(Window::Builder, controls.Open, [&builder] { builder.openClicked(); });
    addFiles(Window::Builder, controls.Save, [&builder] { builder.saveClicked(); });
}

void Scenario::addConverter()
{
    EzUsbConverter &converter = m_subject.tools.converter;
    EzUsbControls &controls = converter.controls();
    addField(Window::Converter, controls.Address, [&converter] { converter.addressLeft(); });
    add(Window::Converter, nullptr, [&controls](Input &) {
        const bool fx2 = !controls.optFX2.isChecked();
        controls.optFX2.adoptChecked(fx2);
        controls.optEZUSB.adoptChecked(!fx2);
    });
    addFiles(Window::Converter, controls.LoadFW, [&converter] { converter.loadClicked(); });
}

void Scenario::addLoader()
{
    FirmwareLoader &loader = m_subject.tools.loader;
    FirmwareControls &controls = loader.controls();
    addFiles(Window::Loader, controls.fileselect, [&loader] { loader.fileSelectClicked(); });
    add(Window::Loader, &controls.btProgram, [&loader](Input &) { loader.programClicked(); });
    add(Window::Loader, &controls.btCancel, [&loader](Input &) { loader.cancelClicked(); });
}

void Scenario::addNetwork()
{
    NetworkConfig &network = m_subject.tools.network;
    NetworkControls &controls = network.controls();
    add(Window::Network, nullptr, [&network](Input &input) {
        const int index = input.choice() % NetworkRecord::Size;
        Control &box = network.controls().box(index);
        if (!box.isEnabled())
            return;
        box.adoptText(takeText(input));
        network.edited();
        if (index < 4)
            network.ipLeft(index);
        else if (index < 8)
            network.gatewayLeft(index - 4);
        else if (index < 12)
            network.maskLeft(index - 8);
        else
            network.macLeft(index - 12);
    });
    add(Window::Network, &controls.cbMACEnbl, [&network](Input &) {
        Control &box = network.controls().cbMACEnbl;
        box.adoptChecked(!box.isChecked());
        network.macEnableClicked();
    });
    add(Window::Network, &controls.btUpdate, [&network](Input &) { network.updateClicked(); });
    add(Window::Network, nullptr, [&network](Input &) { network.cancelClicked(); });
}

void Scenario::addFtdi()
{
    FtdiUtility &ftdi = m_subject.tools.ftdi;
    FtdiControls &controls = ftdi.controls();
    add(Window::Ftdi, &controls.btRead, [&ftdi](Input &) { ftdi.readClicked(); });
    add(Window::Ftdi, &controls.btProgram, [&ftdi](Input &) { ftdi.programClicked(); });
    add(Window::Ftdi, &controls.btVerify, [&ftdi](Input &) { ftdi.verifyClicked(); });
    addField(Window::Ftdi, controls.DevAddr, [&ftdi] { ftdi.devAddrLeft(); });
    addField(Window::Ftdi, controls.tbVID, [&ftdi] { ftdi.vidLeft(); });
    addField(Window::Ftdi, controls.tbPID, [&ftdi] { ftdi.pidLeft(); });
    addField(Window::Ftdi, controls.tbMajRev, [&ftdi] { ftdi.majRevLeft(); });
    addField(Window::Ftdi, controls.tbMinRev, [&ftdi] { ftdi.minRevLeft(); });
    addField(Window::Ftdi, controls.tbMaxPower, [&ftdi] { ftdi.maxPowerLeft(); });
    addField(Window::Ftdi, controls.tbMfr, [&ftdi] { ftdi.mfrLeft(); });
    addField(Window::Ftdi, controls.tbProduct, [&ftdi] { ftdi.productLeft(); });
    addField(Window::Ftdi, controls.tbSerial, [&ftdi] { ftdi.serialLeft(); });
    const auto tick = [this](Control &box, std::function<void()> act) {
        add(Window::Ftdi, &box, [&box, act = std::move(act)](Input &) {
            box.adoptChecked(!box.isChecked());
            act();
        });
    };
    tick(controls.cbRemoteWake, [&ftdi] { ftdi.remoteWakeClicked(); });
    tick(controls.cbSelfPower, [&ftdi] { ftdi.selfPowerClicked(); });
    tick(controls.cbSerial, [&ftdi] { ftdi.serialClicked(); });
    tick(controls.cbKeepLayout, [] {});
}

} // namespace vantrel::fuzz
