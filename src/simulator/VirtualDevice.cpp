// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/VirtualDevice.h"

#include "simulator/Faults.h"

#include <algorithm>

namespace vantrel::simulator {

namespace {

constexpr double UnconfiguredLimit = 100;  // mA
constexpr double UnconfiguredShare = 0.25; // of bMaxPower
constexpr double SuspendedLoad = 0.5;      // mA

} // namespace

VirtualDevice::VirtualDevice(DeviceDescriptors descriptors)
    : m_descriptors(std::move(descriptors)), m_fastest(fastestSpeed(m_descriptors))
{
}

VirtualDevice::~VirtualDevice() = default;

DeviceAnswer VirtualDevice::request(const SetupPacket &setup, QByteArrayView data)
{
    if (!setup.toHost() && data.size() < setup.length)
        return {RequestStatus::ShortPacket};

    data = data.first(std::min<qsizetype>(data.size(), setup.length));
    DeviceAnswer answer = DeviceAnswer::stall();
    switch (setup.type()) {
    case SetupPacket::Type::Standard:
        answer = standardRequest(setup, data);
        break;
    case SetupPacket::Type::Class:
        answer = classRequest(setup, data);
        break;
    case SetupPacket::Type::Vendor:
        answer = vendorRequest(setup, data);
        break;
    case SetupPacket::Type::Reserved:
        break;
    }
    answer.data.truncate(std::min<qsizetype>(answer.data.size(), setup.length));
    return answer;
}

DeviceAnswer VirtualDevice::classRequest(const SetupPacket & /*setup*/, QByteArrayView /*data*/)
{
    return DeviceAnswer::stall();
}

DeviceAnswer VirtualDevice::vendorRequest(const SetupPacket & /*setup*/, QByteArrayView /*data*/)
{
    return DeviceAnswer::stall();
}

void VirtualDevice::reset()
{
    m_configuration = 0;
    m_remoteWakeup = false;
    m_halted.clear();
    m_alternates.clear();
}

void VirtualDevice::setDescriptors(DeviceDescriptors descriptors)
{
    m_descriptors = std::move(descriptors);
    m_fastest = fastestSpeed(m_descriptors);
}

void VirtualDevice::reconnect(DeviceDescriptors descriptors)
{
    setDescriptors(std::move(descriptors));
    reset();
    ++m_reconnections;
}

const Faults &VirtualDevice::faults() const
{
    static const Faults none;
    return m_faults ? *m_faults : none;
}

Speed VirtualDevice::speed() const
{
    return m_fastest == Speed::High && !m_highSpeedAllowed ? Speed::Full : m_fastest;
}

void VirtualDevice::configure()
{
    if (m_descriptors.configurations.isEmpty())
        return;
    SetupPacket setup;
    setup.request = StandardRequest::SetConfiguration;
    setup.value =
        descriptorField(m_descriptors.configurations.first(), DescriptorField::ConfigurationValue);
    request(setup);
}

double VirtualDevice::load(bool suspended) const
{
    if (suspended)
        return SuspendedLoad;
    if (m_configuration != 0)
        return 2.0 * descriptorField(currentConfiguration(), DescriptorField::MaxPower);
    double most = 0;
    for (const QByteArray &configuration : m_descriptors.configurations)
        most = std::max(most, 2.0 * descriptorField(configuration, DescriptorField::MaxPower));
    return std::min(most * UnconfiguredShare, UnconfiguredLimit);
}

QByteArray VirtualDevice::currentConfiguration() const
{
    for (int index = 0; index < m_descriptors.configurations.size(); ++index) {
        QByteArray configuration = configurationDescriptor(index, false).value_or(QByteArray());
        if (descriptorField(configuration, DescriptorField::ConfigurationValue) == m_configuration)
            return configuration;
    }
    return {};
}

quint8 VirtualDevice::attributes() const
{
    const QByteArray current = currentConfiguration();
    if (!current.isEmpty() || m_descriptors.configurations.isEmpty())
        return descriptorField(current, DescriptorField::ConfigurationAttributes);
    return descriptorField(m_descriptors.configurations.first(),
                           DescriptorField::ConfigurationAttributes);
}

bool VirtualDevice::hasInterface(quint16 number, std::optional<quint8> alternate) const
{
    bool found = false;
    forEachDescriptor(currentConfiguration(), [&](qsizetype, const ByteReader &descriptor) {
        found = found ||
                (descriptor.at(DescriptorField::Type) == DescriptorType::Interface &&
                 descriptor.at(DescriptorField::InterfaceNumber) == number &&
                 (!alternate || descriptor.at(DescriptorField::AlternateSetting) == alternate));
    });
    return m_configuration != 0 && found;
}

bool VirtualDevice::hasEndpoint(quint16 endpoint) const
{
    if ((endpoint & 0x7FU) == 0)
        return true;
    bool found = false;
    bool chosen = false; // inside an interface setting that is in use
    forEachDescriptor(currentConfiguration(), [&](qsizetype, const ByteReader &descriptor) {
        if (descriptor.at(DescriptorField::Type) == DescriptorType::Interface) {
            const quint8 number = descriptor.at(DescriptorField::InterfaceNumber).value_or(0);
            chosen =
                descriptor.at(DescriptorField::AlternateSetting) == m_alternates.value(number, 0);
        } else if (chosen && descriptor.at(DescriptorField::Type) == DescriptorType::Endpoint) {
            found = found || descriptor.at(DescriptorField::EndpointAddress) == endpoint;
        }
    });
    return m_configuration != 0 && found;
}

std::optional<QByteArray> VirtualDevice::descriptor(const SetupPacket &setup) const
{
    if (setup.recipient() == SetupPacket::Recipient::Interface)
        return interfaceDescriptor(setup);
    if (setup.recipient() != SetupPacket::Recipient::Device)
        return std::nullopt;

    const bool twoSpeeds = m_fastest == Speed::High;
    switch (setup.valueHigh()) {
    case DescriptorType::Device:
        return m_descriptors.device;
    case DescriptorType::Configuration:
        return configurationDescriptor(setup.valueLow(), false);
    case DescriptorType::String:
        return string(setup);
    case DescriptorType::DeviceQualifier:
        return twoSpeeds ? std::optional(deviceQualifier(m_descriptors)) : std::nullopt;
    case DescriptorType::OtherSpeedConfiguration:
        return twoSpeeds ? configurationDescriptor(setup.valueLow(), true) : std::nullopt;
    default:
        return std::nullopt;
    }
}

std::optional<QByteArray> VirtualDevice::configurationDescriptor(int index, bool otherSpeed) const
{
    if (index >= m_descriptors.configurations.size())
        return std::nullopt;
    QByteArray configuration = m_descriptors.configurations.at(index);
    const bool shownAtHighSpeed = (speed() == Speed::High) != otherSpeed;
    if (m_fastest == Speed::High && !shownAtHighSpeed)
        configuration = atFullSpeed(configuration);
    if (otherSpeed && configuration.size() > 1)
        configuration[1] = DescriptorType::OtherSpeedConfiguration;
    return configuration;
}

std::optional<QByteArray> VirtualDevice::string(const SetupPacket &setup) const
{
    if (m_descriptors.strings.isEmpty())
        return std::nullopt;
    if (setup.valueLow() == 0)
        return languageTable();
    const auto text = m_descriptors.strings.constFind(setup.valueLow());
    if (text == m_descriptors.strings.constEnd() || setup.index != LanguageId)
        return std::nullopt;
    return stringDescriptor(*text);
}

std::optional<QByteArray> VirtualDevice::interfaceDescriptor(const SetupPacket &setup) const
{
    // Class descriptors of an interface, such as that of a human interface device, stand in the
    // configuration.
    std::optional<QByteArray> found;
    bool inside = false;
    forEachDescriptor(currentConfiguration(), [&](qsizetype, const ByteReader &candidate) {
        const quint8 type = candidate.at(DescriptorField::Type).value_or(0);
        if (type == DescriptorType::Interface)
            inside = candidate.at(DescriptorField::InterfaceNumber) == setup.index;
        else if (inside && !found && type > DescriptorType::OtherSpeedConfiguration &&
                 type == setup.valueHigh())
            found = candidate.payload().toByteArray();
    });
    return found;
}

} // namespace vantrel::simulator
