// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "protocol/SetupPacket.h"

#include <QList>
#include <QString>

namespace vantrel {

class FtdiEeprom;

/// One vendor request to an FTDI device, and the message when it fails.
struct FtdiStep
{
    SetupPacket setup;
    QString refused;     ///< the answer reports an error
    QString silent;      ///< there is no answer
    bool isWord = false; ///< reads or writes the word that wIndex counts from 0

    /// Bytes that a complete answer has.
    int dataLength() const { return setup.wLength; }
};

/// Reads the 64 words, in order.
QList<FtdiStep> ftdiReadSteps();

/// Erases the EEPROM and writes the image, word after word. The device's latency timer is set high
/// for that and to its usual value afterwards.
QList<FtdiStep> ftdiProgramSteps(const FtdiEeprom &image);

} // namespace vantrel
