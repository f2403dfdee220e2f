// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArrayView>
#include <QString>

namespace vantrel {

/// The check value of firmware images.
///
/// A shared library `crc` (crc.dll, libcrc.so) that lies in the given directory and offers
/// `_update_crc` (or `update_crc`) defines it: C linkage; initial value, address of the first byte
/// and byte count in, updated value out, the numbers 32 bits each. Without one it is CRC-32
/// (IEEE 802.3; 0xCBF43926 for the nine bytes "123456789").
class Crc
{
public:
    explicit Crc(const QString &directory);

    quint32 update(quint32 initial, QByteArrayView bytes) const;

    /// "CRC by PATH" or "CRC-32 (built in)".
    QString origin() const;

private:
    using Function = quint32 (*)(quint32 initial, const quint8 *first, quint32 count);

    Function _update_crc;
    QString m_libraryPath; // empty: built in
};

} // namespace vantrel
