// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/ProgramIcon.h"

#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

namespace vantrel {

QIcon programIcon()
{
    QSvgRenderer drawing(QStringLiteral(":/images/vantrel.svg"));
    QIcon icon;
    for (const int size : {16, 22, 24, 32, 48, 64, 96, 128, 256}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        drawing.render(&painter);
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

} // namespace vantrel
