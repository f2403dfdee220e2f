// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/EntryNotes.h"

#include <QEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QTextDocument>

#include <algorithm>

namespace vantrel {

namespace {

constexpr int FrameWidth = 2;
constexpr int CornerDivisor = 2; // part of the field's height that the corner takes

// Each has a contrast of 4.5 to 1 or more to the backgrounds that it is used on.
const QColor OnLight(0xB4, 0x3C, 0x00);
const QColor OnDark(0xFF, 0xB0, 0x40);

} // namespace

EntryMark::EntryMark(QLineEdit &field) : QWidget(&field)
{
    setObjectName(QStringLiteral("EntryMark"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    setGeometry(field.rect());
    field.installEventFilter(this);
}

bool EntryMark::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize)
        setGeometry(static_cast<QWidget *>(watched)->rect());
    return false;
}

void EntryMark::paintEvent(QPaintEvent * /*event*/)
{
    const QColor colour = palette().color(QPalette::Base).lightnessF() < 0.5F ? OnDark : OnLight;
    QPainter painter(this);
    QPen pen(colour, FrameWidth);
    pen.setJoinStyle(Qt::MiterJoin);
    painter.setPen(pen);
    painter.drawRect(QRectF(rect()).adjusted(1, 1, -1, -1));
    const int leg = height() / CornerDivisor;
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawPolygon(
        QPolygon({QPoint(width() - leg, 0), QPoint(width(), 0), QPoint(width(), leg)}));
}

EntryNotes::EntryNotes(QWidget &window)
    : m_window(window), m_statusLine(window.findChild<QLabel *>(QStringLiteral("StatusLine")))
{
}

void EntryNotes::show(QLineEdit &field, const QString &note)
{
    m_notes.removeIf([&field](const auto &each) { return each.first == &field; });
    if (!note.isEmpty())
        m_notes.append({&field, note});

    EntryMark *&mark = m_marks[&field];
    if (!mark && !note.isEmpty())
        mark = new EntryMark(field);
    if (mark)
        mark->setVisible(!note.isEmpty());
    field.setAccessibleDescription(note);

    if (!m_statusLine)
        return;
    m_statusLine->setText(m_notes.isEmpty() ? QString()
                                            : nameOf(*m_notes.last().first) + QStringLiteral(": ") +
                                                  m_notes.last().second);
}

QString EntryNotes::toolTip(const QString &note, const QString &own)
{
    if (note.isEmpty())
        return own;
    const QString text = own.isEmpty() ? note : note + QLatin1Char('\n') + own;
    // What was typed must not be read as rich text.
    return Qt::mightBeRichText(text) ? Qt::convertFromPlainText(text) : text;
}

QString EntryNotes::nameOf(const QLineEdit &field) const
{
    if (!field.accessibleName().isEmpty())
        return field.accessibleName();
    for (const QLabel *label : m_window.findChildren<QLabel *>()) {
        if (label->buddy() == &field)
            return label->text().remove(QLatin1Char('&'));
    }
    return field.objectName();
}

} // namespace vantrel
