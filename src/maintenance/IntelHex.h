// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>

namespace vantrel {

/// The lines of a text file, one byte a character. A line ends with CR LF, CR or LF; the last one
/// need not. Nothing follows the last line end: "a\n" is one line, "a\n\n" is two.
class TextLines
{
public:
    explicit TextLines(QByteArray text) : m_text(std::move(text)) {}

    bool atEnd() const { return m_position == m_text.size(); }

    /// The next line without its end. Not to be called atEnd().
    QString next();

    /// In bytes.
    qsizetype position() const { return m_position; }
    qsizetype size() const { return m_text.size(); }

private:
    QByteArray m_text;
    qsizetype m_position = 0;
};

/// What a record of an Intel HEX file says: ":", two digits of length, four of address, two of
/// type, the data, two of check sum. Type and check sum are not looked at: a record of any type
/// with a length is data at its 16-bit address, a record without one ends the file.
///
/// Characters that are no hexadecimal digits are skipped within their field, and a line that ends
/// early reads as if its missing fields were 0.
class HexRecord
{
public:
    explicit HexRecord(QString line) : m_line(std::move(line)) {}

    /// False: the line is no record at all, an empty one among them.
    bool hasMark() const { return m_line.startsWith(u':'); }

    quint8 length() const { return static_cast<quint8>(field(2, 2)); }
    quint16 address() const { return static_cast<quint16>(field(4, 4)); }

    /// length() bytes.
    QByteArray data() const;

private:
    qint32 field(qsizetype position, qsizetype digits) const;

    QString m_line;
};

} // namespace vantrel
