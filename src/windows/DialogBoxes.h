// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Dialogs.h"

namespace vantrel {

/// The program's message boxes and file dialogs, each window-modal over the window that the user is
/// working in, or over the main window. They are named "MessageBox" and "FileDial1".
///
/// A dialog that goes with its window, when the program closes, is answered as if the user had
/// closed it, so that nothing stays waiting. So is any question while there is no main window.
class DialogBoxes : public Dialogs
{
public:
    QCoro::Task<Answer> messageBox(Message message) override;
    QCoro::Task<QString> fileDialog(FileChoice choice) override;
};

} // namespace vantrel
