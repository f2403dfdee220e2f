// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>

namespace vantrel::simulator {

struct Faults;

/// A fault as text: how options and operator commands name and set it.
struct FaultEntry
{
    QString name;
    QString values; ///< what a value looks like, for help texts
    QString help;
    /// Sets the fault; "off" always switches it off. False, and nothing changed, for a value that
    /// the fault does not take.
    bool (*set)(Faults &faults, const QString &value);
};

const QList<FaultEntry> &faultTable();

/// nullptr when there is none of that name.
const FaultEntry *findFault(const QString &name);

} // namespace vantrel::simulator
