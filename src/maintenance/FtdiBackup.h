// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArrayView>
#include <QDateTime>
#include <QString>

namespace vantrel {

/// Saves the image in a new file of the folder, which is made if there is none, and returns its
/// path: "ftdi-eeprom-20261121-142233.bin", with "-2" and so on behind the time when that is taken.
/// The file and its name are on the disk then. Only its owner may access it, and a folder that was
/// made. A failure throws RuntimeError and leaves no file.
QString saveEepromBackup(const QString &folder, const QDateTime &now, QByteArrayView image);

} // namespace vantrel
