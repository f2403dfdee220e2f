// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/MaintenanceBench.h"
#include "simulator/FtdiDevice.h"

namespace vantrel::test {

/// A console with its tools, the FTDI utility open, and a serial converter attached to its tester.
struct EepromBench : MaintenanceBench<>
{
    /// A converter that the simulator brings along.
    explicit EepromBench(const char *name = "ftdi") : device(plugIn<simulator::FtdiDevice>(name))
    {
        open(simulator::findBuiltInDevice(QLatin1String(name))->address);
    }
    /// A converter with this image.
    explicit EepromBench(const QByteArray &image) : device(attach(image)) { open(0x07); }

    /// Presses a button and waits for the end of what it begins.
    bool press(void (FtdiUtility::*clicked)())
    {
        (tools.ftdi.*clicked)();
        return turnsUntil([this] { return controls.btRead.isEnabled(); });
    }
    bool read() { return press(&FtdiUtility::readClicked); }
    bool program() { return press(&FtdiUtility::programClicked); }
    bool verify() { return press(&FtdiUtility::verifyClicked); }

    void enterProduct(const char *product)
    {
        controls.tbProduct.adoptText(QLatin1String(product));
        tools.ftdi.productLeft();
    }
    void keepLayout() { controls.cbKeepLayout.adoptChecked(true); }

    QByteArray backup() const
    {
        const QDir folder(dataFolder);
        const QStringList names = folder.entryList(QDir::Files);
        if (names.size() != 1)
            return "not one backup";
        QFile saved(folder.filePath(names[0]));
        return saved.open(QIODevice::ReadOnly) ? saved.readAll() : QByteArray("unreadable");
    }

    /// Device requests that the tester has received since the last call.
    int requests()
    {
        int count = 0;
        for (const QByteArray &command : tester->commandsSeen())
            count += command.startsWith('\x01') ? 1 : 0;
        tester->clearCommandsSeen();
        return count;
    }

    static inline const QString Title = QStringLiteral("Vantrel - FTDI Configuration Utility: ");

    simulator::FtdiDevice &device;
    FtdiControls &controls = tools.ftdi.controls();

private:
    simulator::FtdiDevice &attach(const QByteArray &image)
    {
        auto owned = std::make_unique<simulator::FtdiDevice>(image);
        simulator::FtdiDevice &attached = *owned;
        if (!tester->attach(std::move(owned), 0x07))
            qFatal("the device cannot be attached");
        return attached;
    }
    void open(quint8 address)
    {
        tools.ftdi.opened();
        controls.DevAddr.adoptText(QString::number(address));
        tools.ftdi.devAddrLeft();
        if (!turnsUntil([this] { return responses().count("Product ID: ") >= 3; }))
            qFatal("the device does not connect");
    }
};

} // namespace vantrel::test
