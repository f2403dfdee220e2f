// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/NetworkConfig.h"

#include "link/Dialogs.h"
#include "link/ErrorBoundary.h"
#include "link/RuntimeError.h"
#include "link/Utils.h"
#include "link/publicvars.h"
#include "protocol/VornCommands.h"

#include <algorithm>

namespace vantrel {

namespace {

constexpr NumberFormat AddressPart{Notation::Decimal, 0, 255, decimalText, true};
constexpr NumberFormat MacByte{Notation::Hexadecimal, 0, 0xFF, plainByteText};

} // namespace

NetworkConfig::NetworkConfig(Session &session, VornCommands &commands, Dialogs &dialogs,
                             ErrorBoundary &errors)
    : m_session(session), m_commands(commands), m_dialogs(dialogs), m_errors(errors)
{
}

void NetworkConfig::opened()
{
    m_opening.cancel();
    m_open = true;
    m_source = currentTester(m_session);
    m_controls.btUpdate.setEnabled(false);
    for (int i = 0; i < NetworkRecord::Size; ++i)
        m_controls.box(i).setText({});
    m_controls.lblHint.setText({});
    m_controls.cbMACEnbl.setChecked(false);
    setMacEnabled(false);
    m_errors.run([this] { return read(); });
}

void NetworkConfig::closed()
{
    m_opening.cancel();
    m_open = false;
    m_session.waits.check();
}

void NetworkConfig::macEnableClicked()
{
    m_errors.run([this] { return confirmMac(); });
}

void NetworkConfig::updateClicked()
{
    m_errors.run([this] { return update(); });
}

void NetworkConfig::cancelClicked()
{
    emit closeWanted();
}

void NetworkConfig::edited()
{
    showHint();
}

bool NetworkConfig::ipLeft(int index)
{
    return leave(m_controls.tbIP.at(static_cast<std::size_t>(index)), AddressPart);
}

bool NetworkConfig::gatewayLeft(int index)
{
    return leave(m_controls.tbGWIP.at(static_cast<std::size_t>(index)), AddressPart);
}

void NetworkConfig::maskLeft(int index)
{
    if (m_open)
        noteNumber(m_controls.tbMask.at(static_cast<std::size_t>(index)), AddressPart);
}

bool NetworkConfig::macLeft(int index)
{
    return leave(m_controls.tbMAC.at(static_cast<std::size_t>(index)), MacByte);
}

QCoro::Task<> NetworkConfig::read()
{
    const CancelToken token(m_session, m_opening);
    m_readBuffer = QByteArray(NetworkRecord::Size, '\0');
    const int failed = co_await m_commands.SendConfigMemoryRead(
        NetworkRecord::Address, m_readBuffer, NetworkRecord::Size, token);
    // A failure is shown after the box that reports the loss of the link.
    const auto read = [this, &token] { return !m_session.LossBoxOpen || !token.isWindowOpen(); };
    const WaitEnd end = co_await m_session.waits.until(read);
    if (end == WaitEnd::Closed || !token.isWindowOpen())
        co_return;
    m_controls.btUpdate.setEnabled(true);
    if (failed == 0) {
        showRecord(m_readBuffer.first(
            std::min<qsizetype>(NetworkRecord::Size, m_session.ConfigReadData.size())));
    } else {
        showHint();
        const Message failure{
            QStringLiteral("Failed to Read Configuration Information from Tester"),
            QStringLiteral("Read Configuration")};
        co_await m_dialogs.messageBox(failure);
    }
}

QCoro::Task<> NetworkConfig::update()
{
    if (!m_controls.btUpdate.isEnabled())
        co_return;
    if (m_source != currentTester(m_session)) {
        const Message refusal{
            QStringLiteral("These are the settings of the tester of an earlier connection. "
                           "Nothing was written: close the window and open it again."),
            QStringLiteral("Vantrel - Illegal Operation")};
        co_await m_dialogs.messageBox(refusal);
        co_return;
    }
    m_commands.SendConfigMemoryWrite(NetworkRecord::Address, enteredRecord().toBytes());
    emit closeWanted();
}

void NetworkConfig::showRecord(const QByteArray &bytes)
{
    for (int i = 0; i < bytes.size(); ++i)
        m_controls.box(i).setText(networkBoxText(i, static_cast<quint8>(bytes[i])));
    showHint();
}

QCoro::Task<> NetworkConfig::confirmMac()
{
    if (!m_controls.cbMACEnbl.isChecked()) {
        setMacEnabled(false);
        co_return;
    }
    const CancelToken token(m_session, m_opening);
    const Message question{
        QStringLiteral("Changing the MAC Address could result in conflicts on the network\r\n"
                       "Are you sure you want to enable MAC address modification?"),
        QStringLiteral("Enable MAC Address Modification"), Message::Buttons::YesNo};
    const Answer answer = co_await m_dialogs.messageBox(question);
    if (!token.isWindowOpen())
        co_return;
    m_controls.cbMACEnbl.setChecked(answer == Answer::Yes);
    setMacEnabled(answer == Answer::Yes);
}

void NetworkConfig::setMacEnabled(bool enabled)
{
    for (Control &box : m_controls.tbMAC)
        box.setEnabled(enabled);
}

NetworkRecord NetworkConfig::enteredRecord()
{
    NetworkRecord record;
    for (int i = 0; i < NetworkRecord::Size; ++i)
        record.bytes.at(static_cast<std::size_t>(i)) = networkBoxByte(i, m_controls.box(i).text());
    return record;
}

/// Half a number may stand in a box while the user types, so an error is a hint here.
void NetworkConfig::showHint()
{
    QString hint;
    try {
        hint = networkHint(enteredRecord());
    } catch (const RuntimeError &) {
        hint = QStringLiteral("Each part of an address is 0 to 255, of the MAC address 00 to FF");
    }
    m_controls.lblHint.setText(hint);
}

/// A window that goes leaves its field too; there is nothing to correct any more.
bool NetworkConfig::leave(Control &box, const NumberFormat &format)
{
    if (!m_open)
        return true;
    const bool accepted = m_errors.runNow([&] { commitNumber(box, format); });
    showHint();
    return accepted;
}

} // namespace vantrel
