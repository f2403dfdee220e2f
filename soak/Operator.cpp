// SPDX-License-Identifier: GPL-3.0-or-later
#include "Operator.h"

#include "Reports.h"
#include "Subject.h"

#include "simulator/BuiltInDevices.h"

#include <array>

namespace vantrel::soak {

namespace {

QString text(const char *latin1)
{
    return QString::fromLatin1(latin1);
}

QString hex(const QByteArray &bytes)
{
    return QString::fromLatin1(bytes.toHex(' '));
}

} // namespace

Operator::Operator(Subject &subject, Reports &reports, Journal &journal, Dice &dice)
    : m_subject(subject), m_reports(reports), m_journal(journal), m_dice(dice)
{
}

const QList<Operator::Event> &Operator::events()
{
    static const QList<Event> events{
        {"reports", 40, nullptr},
        {"attach", 10, &Operator::deviceName},
        {"detach", 5, &Operator::deviceAddress},
        {"status", 5, &Operator::fourBytes},
        {"disconnect", 3, &Operator::byte},
        {"error", 5, &Operator::deviceError},
        {"message", 5, &Operator::message},
        {"trigger", 4, &Operator::number},
        {"transfer", 3, &Operator::transfer},
        {"packet", 3, &Operator::anyBody},
        {"raw", 2, &Operator::noise},
        {"refuse", 2, &Operator::none},
        {"fail", 1, &Operator::none},
        {"overload", 1, &Operator::none},
        {"drop", 1, &Operator::none},
    };
    return events;
}

const QList<Operator::Fault> &Operator::faults()
{
    static const QList<Fault> faults{
        {"silence", &Operator::all},
        {"silence", &Operator::commands},
        {"refusal", &Operator::all},
        {"refusal", &Operator::commands},
        {"delay", &Operator::milliseconds},
        {"status", &Operator::byte},
        {"refuse-step", &Operator::number},
        {"flash-fails", &Operator::all},
        {"flash-state", &Operator::byte},
        {"short-reply", &Operator::number},
        {"double", &Operator::on},
        {"garbage", &Operator::noise},
        {"fragment", &Operator::fragment},
        {"pause", &Operator::shortTime},
        {"drop-after", &Operator::byteCount},
        {"firmware-corrupts", &Operator::on},
        {"eeprom-erase-fails", &Operator::on},
        {"eeprom-write-fails", &Operator::word},
        {"eeprom-read-fails", &Operator::word},
        {"eeprom-read-short", &Operator::bit},
    };
    return faults;
}

void Operator::act()
{
    const Event &event = m_dice.weighted(events());
    if (!event.arguments) {
        sendReports();
        return;
    }
    const QString line = text(event.name) + QLatin1Char(' ') + (this->*event.arguments)();
    m_journal.note(Journal::Group::Event, text(event.name), line);
    run(line);
}

/// A complaint about the device is one that a person would get as well; any other is a mistake of
/// the soak's own.
void Operator::run(const QString &line)
{
    const QString answer = m_subject.target->commands().run(line);
    if (answer.startsWith(text("usage")) || answer.startsWith(text("no such command")))
        throw SoakFailure(text("the operator's line \"%1\": %2").arg(line, answer));
}

/// One report, now and then a flood.
void Operator::sendReports()
{
    constexpr int LongestFlood = 400;
    // A tester that sends byte by byte would be busy with a flood for minutes.
    const bool slow = m_subject.target->tester().faults().fragmentPause > 0;
    const bool flood = !slow && m_dice.oneIn(8);
    const int count = flood ? m_dice.between(50, LongestFlood) : m_dice.between(1, 3);
    m_journal.note(Journal::Group::Event, flood ? text("flood") : text("reports"));
    for (int i = 0; i < count && m_reports.send(); ++i) {
    }
}

void Operator::minding()
{
    if (m_journal.seconds() < m_nextChange)
        return;
    const bool wasBroken = m_broken;
    endFaults();
    if (!wasBroken)
        breakSomething();
    const double tenths = wasBroken ? m_dice.between(20, 80) : m_dice.between(5, 40);
    m_nextChange = m_journal.seconds() + tenths / 10;
}

void Operator::breakSomething()
{
    m_broken = true;
    for (int count = m_dice.oneIn(3) ? 2 : 1; count > 0; --count) {
        const Fault &fault = m_dice.oneOf(faults());
        const QString line = text("fault %1 %2").arg(text(fault.name), (this->*fault.value)());
        m_journal.note(Journal::Group::Fault, text(fault.name), line);
        run(line);
    }
}

void Operator::endFaults()
{
    if (m_broken)
        m_journal.note(Journal::Group::Event, text("repair"));
    m_broken = false;
    m_subject.target->tester().faults() = {};
}

QString Operator::byte()
{
    return QString::number(m_dice.below(256));
}

QString Operator::fourBytes()
{
    return QStringList{byte(), byte(), byte(), byte()}.join(QLatin1Char(' '));
}

QString Operator::deviceName()
{
    return m_dice.oneOf(simulator::builtInDevices()).name;
}

QString Operator::deviceAddress()
{
    return QString::number(m_dice.oneOf(simulator::builtInDevices()).address);
}

QString Operator::deviceError()
{
    constexpr std::array Codes{0x0E, 0x80, 0x81, 0x82, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88, 0x89};
    const int code = m_dice.oneIn(4) ? m_dice.below(256) : m_dice.oneOf(Codes);
    return text("%1 %2 %3").arg(byte(), byte()).arg(code);
}

QString Operator::message()
{
    return hex(m_dice.bytes(m_dice.below(40)));
}

QString Operator::transfer()
{
    return text("%1 %2 %3").arg(number(), byte(), hex(m_dice.bytes(m_dice.below(30))));
}

/// A packet of any code but that of the numbered reports.
QString Operator::anyBody()
{
    constexpr quint8 DataCode = 0x92;
    const int code = m_dice.between(0x80, 0xBF);
    QByteArray body = m_dice.bytes(m_dice.between(1, 12));
    body[0] = static_cast<char>(code == DataCode ? 0x7F : code);
    return hex(body);
}

QString Operator::noise()
{
    return hex(m_dice.plainBytes(m_dice.between(1, 12)));
}

QString Operator::commands()
{
    constexpr std::array Codes{0x01, 0x03, 0x04, 0x05, 0x07, 0x0B, 0x0C, 0x0D, 0x0E,
                               0x0F, 0x21, 0x31, 0x32, 0x33, 0x34, 0x35, 0x36};
    QStringList codes;
    for (int count = m_dice.between(1, 3); count > 0; --count)
        codes.append(QString::number(m_dice.oneOf(Codes)));
    return codes.join(QLatin1Char(','));
}

} // namespace vantrel::soak
