// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Dialogs.h"

#include <utility>

namespace vantrel {

/// Where file dialogs start until a file has been chosen. Without a general directory, they start
/// where Qt's do.
struct StartDirectories
{
    QString general;
    QString data; ///< for the program's own files; made when it is needed
};

/// The program's message boxes and file dialogs. Each is window-modal over the window that it
/// belongs to or, when that is closed, over the window's parent; over the dialogs that are open
/// there already. It is opened as the active window. The object names are "MessageBox" and
/// "FileDial1".
///
/// A dialog that is deleted with its window, when the program closes, is answered as if the user
/// had closed it, so that nothing waits for it. So is each one without an open window to belong to.
class DialogBoxes : public Dialogs
{
public:
    explicit DialogBoxes(StartDirectories start = {}) : m_start(std::move(start)) {}

    QCoro::Task<Answer> messageBox(Message message) override;
    QCoro::Task<QString> fileDialog(FileChoice choice) override;

private:
    QString directoryFor(const FileChoice &choice) const;

    StartDirectories m_start;
    QString m_lastDirectory; ///< of the file chosen last
};

} // namespace vantrel
