// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/DropDownList.h"

#include <QWheelEvent>

namespace vantrel {

void DropDownList::wheelEvent(QWheelEvent *event)
{
    event->ignore();
}

} // namespace vantrel
