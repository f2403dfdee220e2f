// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/FaultMatrix.h"

#include <QList>
#include <QString>

#include <functional>

namespace vantrel::test {

/// What happens when the user presses what starts an operation.
enum class Press {
    Started,     ///< or refused with a box: the handler of the control was called
    Unavailable, ///< the control, or the way to its window, is disabled
    Again,       ///< its window has just been opened: pressed again when the control is enabled
};

/// An operation of the matrix of pairs, with the data that it transfers.
struct PairOperation
{
    /// Which of the windows is opened first. The flash window disables the main window.
    enum class Opens { First, Second, Last };

    QString name;
    const char *refusal = nullptr; ///< subject of the box that refuses another exchange
    const char *success = nullptr; ///< the box that reports success
    Moment moment = {};            ///< when another operation is started, if this is the first
    Opens opens = Opens::Second;
    bool usesMain = false; ///< started in the main window, or by a menu item
    std::function<void(FaultBench &)> prepare = {};
    std::function<Press(FaultBench &)> press = {};
    std::function<bool(FaultBench &)> hasEnded = {};
    /// "done" if the operation has succeeded and all of its data are right, byte for byte.
    std::function<QString(FaultBench &)> outcome = {};
};

/// The operations, in the order of the matrix.
const QList<PairOperation> &pairOperations();

// Those of PairDevices.cpp
PairOperation ftdiRead();
PairOperation ftdiProgram();
PairOperation ftdiVerify();
PairOperation walk();
PairOperation request();
PairOperation networkRead();

bool isMainUsable(FaultBench &bench);
/// Presses a control if it is enabled.
Press press(const Control &control, const std::function<void()> &handler);
Press pressInMain(FaultBench &bench, const Control &control, const std::function<void()> &handler);
/// "done", or what is so otherwise.
QString described(bool done, const QString &otherwise);

/// Attaches the devices that the operations use.
void attachPairDevices(FaultBench &bench);

/// Runs the EZ-USB firmware script that was loaded. Empty, or what is wrong with the device then.
QString runEzUsbScript(FaultBench &bench);

} // namespace vantrel::test
