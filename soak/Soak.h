// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Dice.h"
#include "Inspection.h"
#include "Journal.h"
#include "Operator.h"
#include "Reports.h"
#include "Subject.h"
#include "User.h"
#include "Vitals.h"
#include "Watchdog.h"

#include <QCoroTask>
#include <QString>

namespace vantrel::soak {

/// The whole run: in rounds of about 30 seconds of mixed use, with an inspection between them.
class Soak
{
public:
    Soak(double seconds, quint32 seed, const QString &directory);

    /// 0, or 1 when the program did what it must not. Prints a summary.
    QCoro::Task<int> run();

private:
    QCoro::Task<> rounds();
    QCoro::Task<> use(double seconds);
    void printSummary() const;
    void printLast() const;
    void printPanes();

    double m_seconds;
    Journal m_journal;
    Dice m_dice;
    Subject m_subject;
    Reports m_reports;
    User m_user;
    Operator m_operator;
    VitalsTable m_vitals;
    Inspection m_inspection;
    Watchdog m_watchdog;
};

} // namespace vantrel::soak
