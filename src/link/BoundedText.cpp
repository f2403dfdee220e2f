// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/BoundedText.h"

#include "link/Bytes.h"

#include <algorithm>

namespace vantrel {

void BoundedText::append(std::string_view text)
{
    const std::size_t kept = std::min(text.size(), static_cast<std::size_t>(Limit));
    m_cut = m_cut || m_tail.size() + static_cast<qsizetype>(text.size()) > Limit;
    const std::string_view end = text.substr(text.size() - kept);
    appendRun(m_tail, end.data(), static_cast<qsizetype>(end.size()));
    if (m_tail.size() > 2 * Limit)
        m_tail = m_tail.last(Limit);
}

void BoundedText::clear()
{
    m_tail.clear();
    m_cut = false;
}

qsizetype BoundedText::size() const
{
    return m_cut ? static_cast<qsizetype>(Marker.size()) + Limit : m_tail.size();
}

QByteArray BoundedText::text() const
{
    if (!m_cut)
        return m_tail;
    return QByteArray(Marker.data(), Marker.size()) + m_tail.last(Limit);
}

} // namespace vantrel
