// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

namespace vantrel {

/// The bytes of a script file (".vn"): framed commands, one after the other, the last of them the
/// end of the script. Throws RuntimeError when the file cannot be read.
QByteArray readScriptFile(const QString &path);

/// What is odd about a script, with the byte offset where it begins; nothing when it is well
/// framed and ends with the end-of-script command. The tester has the last word on it: an odd
/// script is sent like any other.
std::optional<QString> oddityOfScript(QByteArrayView script);

} // namespace vantrel
