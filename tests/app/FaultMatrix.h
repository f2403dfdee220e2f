// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/FaultBench.h"

#include <QHash>
#include <QList>
#include <QMetaType>
#include <QString>

#include <functional>

namespace vantrel::test {

/// What befalls an operation, at its moment. What the tester does wrong then, it goes on doing
/// until the operation is over.
enum class Fault {
    None,
    Silence,     ///< the tester says nothing any more
    ErrorStatus, ///< it reports a failure: of device requests, unless the operation says otherwise
    Refusal,     ///< it answers the command with a command error
    ShortReply,  ///< its answers are cut short
    LateReply,   ///< its answers come when nobody waits any more
    DoubledReply,
    Garbage,        ///< bytes between its packets
    Flood,          ///< thousands of reports, at once
    Dropped,        ///< it ends the connection
    Pulled,         ///< the adapter of a serial line is pulled: no failure is reported
    WindowClosed,   ///< the operation's window is closed
    OtherOperation, ///< the user starts a descriptor walk, unless the operation says otherwise
    Reconnected,    ///< the user presses Disconnect and Connect
    MainClosed,     ///< the main window is closed: the program ends
};

/// When a fault befalls an operation: as the tester has received a command and not answered it yet,
/// or is about to send a report.
struct Moment
{
    quint8 code = 0;
    int count = 1; ///< of the commands, or reports, of this code since the operation was started
    bool isReport = false;
};

/// Something that waits for the tester or streams to it.
struct Operation
{
    using Action = std::function<void(FaultBench &)>;

    QString name;
    const char *window = nullptr; ///< nullptr: the main window
    Action prepare = {};          ///< on a connected console, with the window open
    Action start = {};
    Moment moment = {};
    std::function<bool(FaultBench &)> hasEnded = {};
    std::function<QString(FaultBench &)> outcome = {};
    /// What the user does afterwards, with the fault gone. Empty, or what is wrong then.
    std::function<QString(FaultBench &)> settle = {};
    int shortTo = 1;               ///< bytes of a short reply
    int late = 6000;               ///< milliseconds by which a late reply is late
    int limit = 70;                ///< ticks after which it is taken for going on for ever
    int aftermath = 0;             ///< ticks for which the tester cannot be reached afterwards
    QHash<Fault, Action> own = {}; ///< faults that are something else than usual
    bool connects = false;         ///< it is the connecting itself
    bool outlives = false;         ///< it goes on without its connection, or its window
};

/// What is expected of an operation and a fault.
struct Cell
{
    Fault fault = Fault::None;
    const char *outcome = "";
    const char *boxes = "";  ///< texts, with bars between them
    const char *stands = ""; ///< of ScriptBusy, DescActive, FtdiActive, when it is over
    const char *stays = "";  ///< the same once the fault has gone and the user is done
    const char *later = "";  ///< texts of the boxes until then
};

struct Row
{
    Operation operation;
    QList<Cell> cells;
};

inline const char *const Gone = "Network Error Detected: The remote host closed the connection";

/// A test row for each cell, and what runs it.
void addCells(const QList<Row> &rows);
void checkCell();

} // namespace vantrel::test

Q_DECLARE_METATYPE(vantrel::test::Operation)
Q_DECLARE_METATYPE(vantrel::test::Cell)
