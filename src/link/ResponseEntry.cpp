// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/ResponseEntry.h"

#include "link/Utils.h"
#include "link/publicvars.h"

namespace vantrel {

bool ResponseEntry::needsAll() const
{
    return m_session.Logging;
}

void ResponseEntry::append(std::string_view piece)
{
    if (m_session.Logging) {
        m_written = m_written && m_session.log.write(piece);
        m_size += piece.size();
    }
    m_session.RespText.append(piece);
}

void ResponseEntry::end()
{
    constexpr std::string_view LineBreak = "\r\n";
    append(LineBreak);
    m_session.RespDirty = true;
    if (!m_session.Logging)
        return;
    m_session.LogBytes = countedBytes(m_session.LogBytes, m_size);
    m_session.Main.LogSizeInfo.setText(logSizeText(m_session.LogBytes));
    if (!m_written && m_session.logFailed)
        m_session.logFailed(m_session.log.error());
}

} // namespace vantrel
