// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>

#include <memory>

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

const QList<BuiltInDevice> &builtInDevices();

/// By name, or by usual address ("0x02", "2"); nullptr when there is none.
const BuiltInDevice *findBuiltInDevice(const QString &nameOrAddress);

} // namespace vantrel::simulator
