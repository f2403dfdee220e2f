// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Journal.h"

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

/// Brings the program to rest and back to work, and looks whether everything is as it must be.
/// Everything throws SoakFailure when it is not.
class Inspection
{
public:
    /// Logs go to `directory`; those that are in order are deleted. The references must outlive
    /// the inspection.
    Inspection(Subject &subject, User &user, Operator &tester, Reports &reports, Journal &journal,
               VitalsTable &vitals, QString directory);

    /// Starts a log, connects to a tester without faults, and has it answer a device request.
    QCoro::Task<> begin();
    /// Ends every fault and every window, disconnects, closes the log and reads it.
    QCoro::Task<> end();

    qsizetype logs() const { return m_logs; }
    qsizetype linesLogged() const { return m_lines; }
    qsizetype bytesLogged() const { return m_bytes; }
    qsizetype reportsLogged() const { return m_reportsLogged; }

private:
    QCoro::Task<> require(QString what, std::function<bool()> condition, int milliseconds);
    QCoro::Task<> startLog();
    QCoro::Task<> connectAgain();
    QCoro::Task<> askDevice();
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
    double m_faultsEnded = 0; // seconds of the journal
    qsizetype m_logs = 0;
    qsizetype m_lines = 0;
    qsizetype m_bytes = 0;
    qsizetype m_reportsLogged = 0;
};

} // namespace vantrel::soak
