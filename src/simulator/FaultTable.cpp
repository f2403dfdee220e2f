// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/FaultTable.h"

#include "simulator/Faults.h"
#include "simulator/TextValues.h"

#include <algorithm>

namespace vantrel::simulator {

namespace {

constexpr quint32 LongestTime = 3'600'000; // ms
constexpr quint32 LargestFragment = 65535;
constexpr quint32 LastEepromWord = 63;
constexpr quint32 MostOfShortWord = 1; // bytes

bool isOff(const QString &value)
{
    return value == QLatin1String("off");
}

template <CommandSet Faults::*Member>
bool setCommands(Faults &faults, const QString &value)
{
    CommandSet commands;
    commands.all = value == QLatin1String("all");
    if (!commands.all && !isOff(value)) {
        for (const QString &part : value.split(QLatin1Char(','))) {
            const auto code = parseNumber(part, 0xFF);
            if (!code)
                return false;
            commands.codes.insert(static_cast<quint8>(*code));
        }
    }
    faults.*Member = commands;
    return true;
}

template <int Faults::*Member, quint32 Most>
bool setNumber(Faults &faults, const QString &value)
{
    const auto number = isOff(value) ? 0 : parseNumber(value, Most);
    if (number)
        faults.*Member = static_cast<int>(*number);
    return number.has_value();
}

template <typename Value, std::optional<Value> Faults::*Member>
bool setOptional(Faults &faults, const QString &value)
{
    if (isOff(value)) {
        faults.*Member = std::nullopt;
        return true;
    }
    const auto number = parseNumber(value, sizeof(Value) == 1 ? 0xFF : 0x7FFFFFFF);
    if (number)
        faults.*Member = static_cast<Value>(*number);
    return number.has_value();
}

template <bool Faults::*Member>
bool setFlag(Faults &faults, const QString &value)
{
    const bool on = value == QLatin1String("on");
    if (on || isOff(value))
        faults.*Member = on;
    return on || isOff(value);
}

template <std::optional<quint8> Faults::*Member, quint32 Most>
bool setUpTo(Faults &faults, const QString &value)
{
    const auto number = parseNumber(value, Most);
    if (!number && !isOff(value))
        return false;
    faults.*Member = number;
    return true;
}

bool setGarbage(Faults &faults, const QString &value)
{
    const auto bytes = isOff(value) ? QByteArray() : parseHex(value);
    if (!bytes || value.isEmpty())
        return false;
    faults.garbage = *bytes;
    return true;
}

} // namespace

const QList<FaultEntry> &faultTable()
{
    static const QList<FaultEntry> table = {
        {QStringLiteral("silence"), QStringLiteral("all|CODE,..."),
         QStringLiteral("do not answer these commands; all: say nothing whatsoever"),
         &setCommands<&Faults::silence>},
        {QStringLiteral("refusal"), QStringLiteral("all|CODE,..."),
         QStringLiteral("answer these commands with a command error"),
         &setCommands<&Faults::refusal>},
        {QStringLiteral("delay"), QStringLiteral("MS"),
         QStringLiteral("send everything this much later"),
         &setNumber<&Faults::delay, LongestTime>},
        {QStringLiteral("status"), QStringLiteral("CODE"),
         QStringLiteral("end every device request with this status"),
         &setOptional<quint8, &Faults::deviceStatus>},
        {QStringLiteral("refuse-step"), QStringLiteral("INDEX"),
         QStringLiteral("refuse a script that is downloaded at this step"),
         &setOptional<qint32, &Faults::refusedStep>},
        {QStringLiteral("flash-fails"), QStringLiteral("all|OPERATION,..."),
         QStringLiteral("refuse on a flash slot: 0 disable, 1 enable, 2 program, 3 read"),
         &setCommands<&Faults::flashFailure>},
        {QStringLiteral("flash-state"), QStringLiteral("STATE"),
         QStringLiteral("report this state of every flash slot"),
         &setOptional<quint8, &Faults::flashState>},
        {QStringLiteral("short-reply"), QStringLiteral("BYTES"),
         QStringLiteral("cut each answer to its first bytes"),
         &setOptional<qint32, &Faults::shortReply>},
        {QStringLiteral("double"), QStringLiteral("on"), QStringLiteral("send each answer twice"),
         &setFlag<&Faults::doubleReply>},
        {QStringLiteral("garbage"), QStringLiteral("HEX"),
         QStringLiteral("put these bytes in front of each packet"), &setGarbage},
        {QStringLiteral("fragment"), QStringLiteral("BYTES"),
         QStringLiteral("send this many bytes a write"),
         &setNumber<&Faults::fragment, LargestFragment>},
        {QStringLiteral("pause"), QStringLiteral("MS"),
         QStringLiteral("wait between the fragments of a packet"),
         &setNumber<&Faults::fragmentPause, LongestTime>},
        {QStringLiteral("drop-after"), QStringLiteral("BYTES"),
         QStringLiteral("drop the connection, once, after so many bytes more"),
         &setOptional<qint64, &Faults::dropAfter>},
        {QStringLiteral("firmware-corrupts"), QStringLiteral("on"),
         QStringLiteral("find firmware bad that is programmed"),
         &setFlag<&Faults::firmwareCorrupts>},
        {QStringLiteral("eeprom-erase-fails"), QStringLiteral("on"),
         QStringLiteral("refuse to erase an EEPROM"), &setFlag<&Faults::eepromEraseFails>},
        {QStringLiteral("eeprom-write-fails"), QStringLiteral("WORD"),
         QStringLiteral("refuse to write this word of an EEPROM"),
         &setUpTo<&Faults::eepromWriteFails, LastEepromWord>},
        {QStringLiteral("eeprom-read-fails"), QStringLiteral("WORD"),
         QStringLiteral("refuse to read this word of an EEPROM"),
         &setUpTo<&Faults::eepromReadFails, LastEepromWord>},
        {QStringLiteral("eeprom-read-short"), QStringLiteral("BYTES"),
         QStringLiteral("return this many bytes of an EEPROM word, 0 or 1"),
         &setUpTo<&Faults::eepromReadShort, MostOfShortWord>},
    };
    return table;
}

const FaultEntry *findFault(const QString &name)
{
    const QList<FaultEntry> &table = faultTable();
    const auto found = std::find_if(table.begin(), table.end(),
                                    [&](const FaultEntry &entry) { return entry.name == name; });
    return found == table.end() ? nullptr : &*found;
}

} // namespace vantrel::simulator
