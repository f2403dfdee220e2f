// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string_view>

namespace vantrel {

struct Session;

/// One entry of the response pane, and of the log while it is open, in pieces: a long one is never
/// held in memory as a whole. What ShowResponseLine() shows is such an entry. Nothing throws.
class ResponseEntry
{
public:
    explicit ResponseEntry(Session &session) : m_session(session) {}
    ResponseEntry(const ResponseEntry &) = delete;
    ResponseEntry &operator=(const ResponseEntry &) = delete;

    /// False: only the last BoundedText::Limit characters of the entry are of use.
    bool needsAll() const;

    /// One byte a character.
    void append(std::string_view piece);

    /// Ends the entry with a line break. A failed write of the log is reported now.
    void end();

private:
    Session &m_session;
    std::size_t m_size = 0;
    bool m_written = true;
};

} // namespace vantrel
