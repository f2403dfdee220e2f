// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArrayView>
#include <QtGlobal>

/// What a firmware image file of a tester must be; the console looks no further. The model is that
/// of TesterModel: 1 or 2, 0 while it is not known.
namespace vantrel {

/// The longest image, in bytes.
constexpr qint64 longestFirmwareImage(qint16 model)
{
    return model == 1 ? 0x20000 : 0x40000;
}

/// An image for a Vorn 2 begins with "NV"; one for any other model has 0x04 0x00 at offset 6. A
/// file that ends before its marker has none.
inline bool hasFirmwareMarker(QByteArrayView image, qint16 model)
{
    const QByteArrayView marker =
        model == 2 ? QByteArrayView("NV", 2) : QByteArrayView("\x04\0", 2);
    const qsizetype offset = model == 2 ? 0 : 6;
    return image.size() >= offset + marker.size() && image.sliced(offset, marker.size()) == marker;
}

} // namespace vantrel
