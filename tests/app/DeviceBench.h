// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/NetworkBench.h"
#include "app/ToolWindows.h"
#include "simulator/BuiltInDevices.h"

#include <QTest>

namespace vantrel::test {

/// A console with its tools, and a tester with one device more than usual.
struct DeviceBench : NetworkBench
{
    explicit DeviceBench(const QString &name,
                         const simulator::Settings &settings = simulator::Settings::vorn2())
        : NetworkBench(settings)
    {
        const simulator::BuiltInDevice *device = simulator::findBuiltInDevice(name);
        if (!device)
            qFatal("no device %s", qPrintable(name));
        if (!device->atStart && !simulator::attachBuiltInDevices(*tester, {name}))
            qFatal("no room for %s", qPrintable(name));
        address = device->address;
    }

    void startWalk()
    {
        tester->clearCommandsSeen();
        tools.viewer.controls().DevAddr.adoptText(QString::number(address));
        tools.viewer.getDescClicked();
    }
    bool walk()
    {
        startWalk();
        return QTest::qWaitFor([this] { return !session().DescActive; });
    }
    QString report() { return tools.viewer.controls().DescInfo.text(); }

    /// The device requests that the tester has received, code and all.
    QList<QByteArray> requests() const
    {
        QList<QByteArray> received;
        for (const QByteArray &command : tester->commandsSeen()) {
            if (command.startsWith('\x01'))
                received += command;
        }
        return received;
    }
    int printedReplies() { return static_cast<int>(responses().count("-- Device Request Resp")); }
    QStringList boxes() const
    {
        QStringList texts;
        for (const Message &message : dialogs.messages)
            texts += message.text;
        return texts;
    }

    /// The tester has the time to answer what a tick asks.
    void tick(int count)
    {
        for (int i = 0; i < count; ++i) {
            console.Timer1();
            if (!QTest::qWaitFor([this] { return session().StatusSeen; }))
                qFatal("the tester is silent");
        }
    }

    quint8 address = 0;
    Tools tools{console, directory.path()};
};

} // namespace vantrel::test
