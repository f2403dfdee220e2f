// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/FirmwareMemory.h"

#include "link/Bytes.h"

#include <zlib.h>

#include <utility>

namespace vantrel::simulator {

namespace {

constexpr quint32 LongestVorn1Image = 0x20000;
constexpr quint32 LongestVorn2Image = 0x40000;

// Positions count from 1.
constexpr qsizetype Vorn1Marker = 7;
constexpr qsizetype Vorn2Marker = 1;
constexpr qsizetype RevisionPosition = 9;

bool isFor(int model, const QByteArray &image)
{
    const ByteReader reader(image);
    return model == 1 ? reader.word(Vorn1Marker) == 0x0400 : reader.word(Vorn2Marker) == 0x4E56;
}

quint32 checkValueOf(const QByteArray &image)
{
    const auto *const bytes = reinterpret_cast<const Bytef *>(image.constData());
    return static_cast<quint32>(crc32(0, bytes, static_cast<uInt>(image.size())));
}

} // namespace

bool FirmwareMemory::start(int model, quint32 length)
{
    forgetDownload();
    if (length > (model == 1 ? LongestVorn1Image : LongestVorn2Image))
        return false;
    m_announcedLength = length;
    return true;
}

std::optional<quint32> FirmwareMemory::append(QByteArrayView block)
{
    if (m_download.size() + block.size() > qsizetype{m_announcedLength})
        return std::nullopt;
    m_download.append(block);
    return static_cast<quint32>(m_download.size());
}

bool FirmwareMemory::accept(int model, quint32 checkValue)
{
    if (m_download.size() != qsizetype{m_announcedLength} || !isFor(model, m_download) ||
        checkValueOf(m_download) != checkValue)
        return false;
    m_accepted = m_download;
    forgetDownload();
    return true;
}

void FirmwareMemory::forgetDownload()
{
    m_download.clear();
    m_announcedLength = 0;
}

std::optional<QByteArray> FirmwareMemory::takeAccepted()
{
    return std::exchange(m_accepted, std::nullopt);
}

std::optional<FirmwareMemory::Revision> FirmwareMemory::programmedRevision() const
{
    const ByteReader reader(m_programmed);
    const auto both = reader.word(RevisionPosition);
    if (!both || *both == 0x0000 || *both == 0xFFFF)
        return std::nullopt;
    return Revision{static_cast<quint8>(*both >> 8U), static_cast<quint8>(*both & 0xFFU)};
}

} // namespace vantrel::simulator
