// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/TourFiles.h"

#include "app/Stage.h"
#include "console/NetworkNames.h"
#include "link/FilePath.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <array>
#include <cstring>

namespace vantrel {

namespace {

constexpr std::array Files{tourfile::Log,     tourfile::Script,  tourfile::DescriptorReport,
                           tourfile::Request, tourfile::HexFile, tourfile::Firmware};

constexpr std::array Pictures{
    "EZUSBForm",    "DevRqstForm",        "FWLoad",         "FlashForm", "GetDescForm",
    "HelpForm",     "box-automatic-mode", "box-names-file", "frmAbout",  "frmFTDI",
    "frmNWCfg",     "frmNewIP",           "main",           "failure",   "main-closed",
    "box-verified", "main-script",        "main-suspended"};

std::optional<QString> removeOld(const QString &path)
{
    const QFileInfo info(path);
    QFile file(path);
    if ((!info.exists() && !info.isSymLink()) || file.remove())
        return std::nullopt;
    return QStringLiteral("cannot replace %1: %2").arg(shownPath(path), file.errorString());
}

} // namespace

std::optional<QString> prepareTourDirectory(const QString &directory)
{
    if (!QDir().mkpath(directory))
        return QStringLiteral("cannot make the folder ") + shownPath(directory);
    QStringList paths{NetworkNames::filePath(directory, directory)};
    for (const char *name : Files)
        paths.append(directory + QLatin1Char('/') + QLatin1String(name));
    for (const char *name : Pictures)
        paths.append(tourPicturePath(directory, QLatin1String(name)));
    for (const QString &path : std::as_const(paths)) {
        if (auto failure = removeOld(path))
            return failure;
    }
    return std::nullopt;
}

QString tourPicturePath(const QString &directory, const QString &name)
{
    const bool known = std::ranges::any_of(
        Pictures, [&name](const char *each) { return name == QLatin1String(each); });
    if (!known)
        throw TourFailure(QStringLiteral("no picture has the name ") + name);
    return directory + QLatin1Char('/') + name + QStringLiteral(".png");
}

} // namespace vantrel
