// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/ProgramIcon.h"

#include <QIconEngine>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

namespace vantrel {

namespace {

/// Draws the mark when a size is asked for: a start of the program waits for none, and none is
/// kept.
class MarkEngine : public QIconEngine
{
public:
    void paint(QPainter *painter, const QRect &area, QIcon::Mode /*mode*/,
               QIcon::State /*state*/) override
    {
        QSvgRenderer(QStringLiteral(":/images/vantrel.svg")).render(painter, area);
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return pixmap;
    }

    QIconEngine *clone() const override { return new MarkEngine; }
};

} // namespace

QIcon programIcon()
{
    return QIcon(new MarkEngine);
}

} // namespace vantrel
