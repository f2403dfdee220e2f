// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/WindowDialogs.h"

#include <utility>

namespace vantrel {

QCoro::Task<Answer> WindowDialogs::messageBox(Message message)
{
    if (!message.window)
        message.window = m_window;
    return m_dialogs.messageBox(std::move(message));
}

QCoro::Task<QString> WindowDialogs::fileDialog(FileChoice choice)
{
    if (!choice.window)
        choice.window = m_window;
    return m_dialogs.fileDialog(std::move(choice));
}

} // namespace vantrel
