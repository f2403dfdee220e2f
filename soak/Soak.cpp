// SPDX-License-Identifier: GPL-3.0-or-later
#include "Soak.h"

#include <QCoroTimer>

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace vantrel::soak {

namespace {

constexpr double RoundTime = 25; // seconds of use
constexpr double SampleTime = 2; // seconds between samples

void print(const QString &line)
{
    std::printf("%s\n", qUtf8Printable(line));
    std::fflush(stdout);
}

} // namespace

Soak::Soak(double seconds, quint32 seed, const QString &directory)
    : m_seconds(seconds), m_dice(seed), m_subject(directory), m_reports(m_subject),
      m_user(m_subject, m_journal, m_dice, directory),
      m_operator(m_subject, m_reports, m_journal, m_dice),
      m_inspection(m_subject, m_user, m_operator, m_reports, m_journal, m_vitals, directory),
      m_watchdog([this] { printLast(); })
{
}

QCoro::Task<int> Soak::run()
{
    QString failure;
    try {
        co_await rounds();
        m_vitals.check(m_seconds);
        if (m_watchdog.longestWait() > Watchdog::LongestWait)
            throw SoakFailure(QStringLiteral("an event waited %1 ms for its turn")
                                  .arg(m_watchdog.longestWait(), 0, 'f', 0));
    } catch (const std::exception &error) {
        failure = QString::fromUtf8(error.what());
    }
    printSummary();
    if (failure.isEmpty())
        co_return 0;
    printLast();
    printPanes();
    print(QStringLiteral("FAILED: ") + failure);
    co_return 1;
}

QCoro::Task<> Soak::rounds()
{
    const auto started = [this] { return m_user.refuse(); };
    const bool asked = co_await comesTrue(started, 5000);
    if (!asked)
        throw SoakFailure(QStringLiteral("a first start does not tell of the names file"));
    do {
        co_await m_inspection.begin();
        co_await use(std::min(RoundTime, m_seconds - m_journal.seconds()));
        co_await m_inspection.end();
    } while (m_journal.seconds() < m_seconds);
    co_await m_inspection.begin();
    co_await m_inspection.end();
}

QCoro::Task<> Soak::use(double seconds)
{
    const double end = m_journal.seconds() + seconds;
    double nextSample = m_journal.seconds();
    while (m_journal.seconds() < end) {
        const std::chrono::milliseconds pause(m_dice.between(20, 200));
        co_await QCoro::sleepFor(pause);
        m_operator.minding();
        if (m_dice.oneIn(2))
            m_operator.act();
        m_user.act();
        if (m_journal.seconds() >= nextSample) {
            m_vitals.sample(vitalsNow(m_journal));
            nextSample += SampleTime;
        }
    }
}

void Soak::printSummary() const
{
    using Group = Journal::Group;
    struct Row
    {
        const char *title;
        Group group;
    };
    for (const Row &row :
         {Row{"Actions of the user", Group::Action},
          Row{"Boxes and dialogs answered", Group::Answer},
          Row{"Events at the tester", Group::Event}, Row{"Faults", Group::Fault}}) {
        print(
            QStringLiteral("%1: %2").arg(QLatin1String(row.title)).arg(m_journal.total(row.group)));
        for (const QString &line : m_journal.table(row.group))
            print(QStringLiteral("  ") + line);
    }
    m_vitals.print();
    print(QStringLiteral("Time %1 s; connections %2; numbered reports sent %3, logged %4")
              .arg(m_journal.seconds(), 0, 'f', 0)
              .arg(m_reports.connections())
              .arg(m_reports.sent())
              .arg(m_inspection.reportsLogged()));
    print(QStringLiteral("Other files compared: %1").arg(m_inspection.filesCompared()));
    print(QStringLiteral("Logs %1, of %2 lines and %3 bytes; longest wait of an event %4 ms")
              .arg(m_inspection.logs())
              .arg(m_inspection.linesLogged())
              .arg(m_inspection.bytesLogged())
              .arg(m_watchdog.longestWait(), 0, 'f', 0));
}

void Soak::printLast() const
{
    print(QStringLiteral("Last of all:"));
    for (const QString &entry : m_journal.last())
        print(QStringLiteral("  ") + entry);
    print(QStringLiteral("  tried: ") + m_journal.attempted());
}

void Soak::printPanes()
{
    constexpr qsizetype Lines = 25;
    const MainControls &main = m_subject.console.session().Main;
    for (const Control *pane : {&main.CmdWin, &main.RespWin}) {
        const QStringList lines = pane->text().split(QStringLiteral("\r\n"));
        print(QStringLiteral("The last lines of ") + pane->name());
        for (const QString &line : lines.last(std::min(Lines, lines.size())))
            print(QStringLiteral("  | ") + line);
    }
}

} // namespace vantrel::soak
