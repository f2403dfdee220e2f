// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QElapsedTimer>
#include <QMap>
#include <QString>
#include <QStringList>

#include <exception>

namespace vantrel::soak {

/// The program did what it must not.
class SoakFailure : public std::exception
{
public:
    explicit SoakFailure(const QString &what) : m_what(what.toUtf8()) {}
    const char *what() const noexcept override { return m_what.constData(); }

private:
    QByteArray m_what;
};

/// What has been done to the program: how often, by kind, and what last.
class Journal
{
public:
    enum class Group { Action, Answer, Event, Fault };

    Journal() { m_time.start(); }

    /// What is about to be done, for the last words when it never ends.
    void attempt(const QString &what) { m_attempt = what; }

    /// `kind` is counted in its group; `detail` shows among the last entries only.
    void note(Group group, const QString &kind, const QString &detail = {});

    int total(Group group) const;
    /// "kind count, kind count, ...", the most frequent first, in lines of some width.
    QStringList table(Group group) const;
    /// The last entries with their times.
    const QStringList &last() const { return m_last; }
    const QString &attempted() const { return m_attempt; }
    double seconds() const { return static_cast<double>(m_time.elapsed()) / 1000; }

private:
    QElapsedTimer m_time;
    QMap<Group, QMap<QString, int>> m_counts;
    QStringList m_last;
    QString m_attempt;
};

} // namespace vantrel::soak
