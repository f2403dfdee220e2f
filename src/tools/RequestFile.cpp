// SPDX-License-Identifier: GPL-3.0-or-later
#include "tools/RequestFile.h"

#include "link/RuntimeError.h"

namespace vantrel {

QByteArray RequestFile::toBytes() const
{
    return deviceRequest(address, setup, data).append('\0');
}

QByteArray RequestFileReader::data() const
{
    return m_bytes.mid(DataOffset, MostData);
}

quint8 RequestFileReader::byte(qsizetype offset) const
{
    if (offset >= m_bytes.size())
        throw RuntimeError::subscript();
    return static_cast<quint8>(m_bytes[offset]);
}

quint16 RequestFileReader::word(qsizetype offset) const
{
    const quint8 low = byte(offset);
    return deviceWord(m_session, low, byte(offset + 1));
}

} // namespace vantrel
