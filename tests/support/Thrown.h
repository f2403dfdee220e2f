// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/RuntimeError.h"

#include <QString>

namespace vantrel::test {

/// The short name of the run-time error that the action raises; empty when it raises none.
template <typename Action>
QString thrownBy(Action &&action)
{
    try {
        action();
    } catch (const RuntimeError &error) {
        return error.shortName();
    }
    return {};
}

} // namespace vantrel::test
