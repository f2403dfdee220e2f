// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QtGlobal>

#include <limits>

namespace vantrel {

class Control;

/// How an entry field reads its text.
enum class Notation : quint8 {
    Prefixed,    ///< ParseNumber(): decimal, or hexadecimal after "0x"
    Decimal,     ///< numericValue()
    Hexadecimal, ///< HexToLong()
};

/// How a number is shown: "0x" and two or four digits, two digits alone, or decimal.
///
/// prefixedByteText() throws RuntimeError "Overflow" below -32768.
QString prefixedByteText(qint32 value);
QString prefixedWordText(qint32 value);
QString plainByteText(qint32 value);
QString decimalText(qint32 value);

/// What an entry field accepts, and how it shows it.
struct NumberFormat
{
    static constexpr qint32 NoLimit = std::numeric_limits<qint32>::min();

    Notation notation = Notation::Prefixed;
    qint32 lowest = 0; ///< lower numbers become this one; NoLimit for none
    qint32 highest = 0;
    QString (*text)(qint32 value) = prefixedByteText;
    bool is16Bit = false; ///< a number of more than 16 bits is a run-time error before any limit
};

namespace NumberFormats {
constexpr NumberFormat DeviceAddress{Notation::Prefixed, 0, 0x7F, prefixedByteText};
constexpr NumberFormat Byte{Notation::Prefixed, 0, 0xFF, prefixedByteText};
constexpr NumberFormat Word{Notation::Prefixed, 0, 0xFFFF, prefixedWordText};
} // namespace NumberFormats

/// Reads the field, limits the number and shows it in the form of the field. When the text did not
/// stand for exactly that number, the field's entry note says so; a text that the user has not
/// edited since keeps its note.
///
/// Throws RuntimeError "Overflow" for a number that cannot be read: the text stays, with a note.
qint32 commitNumber(Control &field, const NumberFormat &format);

/// Sets the entry note of a field whose text stays as it was typed until it is used: whether it
/// will be taken as another number, or be refused.
void noteNumber(Control &field, const NumberFormat &format);

/// Sets the entry note of a field that shows the number it was given for `typed`. `limit` is the
/// reason when the number was limited; see limitText().
void noteEntry(Control &field, const QString &typed, Notation notation, const QString &limit = {});

enum class Limit { Lowest, Highest };
QString limitText(Limit limit, const QString &value);

} // namespace vantrel
