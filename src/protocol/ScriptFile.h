// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArrayView>
#include <QString>

#include <optional>

namespace vantrel {

/// What is odd about a script (".vn": framed commands, one after the other), with the byte offset
/// where it begins; nothing when it is well framed and ends with the end-of-script command. The
/// tester has the last word on it: an odd script is sent like any other.
std::optional<QString> oddityOfScript(QByteArrayView script);

} // namespace vantrel
