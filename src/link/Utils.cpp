// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/Utils.h"

#include "link/ResponseEntry.h"
#include "link/RuntimeError.h"
#include "link/Wire.h"
#include "link/publicvars.h"

#include <QLocale>
#include <QStringBuilder>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace vantrel {

namespace {

constexpr qint32 TickModulus = 2'000'000'000;

constexpr QLatin1String LineEnd("\r\n");

QString paddedHex(quint32 value, int digits)
{
    return QString::number(value, 16).toUpper().rightJustified(digits, QLatin1Char('0'));
}

int hexDigit(QChar character)
{
    const char16_t code = character.unicode();
    if (code >= u'0' && code <= u'9')
        return code - u'0';
    if (code >= u'a' && code <= u'f')
        return code - u'a' + 10;
    if (code >= u'A' && code <= u'F')
        return code - u'A' + 10;
    return -1;
}

QString withoutWhiteSpace(QStringView text)
{
    QString kept;
    for (const QChar character : text) {
        if (character != u' ' && character != u'\t' && character != u'\n')
            kept += character;
    }
    return kept;
}

/// Digits of base 8 or 16 from `start` on, as many as there are.
double prefixedValue(QStringView text, int base)
{
    double value = 0;
    for (const QChar character : text) {
        const int digit = hexDigit(character);
        if (digit < 0 || digit >= base)
            break;
        value = value * base + digit;
    }
    return value;
}

bool isDigits(QStringView text, int base)
{
    return !text.isEmpty() && std::all_of(text.begin(), text.end(), [base](QChar character) {
        const int digit = hexDigit(character);
        return digit >= 0 && digit < base;
    });
}

qsizetype skipDigits(QStringView text, qsizetype position)
{
    while (position < text.size() && text[position] >= u'0' && text[position] <= u'9')
        ++position;
    return position;
}

qsizetype skipSign(QStringView text, qsizetype position)
{
    const bool sign = position < text.size() && (text[position] == u'+' || text[position] == u'-');
    return sign ? position + 1 : position;
}

/// Length of the decimal number at the start of the text; 0 if there is none.
qsizetype decimalLength(QStringView text)
{
    const qsizetype start = skipSign(text, 0);
    qsizetype end = skipDigits(text, start);
    qsizetype digits = end - start;
    if (end < text.size() && text[end] == u'.') {
        const qsizetype fraction = end + 1;
        end = skipDigits(text, fraction);
        digits += end - fraction;
    }
    if (digits == 0)
        return 0;
    if (end < text.size() && (text[end] == u'e' || text[end] == u'E')) {
        const qsizetype exponent = skipSign(text, end + 1);
        const qsizetype exponentEnd = skipDigits(text, exponent);
        if (exponentEnd > exponent)
            end = exponentEnd;
    }
    return end;
}

} // namespace

qint32 countedBytes(qint32 count, std::size_t more)
{
    constexpr auto Most = std::numeric_limits<qint32>::max();
    return more < static_cast<std::size_t>(Most - count) ? count + static_cast<qint32>(more) : Most;
}

qint32 TickWrap(qint64 value)
{
    return static_cast<qint32>(value % TickModulus);
}

qint32 ticksBetween(qint32 from, qint32 to)
{
    return TickWrap(qint64{to} - from + TickModulus);
}

qint32 deadlineIn(const Session &session, qint32 ticks)
{
    return TickWrap(qint64{session.TickCount} + ticks);
}

void InitLink(Session &session)
{
    session.EscChar = QByteArray(1, static_cast<char>(wire::Esc));
    session.PacketStart = session.EscChar + static_cast<char>(wire::Start);
    session.PacketEnd = session.EscChar + static_cast<char>(wire::End);
    session.EscPair = session.EscChar + session.EscChar;
    session.BaudTable = {19200, 38400, 57600, 115200, 230400, 460800, 921600};
    session.BaudIndex = 0;
    session.RxState = 0;
}

void ShowStatusLine(Session &session, const QString &text)
{
    session.Main.CmdWin.appendText(LineEnd + text);
}

void ShowResponseLine(Session &session, std::string_view text)
{
    ResponseEntry entry(session);
    entry.append(text);
    entry.end();
}

QString logSizeText(qint32 bytes)
{
    // Made for every line of a log: with one allocation.
    std::array<char, 16> digits{};
    const char *const end = std::to_chars(digits.data(), digits.data() + digits.size(), bytes).ptr;
    return QLatin1Char(' ') % QLatin1String(digits.data(), end - digits.data()) %
           QLatin1String(" Bytes");
}

QString HexByte(quint8 value)
{
    return paddedHex(value, 2);
}

QString Hex2(qint16 value)
{
    return paddedHex(static_cast<quint16>(value), 2);
}

QString Hex4(qint32 value)
{
    return paddedHex(static_cast<quint32>(value), 4);
}

QString Hex8(qint32 value)
{
    return paddedHex(static_cast<quint32>(value), 8);
}

qint32 ParseNumber(QString &text)
{
    while (text.startsWith(QLatin1Char(' ')))
        text.remove(0, 1);
    while (text.endsWith(QLatin1Char(' ')))
        text.chop(1);
    if (text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive))
        return HexToLong(QStringView(text).sliced(2));
    return roundToLong(numericValue(text));
}

qint32 HexToLong(QStringView text)
{
    qint64 value = 0;
    for (const QChar character : text) {
        const int digit = hexDigit(character);
        if (digit < 0)
            continue;
        value = value * 16 + digit;
        if (value > std::numeric_limits<qint32>::max())
            throw RuntimeError::overflow();
    }
    return static_cast<qint32>(value);
}

double numericValue(QStringView text)
{
    const QString number = withoutWhiteSpace(text);
    if (number.startsWith(QLatin1String("&h"), Qt::CaseInsensitive))
        return prefixedValue(QStringView(number).sliced(2), 16);
    if (number.startsWith(QLatin1String("&o"), Qt::CaseInsensitive))
        return prefixedValue(QStringView(number).sliced(2), 8);
    return QLocale::c().toDouble(QStringView(number).first(decimalLength(number)));
}

bool isPlainNumber(QStringView text)
{
    const QStringView number = text.trimmed();
    if (withoutWhiteSpace(text) != number)
        return false;
    if (number.startsWith(QLatin1String("&h"), Qt::CaseInsensitive))
        return isPlainHex(number.sliced(2));
    if (number.startsWith(QLatin1String("&o"), Qt::CaseInsensitive))
        return isDigits(number.sliced(2), 8);
    return !number.isEmpty() && decimalLength(number) == number.size();
}

bool isPlainHex(QStringView text)
{
    return isDigits(text, 16);
}

qint32 roundToLong(double value)
{
    const double rounded = std::nearbyint(value);
    if (!(rounded >= std::numeric_limits<qint32>::min() &&
          rounded <= std::numeric_limits<qint32>::max()))
        throw RuntimeError::overflow();
    return static_cast<qint32>(rounded);
}

QString numberText(double value)
{
    constexpr int Digits = 15;
    const bool whole = std::trunc(value) == value && std::abs(value) < 1e15; // the usual, and quick
    const QString digits =
        whole ? QString::number(static_cast<qint64>(value)) : QString::number(value, 'g', Digits);
    return value < 0 ? digits : QLatin1Char(' ') + digits;
}

QString fixedText(double value, int decimals)
{
    const double scale = std::pow(10.0, decimals);
    return QString::number(std::round(value * scale) / scale, 'f', decimals);
}

} // namespace vantrel
