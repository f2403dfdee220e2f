// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Journal.h"
#include "Saves.h"
#include "Target.h"

#include <QCoroTask>
#include <QString>

#include <functional>

namespace vantrel::soak {

class Operator;
class Reports;
class User;
class VitalsTable;
struct Subject;

/// Waits until the condition holds; false when it does not within so many milliseconds.
QCoro::Task<bool> comesTrue(std::function<bool()> condition, int milliseconds);

/// How long is waited for what must come: the longest delay of the tester, and a busy machine.
constexpr int Patience = 20'000; // ms

/// The same; throws SoakFailure, which names what was waited for, when it does not hold in time.
QCoro::Task<> require(QString what, std::function<bool()> condition, int milliseconds = Patience);

/// Brings the program to rest and back to work, and looks whether everything is as it must be.
/// Everything throws SoakFailure when it is not.
class Inspection
{
public:
    /// Logs go to `directory`; those that are in order are deleted. The references must outlive
    /// the inspection.
    Inspection(Subject &subject, User &user, Operator &tester, Reports &reports, Journal &journal,
               VitalsTable &vitals, QString directory);

    /// Selects a tester, starts a log, connects to the tester, which has no faults, sends a device
    /// request, and saves a file of every kind.
    QCoro::Task<> begin();
    /// Ends every fault and every window, disconnects, closes the log and reads it.
    QCoro::Task<> end();

    int filesCompared() const { return m_saves.count(); }
    qsizetype logs() const { return m_logs; }
    qsizetype linesLogged() const { return m_lines; }
    qsizetype bytesLogged() const { return m_bytes; }
    qsizetype reportsLogged() const { return m_reportsLogged; }

private:
    Target::Kind nextKind();
    QCoro::Task<> startLog();
    QCoro::Task<> connectAgain();
    QCoro::Task<> askDevice();
    QCoro::Task<> fillCommandPane();
    QCoro::Task<> receiveEverything();
    QCoro::Task<> clearTheDesk();
    void requireNothingUnderWay() const;
    void checkLog();
    QString logPath() const;

    Subject &m_subject;
    User &m_user;
    Operator &m_tester;
    Reports &m_reports;
    Journal &m_journal;
    VitalsTable &m_vitals;
    QString m_directory;
    Saves m_saves;
    double m_faultsEnded = 0; // seconds of the journal
    std::size_t m_rounds = 0;
    qsizetype m_logs = 0;
    qsizetype m_lines = 0;
    qsizetype m_bytes = 0;
    qsizetype m_reportsLogged = 0;
};

} // namespace vantrel::soak
