// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/FtdiBackup.h"

#include "link/Files.h"

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
    const QDir directory(folder);
    directory.mkpath(QStringLiteral(".")); // what went wrong, the write says
    const QString stem = directory.filePath(QStringLiteral("ftdi-eeprom-") +
                                            now.toString(QStringLiteral("yyyyMMdd-HHmmss")));
    const QString suffix = QStringLiteral(".bin");
    QString path = stem + suffix;
    for (int copy = 2; isTaken(path); ++copy)
        path = stem + QLatin1Char('-') + QString::number(copy) + suffix;
    writeAtStart(path, image);
    return path;
}

} // namespace vantrel
