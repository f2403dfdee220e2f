// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <array>

namespace vantrel {

/// The tester's network settings, as it keeps them: one record of its configuration memory.
struct NetworkRecord
{
    static constexpr int Address = 0x0010; ///< in configuration memory
    static constexpr int Size = 18;

    // First byte of each field. Addresses are four bytes, the MAC address is six; the first byte is
    // the one that is written first.
    static constexpr int Ip = 0;
    static constexpr int Gateway = 4;
    static constexpr int Mask = 8;
    static constexpr int Mac = 12;

    std::array<quint8, Size> bytes{};

    QByteArray toBytes() const;

    /// The four bytes from `first` on as one number.
    quint32 address(int first) const;
};

/// What the box of a byte shows: a decimal number, for bytes of the MAC address two hexadecimal
/// digits.
QString networkBoxText(int index, quint8 byte);

/// The byte that the text of a box stands for. Anything that is no number is 0; a number above 255
/// or below 0 throws RuntimeError "Overflow".
quint8 networkBoxByte(int index, const QString &text);

/// Why a tester with these settings could not be reached: the first reason found, or nothing.
///
/// A gateway of 0.0.0.0 means none. A subnet of one or two addresses has no network and no
/// broadcast address (RFC 3021).
QString networkHint(const NetworkRecord &record);

} // namespace vantrel
