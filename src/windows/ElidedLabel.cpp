// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/ElidedLabel.h"

#include <QPainter>
#include <QStyle>

namespace vantrel {

ElidedLabel::ElidedLabel(QWidget *parent) : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
}

QSize ElidedLabel::minimumSizeHint() const
{
    return {0, QLabel::minimumSizeHint().height()};
}

void ElidedLabel::paintEvent(QPaintEvent *event)
{
    if (hasSelectedText()) { // positions in the whole text
        QLabel::paintEvent(event);
        return;
    }
    QPainter painter(this);
    drawFrame(&painter);
    const QRect room = contentsRect();
    style()->drawItemText(&painter, room, static_cast<int>(alignment()), palette(), isEnabled(),
                          fontMetrics().elidedText(text(), Qt::ElideMiddle, room.width()),
                          foregroundRole());
}

} // namespace vantrel
