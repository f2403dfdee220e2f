// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/Binder.h"

#include <QAbstractButton>
#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>

#include <array>
#include <cmath>
#include <utility>

namespace vantrel {

namespace {

constexpr std::array AllAspects{
    Control::Aspect::Text,    Control::Aspect::ToolTip,  Control::Aspect::Enabled,
    Control::Aspect::Visible, Control::Aspect::Checked,  Control::Aspect::Colour,
    Control::Aspect::Items,   Control::Aspect::Index,    Control::Aspect::Progress,
    Control::Aspect::Locked,  Control::Aspect::EntryNote};

/// The window itself, or the widget or action in it; other windows that belong to it do not count.
QObject *faceOf(QWidget &window, const QString &name)
{
    if (window.objectName() == name)
        return &window;
    for (QWidget *widget : window.findChildren<QWidget *>(name)) {
        if (widget->window() == &window)
            return widget;
    }
    return window.findChild<QAction *>(name, Qt::FindDirectChildrenOnly);
}

void set(QObject &face, const char *property, const QVariant &value)
{
    Q_ASSERT(face.metaObject()->indexOfProperty(property) >= 0);
    face.setProperty(property, value);
}

/// What a window shows as its text is its title.
const char *textProperty(const QObject &face)
{
    const auto *widget = qobject_cast<const QWidget *>(&face);
    return widget != nullptr && widget->isWindow() ? "windowTitle" : "text";
}

void setText(QObject &face, const QString &text)
{
    if (auto *pane = qobject_cast<QPlainTextEdit *>(&face)) {
        pane->setPlainText(text);
        pane->moveCursor(QTextCursor::End);
        return;
    }
    if (auto *bar = qobject_cast<QProgressBar *>(&face)) {
        bar->setFormat(text);
        return;
    }
    set(face, textProperty(face), text);
    auto *field = qobject_cast<QLineEdit *>(&face);
    if (field && field->isReadOnly())
        field->home(false); // a long name shows its beginning
}

void append(QObject &face, const Control &control, const QString &text)
{
    auto *pane = qobject_cast<QPlainTextEdit *>(&face);
    if (!pane) {
        setText(face, control.text());
        return;
    }
    QTextCursor end(pane->document());
    end.movePosition(QTextCursor::End);
    end.insertText(text);
    pane->moveCursor(QTextCursor::End);
}

/// Light of one colour part, 0 to 1, as the eye takes it.
double linear(float part)
{
    return std::pow((static_cast<double>(part) + 0.055) / 1.055, 2.4);
}

/// Black or white, whichever has the greater contrast to the background.
QColor textColourOn(const QColor &background)
{
    const double luminance = 0.2126 * linear(background.redF()) +
                             0.7152 * linear(background.greenF()) +
                             0.0722 * linear(background.blueF());
    constexpr double equalContrast = 0.179;
    return luminance < equalContrast ? Qt::white : Qt::black;
}

void showColour(QWidget &widget, std::optional<Colour> colour)
{
    widget.setAutoFillBackground(colour.has_value());
    QPalette palette;
    if (colour) {
        const QColor background(colour->red, colour->green, colour->blue);
        palette.setColor(widget.backgroundRole(), background);
        palette.setColor(widget.foregroundRole(), textColourOn(background));
    }
    widget.setPalette(palette);
}

void showItems(QComboBox &list, const Control &control)
{
    list.clear();
    list.addItems(control.items());
    list.setCurrentIndex(control.index());
}

void loadFromForm(Control &control, const QObject &face)
{
    const Control::Aspects owned = control.ownedAspects();
    if (!owned.testFlag(Control::Aspect::Text))
        control.adoptText(face.property(textProperty(face)).toString());
    if (!owned.testFlag(Control::Aspect::ToolTip))
        control.adoptToolTip(face.property("toolTip").toString());
    if (!owned.testFlag(Control::Aspect::Checked))
        control.adoptChecked(face.property("checked").toBool());
}

void adoptUserActions(Control &control, QObject &face)
{
    if (auto *button = qobject_cast<QAbstractButton *>(&face)) {
        // An option that the user selects clears another one, which is not clicked.
        QObject::connect(button, &QAbstractButton::toggled, &control, &Control::adoptChecked);
    } else if (auto *field = qobject_cast<QLineEdit *>(&face)) {
        QObject::connect(field, &QLineEdit::textEdited, &control, &Control::adoptText);
    } else if (auto *list = qobject_cast<QComboBox *>(&face)) {
        QObject::connect(list, &QComboBox::activated, &control, &Control::adoptIndex);
    } else if (auto *label = qobject_cast<QLabel *>(&face)) {
        label->setTextFormat(Qt::PlainText); // texts come from the tester and from file names
    }
}

} // namespace

Binder::Binder(const QList<Control *> &controls, QWidget &window)
    : m_window(window), m_notes(window)
{
    m_turn.setSingleShot(true);
    m_turn.callOnTimeout(this, &Binder::showWaitingTexts);
    for (Control *control : controls) {
        QObject *face = faceOf(window, control->name());
        Q_ASSERT_X(face != nullptr, "Binder", qUtf8Printable(control->name()));
        bind(*control, *face);
    }
}

QStringList Binder::unbound(const QList<Control *> &controls, QWidget &window)
{
    QStringList names;
    for (const Control *control : controls) {
        if (faceOf(window, control->name()) == nullptr)
            names.append(control->name());
    }
    return names;
}

void Binder::bind(Control &control, QObject &face)
{
    adoptUserActions(control, face);
    loadFromForm(control, face);
    for (const Control::Aspect aspect : AllAspects) {
        if (control.ownedAspects().testFlag(aspect))
            show(control, face, aspect);
    }
    connect(&control, &Control::changed, this,
            [this, &control, &face](Control::Aspect aspect) { show(control, face, aspect); });
    connect(&control, &Control::appended, this,
            [&control, &face](const QString &text) { append(face, control, text); });
}

void Binder::show(const Control &control, QObject &face, Control::Aspect aspect)
{
    switch (aspect) {
    case Control::Aspect::Text:
        showText(control, face);
        break;
    case Control::Aspect::ToolTip:
        set(face, "toolTip", EntryNotes::toolTip(control.entryNote(), control.toolTip()));
        break;
    case Control::Aspect::Enabled:
        setEnabled(face, control.isEnabled());
        break;
    case Control::Aspect::Visible:
        set(face, "visible", control.isVisible());
        break;
    case Control::Aspect::Checked:
        set(face, "checked", control.isChecked());
        break;
    case Control::Aspect::Colour:
        if (auto *widget = qobject_cast<QWidget *>(&face))
            showColour(*widget, control.colour());
        break;
    case Control::Aspect::Items:
        if (auto *list = qobject_cast<QComboBox *>(&face))
            showItems(*list, control);
        break;
    case Control::Aspect::Index:
        set(face, "currentIndex", control.index());
        break;
    case Control::Aspect::Progress:
        set(face, "maximum", control.progress().total);
        set(face, "value", control.progress().done);
        break;
    case Control::Aspect::Locked:
        set(face, "readOnly", control.isLocked());
        break;
    case Control::Aspect::EntryNote:
        showEntryNote(control, face);
        break;
    }
}

void Binder::showEntryNote(const Control &control, QObject &face)
{
    auto *field = qobject_cast<QLineEdit *>(&face);
    if (!field)
        return;
    m_notes.show(*field, control.entryNote());
    show(control, face, Control::Aspect::ToolTip);
}

void Binder::showText(const Control &control, QObject &face)
{
    if (control.pace() == Control::Pace::AtOnce) {
        setText(face, control.text());
        return;
    }
    m_waiting.insert(&control, &face);
    if (!m_turn.isActive())
        m_turn.start();
}

void Binder::showWaitingTexts()
{
    for (const auto &[control, face] : std::exchange(m_waiting, {}).asKeyValueRange())
        setText(*face, control->text());
}

void Binder::setEnabled(QObject &face, bool enabled)
{
    auto *widget = qobject_cast<QWidget *>(&face);
    const bool focused = widget != nullptr && m_window.focusWidget() == widget;
    set(face, "enabled", enabled);
    if (!widget)
        return;
    if (!enabled && focused) {
        if (!m_displaced || m_standIn != widget)
            m_displaced = widget;
        m_standIn = m_window.focusWidget();
    } else if (enabled && m_displaced == widget) {
        if (m_window.focusWidget() == m_standIn)
            widget->setFocus(Qt::OtherFocusReason);
        m_displaced.clear();
    }
}

} // namespace vantrel
