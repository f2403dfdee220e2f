// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>
#include <QTimer>
#include <QWidget>

#include <memory>

class QLabel;
class QListWidget;

namespace vantrel {

/// A list for a file dialog: the names in its directory that are not valid UTF-8, which Qt's own
/// views leave out. Not visible while there are none. A directory of such a name can be entered;
/// then the list holds all that the directory contains.
///
/// Names are shown as shownPath() shows them, directories with "/" behind. The directory is read in
/// several turns of the event loop.
class UndecodedNames : public QWidget
{
    Q_OBJECT

public:
    static constexpr int MostNames = 1000; ///< that are listed

    explicit UndecodedNames(QWidget *parent);
    ~UndecodedNames() override;

    /// Lists the names of a directory that match one of the patterns ("*.log").
    void list(const QString &directory, const QStringList &patterns);

    /// Lists what a directory below contains, whose path is not valid UTF-8.
    void enter(const QString &directory);

    void clearSelection();

    QWidget &view() const;

signals:
    void picked(const QString &path);
    /// A name was clicked twice.
    void accepted();

private:
    struct Reader;

    bool isEntered() const { return m_listed != m_directory; }
    void readOn();
    void show(QStringList paths);
    void pick();
    bool matches(const QString &name) const;

    QLabel &m_label;
    QListWidget &m_list;
    QString m_directory; ///< of the dialog
    QString m_listed;    ///< `m_directory` or one below
    QStringList m_patterns;
    QTimer m_turn;
    std::unique_ptr<Reader> m_reader; ///< while the directory is being read
    bool m_changed = false;           ///< since the reading began
};

} // namespace vantrel
