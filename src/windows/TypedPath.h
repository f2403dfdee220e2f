// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace vantrel {

/// The path of a name typed in a file dialog that shows `directory`. A quote is a character like
/// any other. Each part of the name is taken literally; one that does not exist, but whose escaped
/// form (see shownPath()) names something that exists, stands for the latter.
QString typedPath(const QString &typed, const QString &directory);

} // namespace vantrel
