// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

namespace vantrel {

struct Session;

/// The tester that a value was read from or chosen for, and the connection to it. Equal as long as
/// the connection stands and the version replies over it agree.
struct TesterIdentity
{
    quint32 connection = 0; ///< count of the session's CancelSource
    qint16 model = 0;
    qint16 firmwareMajor = -1;
    qint16 firmwareMinor = -2;
    qint16 ramK = -1;

    bool operator==(const TesterIdentity &) const = default;
};

/// The tester that is connected now.
TesterIdentity currentTester(const Session &session);

} // namespace vantrel
