// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QIcon>

namespace vantrel {

/// The program's mark, drawn for every size from 16 to 256 pixels that systems ask for.
QIcon programIcon();

} // namespace vantrel
