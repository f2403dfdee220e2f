// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/AutomaticMode.h"
#include "simulator/FirmwareMemory.h"
#include "simulator/Memories.h"
#include "simulator/Settings.h"
#include "simulator/UsbPort.h"

namespace vantrel::simulator {

/// Everything the tester knows; what commands read and change.
struct TesterState
{
    Settings settings;
    UsbPort port = {};
    AutomaticMode automaticMode = {};
    quint8 configValue = 0;
    quint8 dataPort = 0;
    FlashMemory flash = {};
    ConfigMemory configMemory = {};
    FirmwareMemory firmware = {};
    ScriptMemory script = {};
};

} // namespace vantrel::simulator
