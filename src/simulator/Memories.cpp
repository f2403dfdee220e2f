// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/Memories.h"

#include "link/Bytes.h"
#include "link/Wire.h"

namespace vantrel::simulator {

namespace {

constexpr qsizetype ConfigMemorySize = 0x10000;

/// Memory that a script needs, with what a step needs besides its bytes.
qsizetype memoryOf(const QList<QByteArray> &steps)
{
    constexpr qsizetype StepOverhead = 64;
    qsizetype memory = 0;
    for (const QByteArray &step : steps)
        memory += step.size() + StepOverhead;
    return memory;
}

// Documentation addresses and a locally administered MAC address: they mean nobody's network.
QByteArray defaultNetworkRecord()
{
    return ByteWriter{192,  0,    2,    10,               // tester
                      192,  0,    2,    1,                // gateway
                      255,  255,  255,  0,                // net mask
                      0x02, 0x56, 0x4F, 0x52, 0x4E, 0x02} // MAC
        .take();
}

} // namespace

void FlashMemory::setEnabled(quint8 index, bool enabled)
{
    Slot &slot = m_slots[index];
    if (slot.state != Empty)
        slot.state = enabled ? Enabled : Disabled;
}

bool FlashMemory::program(quint8 index, const QByteArray &name, const QList<QByteArray> &steps)
{
    qsizetype memory = memoryOf(steps);
    for (auto slot = m_slots.cbegin(); slot != m_slots.cend(); ++slot)
        memory += slot.key() == index ? 0 : memoryOf(slot->steps);
    if (memory > Capacity)
        return false;
    m_slots[index] = {Disabled, name, steps};
    return true;
}

ConfigMemory::ConfigMemory() : m_bytes(ConfigMemorySize, '\xFF')
{
    write(NetworkRecordAddress, defaultNetworkRecord());
}

bool ConfigMemory::write(quint16 address, QByteArrayView data)
{
    if (address + data.size() > m_bytes.size())
        return false;
    m_bytes.replace(address, data.size(), data.data(), data.size());
    return true;
}

std::optional<QByteArray> ConfigMemory::read(quint16 address, quint16 count) const
{
    if (address + count > m_bytes.size())
        return std::nullopt;
    return m_bytes.mid(address, count);
}

void ScriptMemory::startDownload()
{
    begin(Mode::Downloading);
}

void ScriptMemory::refuseDownload()
{
    begin(Mode::Refused);
}

void ScriptMemory::begin(Mode mode)
{
    m_mode = mode;
    m_steps.clear();
    m_size = 0;
}

quint16 ScriptMemory::store(const QByteArray &command)
{
    m_steps.append(command);
    m_size += command.size();
    if (command.startsWith(static_cast<char>(wire::Command::ScriptDownloadEnd)))
        m_mode = Mode::Idle;
    return static_cast<quint16>(m_steps.size() - 1);
}

} // namespace vantrel::simulator
