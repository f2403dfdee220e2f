// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Bytes.h"
#include "link/Words.h"

namespace vantrel {

/// Reads a descriptor by position, counted from 1 as the tables of USB descriptors suggest. A
/// position beyond the end throws RuntimeError "Subscript out of range".
class DescriptorBytes
{
public:
    /// Both must outlive the reader.
    DescriptorBytes(const Session &session, QByteArrayView bytes)
        : m_session(session), m_reader(bytes)
    {
    }

    quint8 at(int position) const
    {
        const auto byte = m_reader.at(position);
        if (!byte)
            throw RuntimeError::subscript();
        return *byte;
    }

    /// Low byte first. Throws RuntimeError "Overflow" where deviceWord() does.
    quint16 word(int position) const
    {
        const quint8 low = at(position);
        return deviceWord(m_session, low, at(position + 1));
    }

    /// Everything from the position to the end; empty when it lies beyond.
    QByteArrayView from(int position) const { return m_reader.from(position); }

private:
    const Session &m_session;
    ByteReader m_reader;
};

} // namespace vantrel
