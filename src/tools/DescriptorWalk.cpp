// SPDX-License-Identifier: GPL-3.0-or-later

// The replies of a retrieval: what each reports, and what it asks for next.
#include "link/RuntimeError.h"
#include "link/Utils.h"
#include "tools/DescriptorBytes.h"
#include "tools/DescriptorReport.h"
#include "tools/DescriptorViewer.h"
#include "tools/UsbDescriptors.h"

#include <algorithm>

namespace vantrel {

namespace {

// Of a reply's payload, from 1; its code comes first
constexpr qsizetype StatusPosition = 2;
constexpr qsizetype DataPosition = 3;

} // namespace

void DescriptorRetrieval::addString(const QString &label, quint8 index)
{
    if (stringCount >= MostStrings)
        throw RuntimeError::subscript();
    ++stringCount;
    stringLabels.at(static_cast<std::size_t>(stringCount)) = label;
    stringIndexes.at(static_cast<std::size_t>(stringCount)) = index;
}

void DescriptorViewer::descdecode(QByteArrayView payload)
{
    const ByteReader reply(payload);
    const auto status = reply.at(StatusPosition);
    if (!status)
        return;
    if (*status != 0) {
        gd_abort(QStringLiteral("Failure code = ") + Hex2(*status));
        return;
    }
    const QByteArrayView data = reply.from(DataPosition);
    if (m_retrieval.stringCursor >= 1)
        stringArrived(DescriptorBytes(m_session, data));
    else if (m_retrieval.level == 0)
        deviceArrived(DescriptorBytes(m_session, data));
    else if (m_retrieval.level == 1)
        configurationArrived(data);
    else
        gd_abort(QStringLiteral("Invalid level"));
}

void DescriptorViewer::deviceArrived(const DescriptorBytes &device)
{
    addReport(deviceReport(device));
    m_retrieval.expectedLength = 0;
    m_retrieval.stringCount = 0;
    if (const quint8 index = device.at(usb::iManufacturer))
        m_retrieval.addString(QStringLiteral("Manufacturer String:"), index);
    if (const quint8 index = device.at(usb::iProduct))
        m_retrieval.addString(QStringLiteral("Product String:"), index);
    if (const quint8 index = device.at(usb::iSerialNumber))
        m_retrieval.addString(QStringLiteral("SerialNumber String:"), index);
    m_retrieval.numConfigs = device.at(usb::bNumConfigurations);

    if (m_retrieval.stringCount >= 1)
        requestFirstString();
    else if (m_retrieval.numConfigs != 0)
        nextConfiguration(Ask::Probe);
    else
        gd_abort(QStringLiteral("Failure: bNumConfigurations = 0"));
}

void DescriptorViewer::stringArrived(const DescriptorBytes &data)
{
    if (m_retrieval.expectedLength == 0) {
        m_retrieval.expectedLength = data.at(usb::bLength);
        if (m_retrieval.expectedLength < 1)
            gd_abort(QStringLiteral("String length error"));
        requestString(); // after an error too: the tester's answer goes to the response pane then
        return;
    }

    QString text;
    const QByteArrayView codeUnits = data.from(usb::firstCodeUnit);
    for (qsizetype at = 0; at < codeUnits.size(); at += 2)
        text += QLatin1Char(codeUnits[at]);
    const auto position = static_cast<std::size_t>(m_retrieval.stringCursor);
    addReport(stringReport(m_retrieval.stringLabels.at(position), text));

    ++m_retrieval.stringCursor;
    if (m_retrieval.stringCursor <= m_retrieval.stringCount) {
        m_retrieval.expectedLength = 0;
        requestString();
    } else {
        m_retrieval.stringCursor = 0;
        nextConfiguration(Ask::Probe);
    }
}

void DescriptorViewer::configurationArrived(QByteArrayView set)
{
    const DescriptorBytes configuration(m_session, set);
    if (m_retrieval.expectedLength == 0) {
        m_retrieval.expectedLength = configuration.word(usb::wTotalLength);
        nextConfiguration(Ask::Full);
        return;
    }

    addReport(configurationReport(configuration, m_retrieval.configIndex));
    m_retrieval.stringCount = 0;
    if (const quint8 index = configuration.at(usb::iConfiguration)) {
        m_retrieval.addString(
            QStringLiteral("Configuration ") + numberText(m_retrieval.configIndex), index);
    }
    if (!reportSubordinates(set))
        return;

    ++m_retrieval.configIndex;
    if (m_retrieval.stringCount > 0)
        requestFirstString();
    else
        nextConfiguration(Ask::Probe);
}

/// Reports whatever follows the first descriptor of the set. False when the walk is stuck at a
/// bLength of 0: nothing more is asked for then, and the count-down ends the retrieval.
bool DescriptorViewer::reportSubordinates(QByteArrayView set)
{
    const auto lengthOfFirst = [this, &set] {
        const quint8 length = DescriptorBytes(m_session, set).at(usb::bLength);
        return std::min<qsizetype>(length, set.size());
    };
    for (qsizetype length = lengthOfFirst(); length != 0;) {
        set = set.sliced(length);
        if (set.isEmpty())
            return true;
        length = lengthOfFirst();
        if (length != 0) {
            const quint8 type = DescriptorBytes(m_session, set).at(usb::bDescriptorType);
            reportSubordinate(type, DescriptorBytes(m_session, set.first(length)));
        }
    }
    return false;
}

void DescriptorViewer::reportSubordinate(quint8 type, const DescriptorBytes &descriptor)
{
    switch (type) {
    case usb::DescriptorType::Interface:
        reportInterface(descriptor);
        break;
    case usb::DescriptorType::Endpoint:
        addReport(endpointReport(descriptor));
        break;
    default:
        addReport(classOrVendorReport(descriptor));
        break;
    }
}

void DescriptorViewer::reportInterface(const DescriptorBytes &descriptor)
{
    addReport(interfaceReport(descriptor));
    const quint8 index = descriptor.at(usb::iInterface);
    if (index == 0)
        return;
    m_retrieval.addString(QStringLiteral("Configuration") + numberText(m_retrieval.configIndex) +
                              QStringLiteral(", Interface ") +
                              numberText(descriptor.at(usb::bInterfaceNumber)),
                          index);
}

void DescriptorViewer::requestFirstString()
{
    m_retrieval.expectedLength = 0;
    m_retrieval.stringCursor = 1;
    requestString();
}

void DescriptorViewer::requestString()
{
    const auto position = static_cast<std::size_t>(m_retrieval.stringCursor);
    const bool probing = m_retrieval.expectedLength == 0;
    sendRequest(usb::DescriptorType::String, m_retrieval.stringIndexes.at(position),
                usb::EnglishUnitedStates,
                probing ? usb::StringProbeLength : m_retrieval.expectedLength);
}

void DescriptorViewer::nextConfiguration(Ask ask)
{
    if (m_retrieval.level == 0) {
        m_retrieval.level = 1;
        m_retrieval.configIndex = 0;
    }
    if (m_retrieval.configIndex == m_retrieval.numConfigs) {
        gd_abort(QStringLiteral("Successful"));
        return;
    }
    if (ask == Ask::Probe)
        m_retrieval.expectedLength = 0;
    sendRequest(usb::DescriptorType::Configuration, m_retrieval.configIndex, 0,
                ask == Ask::Probe ? usb::ConfigurationProbeLength : m_retrieval.expectedLength);
}

} // namespace vantrel
