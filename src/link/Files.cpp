// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/Files.h"

#include "link/RegularFile.h"
#include "link/RuntimeError.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

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
    if (const auto failure = openRegularFile(file, path, QIODevice::ReadWrite))
        throw RuntimeError::file(*failure, path);
    // A full disk may show only when the buffer is written out.
    if (file.write(bytes.data(), bytes.size()) != bytes.size() || !file.flush())
        throw RuntimeError::file(file.errorString(), path);
}

void replaceFile(const QString &path, QByteArrayView bytes)
{
    // With a buffer, a failure to write out the last of it would go unnoticed.
    QSaveFile file(path);
    bool written = file.open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    // The write that fills the disk returns a smaller count; the next one fails with the reason.
    while (written && !bytes.isEmpty()) {
        const qint64 count = file.write(bytes.data(), bytes.size());
        written = count > 0;
        bytes = bytes.sliced(written ? count : 0);
    }
    if (!written || !file.commit())
        throw RuntimeError::file(file.errorString(), path);
}

} // namespace vantrel
