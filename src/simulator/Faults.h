// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QSet>

#include <optional>

namespace vantrel::simulator {

/// Commands chosen by their code, or all of them.
struct CommandSet
{
    bool all = false;
    QSet<quint8> codes;

    bool contains(quint8 code) const { return all || codes.contains(code); }
};

/// What goes wrong. Every field may change at any time; by default the tester has no fault.
/// Refusal and device status hold for the steps of a running script as well.
struct Faults
{
    /// Commands that are carried out but not answered. With `all` the reports are lost as well.
    CommandSet silence;
    /// Commands that are answered with a command error and not carried out.
    CommandSet refusal;
    /// Milliseconds by which everything is late. The order of packets stays.
    int delay = 0;
    /// Status of every device request; the device then does not see the request.
    std::optional<quint8> deviceStatus;
    /// Step of a script download, from 0, at which the tester refuses the script.
    std::optional<qint32> refusedStep;
    /// Operations on the scripts in flash, by their number, that end in a command error. To program
    /// erases first: the slot is empty then. The others change nothing.
    CommandSet flashFailure;
    /// State that is reported of every flash slot, whatever it holds.
    std::optional<quint8> flashState;
    /// Bytes of its body to which each answer to a command, a command error included, is cut.
    std::optional<qint32> shortReply;
    /// Each answer to a command is sent twice.
    bool doubleReply = false;
    /// Bytes put in front of each packet.
    QByteArray garbage;
    /// Bytes a write; 0 writes a packet whole.
    int fragment = 0;
    /// Milliseconds between the fragments of a packet.
    int fragmentPause = 0;
    /// Bytes that still get out before the connection drops, wherever in a packet that is. Gone
    /// once it has happened.
    std::optional<qint64> dropAfter;
    /// A firmware image that is programmed turns out bad: a Vorn 2 stays in its boot loader, a
    /// Vorn 1 keeps the firmware that it had.
    bool firmwareCorrupts = false;
    /// An EEPROM refuses to be erased, or to write or read this word (0 to 63).
    bool eepromEraseFails = false;
    std::optional<quint8> eepromWriteFails;
    std::optional<quint8> eepromReadFails;
    /// Bytes to which a word read from an EEPROM is cut, 0 or 1. The status is that of success.
    std::optional<quint8> eepromReadShort;
};

} // namespace vantrel::simulator
