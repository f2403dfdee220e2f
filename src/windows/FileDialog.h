// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Dialogs.h"

#include <QFileDialog>

class QLineEdit;

namespace vantrel {

/// One choice of a file. Refuses a file or directory that does not exist and, for saving, a file
/// that is read-only; asks before an existing file is given for saving, or, where an existing file
/// is wanted, before a missing one is made. Each refusal is a message box over the dialog, which
/// stays open.
///
/// A name with "*" or "?" in it that is not the name of a file is a pattern: the dialog stays open
/// and lists the files that match. The default suffix is appended to a name without a suffix; for
/// opening, only when there is no file of the name without it.
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

    /// The path of the file, once the dialog has been accepted.
    QString chosenFile() const { return m_chosenFile; }

    void accept() override;

private:
    QLineEdit &nameField() const;
    bool isPattern(const QString &name) const;
    void showPattern(const QString &pattern);
    void filterBy(const QString &pattern);
    void choose(const QFileInfo &file);
    void acceptForOpening(const QFileInfo &file);
    void acceptForSaving(const QFileInfo &file);
    void refuse(const QString &reason, const QFileInfo &file);
    void askToReplace(const QFileInfo &file);
    void askToCreate(const QFileInfo &file);
    void create(const QFileInfo &file);

    FileChoice m_choice;
    QString m_chosenFile;
};

} // namespace vantrel
