// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/FtdiBackup.h"

#include "link/DurableFile.h"
#include "link/RuntimeError.h"

#include <QDir>
#include <QFileInfo>

namespace vantrel {

namespace {

/// A link whose target has gone counts as taken.
bool isTaken(const QString &path)
{
    const QFileInfo file(path);
    return file.exists() || file.isSymLink();
}

} // namespace

QString saveEepromBackup(const QString &folder, const QDateTime &now, QByteArrayView image)
{
    if (const auto failure = makePrivateDirectory(folder))
        throw RuntimeError::file(*failure, folder);
    const QString stem = QDir(folder).filePath(QStringLiteral("ftdi-eeprom-") +
                                               now.toString(QStringLiteral("yyyyMMdd-HHmmss")));
    const QString suffix = QStringLiteral(".bin");
    QString path = stem + suffix;
    for (int copy = 2; isTaken(path) || !createFile(path, image, FileAccess::OwnerOnly); ++copy)
        path = stem + QLatin1Char('-') + QString::number(copy) + suffix;
    return path;
}

} // namespace vantrel
