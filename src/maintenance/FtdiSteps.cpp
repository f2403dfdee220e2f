// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/FtdiSteps.h"

#include "maintenance/FtdiEeprom.h"

namespace vantrel {

namespace {

constexpr quint8 VendorOut = 0x40; // host to device
constexpr quint8 VendorIn = 0xC0;  // device to host

constexpr quint8 SetLatencyTimer = 0x09;
constexpr quint8 ReadWord = 0x90;
constexpr quint8 WriteWord = 0x91;
constexpr quint8 Erase = 0x92;

constexpr quint16 LatencyForWriting = 0x77; // milliseconds
constexpr quint16 LatencyUsual = 0x10;

FtdiStep latency(quint16 milliseconds)
{
    const QString failure = QStringLiteral("Error Setting Latency");
    return {{VendorOut, SetLatencyTimer, milliseconds, 0, 0}, failure, failure, false};
}

} // namespace

QList<FtdiStep> ftdiReadSteps()
{
    QList<FtdiStep> steps;
    for (quint16 word = 0; word < FtdiEeprom::WordCount; ++word) {
        steps.append({{VendorIn, ReadWord, 0, word, 2},
                      QStringLiteral("Error Reading EEPROM word %1").arg(word),
                      QStringLiteral("Vorn Tester not Responding"),
                      true});
    }
    return steps;
}

QList<FtdiStep> ftdiProgramSteps(const FtdiEeprom &image)
{
    const QString eraseFailure = QStringLiteral("Error Erasing EEPROM");
    QList<FtdiStep> steps;
    steps.append({{VendorOut, Erase, 0, 0, 0}, eraseFailure, eraseFailure, false});
    steps.append(latency(LatencyForWriting));
    for (quint16 word = 0; word < FtdiEeprom::WordCount; ++word) {
        const QString failure = QStringLiteral("Error Writing EEPROM word %1").arg(word);
        steps.append({{VendorOut, WriteWord, image.word(word), word, 0}, failure, failure, true});
    }
    steps.append(latency(LatencyUsual));
    return steps;
}

} // namespace vantrel
