// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/NumberEntry.h"

#include "link/Control.h"
#include "link/RuntimeError.h"
#include "link/Utils.h"

#include <QStringList>

#include <algorithm>

namespace vantrel {

namespace {

const QLatin1String HexPrefix("0x");

bool hasHexPrefix(const QString &text)
{
    return text.startsWith(HexPrefix, Qt::CaseInsensitive);
}

/// The number before rounding.
double valueOf(const QString &text, Notation notation)
{
    if (notation == Notation::Hexadecimal)
        return HexToLong(text);
    if (notation == Notation::Prefixed) {
        QString trimmed = text;
        const qint32 number = ParseNumber(trimmed);
        if (hasHexPrefix(trimmed))
            return number;
    }
    return numericValue(text);
}

qint32 numberOf(const QString &text, const NumberFormat &format)
{
    const qint32 number = roundToLong(valueOf(text, format.notation));
    if (format.is16Bit && number != static_cast<qint16>(number))
        throw RuntimeError::overflow();
    return number;
}

/// Whether the text is one number and nothing else.
bool isPlain(const QString &text, Notation notation)
{
    const QString trimmed = text.trimmed();
    if (notation != Notation::Decimal && hasHexPrefix(trimmed))
        return isPlainHex(QStringView(trimmed).sliced(HexPrefix.size()));
    return notation == Notation::Hexadecimal ? isPlainHex(trimmed) : isPlainNumber(trimmed);
}

/// Text of any length, short enough for one line.
QString quoted(const QString &text)
{
    constexpr int Longest = 32;
    const QString shown =
        text.size() > Longest ? text.first(Longest) + QStringLiteral("...") : text;
    return QLatin1Char('"') + shown + QLatin1Char('"');
}

/// Empty when the text stands for the number that is shown.
QString noteFor(const QString &typed, const QString &shown, Notation notation, const QString &limit)
{
    if (typed.trimmed().isEmpty())
        return QStringLiteral("Empty field taken as %1").arg(shown);
    const bool plain = isPlain(typed, notation);
    if (plain && valueOf(typed, notation) == valueOf(shown, notation))
        return {};
    QStringList reasons;
    if (!plain)
        reasons.append(QStringLiteral("not a plain number"));
    if (!limit.isEmpty())
        reasons.append(limit);
    const QString note = quoted(typed) + QStringLiteral(" taken as ") + shown;
    return reasons.isEmpty() ? note
                             : note + QStringLiteral(" (") + reasons.join(QStringLiteral(", ")) +
                                   QLatin1Char(')');
}

QString refusalOf(const QString &typed)
{
    return quoted(typed) + QStringLiteral(" not taken (out of range)");
}

QString limitOf(qint32 number, const NumberFormat &format)
{
    if (number > format.highest)
        return limitText(Limit::Highest, format.text(format.highest));
    if (number < format.lowest)
        return limitText(Limit::Lowest, format.text(format.lowest));
    return {};
}

/// The text of a field that was not edited since its number was taken is not what was typed.
void settle(Control &field, const QString &shown, const QString &note)
{
    const QString earlier = field.text() == shown ? field.entryNote() : QString();
    field.setText(shown);
    field.setEntryNote(note.isEmpty() ? earlier : note);
}

} // namespace

QString prefixedByteText(qint32 value)
{
    if (value < std::numeric_limits<qint16>::min())
        throw RuntimeError::overflow();
    return HexPrefix + Hex2(static_cast<qint16>(value));
}

QString prefixedWordText(qint32 value)
{
    return HexPrefix + Hex4(value);
}

QString plainByteText(qint32 value)
{
    return Hex2(static_cast<qint16>(value));
}

QString decimalText(qint32 value)
{
    return QString::number(value);
}

qint32 commitNumber(Control &field, const NumberFormat &format)
{
    const QString typed = field.text();
    try {
        const qint32 number = numberOf(typed, format);
        const qint32 taken = std::clamp(number, format.lowest, format.highest);
        const QString shown = format.text(taken);
        settle(field, shown, noteFor(typed, shown, format.notation, limitOf(number, format)));
        return taken;
    } catch (const RuntimeError &) {
        field.setEntryNote(refusalOf(typed));
        throw;
    }
}

void noteNumber(Control &field, const NumberFormat &format)
{
    const QString typed = field.text();
    QString note = refusalOf(typed);
    try {
        const qint32 number = numberOf(typed, format);
        if (limitOf(number, format).isEmpty())
            note = noteFor(typed, format.text(number), format.notation, {});
    } catch (const RuntimeError &) {
        // keeps the refusal
    }
    field.setEntryNote(note);
}

void noteEntry(Control &field, const QString &typed, Notation notation, const QString &limit)
{
    field.setEntryNote(noteFor(typed, field.text(), notation, limit));
}

QString limitText(Limit limit, const QString &value)
{
    return (limit == Limit::Lowest ? QStringLiteral("lowest value ")
                                   : QStringLiteral("highest value ")) +
           value;
}

} // namespace vantrel
