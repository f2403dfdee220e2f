// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/ReportText.h"

#include "protocol/SetupPacket.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace vantrel {

namespace {

constexpr std::string_view DumpBreak = "\r\n ";
constexpr qsizetype DumpCell = 3; // characters a byte
constexpr std::string_view Digits = "0123456789ABCDEF";

using HexTable = std::array<std::array<char, DumpCell>, 256>;

constexpr HexTable makeHexTable()
{
    HexTable table{};
    for (std::size_t value = 0; value < table.size(); ++value)
        table[value] = {Digits[value >> 4U], Digits[value & 0x0FU], ' '};
    return table;
}

constexpr HexTable HexCells = makeHexTable();

} // namespace

ReportText &ReportText::hex2(quint8 value)
{
    return text({HexCells[value].data(), 2});
}

ReportText &ReportText::hex4(quint16 value)
{
    return hex2(static_cast<quint8>(value >> 8U)).hex2(static_cast<quint8>(value & 0xFFU));
}

ReportText &ReportText::hex(quint8 value)
{
    return value < 0x10 ? text({HexCells[value].data() + 1, 1}) : hex2(value);
}

ReportText &ReportText::number(qint32 value)
{
    return value < 0 ? decimal(value) : text(" ").decimal(value);
}

ReportText &ReportText::decimal(qint32 value)
{
    m_text.append(QByteArray::number(value));
    return *this;
}

ReportText &ReportText::dump(QByteArrayView bytes)
{
    return text(DumpBreak).dumpPiece(bytes);
}

ReportText &ReportText::dumpPiece(QByteArrayView bytes)
{
    const qsizetype breaks = bytes.size() / DumpWidth;
    m_text.reserve(m_text.size() + bytes.size() * DumpCell +
                   breaks * static_cast<qsizetype>(DumpBreak.size()));
    while (!bytes.isEmpty()) {
        const QByteArrayView line = bytes.first(std::min(DumpWidth, bytes.size()));
        const qsizetype start = m_text.size();
        m_text.resize(start + line.size() * DumpCell);
        char *cell = m_text.data() + start;
        for (const char byte : line) {
            std::memcpy(cell, HexCells[static_cast<quint8>(byte)].data(), DumpCell);
            cell += DumpCell;
        }
        if (line.size() == DumpWidth)
            text(DumpBreak);
        bytes = bytes.sliced(line.size());
    }
    return *this;
}

ReportText &ReportText::dumpReply(QByteArrayView bytes)
{
    dump(bytes.first(std::min(bytes.size(), LargestTransfer)));
    if (bytes.size() > LargestTransfer) {
        const auto leftOut = static_cast<qint32>(bytes.size() - LargestTransfer);
        text("\r\n*** Bytes not shown: ").decimal(leftOut);
    }
    return *this;
}

bool ReportText::fields(std::span<const ReportField> fields, const ByteReader &packet)
{
    for (const ReportField &field : fields) {
        text(field.label);
        for (const int position : {field.first, field.second}) {
            if (position == 0)
                continue;
            const auto value = packet.at(position);
            if (!value)
                return false;
            hex2(*value);
        }
    }
    return true;
}

} // namespace vantrel
