// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/WindowDialogs.h"
#include "windows/DialogBench.h"
#include "windows/DialogBoxes.h"

#include <QMainWindow>
#include <QMessageBox>
#include <QPushButton>

#include <memory>
#include <optional>

namespace vantrel::test {

/// `answer` stays empty until the box is answered.
inline QCoro::Task<> ask(Dialogs &dialogs, Message message, std::optional<Answer> &answer)
{
    answer = co_await dialogs.messageBox(message);
}

inline Message told()
{
    return {QStringLiteral("It is <b>told</b> & done"), QStringLiteral("Vantrel - Warning")};
}

inline Message asked()
{
    return {QStringLiteral("Go on?"), QStringLiteral("Vantrel - Error"), Message::Buttons::YesNo};
}

/// All message boxes that are open.
inline QList<QMessageBox *> openBoxes()
{
    QList<QMessageBox *> boxes;
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (auto *box = qobject_cast<QMessageBox *>(window); box && box->isVisible())
            boxes.append(box);
    }
    return boxes;
}

/// A window with its dialogs.
struct BoxBench
{
    BoxBench()
    {
        dialogs.setWindow(window.get());
        window->show();
        waitUntilActive(*window);
    }

    QMessageBox &box() const
    {
        auto *box = openWindow<QMessageBox>("MessageBox");
        if (!box)
            qFatal("no box");
        return *box;
    }

    bool answered(Answer expected) const { return answer == expected; }

    DialogBoxes boxes;
    WindowDialogs dialogs{boxes};
    std::unique_ptr<QMainWindow> window = std::make_unique<QMainWindow>();
    std::optional<Answer> answer;
};

/// With two tool windows: one that is open and one that was closed.
struct ToolBench : BoxBench
{
    ToolBench()
    {
        toolDialogs.setWindow(&tool);
        closedDialogs.setWindow(&closed);
        tool.show();
        waitUntilActive(tool);
    }

    void activate(QWidget &widget) const
    {
        widget.activateWindow();
        waitUntilActive(widget);
    }

    QMainWindow closed{window.get(), Qt::Dialog};
    QMainWindow tool{window.get(), Qt::Dialog};
    Dialogs &mainDialogs = dialogs;
    WindowDialogs closedDialogs{mainDialogs};
    WindowDialogs toolDialogs{mainDialogs};
};

} // namespace vantrel::test
