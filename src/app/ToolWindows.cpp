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

void openBy(const Main &main, const char *menuItem, ToolWindow *window)
{
    const auto *const item = main.findChild<QAction *>(QString::fromLatin1(menuItem));
    QObject::connect(item, &QAction::triggered, window, &ToolWindow::present);
}

} // namespace

Tools::Tools(Console &console, Dialogs &dialogs, const QString &dataFolder)
    : viewer(console.session(), console.commands(), dialogs, console.errors()),
      builder(console.session(), console.commands(), dialogs, console.errors()),
      converter(console.session(), console.link(), console.commands(), dialogs, console.errors()),
      loader(console.session(), console.link(), console.commands(), dialogs, console.errors()),
      network(console.session(), console.commands(), dialogs, console.errors()),
      ftdi(console.session(), console.commands(), dialogs, console.errors(), dataFolder)
{
}

void addToolWindows(Tools &tools, Console &console, Main &main)
{
    auto *const viewer = new GetDescForm(tools.viewer, &main);
    QObject::connect(&console, &Console::descriptorViewerWanted, viewer, &ToolWindow::present);
    openBy(main, "UtilDR", new DevRqstForm(tools.builder, &main));
    openBy(main, "EZUSB", new EZUSBForm(tools.converter, &main));
    openBy(main, "mnuUtilFW", new FWLoad(tools.loader, &main));
    openBy(main, "mnuUtilFTDI", new frmFTDI(tools.ftdi, &main));
    openBy(main, "mnuConfigureNetwork", new frmNWCfg(tools.network, &main));
    openBy(main, "HelpAbout", new frmAbout(&main));
    openBy(main, "HelpTopics", new HelpForm(&main));
}

} // namespace vantrel
