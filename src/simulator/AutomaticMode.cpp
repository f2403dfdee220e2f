// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/AutomaticMode.h"

#include "link/Bytes.h"
#include "link/Wire.h"
#include "simulator/UsbPort.h"

#include <algorithm>
#include <utility>

namespace vantrel::simulator {

namespace {

constexpr quint8 Connected = 0;
constexpr quint8 Disconnected = 1;

std::vector<VirtualDevice *> presentDevices(const UsbPort &port)
{
    std::vector<VirtualDevice *> present;
    if (port.vbus()) {
        for (const UsbPort::Attachment &attachment : port.attachments())
            present.push_back(attachment.device.get());
    }
    return present;
}

} // namespace

QByteArray connectReport(const VirtualDevice &device)
{
    const QByteArray &fields = device.descriptors().device;
    return ByteWriter{wire::Report::Connect,
                      Connected,
                      device.address(),
                      descriptorField(fields, DescriptorField::DeviceClass),
                      descriptorField(fields, DescriptorField::VendorId),
                      descriptorField(fields, DescriptorField::VendorId + 1),
                      descriptorField(fields, DescriptorField::ProductId),
                      descriptorField(fields, DescriptorField::ProductId + 1)}
        .take();
}

QByteArray disconnectReport(quint8 address)
{
    return ByteWriter{wire::Report::Connect, Disconnected, address}.take();
}

bool AutomaticMode::Known::isStill(const VirtualDevice &present) const
{
    return device == &present && reconnections == present.reconnections();
}

void AutomaticMode::setOn(bool on)
{
    m_on = on;
    if (on && std::exchange(m_announcePending, false))
        m_announcing = true;
}

QList<QByteArray> AutomaticMode::follow(const UsbPort &port)
{
    if (!m_on) {
        m_known.clear();
        return {};
    }

    const bool announcing = std::exchange(m_announcing, false);
    QList<QByteArray> reports;
    const std::vector<VirtualDevice *> present = presentDevices(port);
    for (const Known &known : m_known) {
        const bool isGone =
            std::none_of(present.begin(), present.end(),
                         [&known](const VirtualDevice *device) { return known.isStill(*device); });
        if (isGone)
            reports.append(disconnectReport(known.address));
    }
    for (VirtualDevice *device : present) {
        const bool isNew =
            std::none_of(m_known.begin(), m_known.end(),
                         [device](const Known &known) { return known.isStill(*device); });
        if (isNew)
            device->configure();
        if (isNew || announcing)
            reports.append(connectReport(*device));
    }

    m_known.clear();
    for (const VirtualDevice *device : present)
        m_known.push_back({device, device->reconnections(), device->address()});
    return reports;
}

} // namespace vantrel::simulator
