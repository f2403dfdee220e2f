// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/OperatorCommands.h"

#include "simulator/BuiltInDevices.h"
#include "simulator/FaultTable.h"
#include "simulator/Tester.h"
#include "simulator/TextValues.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vantrel::simulator {

namespace {

using Outcome = std::optional<QString>;
using Bytes = QList<quint8>;

/// Nothing to tell.
Outcome done()
{
    return QString();
}

/// The leading arguments as bytes; nothing when one is missing or no byte.
std::optional<Bytes> bytesOf(const QStringList &arguments, int count)
{
    Bytes bytes;
    for (int i = 0; i < count; ++i) {
        const auto byte = parseNumber(arguments.value(i), 0xFF);
        if (!byte)
            return std::nullopt;
        bytes.append(static_cast<quint8>(*byte));
    }
    return bytes;
}

/// An action whose arguments are so many bytes, and nothing else.
template <typename Report>
OperatorCommands::Action withBytes(int count, Report report)
{
    return [count, report](const QStringList &arguments) -> Outcome {
        const auto bytes = bytesOf(arguments, count);
        if (!bytes || arguments.size() != count)
            return std::nullopt;
        report(*bytes);
        return done();
    };
}

/// An action whose arguments are so many bytes, then data in hexadecimal to the end of the line.
template <typename Report>
OperatorCommands::Action withBytesAndData(int count, Report report)
{
    return [count, report](const QStringList &arguments) -> Outcome {
        const auto bytes = bytesOf(arguments, count);
        const auto data = parseHex(arguments.mid(count).join(QLatin1Char(' ')));
        if (!bytes || !data)
            return std::nullopt;
        report(*bytes, *data);
        return done();
    };
}

Outcome attach(Tester &tester, const QStringList &arguments)
{
    const BuiltInDevice *device = findBuiltInDevice(arguments.value(0));
    const auto address = arguments.size() < 2 ? std::optional<quint32>(device ? device->address : 0)
                                              : parseNumber(arguments.at(1), 127);
    if (arguments.isEmpty() || arguments.size() > 2 || !address)
        return std::nullopt;
    if (!device)
        return QStringLiteral("no such device");
    if (!tester.attach(device->make(), static_cast<quint8>(*address)))
        return QStringLiteral("the address is taken");
    return done();
}

Outcome detach(Tester &tester, const QStringList &arguments)
{
    const auto address = bytesOf(arguments, 1);
    if (!address || arguments.size() != 1)
        return std::nullopt;
    return tester.detach(address->first()) ? done() : QStringLiteral("no device at that address");
}

Outcome setFault(Tester &tester, const QStringList &arguments)
{
    const FaultEntry *fault = findFault(arguments.value(0));
    const QString value = arguments.mid(1).join(QString());
    if (fault != nullptr && fault->set(tester.faults(), value))
        return done();
    return std::nullopt;
}

} // namespace

OperatorCommands::OperatorCommands(Tester &tester) : m_tester(tester)
{
    add(QStringLiteral("help"), {}, QStringLiteral("show this list"),
        [this](const QStringList &) { return helpText(); });
    addBusCommands();
    addReportCommands();
    addFaultCommand();
}

void OperatorCommands::add(const QString &name, const QString &usage, const QString &help,
                           Action action)
{
    m_entries.append({name, usage, help, std::move(action)});
}

void OperatorCommands::addBusCommands()
{
    add(QStringLiteral("attach"), QStringLiteral("NAME|ADDRESS [ADDRESS]"),
        QStringLiteral("attach a built-in device"),
        [this](const QStringList &arguments) { return attach(m_tester, arguments); });
    add(QStringLiteral("detach"), QStringLiteral("ADDRESS"), QStringLiteral("detach a device"),
        [this](const QStringList &arguments) { return detach(m_tester, arguments); });
    add(QStringLiteral("overload"), {}, QStringLiteral("draw too much current from Vbus"),
        withBytes(0, [this](const Bytes &) { m_tester.overloadVbus(); }));
    add(QStringLiteral("drop"), {}, QStringLiteral("drop the connection to the console"),
        withBytes(0, [this](const Bytes &) { m_tester.dropConnection(); }));
}

void OperatorCommands::addReportCommands()
{
    Tester &tester = m_tester;
    add(QStringLiteral("status"), QStringLiteral("HUB PORT HIGH LOW"),
        QStringLiteral("report a hub port's status"), withBytes(4, [&tester](const Bytes &b) {
            tester.reportStatus(b[0], b[1], static_cast<quint16>(b[2] << 8U | b[3]));
        }));
    add(QStringLiteral("disconnect"), QStringLiteral("ADDRESS"),
        QStringLiteral("report a device as gone"),
        withBytes(1, [&tester](const Bytes &b) { tester.reportDisconnect(b[0]); }));
    add(QStringLiteral("data"), QStringLiteral("ADDRESS ENDPOINT HEX..."),
        QStringLiteral("report data from a device"),
        withBytesAndData(2, [&tester](const Bytes &b, const QByteArray &data) {
            tester.reportData(b[0], b[1], data);
        }));
    add(QStringLiteral("error"), QStringLiteral("ADDRESS ENDPOINT CODE"),
        QStringLiteral("report a device error"),
        withBytes(3, [&tester](const Bytes &b) { tester.reportDeviceError(b[0], b[1], b[2]); }));
    add(QStringLiteral("fail"), {}, QStringLiteral("report a tester failure"),
        withBytes(0, [&tester](const Bytes &) { tester.reportFail(); }));
    add(QStringLiteral("refuse"), {}, QStringLiteral("report a command error"),
        withBytes(0, [&tester](const Bytes &) { tester.reportCommandError(); }));
    add(QStringLiteral("trigger"), QStringLiteral("CHANNEL"),
        QStringLiteral("report a trigger input"),
        withBytes(1, [&tester](const Bytes &b) { tester.reportTrigger(b[0]); }));
    add(QStringLiteral("message"), QStringLiteral("HEX..."), QStringLiteral("report a message"),
        withBytesAndData(
            0, [&tester](const Bytes &, const QByteArray &data) { tester.reportMessage(data); }));
    add(QStringLiteral("transfer"), QStringLiteral("STATE STATUS [HEX...]"),
        QStringLiteral("report the status of a block transfer"),
        withBytesAndData(2, [&tester](const Bytes &b, const QByteArray &data) {
            tester.reportBlockTransferStatus(b[0], b[1], data);
        }));
    add(QStringLiteral("packet"), QStringLiteral("HEX..."),
        QStringLiteral("send a packet of any body"),
        withBytesAndData(
            0, [&tester](const Bytes &, const QByteArray &body) { tester.sendPacket(body); }));
    add(QStringLiteral("raw"), QStringLiteral("HEX..."),
        QStringLiteral("send bytes as they stand, without framing"),
        withBytesAndData(
            0, [&tester](const Bytes &, const QByteArray &bytes) { tester.sendRaw(bytes); }));
}

void OperatorCommands::addFaultCommand()
{
    add(QStringLiteral("fault"), QStringLiteral("NAME VALUE|off"),
        QStringLiteral("switch a fault on or off"),
        [this](const QStringList &arguments) { return setFault(m_tester, arguments); });
}

QString OperatorCommands::helpText() const
{
    const auto row = [](const QString &call, const QString &help) {
        return call.leftJustified(32) + QLatin1Char(' ') + help;
    };
    QStringList lines;
    for (const Entry &entry : m_entries)
        lines.append(row(entry.name + QLatin1Char(' ') + entry.usage, entry.help));
    lines.append(QStringLiteral("Faults:"));
    for (const FaultEntry &fault : faultTable())
        lines.append(row(fault.name + QLatin1Char(' ') + fault.values, fault.help));
    lines.append(QStringLiteral("Devices:"));
    lines += describeBuiltInDevices();
    return lines.join(QLatin1Char('\n'));
}

QString OperatorCommands::run(const QString &line) const
{
    QStringList arguments = line.simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (arguments.isEmpty())
        return {};
    const QString name = arguments.takeFirst();
    const auto entry = std::find_if(m_entries.begin(), m_entries.end(),
                                    [&](const Entry &candidate) { return candidate.name == name; });
    if (entry == m_entries.end())
        return QStringLiteral("no such command, try help");
    const Outcome outcome = entry->action(arguments);
    return outcome ? *outcome
                   : QStringLiteral("usage: ") + entry->name + QLatin1Char(' ') + entry->usage;
}

} // namespace vantrel::simulator
