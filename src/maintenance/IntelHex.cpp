// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/IntelHex.h"

#include "link/Utils.h"

#include <algorithm>

namespace vantrel {

namespace {
constexpr qsizetype DataPosition = 10; // from 1: behind mark, length, address and type
}

QString TextLines::next()
{
    const auto isLineEnd = [](char character) { return character == '\r' || character == '\n'; };
    const auto *const from = m_text.cbegin() + m_position;
    const auto *const end = std::find_if(from, m_text.cend(), isLineEnd);
    const QByteArrayView line(from, end);

    m_position += line.size();
    if (!atEnd() && m_text[m_position++] == '\r' && !atEnd() && m_text[m_position] == '\n')
        ++m_position;
    return QString::fromLatin1(line);
}

/// `position` counts characters from 1. At most four digits: the value always fits.
qint32 HexRecord::field(qsizetype position, qsizetype digits) const
{
    return HexToLong(QStringView(m_line).mid(position - 1, digits));
}

QByteArray HexRecord::data() const
{
    QByteArray bytes(length(), '\0');
    for (qsizetype i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(field(DataPosition + 2 * i, 2));
    return bytes;
}

} // namespace vantrel
