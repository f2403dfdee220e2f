// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/WindowDialogs.h"
#include "maintenance/EzUsbConverter.h"
#include "maintenance/FirmwareLoader.h"
#include "maintenance/FtdiUtility.h"
#include "maintenance/NetworkConfig.h"
#include "tools/DescriptorViewer.h"
#include "tools/RequestBuilder.h"

#include <QString>

namespace vantrel {

class Console;

/// What the tool windows do, without their windows. Outlives the main window, to which the windows
/// belong.
struct Tools
{
    /// `dataFolder`: where EEPROM images are saved before a device is programmed.
    Tools(Console &console, const QString &dataFolder);

    // Those of each tool, before the tool that uses them.
    WindowBoundary viewerBoundary;
    WindowBoundary builderBoundary;
    WindowBoundary converterBoundary;
    WindowBoundary loaderBoundary;
    WindowBoundary networkBoundary;
    WindowBoundary ftdiBoundary;

    DescriptorViewer viewer;
    RequestBuilder builder;
    EzUsbConverter converter;
    FirmwareLoader loader;
    NetworkConfig network;
    FtdiUtility ftdi;
};

} // namespace vantrel
