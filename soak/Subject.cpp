// SPDX-License-Identifier: GPL-3.0-or-later
#include "Subject.h"

#include "Hands.h"
#include "Journal.h"

#include "link/SerialTransport.h"
#include "link/TcpTransport.h"

#include <QDir>

namespace vantrel::soak {

Subject::Subject(const QString &directory)
    : console(dialogs, std::make_unique<SerialTransport>(), std::make_unique<TcpTransport>()),
      tools(console, directory), window(console)
{
    addToolWindows(tools, console, window);
    window.show();
    console.load(QDir(directory).filePath(QStringLiteral("VLnetNames.dat")));
    console.names().offer(QStringLiteral("127.0.0.1"));
}

void Subject::select(const Target::Kind &kind)
{
    target.reset();
    target = std::make_unique<Target>(kind);
    if (target->isSerial())
        console.link().setSerialDevice(1, target->device());
    else
        console.link().setRemotePort(target->port());
    const QString option = target->isSerial() ? QStringLiteral("Comm1") : QStringLiteral("CommE");
    if (!hands::press(QStringLiteral("Main"), option))
        throw SoakFailure(QStringLiteral("the option %1 cannot be selected").arg(option));
}

} // namespace vantrel::soak
