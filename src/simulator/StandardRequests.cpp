// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/VirtualDevice.h"

#include <algorithm>
#include <array>

namespace vantrel::simulator {

namespace {

namespace Feature {
constexpr quint16 EndpointHalt = 0;
constexpr quint16 RemoteWakeup = 1;
} // namespace Feature

constexpr quint8 SelfPowered = 0x40;
constexpr quint8 RemoteWakeupCapable = 0x20;
constexpr quint8 HighestAddress = 127;

using Recipient = SetupPacket::Recipient;

DeviceAnswer word(quint16 value)
{
    return {RequestStatus::Ok, ByteWriter().wordLowFirst(value).take()};
}

} // namespace

DeviceAnswer VirtualDevice::standardRequest(const SetupPacket &setup, QByteArrayView /*data*/)
{
    struct Entry
    {
        quint8 request;
        bool toHost;
        DeviceAnswer (VirtualDevice::*answer)(const SetupPacket &);
    };
    static constexpr std::array<Entry, 9> Requests = {{
        {StandardRequest::GetStatus, true, &VirtualDevice::getStatus},
        {StandardRequest::ClearFeature, false, &VirtualDevice::clearFeature},
        {StandardRequest::SetFeature, false, &VirtualDevice::setFeature},
        {StandardRequest::SetAddress, false, &VirtualDevice::changeAddress},
        {StandardRequest::GetDescriptor, true, &VirtualDevice::getDescriptor},
        {StandardRequest::GetConfiguration, true, &VirtualDevice::getConfiguration},
        {StandardRequest::SetConfiguration, false, &VirtualDevice::setConfiguration},
        {StandardRequest::GetInterface, true, &VirtualDevice::getInterface},
        {StandardRequest::SetInterface, false, &VirtualDevice::setInterface},
    }};
    const auto *const entry = std::find_if(Requests.begin(), Requests.end(), [&](const Entry &e) {
        return e.request == setup.request && e.toHost == setup.toHost();
    });
    return entry == Requests.end() ? DeviceAnswer::stall() : (this->*entry->answer)(setup);
}

DeviceAnswer VirtualDevice::getStatus(const SetupPacket &setup)
{
    switch (setup.recipient()) {
    case Recipient::Device:
        return word(static_cast<quint16>(((attributes() & SelfPowered) != 0 ? 0x01U : 0U) |
                                         (m_remoteWakeup ? 0x02U : 0U)));
    case Recipient::Interface:
        return hasInterface(setup.index) ? word(0) : DeviceAnswer::stall();
    case Recipient::Endpoint:
        if (!hasEndpoint(setup.index))
            return DeviceAnswer::stall();
        return word(m_halted.contains(setup.index) ? 1 : 0);
    case Recipient::Other:
        break;
    }
    return DeviceAnswer::stall();
}

DeviceAnswer VirtualDevice::clearFeature(const SetupPacket &setup)
{
    return changeFeature(setup, false);
}

DeviceAnswer VirtualDevice::setFeature(const SetupPacket &setup)
{
    return changeFeature(setup, true);
}

DeviceAnswer VirtualDevice::changeFeature(const SetupPacket &setup, bool on)
{
    if (setup.recipient() == Recipient::Device && setup.value == Feature::RemoteWakeup &&
        (attributes() & RemoteWakeupCapable) != 0) {
        m_remoteWakeup = on;
        return {};
    }
    if (setup.recipient() == Recipient::Endpoint && setup.value == Feature::EndpointHalt &&
        hasEndpoint(setup.index)) {
        if (on)
            m_halted.insert(setup.index);
        else
            m_halted.remove(setup.index);
        return {};
    }
    return DeviceAnswer::stall();
}

DeviceAnswer VirtualDevice::changeAddress(const SetupPacket &setup)
{
    if (setup.recipient() != Recipient::Device || setup.value > HighestAddress)
        return DeviceAnswer::stall();
    m_address = setup.valueLow();
    return {};
}

DeviceAnswer VirtualDevice::getDescriptor(const SetupPacket &setup)
{
    std::optional<QByteArray> found = descriptor(setup);
    return found ? DeviceAnswer{RequestStatus::Ok, std::move(*found)} : DeviceAnswer::stall();
}

DeviceAnswer VirtualDevice::getConfiguration(const SetupPacket &setup)
{
    if (setup.recipient() != Recipient::Device)
        return DeviceAnswer::stall();
    return {RequestStatus::Ok, ByteWriter{m_configuration}.take()};
}

DeviceAnswer VirtualDevice::setConfiguration(const SetupPacket &setup)
{
    const quint8 value = setup.valueLow();
    const bool known =
        std::any_of(m_descriptors.configurations.begin(), m_descriptors.configurations.end(),
                    [&](const QByteArray &c) {
                        return descriptorField(c, DescriptorField::ConfigurationValue) == value;
                    });
    if (setup.recipient() != Recipient::Device || (value != 0 && !known))
        return DeviceAnswer::stall();
    m_configuration = value;
    m_halted.clear();
    m_alternates.clear();
    return {};
}

DeviceAnswer VirtualDevice::getInterface(const SetupPacket &setup)
{
    if (setup.recipient() != Recipient::Interface || !hasInterface(setup.index))
        return DeviceAnswer::stall();
    return {RequestStatus::Ok, ByteWriter{m_alternates.value(setup.index, 0)}.take()};
}

DeviceAnswer VirtualDevice::setInterface(const SetupPacket &setup)
{
    const quint8 alternate = setup.valueLow();
    if (setup.recipient() != Recipient::Interface || !hasInterface(setup.index, alternate))
        return DeviceAnswer::stall();
    m_alternates[setup.index] = alternate;
    return {};
}

} // namespace vantrel::simulator
