// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFlags>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTime>

#include <optional>

namespace vantrel {

/// A colour of 8 bits a part.
struct Colour
{
    quint8 red = 0;
    quint8 green = 0;
    quint8 blue = 0;

    /// From a colour value whose lowest byte is red (255 is red, 0xFFFF80 a light cyan).
    static constexpr Colour fromBlueGreenRed(quint32 value)
    {
        return {static_cast<quint8>(value), static_cast<quint8>(value >> 8U),
                static_cast<quint8>(value >> 16U)};
    }

    bool operator==(const Colour &) const = default;
};

/// How far a progress bar has come, from 0 to `total`.
struct Progress
{
    int done = 0;
    int total = 0;

    bool operator==(const Progress &) const = default;
};

/// One control of a window as a plain value.
///
/// Decoders and handlers read and set these; the window binds each to the widget (or action) whose
/// object name is name(). An aspect that core has never set belongs to the form: the binder loads
/// the form's value with adopt...(), so captions stand in one place only.
class Control : public QObject
{
    Q_OBJECT

public:
    enum class Aspect : quint16 {
        Text = 0x01, ///< caption, label text or field contents
        ToolTip = 0x02,
        Enabled = 0x04,
        Visible = 0x08,
        Checked = 0x10,   ///< check boxes and options
        Colour = 0x20,    ///< background; nullopt is the palette's own
        Items = 0x40,     ///< entries of a drop-down list
        Index = 0x80,     ///< chosen entry of a drop-down list, -1 for none
        Progress = 0x100, ///< of a progress bar
        Locked = 0x200,   ///< an entry field that only shows
        Stale = 0x400,    ///< of a label or a read-only field, see setStale()
        EntryNote = 0x800,
    };
    Q_DECLARE_FLAGS(Aspects, Aspect)

    /// When a window shows a text that core has set or appended.
    enum class Pace : quint8 {
        AtOnce,
        Coalesced, ///< once per turn of the event loop: for texts that change with every packet
    };

    /// Adds itself to `registry`, which the owner of the controls keeps. A `lineLimit` above 0
    /// limits the text to its last lines.
    Control(QList<Control *> &registry, const char *name, Pace pace = Pace::AtOnce,
            int lineLimit = 0);

    QString name() const { return objectName(); }
    const QString &text() const;
    const QString &toolTip() const { return m_toolTip; }
    bool isEnabled() const { return m_enabled; }
    bool isVisible() const { return m_visible; }
    bool isChecked() const { return m_checked; }
    bool isLocked() const { return m_locked; }
    std::optional<Colour> colour() const { return m_colour; }
    const QStringList &items() const { return m_items; }
    int index() const { return m_index; }
    Progress progress() const { return m_progress; }
    Pace pace() const { return m_pace; }
    int lineLimit() const { return m_lineLimit; }
    bool isStale() const { return m_stale; }
    /// Time of the last setFresh().
    std::optional<QTime> freshAt() const { return m_freshAt; }
    /// What was typed into an entry field and what it was taken as, when the two differ; else
    /// empty.
    const QString &entryNote() const { return m_entryNote; }

    /// Clears the entry note: it is about the text before.
    void setText(const QString &text);
    void setToolTip(const QString &toolTip);
    void setEnabled(bool enabled);
    void setVisible(bool visible);
    void setChecked(bool checked);
    void setColour(std::optional<Colour> colour);
    void setItems(const QStringList &items);
    void insertItem(int position, const QString &item);
    void setIndex(int index);
    void setProgress(Progress progress);
    void setLocked(bool locked);
    void setEntryNote(const QString &note);

    /// Appends to the text; emits appended() instead of changed(), so that a long pane need not be
    /// passed whole. Lines beyond the limit are removed now and then, so that the average cost is
    /// that of the appended text.
    void appendText(const QString &text);

    /// Sets the text and emits changed() even if the text is the same: a pane moves its caret to
    /// the end.
    void redrawText(const QString &text);

    /// The value was received at `time`; it is current until setStale().
    void setFresh(QTime time);
    /// The value can no longer be updated and is shown as of the time when it was received. Without
    /// an earlier setFresh() this has no effect.
    void setStale();

    /// Aspects that core has set at least once.
    Aspects ownedAspects() const { return m_owned; }

    /// Takes over what the form shows or what the user has just done, without a notice. A new text
    /// clears the entry note as setText() does.
    void adoptText(const QString &text);
    void adoptToolTip(const QString &toolTip) { m_toolTip = toolTip; }
    void adoptChecked(bool checked) { m_checked = checked; }
    void adoptIndex(int index) { m_index = index; }

signals:
    void changed(vantrel::Control::Aspect aspect);
    void appended(const QString &text);

private:
    template <typename Value>
    void set(Value &member, const Value &value, Aspect aspect);
    void storeText(const QString &text);
    void removeExcessLines() const;
    void clearEntryNote();

    mutable QString m_text;           // at most twice the limit; text() removes the excess
    mutable qsizetype m_lineEnds = 0; // in m_text; counted only if there is a limit
    QString m_toolTip;
    QString m_entryNote;
    QStringList m_items;
    std::optional<Colour> m_colour;
    std::optional<QTime> m_freshAt;
    int m_index = -1;
    Progress m_progress;
    Aspects m_owned;
    Pace m_pace;
    int m_lineLimit;
    bool m_enabled = true;
    bool m_visible = true;
    bool m_checked = false;
    bool m_locked = false;
    bool m_stale = false;
};

} // namespace vantrel

// Outside: inside they would hide the operators that Qt has for its own flags.
Q_DECLARE_OPERATORS_FOR_FLAGS(vantrel::Control::Aspects)
