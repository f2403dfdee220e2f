// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/Control.h"

namespace vantrel {

namespace {
constexpr QLatin1Char LineFeed('\n');
}

Control::Control(QList<Control *> &registry, const char *name, Pace pace, int lineLimit)
    : m_pace(pace), m_lineLimit(lineLimit)
{
    setObjectName(QString::fromLatin1(name));
    registry.append(this);
}

template <typename Value>
void Control::set(Value &member, const Value &value, Aspect aspect)
{
    const bool first = !m_owned.testFlag(aspect);
    m_owned |= aspect;
    if (!first && member == value)
        return;
    member = value;
    emit changed(aspect);
}

const QString &Control::text() const
{
    if (m_lineLimit > 0)
        removeExcessLines();
    return m_text;
}

void Control::setText(const QString &text)
{
    const bool first = !m_owned.testFlag(Aspect::Text);
    if (first || this->text() != text)
        redrawText(text);
    clearEntryNote();
}

void Control::adoptText(const QString &text)
{
    storeText(text);
    clearEntryNote();
}

void Control::redrawText(const QString &text)
{
    m_owned |= Aspect::Text;
    storeText(text);
    emit changed(Aspect::Text);
}

void Control::storeText(const QString &text)
{
    m_text = text;
    if (m_lineLimit > 0)
        m_lineEnds = text.count(LineFeed);
}

void Control::removeExcessLines() const
{
    qsizetype position = 0;
    for (; m_lineEnds >= m_lineLimit; --m_lineEnds)
        position = m_text.indexOf(LineFeed, position) + 1;
    m_text.remove(0, position);
}

void Control::setToolTip(const QString &toolTip)
{
    set(m_toolTip, toolTip, Aspect::ToolTip);
}
void Control::setEnabled(bool enabled)
{
    set(m_enabled, enabled, Aspect::Enabled);
}
void Control::setVisible(bool visible)
{
    set(m_visible, visible, Aspect::Visible);
}
void Control::setChecked(bool checked)
{
    set(m_checked, checked, Aspect::Checked);
}
void Control::setColour(std::optional<Colour> colour)
{
    set(m_colour, colour, Aspect::Colour);
}
void Control::setItems(const QStringList &items)
{
    set(m_items, items, Aspect::Items);
}
void Control::setIndex(int index)
{
    set(m_index, index, Aspect::Index);
}

void Control::setProgress(Progress progress)
{
    set(m_progress, progress, Aspect::Progress);
}

void Control::setLocked(bool locked)
{
    set(m_locked, locked, Aspect::Locked);
}

void Control::setEntryNote(const QString &note)
{
    set(m_entryNote, note, Aspect::EntryNote);
}

void Control::clearEntryNote()
{
    if (!m_entryNote.isEmpty())
        setEntryNote({});
}

void Control::insertItem(int position, const QString &item)
{
    QStringList items = m_items;
    items.insert(position, item);
    setItems(items);
}

void Control::appendText(const QString &text)
{
    m_owned |= Aspect::Text;
    m_text += text;
    if (m_lineLimit > 0) {
        m_lineEnds += text.count(LineFeed);
        if (m_lineEnds >= qsizetype{2} * m_lineLimit)
            removeExcessLines();
    }
    emit appended(text);
}

void Control::setFresh(QTime time)
{
    m_freshAt = time;
    set(m_stale, false, Aspect::Stale);
}

void Control::setStale()
{
    if (m_freshAt)
        set(m_stale, true, Aspect::Stale);
}

} // namespace vantrel
