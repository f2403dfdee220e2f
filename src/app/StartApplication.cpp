// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/StartApplication.h"

#include <QString>

#include <cstdio>
#include <cstdlib>

namespace vantrel {

namespace {

QtMessageHandler defaultHandler = nullptr;

/// The messages before the fatal one state why no plug-in could be initialized. Its last line names
/// the plug-ins that are available.
[[noreturn]] void endWithoutDisplay(const QString &fatal)
{
    const QString last = fatal.trimmed().section(QLatin1Char('\n'), -1);
    std::fprintf(stderr,
                 "vantrel: cannot show windows: DISPLAY or WAYLAND_DISPLAY must name a display, or "
                 "QT_QPA_PLATFORM a platform plug-in of Qt\nvantrel: %s\n",
                 last.toLocal8Bit().constData());
    std::fflush(nullptr);
    std::_Exit(EXIT_FAILURE); // not exit(): the application object is incomplete
}

/// Qt aborts the process when the handler of a fatal message returns.
void onMessage(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (type == QtFatalMsg)
        endWithoutDisplay(text);
    defaultHandler(type, context, text);
}

} // namespace

std::unique_ptr<QApplication> startApplication(int &argc, char **argv)
{
    defaultHandler = qInstallMessageHandler(&onMessage);
    auto application = std::make_unique<QApplication>(argc, argv);
    if (QGuiApplication::screens().isEmpty())
        qFatal("The platform plug-in provides no screen");
    qInstallMessageHandler(nullptr);
    return application;
}

} // namespace vantrel
