// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace vantrel {

class DescriptorBytes;

// The lines that explain one descriptor, each ended by CR LF. A descriptor that is too short for
// its lines, or whose words overflow, throws RuntimeError: see DescriptorBytes.

QString deviceReport(const DescriptorBytes &device);

/// `label` says whose string it is: "Product String:".
QString stringReport(const QString &label, const QString &text);

/// `index` counts the device's configurations from 0.
QString configurationReport(const DescriptorBytes &configuration, int index);

QString interfaceReport(const DescriptorBytes &interfaceDescriptor);
QString endpointReport(const DescriptorBytes &endpoint);

/// Of a type that is none of the above: a dump.
QString classOrVendorReport(const DescriptorBytes &descriptor);

} // namespace vantrel
