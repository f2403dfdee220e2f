// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace vantrel::bench {

class Comparisons;

/// A stream cut into packets, beside a scan of the same bytes for ESC.
void addDeframer(Comparisons &comparisons);

/// Received bytes made into lines of the response pane and the log file, beside a bare loop that
/// writes the same text and beside the straightforward code.
void addResponses(Comparisons &comparisons);

} // namespace vantrel::bench
