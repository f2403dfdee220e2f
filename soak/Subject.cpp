// SPDX-License-Identifier: GPL-3.0-or-later
#include "Subject.h"

#include "Journal.h"

#include "link/SerialTransport.h"
#include "link/TcpTransport.h"
#include "simulator/BuiltInDevices.h"
#include "simulator/VirtualDevice.h"

#include <QDir>

namespace vantrel::soak {

Subject::Subject(const QString &directory)
    : console(dialogs, std::make_unique<SerialTransport>(), std::make_unique<TcpTransport>()),
      tools(console, directory), window(console), tester(simulator::Settings::vorn2()), end(tester)
{
    addToolWindows(tools, console, window);
    for (const simulator::BuiltInDevice &device : simulator::builtInDevices())
        tester.attach(device.make(), device.address);
    tester.setRecording(false);
    if (!end.listen())
        throw SoakFailure(QStringLiteral("the simulated tester found no free port"));

    window.show();
    console.load(QDir(directory).filePath(QStringLiteral("VLnetNames.dat")));
    MainControls &main = console.session().Main;
    main.Comm1.setChecked(false);
    main.CommE.setChecked(true);
    console.names().offer(QStringLiteral("127.0.0.1"));
    console.link().setRemotePort(end.port());
}

} // namespace vantrel::soak
