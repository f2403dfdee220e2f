// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Dialogs.h"

#include <QFileDialog>
#include <QFileSystemWatcher>

#include <optional>

class QAbstractItemView;
class QLineEdit;
class QPushButton;

namespace vantrel {

class UndecodedNames;

/// One choice of a file. Refuses a file or directory that does not exist, a path that names no
/// regular file (a FIFO, a device) and, for saving, a file that is read-only; asks before an
/// existing file is given for saving, or, where an existing file is wanted, before a missing one is
/// made. Each refusal is a message box over the dialog, which stays open.
///
/// A name with "*" or "?" in it that is not the name of a file is a pattern: the dialog stays open
/// and lists the files that match. The default suffix is appended to a name without a suffix; for
/// opening, only when there is no file of the name without it.
///
/// Every name can be chosen. A name is shown escaped (see shownPath()) and may be typed so, or
/// literally: a quote in a typed name is a part of it. Names that are not valid UTF-8, which Qt's
/// views leave out, are in a list below these (UndecodedNames).
///
/// It is Qt's own dialog on every platform: those of the systems make some of these checks only,
/// and not the same ones. It neither reads nor writes the state that Qt keeps of its file dialogs
/// in the user's settings (QtProject.conf).
class FileDialog : public QFileDialog
{
    Q_OBJECT

public:
    /// An empty `directory` is Qt's choice: the one last visited by this process, or the current
    /// one.
    FileDialog(const FileChoice &choice, const QString &directory, QWidget *parent);

    /// "Log Files|*.log" as Qt has it: "Log Files (*.log)".
    static QString nameFilter(const QString &labelAndPattern);

    /// The path of the file, once the dialog has been accepted. It may be one of pathFromBytes().
    QString chosenFile() const { return m_chosenFile; }

    void accept() override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    /// What was selected in a list, as long as the name field shows `text`.
    struct Picked
    {
        QString text;
        QString path;
    };

    QLineEdit &nameField() const;
    void addUndecodedNames();
    void listUndecodedNames();
    void pickFromView(const QModelIndex &index);
    void pick(const QString &path);
    QString pickedPath() const;
    QString pathOf(const QString &name) const;
    bool isPattern(const QString &name) const;
    void enableButton();
    void showPattern(const QString &pattern);
    void filterBy(const QString &pattern);
    void choose(const QString &path);
    void enterDirectory(const QString &path);
    void acceptForOpening(const QString &path);
    void acceptForSaving(const QString &path);
    void refuse(const QString &reason, const QString &path);
    void askToReplace(const QString &path);
    void askToCreate(const QString &path);
    void create(const QString &path);

    FileChoice m_choice;
    QString m_chosenFile;
    std::optional<Picked> m_picked;
    QAbstractItemView *m_view = nullptr;
    QPushButton *m_button = nullptr; ///< "Open" or "Save"
    UndecodedNames *m_undecoded = nullptr;
    QFileSystemWatcher m_watcher; ///< of the directory
};

} // namespace vantrel
