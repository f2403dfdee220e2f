// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/Binder.h"

#include "windows/Shades.h"

#include <QAbstractButton>
#include <QAction>
#include <QComboBox>
#include <QDeadlineTimer>
#include <QEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>

#include <algorithm>
#include <array>
#include <utility>

namespace vantrel {

namespace {

constexpr std::array AllAspects{
    Control::Aspect::Text,    Control::Aspect::ToolTip, Control::Aspect::Enabled,
    Control::Aspect::Visible, Control::Aspect::Checked, Control::Aspect::Colour,
    Control::Aspect::Items,   Control::Aspect::Index,   Control::Aspect::Progress,
    Control::Aspect::Locked,  Control::Aspect::Stale,   Control::Aspect::EntryNote};

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
    const char *const property = textProperty(face);
    QString shown = text;
    if (qstrcmp(property, "windowTitle") == 0) // "[*]" is a place holder there unless it is doubled
        shown.replace(QStringLiteral("[*]"), QStringLiteral("[*][*]"));
    set(face, property, shown);
    auto *field = qobject_cast<QLineEdit *>(&face);
    if (field && field->isReadOnly())
        field->home(false); // a long name shows its beginning
}

void append(QPlainTextEdit &pane, const QString &text)
{
    QTextCursor end(pane.document());
    end.movePosition(QTextCursor::End);
    end.insertText(text);
}

/// Where a slice of the text ends. CR LF is one line break: it is not divided.
qsizetype sliceEnd(const QString &text, qsizetype begin)
{
    constexpr qsizetype Size = 32'768; // some milliseconds
    const qsizetype end = std::min(begin + Size, text.size());
    const bool divides = end < text.size() && text[end - 1] == QLatin1Char('\r');
    return divides ? end + 1 : end;
}

/// Appends the last `count` characters of the text, slice by slice, until the time is over. Returns
/// how many are left.
qsizetype appendSlices(QPlainTextEdit &pane, const QString &text, qsizetype count,
                       const QDeadlineTimer &time)
{
    for (qsizetype begin = text.size() - count; count > 0; begin = text.size() - count) {
        const qsizetype end = sliceEnd(text, begin);
        append(pane, text.sliced(begin, end - begin));
        count = text.size() - end;
        if (time.hasExpired())
            break;
    }
    pane.moveCursor(QTextCursor::End);
    return count;
}

void showColours(QWidget &widget, const Control &control)
{
    const QPalette window = widget.window()->palette();
    QColor background = window.color(widget.backgroundRole());
    QColor text = window.color(widget.foregroundRole());
    if (const auto colour = control.colour()) {
        const QColor own(colour->red, colour->green, colour->blue);
        background = control.isStale() ? shades::pale(own, background) : own;
        text = shades::blackOrWhite(background);
    }
    QPalette palette;
    if (control.colour())
        palette.setColor(widget.backgroundRole(), background);
    if (control.isStale())
        palette.setColor(widget.foregroundRole(), shades::grey(text, background));
    else if (control.colour())
        palette.setColor(widget.foregroundRole(), text);
    widget.setAutoFillBackground(control.colour().has_value());
    widget.setPalette(palette);
}

QString shownToolTip(const Control &control)
{
    return control.isStale() ? control.freshAt()->toString(QStringLiteral("'as of' HH:mm:ss"))
                             : control.toolTip();
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
    window.installEventFilter(this);
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
    if (auto *pane = qobject_cast<QPlainTextEdit *>(&face))
        pane->setMaximumBlockCount(control.lineLimit());
    for (const Control::Aspect aspect : AllAspects) {
        if (control.ownedAspects().testFlag(aspect))
            show(control, face, aspect);
    }
    connect(&control, &Control::changed, this,
            [this, &control, &face](Control::Aspect aspect) { show(control, face, aspect); });
    connect(&control, &Control::appended, this,
            [this, &control, &face](const QString &text) { appendText(control, face, text); });
}

bool Binder::eventFilter(QObject * /*watched*/, QEvent *event)
{
    if (event->type() == QEvent::PaletteChange) {
        for (const auto &[control, widget] : m_stale.asKeyValueRange())
            showColours(*widget, *control);
    }
    return false;
}

void Binder::show(const Control &control, QObject &face, Control::Aspect aspect)
{
    switch (aspect) {
    case Control::Aspect::Text:
        showText(control, face);
        break;
    case Control::Aspect::ToolTip:
        set(face, "toolTip", EntryNotes::toolTip(control.entryNote(), shownToolTip(control)));
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
            showColours(*widget, control);
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
    case Control::Aspect::Stale:
        showStale(control, face);
        break;
    case Control::Aspect::EntryNote:
        showEntryNote(control, face);
        break;
    }
}

void Binder::showStale(const Control &control, QObject &face)
{
    set(face, "toolTip", shownToolTip(control));
    face.setProperty(shades::StaleProperty, control.isStale());
    auto *widget = qobject_cast<QWidget *>(&face);
    if (!widget || qobject_cast<QLineEdit *>(widget))
        return;
    if (control.isStale())
        m_stale.insert(&control, widget);
    else
        m_stale.remove(&control);
    showColours(*widget, control);
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
    const bool isPane = qobject_cast<QPlainTextEdit *>(&face) != nullptr;
    if (control.pace() == Control::Pace::AtOnce &&
        (!isPane || mayShowAtOnce(control.text().size()))) {
        m_waiting.remove(&control);
        setText(face, control.text());
        return;
    }
    waitingText(control, face).whole = true;
}

void Binder::appendText(const Control &control, QObject &face, const QString &text)
{
    auto *pane = qobject_cast<QPlainTextEdit *>(&face);
    if (!pane) {
        showText(control, face);
    } else if (control.pace() == Control::Pace::AtOnce && !m_waiting.contains(&control) &&
               mayShowAtOnce(text.size())) {
        append(*pane, text);
        pane->moveCursor(QTextCursor::End);
    } else {
        waitingText(control, face).appended += text.size();
    }
}

/// Counts what the panes show in this turn.
bool Binder::mayShowAtOnce(qsizetype characters)
{
    if (m_shownAtOnce + characters > AtOnceLimit)
        return false;
    m_shownAtOnce += characters;
    if (!m_turn.isActive())
        m_turn.start();
    return true;
}

Binder::WaitingText &Binder::waitingText(const Control &control, QObject &face)
{
    if (!m_turn.isActive())
        m_turn.start();
    WaitingText &waiting = m_waiting[&control];
    waiting.face = &face;
    return waiting;
}

void Binder::showWaitingTexts()
{
    m_shownAtOnce = 0;
    const QDeadlineTimer time(SliceTime);
    const auto waitingTexts = std::exchange(m_waiting, {});
    for (const auto &[control, waiting] : waitingTexts.asKeyValueRange()) {
        const QString &text = control->text();
        auto *pane = qobject_cast<QPlainTextEdit *>(waiting.face);
        if (!pane) {
            setText(*waiting.face, text);
            continue;
        }
        const bool whole = waiting.whole || waiting.appended >= text.size();
        if (whole)
            pane->clear();
        const qsizetype left =
            appendSlices(*pane, text, whole ? text.size() : waiting.appended, time);
        if (left > 0)
            waitingText(*control, *waiting.face).appended += left;
    }
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
