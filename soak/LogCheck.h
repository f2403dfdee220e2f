// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Reports.h"

#include <QByteArray>
#include <QList>

namespace vantrel::soak {

/// What a closed log file holds.
struct LogContents
{
    qsizetype lines = 0;
    QList<quint32> numbers; ///< of the numbered data reports, in their order
};

/// Reads a log file line by line. `size` is what the console counted: header and body, in bytes.
/// Throws SoakFailure when header, footer or size is not right, when a line is none that the
/// console writes, or when a numbered report is not shown with its data, byte for byte.
LogContents readLog(const QByteArray &file, qint32 size);

/// Throws SoakFailure when the log holds a report that was not sent, one twice, one in the wrong
/// place, one behind a missing one, or not all that are due.
void compareWithSent(const QList<quint32> &logged,
                     const QList<Reports::Conversation> &conversations);

} // namespace vantrel::soak
