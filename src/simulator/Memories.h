// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QMap>

#include <optional>

namespace vantrel::simulator {

/// The scripts in flash, by slot. Every slot exists and is empty until programmed.
class FlashMemory
{
public:
    static constexpr quint8 Disabled = 0;
    static constexpr quint8 Enabled = 1;
    static constexpr quint8 Empty = 255;

    /// Memory of all slots together, in bytes: several times the largest script.
    static constexpr qsizetype Capacity = 1 << 26;

    struct Slot
    {
        quint8 state = Empty;
        QByteArray name = QByteArray(8, ' ');
        QList<QByteArray> steps = {};
    };

    const Slot &slot(quint8 index) { return m_slots[index]; }
    void erase(quint8 index) { m_slots.remove(index); }
    /// Has no effect on an empty slot.
    void setEnabled(quint8 index, bool enabled);
    /// The slot is disabled afterwards. False, and nothing has changed, when there is no room.
    bool program(quint8 index, const QByteArray &name, const QList<QByteArray> &steps);

private:
    QMap<quint8, Slot> m_slots;
};

/// The configuration memory: 64 KiB, erased (0xFF) but for the network record.
class ConfigMemory
{
public:
    static constexpr quint16 NetworkRecordAddress = 0x0010;

    ConfigMemory();

    /// False, and nothing written, when the bytes reach past the end.
    bool write(quint16 address, QByteArrayView data);
    /// Nothing when the bytes reach past the end.
    std::optional<QByteArray> read(quint16 address, quint16 count) const;

private:
    QByteArray m_bytes;
};

/// The working script: commands taken in one by one during a download.
class ScriptMemory
{
public:
    /// Index of the last step that a report can name. It belongs to the end of the script.
    static constexpr qsizetype LastIndex = 0xFFFF;

    void startDownload();
    /// Leaves download mode with what has been stored so far.
    void endDownload() { m_mode = Mode::Idle; }
    /// Forgets the script. What is still to come of it is no longer stored.
    void refuseDownload();
    bool isDownloading() const { return m_mode == Mode::Downloading; }
    bool isRefused() const { return m_mode == Mode::Refused; }

    /// Stores a command as the next step and returns its index. The end of the script is a step of
    /// its own and ends the download.
    quint16 store(const QByteArray &command);

    const QList<QByteArray> &steps() const { return m_steps; }
    /// Bytes of all steps.
    qsizetype size() const { return m_size; }

    /// The option sent outside a download.
    void setOption(bool on) { m_option = on; }
    bool option() const { return m_option; }

private:
    enum class Mode { Idle, Downloading, Refused };

    void begin(Mode mode);

    Mode m_mode = Mode::Idle;
    bool m_option = false;
    QList<QByteArray> m_steps;
    qsizetype m_size = 0;
};

} // namespace vantrel::simulator
