// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

namespace vantrel::simulator {

class VirtualDevice;

/// A device that the simulator brings along.
struct BuiltInDevice
{
    QString name; ///< one word, for options and operator commands
    QString description;
    quint8 address; ///< where it is usually attached
    std::unique_ptr<VirtualDevice> (*make)();
    bool atStart = false; ///< attached unless other devices are asked for
};

/// Ascending by address. Devices that misbehave are at 0x20 and above.
const QList<BuiltInDevice> &builtInDevices();

/// By name, or by usual address ("0x02", "2"); nullptr when there is none.
const BuiltInDevice *findBuiltInDevice(const QString &nameOrAddress);

/// Names of the devices that are attached unless others are asked for.
QStringList devicesAtStart();

/// Names of the devices that a text asks for: "all", "none", or names and addresses with commas
/// between them. Each comes once; nothing when one of them is unknown.
std::optional<QStringList> readDeviceList(const QString &text);

/// A line for each device: name, usual address, description.
QStringList describeBuiltInDevices();

} // namespace vantrel::simulator
