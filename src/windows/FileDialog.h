// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Dialogs.h"

#include <QFileDialog>

namespace vantrel {

/// One choice of a file. Refuses a file or directory that does not exist and, for saving, a file
/// that is read-only; asks before an existing file is given for saving, or, where an existing file
/// is wanted, before a missing one is made. Each refusal is a message box over the dialog, which
/// stays open.
///
/// It is Qt's own dialog on every platform: those of the systems make some of these checks only,
/// and not the same ones.
class FileDialog : public QFileDialog
{
    Q_OBJECT

public:
    /// An initial name with a "*" in it chooses no file. An empty `directory` is Qt's choice: the
    /// one last visited, or the current one.
    FileDialog(const FileChoice &choice, const QString &directory, QWidget *parent);

    /// "Log Files|*.log" as Qt has it: "Log Files (*.log)".
    static QString nameFilter(const QString &labelAndPattern);

    void accept() override;

private:
    void acceptForOpening(const QFileInfo &file);
    void acceptForSaving(const QFileInfo &file);
    void refuse(const QString &reason, const QFileInfo &file);
    void askToReplace(const QFileInfo &file);
    void askToCreate(const QFileInfo &file);
    void create(const QFileInfo &file);

    FileChoice::Kind m_kind;
};

} // namespace vantrel
