// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ToolWindows.h"

#include "console/Console.h"
#include "console/Main.h"
#include "maintenance/EZUSBForm.h"
#include "maintenance/FWLoad.h"
#include "maintenance/frmFTDI.h"
#include "maintenance/frmNWCfg.h"
#include "tools/DevRqstForm.h"
#include "tools/GetDescForm.h"
#include "tools/HelpForm.h"
#include "tools/frmAbout.h"

#include <QAction>

namespace vantrel {

namespace {

/// The window behind a signal: made when it is first wanted, so that the program starts quickly,
/// and kept. From then on it has the dialogs, if any are given.
template <typename Window, typename Sender, typename Signal, typename... Behaviour>
void openOn(const Sender *sender, Signal signal, Main &main, WindowDialogs *dialogs,
            Behaviour &...behaviour)
{
    QObject::connect(
        sender, signal, &main,
        [&main, dialogs, &behaviour..., window = static_cast<Window *>(nullptr)]() mutable {
            if (!window) {
                window = new Window(behaviour..., &main);
                if (dialogs)
                    dialogs->setWindow(window);
            }
            window->present();
        });
}

template <typename Window, typename Behaviour>
void openBy(const char *menuItem, Main &main, WindowBoundary &boundary, Behaviour &behaviour)
{
    const auto *const item = main.findChild<QAction *>(QString::fromLatin1(menuItem));
    openOn<Window>(item, &QAction::triggered, main, &boundary.dialogs, behaviour);
}

/// A window without a behaviour, and so without dialogs.
template <typename Window>
void openBy(const char *menuItem, Main &main)
{
    const auto *const item = main.findChild<QAction *>(QString::fromLatin1(menuItem));
    openOn<Window>(item, &QAction::triggered, main, nullptr);
}

} // namespace

void addToolWindows(Tools &tools, Console &console, Main &main)
{
    openOn<GetDescForm>(&console, &Console::descriptorViewerWanted, main,
                        &tools.viewerBoundary.dialogs, tools.viewer);
    openBy<DevRqstForm>("UtilDR", main, tools.builderBoundary, tools.builder);
    openBy<EZUSBForm>("EZUSB", main, tools.converterBoundary, tools.converter);
    openBy<FWLoad>("mnuUtilFW", main, tools.loaderBoundary, tools.loader);
    openBy<frmFTDI>("mnuUtilFTDI", main, tools.ftdiBoundary, tools.ftdi);
    openBy<frmNWCfg>("mnuConfigureNetwork", main, tools.networkBoundary, tools.network);
    openBy<frmAbout>("HelpAbout", main);
    openBy<HelpForm>("HelpTopics", main);
}

} // namespace vantrel
