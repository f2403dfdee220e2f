// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Dialogs.h"

#include <QList>
#include <QPointer>

#include <utility>

namespace vantrel {

class MessageBox;

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
///
/// A message that is the same as that of an open box (see MessageBox::isOpenFor()) opens no other
/// box, whichever window it belongs to: the open one shows how often, is raised and activated, and
/// its answer is the answer to each. Questions are combined only within one window: their texts
/// need not state what they are about. The boxes of a file dialog cannot be repeated, since each
/// blocks the dialog that opens it.
class DialogBoxes : public Dialogs
{
public:
    explicit DialogBoxes(StartDirectories start = {}) : m_start(std::move(start)) {}

    QCoro::Task<Answer> messageBox(Message message) override;
    QCoro::Task<QString> fileDialog(FileChoice choice) override;

private:
    /// The open box for the same message, or a new one; null when no window is open.
    MessageBox *boxFor(const Message &message);
    QString directoryFor(const FileChoice &choice) const;

    StartDirectories m_start;
    QList<QPointer<MessageBox>> m_boxes; ///< those that may be open
    QString m_lastDirectory;             ///< of the file chosen last
};

} // namespace vantrel
