// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QList>

#include <vector>

namespace vantrel::simulator {

class UsbPort;
class VirtualDevice;

/// Body of the report that the device has been found.
QByteArray connectReport(const VirtualDevice &device);
/// Body of the report that the device at the address has gone.
QByteArray disconnectReport(quint8 address);

/// The tester manages the bus without commands: it configures the devices it finds and reports
/// those that come and go, or that have gone and come back by themselves.
class AutomaticMode
{
public:
    void setOn(bool on);
    bool isOn() const { return m_on; }

    /// A console has connected: when it switches the mode on, every device is reported, even if the
    /// mode was on and the device has been reported before.
    void announceAnew() { m_announcePending = true; }

    /// Looks at the port and returns the bodies of the reports due since the last look. A device
    /// counts as present while Vbus is on. While the mode is off nothing is reported and everything
    /// is forgotten, so that switching it on reports every device anew.
    QList<QByteArray> follow(const UsbPort &port);

private:
    struct Known
    {
        const VirtualDevice *device; // compared, never followed: it may be gone
        int reconnections;           // as they were at the last look
        quint8 address;

        bool isStill(const VirtualDevice &present) const;
    };

    bool m_on = false;
    bool m_announcePending = false; // at the next switching on
    bool m_announcing = false;      // at the next look
    std::vector<Known> m_known;
};

} // namespace vantrel::simulator
