// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/NetworkBench.h"
#include "app/ToolWindows.h"
#include "simulator/BuiltInDevices.h"
#include "support/Turns.h"

#include <QDir>
#include <QFile>

namespace vantrel::test {

/// A console with its tools, connected to its tester, which has been set up. The tools have no
/// windows, but close as if they had.
template <typename Base = NetworkBench>
struct MaintenanceBench : Base
{
    template <typename... Arguments>
    explicit MaintenanceBench(Arguments &&...arguments)
        : Base(std::forward<Arguments>(arguments)...)
    {
        closing<&EzUsbConverter::closeWanted>(tools.converter);
        closing<&FirmwareLoader::closeWanted>(tools.loader);
        closing<&NetworkConfig::closeWanted>(tools.network);
        if (!this->connectConsole() || !sees("Product ID: 0x0166")) // the last line of the set-up
            qFatal("the console does not connect");
    }
    ~MaintenanceBench() { this->console.shutDown(); } // before the tools go
    MaintenanceBench(const MaintenanceBench &) = delete;
    MaintenanceBench &operator=(const MaintenanceBench &) = delete;

    /// The line comes, or is there, in the response pane.
    bool sees(const QByteArray &line)
    {
        return turnsUntil([&] { return this->responses().contains(line); });
    }
    /// The same in the command pane.
    bool hears(const char *line)
    {
        return turnsUntil([&] { return this->commandLineSeen(line); });
    }

    /// Ticks of the console, and the tester's time that goes with them.
    void tick(int count = 1)
    {
        for (int i = 0; i < count; ++i) {
            this->tester->clock().advance(100);
            this->console.Timer1();
        }
    }

    /// Plugs in a device that the simulator brings along.
    template <typename Device>
    Device &plugIn(const char *name)
    {
        const auto *const known = simulator::findBuiltInDevice(QLatin1String(name));
        auto device = known->make();
        auto &plugged = dynamic_cast<Device &>(*device);
        if (!this->tester->attach(std::move(device), known->address))
            qFatal("the device cannot be plugged in");
        return plugged;
    }

    /// What the descriptor viewer shows of the device.
    QString walk(const char *address)
    {
        tools.viewer.controls().DevAddr.adoptText(QLatin1String(address));
        tools.viewer.getDescClicked();
        if (!turnsUntil([this] { return !this->session().DescActive; }))
            return QStringLiteral("no end");
        return tools.viewer.controls().DescInfo.text();
    }

    QString file(const char *name, const QByteArray &content) const
    {
        QFile out(this->directory.filePath(QLatin1String(name)));
        if (!out.open(QIODevice::WriteOnly) || out.write(content) != content.size())
            qFatal("cannot write a file");
        return out.fileName();
    }

    /// The text of the only box there was, after its title.
    QString onlyMessage()
    {
        if (this->dialogs.messages.size() != 1)
            return QStringLiteral("%1 boxes").arg(this->dialogs.messages.size());
        const Message message = this->dialogs.messages.takeFirst();
        return message.title + QStringLiteral(": ") + message.text;
    }

    int closings = 0; ///< how often a window was asked to close
    QString dataFolder = this->directory.filePath(QStringLiteral("data"));
    Tools tools{this->console, dataFolder};

private:
    template <auto Signal, typename Tool>
    void closing(Tool &tool)
    {
        QObject::connect(&tool, Signal, &tool, [this, &tool] {
            ++closings;
            tool.closed();
        });
    }
};

} // namespace vantrel::test
