// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/VirtualDevice.h"

#include <memory>
#include <vector>

namespace vantrel::simulator {

/// The tester's USB port: its supply, its bus state and the devices on it. Several devices share
/// the port as if behind one hub.
class UsbPort
{
public:
    struct Attachment
    {
        std::unique_ptr<VirtualDevice> device;
        quint8 homeAddress; ///< where the tester puts the device after each bus reset
    };

    static constexpr quint8 FiveVolts = 100;

    /// False, and the device is gone, when the address is taken or above 127.
    bool attach(std::unique_ptr<VirtualDevice> device, quint8 address);
    /// nullptr when there is no device at the address.
    std::unique_ptr<VirtualDevice> detach(quint8 address);
    VirtualDevice *deviceAt(quint8 address) const;
    const std::vector<Attachment> &attachments() const { return m_attachments; }

    /// Everything as when the tester is switched on; the devices stay, and start anew.
    void powerUp();
    /// Devices start anew with each power-on; power-off ends a suspend.
    void setVbus(bool on);
    bool vbus() const { return m_vbus; }
    /// Too much current: Vbus goes off.
    void overload();
    /// Vbus comes back if an overload has switched it off, nobody has switched it since, and
    /// automatic recovery is on.
    void recover();
    /// Hundredths of a volt above 4 V.
    void setVoltageCode(quint8 code) { m_voltageCode = code; }
    quint8 voltageCode() const { return m_voltageCode; }
    void setAutoRecovery(bool on) { m_autoRecovery = on; }
    bool autoRecovery() const { return m_autoRecovery; }

    /// Has no effect without Vbus.
    void suspend() { m_suspended = m_vbus; }
    void resume() { m_suspended = false; }
    bool isSuspended() const { return m_suspended; }
    /// Resets every device and ends a suspend.
    void reset();
    void setHighSpeedInhibit(bool inhibit);
    bool highSpeedInhibit() const { return m_highSpeedInhibit; }
    /// Chooses the first configuration of every device that has none chosen.
    void configureDevices();

    /// The port status byte: speed of the fastest device, power, suspend.
    quint8 status() const;
    /// What all devices draw, in amperes.
    double current() const;

    /// Carries a control transfer to the device at the address.
    DeviceAnswer request(quint8 address, const SetupPacket &setup, QByteArrayView data);

private:
    std::vector<Attachment> m_attachments;
    bool m_vbus = true;
    quint8 m_voltageCode = FiveVolts;
    bool m_autoRecovery = false;
    bool m_overloaded = false;
    bool m_suspended = false;
    bool m_highSpeedInhibit = false;
};

} // namespace vantrel::simulator
