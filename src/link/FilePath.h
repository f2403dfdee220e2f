// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace vantrel {

// File names are bytes, and not every name is valid UTF-8. A path is a QString in which each byte
// that is not part of valid UTF-8 is a lone low surrogate, U+DC00 plus the byte. Every byte string
// without a zero byte can be converted to a path and back without a loss. Such a path must be
// opened through openRegularFile(): QFile and QFileInfo replace the surrogates.

/// The path that these bytes name.
QString pathFromBytes(const QByteArray &bytes);

/// The bytes that name the file for the system.
QByteArray pathBytes(const QString &path);

/// The path or name as windows, boxes and terminals show it, in one line and without ambiguity:
/// quotes, backslashes, control characters, those that change the direction of writing and bytes
/// that are not UTF-8 are escaped as in C (\" \\ \n \t \x1B \xE9 \u2028).
QString shownPath(const QString &path);

/// The name of the file without its directory, shown as shownPath() shows it.
QString shownName(const QString &path);

/// The path that shownPath() shows as this text; nothing when the text is no such form. Escapes
/// that are not necessary are accepted.
std::optional<QString> pathFromShown(const QString &shown);

/// Whether every byte of the path is part of valid UTF-8: such a path may be given to QFile and
/// QFileInfo.
bool isDecoded(const QString &path);

} // namespace vantrel
