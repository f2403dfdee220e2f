// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QtGlobal>

#include <cstring>
#include <initializer_list>
#include <optional>

namespace vantrel {

/// Appends a run of bytes: QByteArray::append() costs more than the copy of a short run.
inline void appendRun(QByteArray &bytes, const char *from, qsizetype length)
{
    const qsizetype size = bytes.size();
    bytes.resize(size + length);
    if (length > 0)
        std::memcpy(bytes.data() + size, from, static_cast<std::size_t>(length));
}

/// Reads a received payload by position, counted from 1 (the code byte is position 1). A position
/// beyond the end is absent, never an error.
class ByteReader
{
public:
    explicit ByteReader(QByteArrayView payload) : m_payload(payload) {}

    qsizetype size() const { return m_payload.size(); }
    QByteArrayView payload() const { return m_payload; }

    std::optional<quint8> at(qsizetype position) const
    {
        if (position < 1 || position > m_payload.size())
            return std::nullopt;
        return static_cast<quint8>(m_payload[position - 1]);
    }

    /// Most significant byte first.
    std::optional<quint16> word(qsizetype position) const
    {
        if (position < 1 || position + 1 > m_payload.size())
            return std::nullopt;
        return static_cast<quint16>(byte(position) << 8U | byte(position + 1));
    }

    /// Low byte first, as USB has it.
    std::optional<quint16> wordLowFirst(qsizetype position) const
    {
        if (position < 1 || position + 1 > m_payload.size())
            return std::nullopt;
        return static_cast<quint16>(byte(position + 1) << 8U | byte(position));
    }

    /// Most significant byte first.
    std::optional<quint32> doubleWord(qsizetype position) const
    {
        if (position < 1 || position + 3 > m_payload.size())
            return std::nullopt;
        return byte(position) << 24U | byte(position + 1) << 16U | byte(position + 2) << 8U |
               byte(position + 3);
    }

    /// Everything from the position to the end; empty when it lies beyond.
    QByteArrayView from(qsizetype position) const
    {
        return position > m_payload.size() ? QByteArrayView() : m_payload.sliced(position - 1);
    }

private:
    quint32 byte(qsizetype position) const { return static_cast<quint8>(m_payload[position - 1]); }

    QByteArrayView m_payload;
};

/// Builds a byte string. Numbers of several bytes go most significant byte first unless the name
/// says otherwise.
class ByteWriter
{
public:
    ByteWriter() = default;
    ByteWriter(std::initializer_list<quint8> bytes)
    {
        for (const quint8 value : bytes)
            byte(value);
    }

    ByteWriter &byte(quint8 value)
    {
        m_bytes.append(static_cast<char>(value));
        return *this;
    }
    ByteWriter &word(quint16 value)
    {
        return byte(static_cast<quint8>(value >> 8U)).byte(static_cast<quint8>(value & 0xFFU));
    }
    /// Low byte first, as USB has it.
    ByteWriter &wordLowFirst(quint16 value)
    {
        return byte(static_cast<quint8>(value & 0xFFU)).byte(static_cast<quint8>(value >> 8U));
    }
    ByteWriter &doubleWord(quint32 value)
    {
        return word(static_cast<quint16>(value >> 16U)).word(static_cast<quint16>(value & 0xFFFFU));
    }
    ByteWriter &bytes(QByteArrayView values)
    {
        m_bytes.append(values);
        return *this;
    }

    QByteArray take() { return std::move(m_bytes); }

private:
    QByteArray m_bytes;
};

} // namespace vantrel
