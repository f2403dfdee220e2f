// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/publicvars.h"

#include <QSet>
#include <QString>
#include <QStringList>
#include <QTest>

#include <initializer_list>

namespace vantrel::test {

using NameSet = QSet<QString>;

/// The names, which have no characters beyond ASCII, as a set.
inline NameSet namesOf(std::initializer_list<const char *> names)
{
    NameSet set;
    for (const char *name : names)
        set.insert(QString::fromLatin1(name));
    return set;
}

/// Names of the main window's controls that are enabled, or of those that are not.
inline NameSet controlsWith(const Session &session, bool enabled)
{
    NameSet names;
    for (const Control *control : session.Main.all) {
        if (control->isEnabled() == enabled)
            names.insert(control->name());
    }
    return names;
}

inline void setAllEnabled(Session &session, bool enabled)
{
    for (Control *control : session.Main.all)
        control->setEnabled(enabled);
}

} // namespace vantrel::test

/// Lets a failed comparison show the names.
template <>
inline char *QTest::toString(const QSet<QString> &names)
{
    QStringList list(names.cbegin(), names.cend());
    list.sort();
    return qstrdup(qPrintable(list.join(QLatin1Char(' '))));
}
