// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

namespace vantrel::simulator {

class Tester;

/// The lines by which a person (or a script) makes things happen to a tester: "trigger 3",
/// "attach phone", "fault delay 200".
class OperatorCommands
{
public:
    /// Returns what to tell the operator, empty for nothing; no value when the arguments make no
    /// sense, which shows the usage.
    using Action = std::function<std::optional<QString>(const QStringList &arguments)>;

    /// `tester` must outlive the commands.
    explicit OperatorCommands(Tester &tester);

    /// A command of the program's own. `usage` names the arguments: one word each, in brackets
    /// where an argument may be left out, with "..." where more may follow.
    void add(const QString &name, const QString &usage, const QString &help, Action action);

    /// Carries out one line and returns what to tell the operator.
    QString run(const QString &line) const;

private:
    struct Entry
    {
        QString name;
        QString usage;
        QString help;
        Action action;
    };

    void addBusCommands();
    void addReportCommands();
    void addFaultCommand();
    QString helpText() const;

    Tester &m_tester;
    QList<Entry> m_entries;
};

} // namespace vantrel::simulator
