// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Dice.h"
#include "Journal.h"

#include <QList>
#include <QString>

namespace vantrel::soak {

class Reports;
struct Subject;

/// Whoever stands at the simulated tester: plugs devices in and out, makes it report, and breaks
/// it for moments. Most of the time the tester has no fault.
class Operator
{
public:
    /// All must outlive the operator.
    Operator(Subject &subject, Reports &reports, Journal &journal, Dice &dice);

    /// One event.
    void act();
    /// Switches faults on or off when their time has come.
    void minding();
    /// Every fault off, from now until the next minding().
    void endFaults();

private:
    struct Event
    {
        const char *name;
        int weight;
        QString (Operator::*arguments)();
    };
    struct Fault
    {
        const char *name;
        QString (Operator::*value)();
    };

    static const QList<Event> &events();
    static const QList<Fault> &faults();

    void run(const QString &line);
    void sendReports();
    void breakSomething();

    QString none() { return {}; }
    QString byte();
    QString fourBytes();
    QString deviceName();
    QString deviceAddress();
    QString deviceError();
    QString message();
    QString transfer();
    QString anyBody();
    QString noise();
    QString commands();
    QString number() { return QString::number(m_dice.below(8)); }
    QString milliseconds() { return QString::number(m_dice.between(20, 2500)); }
    QString fragment() { return QString::number(m_dice.between(1, 32)); }
    QString shortTime() { return QString::number(m_dice.between(1, 2)); }
    QString byteCount() { return QString::number(m_dice.below(2000)); }
    QString word() { return QString::number(m_dice.below(64)); }
    QString bit() { return QString::number(m_dice.below(2)); }
    QString all() { return QStringLiteral("all"); }
    QString on() { return QStringLiteral("on"); }

    Subject &m_subject;
    Reports &m_reports;
    Journal &m_journal;
    Dice &m_dice;
    bool m_broken = false;
    double m_nextChange = 0; // seconds of the journal
};

} // namespace vantrel::soak
