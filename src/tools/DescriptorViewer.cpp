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
#include "protocol/VornCommands.h"
#include "tools/UsbDescriptors.h"

#include <QScopeGuard>

#include <utility>

namespace vantrel {

namespace {

constexpr qint16 RetrievalTicks = 50;

} // namespace

DescriptorViewer::DescriptorViewer(Session &session, VornCommands &commands, Dialogs &dialogs,
                                   ErrorBoundary &errors)
    : m_session(session), m_commands(commands), m_dialogs(dialogs), m_errors(errors)
{
    m_controls.Save.setEnabled(false);
    m_session.descdecode = [this](QByteArrayView payload) {
        m_errors.runNow([this, payload] {
            const auto show = qScopeGuard([this] { showReports(); });
            descdecode(payload);
        });
    };
    m_session.gd_abort = [this](const QString &message) { gd_abort(message); };
}

DescriptorViewer::~DescriptorViewer()
{
    m_session.descdecode = nullptr;
    m_session.gd_abort = nullptr;
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
    m_session.DescActive = true;
    m_retrieval.level = 0;
    m_retrieval.stringCursor = 0;
    m_controls.DescInfo.setText({});
    m_session.DescTimeout = RetrievalTicks;
    m_controls.Save.setEnabled(true);
    sendRequest(usb::DescriptorType::Device, 0, 0, usb::DeviceDescriptorLength);
}

void DescriptorViewer::gd_abort(const QString &message)
{
    m_reports += QStringLiteral("\r\n*** Get Descriptors Terminated\r\n"
                                "      --- ") +
                 message + QStringLiteral("\r\n");
    showReports();
    m_session.DescActive = false;
    m_controls.GetDesc.setEnabled(true);
    m_session.DescTimeout = 0;
}

/// A configuration may hold thousands of descriptors: the pane takes those of one reply at once.
void DescriptorViewer::showReports()
{
    if (!m_reports.isEmpty())
        m_controls.DescInfo.appendText(std::exchange(m_reports, {}));
}

/// The address is read anew each time: the user may go to another device in the middle.
void DescriptorViewer::sendRequest(quint8 type, int index, quint16 wIndex, int length)
{
    QString address = m_controls.DevAddr.text();
    const SetupPacket setup{usb::StandardDeviceToHost, usb::GetDescriptor,
                            static_cast<quint16>(type << 8U | checked<quint8>(index)), wIndex,
                            checked<quint16>(length)};
    m_retrieval.request = deviceRequest(ParseNumber(address), setup);
    QByteArray block = m_retrieval.request; // comes back with its ESC bytes doubled
    m_commands.SendDeviceRequest(block);
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
    } catch (const RuntimeError &) {
        co_return; // a save that fails is not told
    }
}

} // namespace vantrel
