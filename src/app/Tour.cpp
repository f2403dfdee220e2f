// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Tour.h"

#include "app/MaintenanceTour.h"
#include "app/ToolsTour.h"
#include "app/TourFiles.h"

#include "console/Console.h"
#include "simulator/Tester.h"

#include <QFile>
#include <QWidget>

namespace vantrel {

namespace {

constexpr quint8 PhoneAddress = 0x03;

QString text(const char *latin1)
{
    return QString::fromLatin1(latin1);
}

} // namespace

Tour::Tour(Console &console, QWidget &mainWindow, simulator::Tester &tester,
           const QString &directory)
    : m_console(console), m_stage(console, mainWindow, directory), m_tester(tester)
{
}

QString Tour::path(const char *fileName) const
{
    return m_stage.directory() + QLatin1Char('/') + text(fileName);
}

QCoro::Task<int> Tour::run()
{
    QString failure;
    try {
        co_await walk();
        co_return 0;
    } catch (const std::exception &error) {
        failure = QString::fromUtf8(error.what());
    } catch (...) {
        failure = text("an exception of unknown type");
    }
    m_stage.reportFailure(failure);
    co_return 1;
}

QCoro::Task<> Tour::walk()
{
    co_await addNetworkName();
    co_await connectToTester();
    co_await startLog();
    co_await setVoltage();
    co_await driveBus();
    co_await switchPower();
    co_await readReports();
    co_await runScript();
    co_await keepScriptInFlash();
    co_await leaveAutoMode();
    m_stage.picture(text("main"));
    ToolsTour tools(m_stage);
    co_await tools.walk();
    MaintenanceTour maintenance(m_stage, m_tester);
    co_await maintenance.walk();
    co_await endLog();
    co_await disconnectFromTester();
    m_stage.say(text("The tour is complete."));
    m_stage.check();
}

QCoro::Task<> Tour::addNetworkName()
{
    m_stage.say(text("A first start makes the network names file"));
    co_await m_stage.expectBox(text("Vantrel Initialization"), text("Creating Network Name File"),
                               text("box-names-file"));
    const auto ready = [this] { return m_console.session().Main.cbNWName.isEnabled(); };
    co_await m_stage.expect(text("the names can be chosen"), ready);

    m_stage.say(text("Add a network name"));
    const QString simulated = m_console.session().RemoteHost;
    m_stage.pick("cbNWName", text("<New>"));
    co_await m_stage.expectDialog(text("frmNewIP"));
    m_stage.picture(text("frmNewIP"), m_stage.dialog(text("frmNewIP")));
    m_stage.enter("tbName", text("bench-tester"));
    const auto chosen = [this] {
        return m_console.session().RemoteHost == QLatin1String("bench-tester");
    };
    co_await m_stage.expect(text("the new name is chosen"), chosen);
    m_stage.pick("cbNWName", simulated);
}

QCoro::Task<> Tour::connectToTester()
{
    m_stage.say(text("Connect to the simulated tester"));
    m_stage.picture(text("main-closed"));
    m_stage.press("Connect");
    co_await m_stage.expectLine(text("CmdWin"), text("Connecting..."));
    co_await m_stage.expectLine(text("CmdWin"), text("** Vorn 2 Firmware Revision  3 . 12"));
    co_await m_stage.expectLine(text("CmdWin"), text("     64K RAM"));
    co_await m_stage.expectText(text("Connect"), text("Disconnect"));
    co_await m_stage.expectText(text("power"), text("On"));
    co_await m_stage.expectText(text("vornstate"), text("Active"));
    const auto shown = [this] {
        return m_console.session().Main.CurrWin.text().endsWith(QLatin1String("A"));
    };
    co_await m_stage.expect(text("the Vbus current is shown"), shown);
}

QCoro::Task<> Tour::startLog()
{
    m_stage.say(text("Keep a log"));
    m_stage.choose("FileNew");
    co_await m_stage.answerFileDialog(path(tourfile::Log));
    co_await m_stage.expectText(text("LogInfo"), text("Logging: ") + text(tourfile::Log));
}

QCoro::Task<> Tour::setVoltage()
{
    m_stage.say(text("Set Vbus to 4.75 V"));
    m_stage.enter("VoltWin", text("4.75"));
    co_await m_stage.expectLine(text("CmdWin"), text("Setting Vbus Voltage"));
    co_await m_stage.expectText(text("VoltWin"), text("4.75"));
    constexpr quint8 Code = 75; // hundredths of a volt above 4 V
    const auto set = [this] { return m_tester.state().port.voltageCode() == Code; };
    co_await m_stage.expect(text("the tester supplies 4.75 V"), set);
}

QCoro::Task<> Tour::driveBus()
{
    m_stage.say(text("Reset, suspend and resume the bus"));
    m_stage.press("USBReset");
    co_await m_stage.expectLine(text("CmdWin"), text("Executing USB Reset"));
    m_stage.press("Suspend");
    co_await m_stage.expectLine(text("CmdWin"), text("Suspending"));
    co_await m_stage.expectText(text("vornstate"), text("Suspended"));
    m_stage.picture(text("main-suspended"));
    m_stage.press("USBResume");
    co_await m_stage.expectLine(text("CmdWin"), text("Resuming"));
    co_await m_stage.expectText(text("vornstate"), text("Active"));
}

QCoro::Task<> Tour::switchPower()
{
    m_stage.say(text("Switch Vbus off and on"));
    m_stage.press("VoltDisable");
    co_await m_stage.expectText(text("power"), text("Off"));
    m_stage.press("VoltEnable");
    co_await m_stage.expectText(text("power"), text("On"));
}

QCoro::Task<> Tour::readReports()
{
    m_stage.say(text("Plug a device out and in, and read what the tester reports"));
    auto phone = m_tester.detach(PhoneAddress);
    co_await m_stage.expectLine(text("RespWin"), text("*** Disconnect"));
    m_tester.attach(std::move(phone), PhoneAddress);
    co_await m_stage.expectLine(
        text("RespWin"),
        text("     Address: 0x03   DevClass: 0x00   Vendor ID: 0x0FCE   Product ID: 0x0166"));

    m_tester.reportStatus(1, 2, 0x0103);
    co_await m_stage.expectLine(
        text("RespWin"), text("*** Status -- Hub Address: 0x01   Port #: 0x02   Status = 0x0103"));
    m_tester.reportData(0x02, 0x81, QByteArray::fromHex("0000040000000000"));
    co_await m_stage.expectLine(text("RespWin"),
                                text("*** Data --  Address: 0x02   EndPoint: 0x81"));
    co_await m_stage.expectLine(text("RespWin"), text(" 00 00 04 00 00 00 00 00 "));
    m_tester.reportDeviceError(0x02, 0x82, 0x0E);
    co_await m_stage.expectLine(text("RespWin"),
                                text("     Address: 0x02   EndPoint: 0x82   Error = 0x0E: STALL"));
    m_tester.reportTrigger(1);
    co_await m_stage.expectLine(text("RespWin"), text("*** Trigger Input Channel 1"));
}

QCoro::Task<> Tour::runScript()
{
    m_stage.say(text("Load a script and run it"));
    QFile example(text(":/") + text(tourfile::Script));
    if (!example.open(QIODevice::ReadOnly))
        throw TourFailure(text("no example script"));
    Stage::write(path(tourfile::Script), example.readAll());
    m_stage.press("ScriptLoad");
    co_await m_stage.answerFileDialog(path(tourfile::Script));
    co_await m_stage.expectLine(text("CmdWin"), text("VornScript Download"));
    const auto loaded = [this] {
        return m_console.session().Main.ScriptIdx.text().startsWith(QLatin1String("VN_End @"));
    };
    co_await m_stage.expect(text("the tester has stored the script"), loaded);
    const auto ready = [this] { return m_console.session().Main.ScriptRun.isEnabled(); };
    co_await m_stage.expect(text("the script can be run"), ready);

    m_stage.press("ScriptRun");
    co_await m_stage.expectLine(text("CmdWin"), text("Running Script"));
    co_await m_stage.expectLine(text("RespWin"), text("-- Device Request Response: Status = 00"));
    co_await m_stage.expectLine(text("RespWin"),
                                text(" 12 01 10 01 00 00 00 08 F3 05 07 00 20 03 00 00 00 01 "));
    co_await m_stage.expectLine(text("CmdWin"), text("Script Complete"));
    co_await m_stage.expectText(text("ScriptRun"), text("Run"));
    m_stage.picture(text("main-script"));
}

QCoro::Task<> Tour::keepScriptInFlash()
{
    m_stage.say(text("Keep the script in the tester's flash"));
    m_stage.choose("UtilFM");
    co_await m_stage.expectDialog(text("FlashForm"));
    co_await m_stage.expectText(text("Status"), text("Undefined"));
    m_stage.choose("Burn");
    co_await m_stage.answerFileDialog(path(tourfile::Script));
    co_await m_stage.expectText(text("Label1"), text("New Script Name"));
    m_stage.enter("ScriptName", text("ReadAll"));
    m_stage.press("BtnProgram");
    co_await m_stage.expectText(text("Status"), text("Disabled"));
    co_await m_stage.expectText(text("ScriptName"), text("ReadAll "));
    m_stage.press("ScriptEnable");
    co_await m_stage.expectText(text("Status"), text("Enabled"));
    m_stage.picture(text("FlashForm"), m_stage.dialog(text("FlashForm")));
    m_stage.closeWindow(text("FlashForm"));
    const auto usable = [this] { return m_console.session().Main.Window.isEnabled(); };
    co_await m_stage.expect(text("the main window is usable again"), usable);
}

QCoro::Task<> Tour::leaveAutoMode()
{
    m_stage.say(text("Leave automatic mode, and come back to it"));
    m_stage.press("Automode");
    co_await m_stage.expectBox(text("Vantrel - Warning"), text("You Have DISABLED Automatic Mode"));
    m_stage.choose("UtilDV");
    co_await m_stage.expectBox(text("Vantrel - Illegal Operation"),
                               text("Descriptor Viewer Only works in Automatic Mode"),
                               text("box-automatic-mode"));
    m_stage.press("Automode");
}

QCoro::Task<> Tour::endLog()
{
    m_stage.say(text("Close the log"));
    m_stage.choose("FileClose");
    QFile log(path(tourfile::Log));
    if (!log.open(QIODevice::ReadOnly))
        throw TourFailure(text("no log file"));
    const QByteArray lines = log.readAll();
    for (const char *part : {"%% Log File Started: ", "*** Connect \r\n", "*** Device Error \r\n",
                             "\r\n\r\n%%%%%\r\n%% Log File Ended: "}) {
        if (!lines.contains(part))
            throw TourFailure(text("the log file lacks: ") + text(part));
    }
    const auto gone = [this] { return !m_console.session().Main.LogFrame.isVisible(); };
    co_await m_stage.expect(text("the log frame is gone"), gone);
}

QCoro::Task<> Tour::disconnectFromTester()
{
    m_stage.say(text("Disconnect"));
    m_stage.press("Connect");
    co_await m_stage.expectText(text("Connect"), text("Connect"));
    const auto closed = [this] { return !m_console.session().Main.USBReset.isEnabled(); };
    co_await m_stage.expect(text("nothing can be sent any more"), closed);
}

} // namespace vantrel
