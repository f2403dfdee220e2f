// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <optional>

namespace vantrel::simulator {

struct TesterState;

/// Carries out one command (its body, code first) and returns the body of the reply: empty when
/// the command has none, nothing when the tester does not know the command or cannot take it as it
/// stands, which is a command error.
std::optional<QByteArray> execute(TesterState &state, const QByteArray &command);

} // namespace vantrel::simulator
