// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "windows/DialogBoxes.h"
#include "windows/WindowBench.h"

#include <QApplication>

namespace vantrel::test {

/// The open window of this name, or nothing.
template <typename Type>
Type *openWindow(const char *name)
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (window->isVisible() && window->objectName() == QLatin1String(name))
            return qobject_cast<Type *>(window);
    }
    return nullptr;
}

/// The console and its window with the program's own dialogs.
struct DialogBench
{
    DialogBench()
    {
        QFile(namesFile).open(QIODevice::WriteOnly);
        stopTicks(*window);
        window->show();
        waitUntilActive(*window);
        console->load(namesFile);
    }

    QTemporaryDir directory;
    QString namesFile = directory.filePath(QStringLiteral("VLnetNames.dat"));
    DialogBoxes dialogs;
    MemoryTransport *const serial = new MemoryTransport;
    MemoryTransport *const tcp = new MemoryTransport;
    std::unique_ptr<Console> console = std::make_unique<Console>(
        dialogs, std::unique_ptr<Transport>(serial), std::unique_ptr<Transport>(tcp));
    std::unique_ptr<Main> window = std::make_unique<Main>(*console);
    MainControls &main = console->session().Main;
    WindowBoundary tool{console->dialogs()}; ///< of the tool window that the test makes, if any
};

} // namespace vantrel::test
