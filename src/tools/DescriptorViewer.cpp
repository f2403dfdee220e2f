// SPDX-License-Identifier: GPL-3.0-or-later
#include "tools/DescriptorViewer.h"

#include "link/Dialogs.h"
#include "link/ErrorBoundary.h"
#include "link/Files.h"
#include "link/NumberEntry.h"
#include "link/RuntimeError.h"
#include "link/Utils.h"
#include "link/publicvars.h"
#include "protocol/SetupPacket.h"
#include "tools/UsbDescriptors.h"

#include <utility>

namespace vantrel {

namespace {

/// Ends the reading of a reply.
struct ReportFull
{
};

} // namespace

DescriptorViewer::DescriptorViewer(Session &session, DeviceRequests &requests, Dialogs &dialogs,
                                   ErrorBoundary &errors)
    : m_session(session), m_requests(requests), m_dialogs(dialogs), m_errors(errors)
{
    m_controls.Save.setEnabled(false);
    m_requests.setHandler(DeviceRequests::Client::Viewer, this);
}

DescriptorViewer::~DescriptorViewer()
{
    m_requests.setHandler(DeviceRequests::Client::Viewer, nullptr);
}

void DescriptorViewer::onReply(QByteArrayView payload)
{
    try {
        descdecode(payload);
        showReports();
    } catch (const RuntimeError &error) {
        endWith(error.shortName()); // before the box: what was reported is shown below it
        m_errors.report(error);
    } catch (const ReportFull &) {
        endWith(QStringLiteral("The report is limited to 8 MB"));
    }
}

/// Ends the retrieval unless the reply has ended it already.
void DescriptorViewer::endWith(const QString &error)
{
    if (m_session.DescActive)
        gd_abort(error);
    else
        showReports();
}

void DescriptorViewer::onTimeout()
{
    gd_abort(QStringLiteral("Timeout"));
}

/// No reply can come any more.
void DescriptorViewer::onDiscarded()
{
    onTimeout();
}

void DescriptorViewer::getDescClicked()
{
    m_errors.runNow([this] { start(); });
}

bool DescriptorViewer::devAddrLeft()
{
    return m_errors.runNow(
        [this] { commitNumber(m_controls.DevAddr, NumberFormats::DeviceAddress); });
}

void DescriptorViewer::saveClicked()
{
    m_errors.run([this] { return save(); });
}

void DescriptorViewer::start()
{
    m_controls.GetDesc.setEnabled(false);
    m_retrieval.level = 0;
    m_retrieval.stringCursor = 0;
    m_controls.DescInfo.setText({});
    m_controls.Save.setEnabled(true);
    try {
        m_requests.beginWalk(
            makeRequest(usb::DescriptorType::Device, 0, 0, usb::DeviceDescriptorLength));
    } catch (const RuntimeError &) {
        m_requests.beginWalk({}); // nothing is sent: the retrieval ends by its time-out
        throw;
    }
}

void DescriptorViewer::gd_abort(const QString &message)
{
    m_reports += QStringLiteral("\r\n*** Get Descriptors Terminated\r\n"
                                "      --- ") +
                 message + QStringLiteral("\r\n");
    showReports();
    m_controls.GetDesc.setEnabled(true);
    m_requests.endWalk();
}

/// Throws ReportFull when there is no room for it.
void DescriptorViewer::addReport(const QString &report)
{
    if (m_controls.DescInfo.text().size() + m_reports.size() + report.size() > ReportLimit)
        throw ReportFull();
    m_reports += report;
}

/// A configuration may hold thousands of descriptors: the pane takes those of one reply at once.
void DescriptorViewer::showReports()
{
    if (!m_reports.isEmpty())
        m_controls.DescInfo.appendText(std::exchange(m_reports, {}));
}

/// The address is read anew each time: the user may go to another device in the middle.
QByteArray DescriptorViewer::makeRequest(quint8 type, int index, quint16 wIndex, int length)
{
    QString address = m_controls.DevAddr.text();
    const SetupPacket setup{usb::StandardDeviceToHost, usb::GetDescriptor,
                            static_cast<quint16>(type << 8U | checked<quint8>(index)), wIndex,
                            checked<quint16>(length)};
    m_retrieval.request = deviceRequest(ParseNumber(address), setup);
    return m_retrieval.request;
}

void DescriptorViewer::sendRequest(quint8 type, int index, quint16 wIndex, int length)
{
    m_requests.send(DeviceRequests::Client::Viewer, makeRequest(type, index, wIndex, length));
}

QCoro::Task<> DescriptorViewer::save()
{
    const FileChoice choice{FileChoice::Kind::SaveExisting,
                            QStringLiteral("Save Descriptors to File"),
                            QStringLiteral("Text Files|*.txt"),
                            QStringLiteral("txt"),
                            {}};
    const QString path = co_await m_dialogs.fileDialog(choice);
    if (path.isEmpty())
        co_return;
    try {
        writeAtStart(path, m_controls.DescInfo.text().toLatin1());
    } catch (const RuntimeError &error) {
        // This handler shows no box.
        ShowStatusLine(m_session,
                       QStringLiteral("The descriptors were not saved: ") + error.shortName());
    }
}

} // namespace vantrel
