// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/UsbPort.h"

#include "link/Wire.h"

#include <algorithm>

namespace vantrel::simulator {

namespace {

constexpr quint8 HighestAddress = 127;

template <typename Attachments>
auto findAt(Attachments &attachments, quint8 address)
{
    return std::find_if(attachments.begin(), attachments.end(), [address](const auto &attachment) {
        return attachment.device->address() == address;
    });
}

quint8 speedBits(Speed speed)
{
    switch (speed) {
    case Speed::Low:
        return wire::PortStatus::LowSpeed;
    case Speed::Full:
        return wire::PortStatus::FullSpeed;
    case Speed::High:
        return wire::PortStatus::HighSpeed;
    }
    return wire::PortStatus::UnknownSpeed;
}

} // namespace

bool UsbPort::attach(std::unique_ptr<VirtualDevice> device, quint8 address)
{
    if (address > HighestAddress || deviceAt(address))
        return false;
    device->setAddress(address);
    device->powerUp();
    device->reset();
    device->setHighSpeedAllowed(!m_highSpeedInhibit);
    m_attachments.push_back({std::move(device), address});
    return true;
}

std::unique_ptr<VirtualDevice> UsbPort::detach(quint8 address)
{
    const auto found = findAt(m_attachments, address);
    if (found == m_attachments.end())
        return nullptr;
    std::unique_ptr<VirtualDevice> device = std::move(found->device);
    m_attachments.erase(found);
    return device;
}

VirtualDevice *UsbPort::deviceAt(quint8 address) const
{
    const auto found = findAt(m_attachments, address);
    return found == m_attachments.end() ? nullptr : found->device.get();
}

void UsbPort::setVbus(bool on)
{
    if (on && !m_vbus) {
        for (const Attachment &attachment : m_attachments)
            attachment.device->powerUp();
        reset();
    }
    if (!on)
        m_suspended = false;
    m_vbus = on;
    m_overloaded = false;
}

void UsbPort::powerUp()
{
    setVbus(false);
    setVoltageCode(FiveVolts);
    setAutoRecovery(false);
    setHighSpeedInhibit(false);
    setVbus(true);
}

void UsbPort::overload()
{
    if (!m_vbus)
        return;
    setVbus(false);
    m_overloaded = true;
}

void UsbPort::recover()
{
    if (m_overloaded && m_autoRecovery)
        setVbus(true);
}

void UsbPort::reset()
{
    m_suspended = false;
    for (const Attachment &attachment : m_attachments) {
        attachment.device->reset();
        attachment.device->setAddress(attachment.homeAddress);
    }
}

void UsbPort::setHighSpeedInhibit(bool inhibit)
{
    m_highSpeedInhibit = inhibit;
    for (const Attachment &attachment : m_attachments)
        attachment.device->setHighSpeedAllowed(!inhibit);
}

void UsbPort::configureDevices()
{
    for (const Attachment &attachment : m_attachments) {
        if (attachment.device->configuration() == 0)
            attachment.device->configure();
    }
}

quint8 UsbPort::status() const
{
    if (!m_vbus)
        return wire::PortStatus::NoDevice;
    unsigned status = wire::PortStatus::PowerOn;
    if (m_suspended)
        status |= wire::PortStatus::Suspended;
    const auto fastest = std::max_element(m_attachments.begin(), m_attachments.end(),
                                          [](const Attachment &a, const Attachment &b) {
                                              return a.device->speed() < b.device->speed();
                                          });
    if (fastest != m_attachments.end())
        status |= speedBits(fastest->device->speed());
    return static_cast<quint8>(status);
}

double UsbPort::current() const
{
    double milliamperes = 0;
    if (m_vbus) {
        for (const Attachment &attachment : m_attachments)
            milliamperes += attachment.device->load(m_suspended);
    }
    return milliamperes / 1000;
}

DeviceAnswer UsbPort::request(quint8 address, const SetupPacket &setup, QByteArrayView data)
{
    VirtualDevice *device = deviceAt(address);
    if (!m_vbus || !device)
        return {RequestStatus::NoAnswer};
    if (m_suspended)
        return {RequestStatus::TransmitFail};
    return device->request(setup, data);
}

} // namespace vantrel::simulator
