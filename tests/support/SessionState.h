// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/publicvars.h"

#include <QStringList>

namespace vantrel::test {

namespace detail {

inline QString text(const QString &value)
{
    return value;
}
inline QString text(const QByteArray &value)
{
    return QString::fromLatin1(value.toHex());
}
inline QString text(double value)
{
    return QString::number(value);
}

} // namespace detail

/// Every value that a decoder may change, a line each: compare before and after. What the
/// de-framer keeps is left out.
inline QStringList stateOf(const Session &session)
{
    QStringList lines;
    const auto value = [&lines](const char *name, const auto &member) {
        lines.append(QLatin1String(name) + QStringLiteral(" = ") + detail::text(member));
    };
    value("LinkState", static_cast<int>(session.LinkState));
    value("NetworkMode", session.NetworkMode);
    value("RemoteHost", session.RemoteHost);
    value("BaudIndex", session.BaudIndex);
    value("TxPacket", session.TxPacket);
    value("StatusSeen", session.StatusSeen);
    value("FirmwareMajor", session.FirmwareMajor);
    value("FirmwareMinor", session.FirmwareMinor);
    value("TesterRamK", session.TesterRamK);
    value("TesterModel", session.TesterModel);
    value("TickCount", session.TickCount);
    value("TriggerHoldoff", session.TriggerHoldoff);
    value("DescTimeout", session.DescTimeout);
    value("VbusVolts", session.VbusVolts);
    value("VbusText", session.VbusText);
    value("RespText", session.RespText.text());
    value("RespDirty", session.RespDirty);
    value("Logging", session.Logging);
    value("LogBytes", session.LogBytes);
    value("ScriptBusy", session.ScriptBusy);
    value("ScriptDone", session.ScriptDone);
    value("ScriptError", session.ScriptError);
    value("Script", static_cast<int>(session.Script));
    value("Steps", static_cast<int>(session.Steps));
    value("DescActive", session.DescActive);
    value("FtdiActive", session.FtdiActive);
    value("FwBlockAck", session.FwBlockAck);
    value("ConfigReadDone", session.ConfigReadDone);
    value("ConfigReadData", session.ConfigReadData);
    value("FlashStatus", session.FlashStatus);
    value("FlashSlotState", session.FlashSlotState);
    value("FlashScriptName", session.FlashScriptName);
    value("DataTimeStamps", session.DataTimeStamps);
    value("MaxPacketCode", session.MaxPacketCode);
    value("FullSpeedMode", session.FullSpeedMode);

    for (const Control *control : session.Main.all) {
        const Colour colour = control->colour().value_or(Colour{});
        lines.append(QStringLiteral("%1: \"%2\" \"%3\" enabled %4 visible %5 checked %6 index %7")
                         .arg(control->name(), control->text(), control->toolTip())
                         .arg(control->isEnabled())
                         .arg(control->isVisible())
                         .arg(control->isChecked())
                         .arg(control->index()) +
                     QStringLiteral(" colour %1 %2 %3 %4 items %5")
                         .arg(control->colour().has_value())
                         .arg(colour.red)
                         .arg(colour.green)
                         .arg(colour.blue)
                         .arg(control->items().join(QLatin1Char('|'))));
    }
    return lines;
}

} // namespace vantrel::test
