// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/TesterIdentity.h"

#include "link/publicvars.h"

namespace vantrel {

TesterIdentity currentTester(const Session &session)
{
    return {session.connection.count(), session.TesterModel, session.FirmwareMajor,
            session.FirmwareMinor, session.TesterRamK};
}

} // namespace vantrel
