// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/Control.h"

namespace vantrel {

Control::Control(QList<Control *> &registry, const char *name, Pace pace) : m_pace(pace)
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

void Control::setText(const QString &text)
{
    set(m_text, text, Aspect::Text);
    clearEntryNote();
}

void Control::adoptText(const QString &text)
{
    m_text = text;
    clearEntryNote();
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
    emit appended(text);
}

} // namespace vantrel
