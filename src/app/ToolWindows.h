// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/Tools.h"

namespace vantrel {

class Main;

/// Puts each tool window behind its menu item.
void addToolWindows(Tools &tools, Console &console, Main &main);

} // namespace vantrel
