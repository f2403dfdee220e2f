// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/Files.h"

#include "link/FilePath.h"
#include "link/RegularFile.h"
#include "link/RuntimeError.h"

#include <QFile>
#include <QFileInfo>

#include <cstdio>

namespace vantrel {

bool isInstalled(const QString &programDirectory)
{
    return QFileInfo(programDirectory + QStringLiteral("/../share/vantrel")).isDir();
}

QByteArray readWholeFile(const QString &path, qint64 limit)
{
    WholeFile file(path, limit);
    while (!file.atEnd())
        file.readSlice();
    return file.take();
}

QByteArray readStartOfFile(const QString &path, qsizetype count)
{
    QFile file;
    if (const auto failure = openRegularFile(file, path, QIODevice::ReadOnly))
        throw RuntimeError::file(*failure, path);
    QByteArray bytes = file.read(count);
    if (file.error() != QFileDevice::NoError)
        throw RuntimeError::file(file.errorString(), path);
    return bytes;
}

void writeAtStart(const QString &path, QByteArrayView bytes)
{
    QFile file;
    // Without a buffer, every failure is that of a write.
    const auto mode = QIODevice::ReadWrite | QIODevice::Unbuffered;
    const bool created = !openRegularFile(file, path, mode | QIODevice::NewOnly);
    if (!created) {
        if (const auto failure = openRegularFile(file, path, mode))
            throw RuntimeError::file(*failure, path);
    }
    if (const auto failure = writeAll(file, bytes)) {
        file.close();
        if (created)
            std::remove(pathBytes(path).constData());
        throw RuntimeError::file(*failure, path);
    }
}

} // namespace vantrel
