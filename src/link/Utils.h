// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QtGlobal>

#include <cstddef>
#include <string_view>

namespace vantrel {

struct Session;

/// value modulo 2,000,000,000; a negative value stays negative. Advances TickCount and forms
/// deadlines.
qint32 TickWrap(qint64 value);

/// Ticks from one value of the tick counter to a later one, across the wrap.
qint32 ticksBetween(qint32 from, qint32 to);

/// The tick count n ticks (of 100 ms) from now.
qint32 deadlineIn(const Session &session, qint32 ticks);

/// Builds the framing constants and the rate table; zeroes BaudIndex and RxState.
void InitLink(Session &session);

/// Appends a line to the command pane. The console's own progress lines: not logged.
void ShowStatusLine(Session &session, const QString &text);

/// Appends a line (one byte a character) to RespText and to the open log file. The pane follows at
/// the next tick. Never throws.
void ShowResponseLine(Session &session, std::string_view text);

/// `count` bytes and `more`; a count that has reached the largest 32-bit number stays there.
qint32 countedBytes(qint32 count, std::size_t more);

/// What the log frame shows of a byte count: " 152 Bytes".
QString logSizeText(qint32 bytes);

/// Upper-case hexadecimal, padded with zeros to the digits in the name; a wider value keeps all its
/// digits, a negative one is shown in two's complement of its type.
QString HexByte(quint8 value);
QString Hex2(qint16 value);
QString Hex4(qint32 value);
QString Hex8(qint32 value);

/// Reads an entry field. Trims blanks (only those) from the caller's text; "0x" or "0X" introduces
/// hexadecimal, anything else is numericValue() rounded, halves to even. Throws RuntimeError
/// "Overflow" outside 32 bits.
qint32 ParseNumber(QString &text);

/// Hexadecimal digits of the text; every other character is skipped. Throws RuntimeError "Overflow"
/// above 0x7FFFFFFF.
qint32 HexToLong(QStringView text);

/// The longest number at the start of the text, 0 if there is none. Blanks, tabs and line feeds are
/// skipped wherever they stand; a point, an exponent and the prefixes &H and &O are understood.
double numericValue(QStringView text);

/// Whether the whole text, apart from white space around it, is one number as numericValue() reads
/// it.
bool isPlainNumber(QStringView text);

/// Whether the text consists of hexadecimal digits, at least one.
bool isPlainHex(QStringView text);

/// Rounds to the nearest integer, halves to even. Throws RuntimeError "Overflow" outside 32 bits.
qint32 roundToLong(double value);

/// General number-to-text: shortest form, a point whatever the locale, one leading blank when not
/// negative.
QString numberText(double value);

/// With exactly `decimals` digits after the point, halves away from zero.
QString fixedText(double value, int decimals);

} // namespace vantrel
