// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/FilePath.h"

#include <QString>

#include <exception>

namespace vantrel {

/// Ends the handler it arises in; the user sees shortName() in one message box.
class RuntimeError : public std::exception
{
public:
    explicit RuntimeError(const QString &shortName)
        : m_shortName(shortName), m_what(shortName.toUtf8())
    {
    }

    const QString &shortName() const noexcept { return m_shortName; }
    const char *what() const noexcept override { return m_what.constData(); }

    static RuntimeError overflow() { return RuntimeError(QStringLiteral("Overflow")); }
    static RuntimeError subscript()
    {
        return RuntimeError(QStringLiteral("Subscript out of range"));
    }
    /// `reason` as the system words it ("Permission denied", "No such file or directory").
    static RuntimeError file(const QString &reason, const QString &path)
    {
        return RuntimeError(reason + QStringLiteral(": ") + shownPath(path));
    }

private:
    QString m_shortName;
    QByteArray m_what;
};

} // namespace vantrel
