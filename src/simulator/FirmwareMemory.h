// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QtGlobal>

#include <optional>

namespace vantrel::simulator {

/// The firmware of the tester, and an image on its way to replace it.
///
/// An image is at most 0x20000 bytes for a Vorn 1 and 0x40000 for a Vorn 2. A Vorn 2 image begins
/// with 0x4E 0x56, a Vorn 1 image holds 0x04 0x00 at bytes 6 and 7. Its check value is zlib's
/// CRC-32 over all of it, begun with 0. That bytes 8 and 9 hold the major and the minor revision is
/// the simulated tester's own convention.
class FirmwareMemory
{
public:
    struct Revision
    {
        quint8 major;
        quint8 minor;
    };

    /// Begins a download of so many bytes; an earlier one is forgotten. False, and no download is
    /// open, when they are too many for the model.
    bool start(int model, quint32 length);
    /// Returns how many bytes have come since the start. Nothing, and the block is not taken, when
    /// that would be more than announced.
    std::optional<quint32> append(QByteArrayView block);
    /// The download is over and the image to be programmed. False, and nothing has changed, when it
    /// is not complete, not for the model, or has another check value.
    bool accept(int model, quint32 checkValue);
    void forgetDownload();

    /// The image that has been accepted; nothing when there is none, and from the second call on.
    std::optional<QByteArray> takeAccepted();
    void program(const QByteArray &image) { m_programmed = image; }

    /// The image last programmed; empty while the tester has the firmware that it came with.
    const QByteArray &programmed() const { return m_programmed; }
    /// Nothing when the image programmed does not tell: no such bytes, or both 0x00, or both 0xFF.
    std::optional<Revision> programmedRevision() const;

private:
    QByteArray m_download;
    quint32 m_announcedLength = 0; // 0 while no download is open
    std::optional<QByteArray> m_accepted;
    QByteArray m_programmed;
};

} // namespace vantrel::simulator
