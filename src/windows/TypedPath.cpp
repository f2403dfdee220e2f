// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/TypedPath.h"

#include "link/FilePath.h"
#include "link/FileStatus.h"

#include <QDir>

namespace vantrel {

namespace {

QString entryOf(const QString &directory, const QString &part)
{
    QString literal = directory + QLatin1Char('/') + part;
    if (fileStatus(literal).exists())
        return literal;
    const auto unescaped = pathFromShown(part);
    if (!unescaped || unescaped->contains(QLatin1Char('/')))
        return literal;
    QString path = directory + QLatin1Char('/') + *unescaped;
    return fileStatus(path).exists() ? path : literal;
}

} // namespace

QString typedPath(const QString &typed, const QString &directory)
{
    QString name = QDir::fromNativeSeparators(typed); // there are no escapes on Windows
    const bool fromRoot = name.startsWith(QLatin1Char('/'));
    if (!fromRoot && QDir::isAbsolutePath(name))
        return name;
    QString path = fromRoot || directory == QLatin1String("/") ? QString() : directory;
    for (const QString &part : name.split(QLatin1Char('/'), Qt::SkipEmptyParts))
        path = entryOf(path, part);
    return path.isEmpty() ? QStringLiteral("/") : path;
}

} // namespace vantrel
