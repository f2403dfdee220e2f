// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ToolsTour.h"

#include "app/Stage.h"
#include "app/TourFiles.h"
#include "link/Files.h"

#include <QFile>
#include <QWidget>

namespace vantrel {

namespace {

QString text(const char *latin1)
{
    return QString::fromLatin1(latin1);
}

} // namespace

QString ToolsTour::path(const char *fileName) const
{
    return m_stage.directory() + QLatin1Char('/') + text(fileName);
}

QCoro::Task<> ToolsTour::walk()
{
    co_await readDescriptors();
    co_await sendRequest();
    co_await keepRequest();
    co_await lookForHelp();
}

QCoro::Task<> ToolsTour::readDescriptors()
{
    m_stage.say(text("Read a device's descriptors and save the report"));
    m_stage.choose("UtilDV");
    co_await m_stage.expectDialog(text("GetDescForm"));
    m_stage.enter("DevAddr", text("3"));
    co_await m_stage.expectText(text("DevAddr"), text("0x03"));
    m_stage.press("GetDesc");
    co_await m_stage.expectReport(text("DescInfo"), text("      --- Successful"));
    co_await m_stage.expectReport(text("DescInfo"), text(" idVendor = 0x0FCE"));
    co_await m_stage.expectReport(text("DescInfo"), text("   Handset 600"));
    co_await m_stage.expectReport(text("DescInfo"), text(" MaxPower 500mA"));
    m_stage.picture(text("GetDescForm"), m_stage.dialog(text("GetDescForm")));

    const QString report = path(tourfile::DescriptorReport);
    Stage::write(report, {}); // an existing file is to be chosen
    m_stage.press("Save");
    co_await m_stage.answerFileDialog(report);
    const auto saved = [report] {
        const QByteArray lines = readWholeFile(report);
        return lines.startsWith("===== Device Descriptor =====\r\n") &&
               lines.endsWith("      --- Successful\r\n");
    };
    co_await m_stage.expect(text("the report is in the file"), saved);
    m_stage.closeWindow(text("GetDescForm"));
}

QCoro::Task<> ToolsTour::sendRequest()
{
    m_stage.say(text("Send a single control request"));
    m_stage.choose("UtilDR");
    co_await m_stage.expectDialog(text("DevRqstForm"));
    m_stage.enter("Address", text("2"));
    m_stage.enter("bmReqType", text("0x80"));
    m_stage.enter("bReq", text("6"));
    m_stage.enter("wValue", text("0x100"));
    m_stage.enter("wLength", text("18"));
    co_await m_stage.expectText(text("wLength"), text("0x0012"));
    m_stage.picture(text("DevRqstForm"), m_stage.dialog(text("DevRqstForm")));
    m_stage.press("Send");
    co_await m_stage.expectLine(text("RespWin"), text("-- Device Request Response: Status = 00"));
    co_await m_stage.expectLine(text("RespWin"),
                                text(" 12 01 10 01 00 00 00 08 F3 05 07 00 20 03 00 00 00 01 "));
}

QCoro::Task<> ToolsTour::keepRequest()
{
    m_stage.say(text("Keep the request in a file, and fetch it again"));
    const QString file = path(tourfile::Request);
    m_stage.press("Save");
    co_await m_stage.answerFileDialog(file);
    const auto saved = [file] {
        return QFile::exists(file) &&
               readWholeFile(file) == QByteArray::fromHex("02800600010000120000");
    };
    co_await m_stage.expect(text("the file holds the request"), saved);
    m_stage.enter("wLength", text("8"));
    m_stage.press("Open");
    co_await m_stage.answerFileDialog(file);
    co_await m_stage.expectText(text("wLength"), text("0x0012"));
    m_stage.closeWindow(text("DevRqstForm"));
}

QCoro::Task<> ToolsTour::lookForHelp()
{
    m_stage.say(text("Look for help"));
    m_stage.choose("HelpTopics");
    co_await m_stage.expectDialog(text("HelpForm"));
    m_stage.picture(text("HelpForm"), m_stage.dialog(text("HelpForm")));
    m_stage.press("OKButton");
    co_await m_stage.expectClosed(text("HelpForm"));
    m_stage.choose("HelpAbout");
    co_await m_stage.expectDialog(text("frmAbout"));
    co_await m_stage.expectText(text("lblTitle"), text("Vantrel"));
    m_stage.picture(text("frmAbout"), m_stage.dialog(text("frmAbout")));
    m_stage.press("cmdOK");
    co_await m_stage.expectClosed(text("frmAbout"));
}

} // namespace vantrel
