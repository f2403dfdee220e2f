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
/// and kept.
template <typename Window, typename Sender, typename Signal, typename... Behaviour>
void openOn(const Sender *sender, Signal signal, Main &main, Behaviour &...behaviour)
{
    QObject::connect(sender, signal, &main,
                     [&main, &behaviour..., window = static_cast<Window *>(nullptr)]() mutable {
                         if (!window)
                             window = new Window(behaviour..., &main);
                         window->present();
                     });
}

template <typename Window, typename... Behaviour>
void openBy(const char *menuItem, Main &main, Behaviour &...behaviour)
{
    const auto *const item = main.findChild<QAction *>(QString::fromLatin1(menuItem));
    openOn<Window>(item, &QAction::triggered, main, behaviour...);
}

} // namespace

Tools::Tools(Console &console, Dialogs &dialogs, const QString &dataFolder)
    : viewer(console.session(), console.requests(), dialogs, console.errors()),
      builder(console.session(), console.requests(), dialogs, console.errors()),
      converter(console.session(), console.link(), console.commands(), dialogs, console.errors()),
      loader(console.session(), console.link(), console.commands(), dialogs, console.errors()),
      network(console.session(), console.commands(), dialogs, console.errors()),
      ftdi(console.session(), console.requests(), dialogs, console.errors(), dataFolder)
{
}

void addToolWindows(Tools &tools, Console &console, Main &main)
{
    openOn<GetDescForm>(&console, &Console::descriptorViewerWanted, main, tools.viewer);
    openBy<DevRqstForm>("UtilDR", main, tools.builder);
    openBy<EZUSBForm>("EZUSB", main, tools.converter);
    openBy<FWLoad>("mnuUtilFW", main, tools.loader);
    openBy<frmFTDI>("mnuUtilFTDI", main, tools.ftdi);
    openBy<frmNWCfg>("mnuConfigureNetwork", main, tools.network);
    openBy<frmAbout>("HelpAbout", main);
    openBy<HelpForm>("HelpTopics", main);
}

} // namespace vantrel
