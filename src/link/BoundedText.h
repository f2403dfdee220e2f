// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <string_view>

namespace vantrel {

/// A text of one byte a character that keeps only its end: once longer than 20000 characters it
/// reads "...\r\n...\r\n" and its last 20000.
///
/// The cut text is never built while lines arrive, so that appending costs the line's own length.
class BoundedText
{
public:
    static constexpr qsizetype Limit = 20000;
    static constexpr std::string_view Marker = "...\r\n...\r\n";

    void append(std::string_view text);
    void clear();

    /// Length of text().
    qsizetype size() const;
    QByteArray text() const;

private:
    QByteArray m_tail; // at most 2 * Limit between appends
    bool m_cut = false;
};

} // namespace vantrel
