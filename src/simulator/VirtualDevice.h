// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/Descriptors.h"
#include "simulator/UsbRequest.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QMap>
#include <QSet>

#include <optional>

namespace vantrel::simulator {

struct Faults;

/// A USB device under test. Answers the standard control requests from its descriptors and stalls
/// on whatever it does not have. A device with requests of its own overrides the protected hooks.
class VirtualDevice
{
public:
    explicit VirtualDevice(DeviceDescriptors descriptors);
    VirtualDevice(const VirtualDevice &) = delete;
    VirtualDevice &operator=(const VirtualDevice &) = delete;
    virtual ~VirtualDevice();

    /// Carries out one control transfer. `data` is the data stage of a host-to-device request; the
    /// answer's data never exceeds wLength.
    DeviceAnswer request(const SetupPacket &setup, QByteArrayView data = {});

    /// Back to the state after a bus reset: unconfigured, nothing halted. The address stays; the
    /// port gives it.
    virtual void reset();

    /// The device has been plugged in, or Vbus is back: nothing is left of what power alone keeps.
    /// A reset follows.
    virtual void powerUp() {}

    /// How often the device has left the bus by itself and come back.
    int reconnections() const { return m_reconnections; }

    /// What goes wrong with the device from now on, nullptr for nothing. Followed for as long as it
    /// is set.
    void setFaults(const Faults *faults) { m_faults = faults; }

    quint8 address() const { return m_address; }
    void setAddress(quint8 address) { m_address = address; }

    /// Takes effect at the next reset or power-on in a real device, here at once.
    void setHighSpeedAllowed(bool allowed) { m_highSpeedAllowed = allowed; }
    Speed speed() const;

    const DeviceDescriptors &descriptors() const { return m_descriptors; }
    /// bConfigurationValue of the chosen configuration, 0 when unconfigured.
    quint8 configuration() const { return m_configuration; }
    /// Chooses the first configuration, as a host in automatic mode does.
    void configure();

    /// What the device draws from Vbus, in milliamperes: its bMaxPower once configured, up to
    /// 100 mA before, half a milliampere while suspended.
    virtual double load(bool suspended) const;

protected:
    virtual DeviceAnswer standardRequest(const SetupPacket &setup, QByteArrayView data);
    virtual DeviceAnswer classRequest(const SetupPacket &setup, QByteArrayView data);
    virtual DeviceAnswer vendorRequest(const SetupPacket &setup, QByteArrayView data);

    /// The descriptor a GET_DESCRIPTOR asks for, uncut; nothing when the device has none.
    virtual std::optional<QByteArray> descriptor(const SetupPacket &setup) const;

    /// Replaces the descriptors of the device.
    void setDescriptors(DeviceDescriptors descriptors);
    /// Leaves the bus and comes back at once: at the same address, unconfigured, with these.
    void reconnect(DeviceDescriptors descriptors);

    /// What goes wrong with the device.
    const Faults &faults() const;

private:
    DeviceAnswer getStatus(const SetupPacket &setup);
    DeviceAnswer clearFeature(const SetupPacket &setup);
    DeviceAnswer setFeature(const SetupPacket &setup);
    DeviceAnswer changeFeature(const SetupPacket &setup, bool on);
    DeviceAnswer changeAddress(const SetupPacket &setup);
    DeviceAnswer getDescriptor(const SetupPacket &setup);
    DeviceAnswer getConfiguration(const SetupPacket &setup);
    DeviceAnswer setConfiguration(const SetupPacket &setup);
    DeviceAnswer getInterface(const SetupPacket &setup);
    DeviceAnswer setInterface(const SetupPacket &setup);

    std::optional<QByteArray> configurationDescriptor(int index, bool otherSpeed) const;
    std::optional<QByteArray> string(const SetupPacket &setup) const;
    std::optional<QByteArray> interfaceDescriptor(const SetupPacket &setup) const;
    QByteArray currentConfiguration() const;
    quint8 attributes() const;
    bool hasInterface(quint16 number, std::optional<quint8> alternate = {}) const;
    bool hasEndpoint(quint16 endpoint) const;

    DeviceDescriptors m_descriptors;
    Speed m_fastest;
    bool m_highSpeedAllowed = true;
    quint8 m_address = 0;
    quint8 m_configuration = 0;
    bool m_remoteWakeup = false;
    QSet<quint16> m_halted;             // endpoint addresses
    QMap<quint16, quint8> m_alternates; // by interface, where it is not 0
    int m_reconnections = 0;
    const Faults *m_faults = nullptr;
};

} // namespace vantrel::simulator
