// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/Crc.h"

#include "link/FilePath.h"

#include <QDir>
#include <QLibrary>

#include <zlib.h>

namespace vantrel {

namespace {

quint32 builtIn(quint32 initial, const quint8 *first, quint32 count)
{
    return static_cast<quint32>(::crc32(initial, first, count));
}

} // namespace

Crc::Crc(const QString &directory) : _update_crc(builtIn)
{
    QLibrary library(QDir(directory).absoluteFilePath(QStringLiteral("crc")));
    for (const char *name : {"_update_crc", "update_crc"}) {
        if (const QFunctionPointer found = library.resolve(name)) {
            _update_crc = reinterpret_cast<Function>(found);
            m_libraryPath = library.fileName();
            return;
        }
    }
}

quint32 Crc::update(quint32 initial, QByteArrayView bytes) const
{
    return _update_crc(initial, reinterpret_cast<const quint8 *>(bytes.data()),
                       static_cast<quint32>(bytes.size()));
}

QString Crc::origin() const
{
    return m_libraryPath.isEmpty() ? QStringLiteral("CRC-32 (built in)")
                                   : QStringLiteral("CRC by ") + shownPath(m_libraryPath);
}

} // namespace vantrel
