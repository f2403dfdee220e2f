// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/Files.h"

#include "link/RuntimeError.h"

#include <QFile>

namespace vantrel {

QByteArray readWholeFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw RuntimeError::file(file.errorString(), path);
    QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        throw RuntimeError::file(file.errorString(), path);
    return bytes;
}

void writeAtStart(const QString &path, QByteArrayView bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite))
        throw RuntimeError::file(file.errorString(), path);
    // A full disk may show only when the buffer is written out.
    if (file.write(bytes.data(), bytes.size()) != bytes.size() || !file.flush())
        throw RuntimeError::file(file.errorString(), path);
}

} // namespace vantrel
