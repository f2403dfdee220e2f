// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Bytes.h"

#include <QByteArray>
#include <QByteArrayView>

#include <span>
#include <string_view>

namespace vantrel {

/// One hexadecimal field of a report: the text before it and the positions (from 1) of its bytes in
/// the packet, in the order shown. Position 0 stands for no byte.
struct ReportField
{
    std::string_view label;
    int first = 0;
    int second = 0;
};

/// Builds the text of one entry of the response pane, one byte a character.
class ReportText
{
public:
    ReportText() { m_text.reserve(256); }

    ReportText &text(std::string_view literal)
    {
        appendRun(m_text, literal.data(), static_cast<qsizetype>(literal.size()));
        return *this;
    }
    /// Two upper-case digits.
    ReportText &hex2(quint8 value);
    /// Four upper-case digits.
    ReportText &hex4(quint16 value);
    /// Hexadecimal without padding.
    ReportText &hex(quint8 value);
    /// General number-to-text: a leading blank when not negative.
    ReportText &number(qint32 value);
    /// Decimal without the leading blank.
    ReportText &decimal(qint32 value);
    /// Line break and blank, then two digits and a blank for each byte; another line break and
    /// blank after every 23rd.
    ReportText &dump(QByteArrayView bytes);

    /// The bytes of a dump as dump() shows them, without the line break at its beginning. The
    /// pieces of a dump show as a whole if all but the last are multiples of DumpWidth.
    ReportText &dumpPiece(QByteArrayView bytes);
    static constexpr qsizetype DumpWidth = 23; ///< bytes a line

    /// dump() of the data of a reply, but not more than the largest transfer. A line states how
    /// many bytes were left out.
    ReportText &dumpReply(QByteArrayView bytes);

    /// Renders the fields from the packet; false when it is too short for them.
    bool fields(std::span<const ReportField> fields, const ByteReader &packet);

    std::string_view view() const
    {
        return {m_text.constData(), static_cast<std::size_t>(m_text.size())};
    }

private:
    QByteArray m_text;
};

} // namespace vantrel
