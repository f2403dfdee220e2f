// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "console/Console.h"
#include "link/SerialTransport.h"
#include "link/TcpTransport.h"
#include "simulator/Tester.h"
#include "support/FakeDialogs.h"

#include <QTemporaryDir>

namespace vantrel::test {

/// A console on its real transports, ticked by hand, with boxes that answer themselves.
class Bench
{
public:
    Bench()
        : console(dialogs, std::make_unique<SerialTransport>(), std::make_unique<TcpTransport>())
    {
        console.load(directory.filePath(QStringLiteral("VLnetNames.dat")));
        dialogs.messages.clear(); // the box about the new names file
    }

    Session &session() { return console.session(); }
    MainControls &main() { return console.session().Main; }

    /// Ten ticks: one step of the connection.
    void second()
    {
        for (int i = 0; i < 10; ++i)
            console.Timer1();
    }

    void selectNetwork(const QString &host, quint16 port)
    {
        main().Comm1.setChecked(false);
        main().CommE.setChecked(true);
        console.names().offer(host);
        console.link().setRemotePort(port);
    }

    bool commandLineSeen(const char *line) const
    {
        return const_cast<Bench *>(this)->main().CmdWin.text().contains(QString::fromLatin1(line));
    }
    int commandLineCount(const char *line)
    {
        return static_cast<int>(main().CmdWin.text().count(QString::fromLatin1(line)));
    }
    QByteArray responses() { return session().RespText.text(); }

    QTemporaryDir directory;
    FakeDialogs dialogs;
    Console console;
};

} // namespace vantrel::test
