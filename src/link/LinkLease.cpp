// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/LinkLease.h"

#include "link/publicvars.h"

#include <utility>

namespace vantrel {

namespace {

bool isFtdi(LongExchange exchange)
{
    return exchange == LongExchange::FtdiRead || exchange == LongExchange::FtdiProgram ||
           exchange == LongExchange::FtdiVerify;
}

QString description(LongExchange exchange)
{
    switch (exchange) {
    case LongExchange::ScriptDownload:
        return QStringLiteral("A script download");
    case LongExchange::FlashDownload:
        return QStringLiteral("A script download of the flash management");
    case LongExchange::EzUsbLoad:
        return QStringLiteral("An EZ-USB firmware load");
    case LongExchange::FirmwareDownload:
        return QStringLiteral("A download of tester firmware");
    case LongExchange::FtdiRead:
        return QStringLiteral("Reading an FTDI EEPROM");
    case LongExchange::FtdiProgram:
        return QStringLiteral("Programming an FTDI EEPROM");
    case LongExchange::FtdiVerify:
        return QStringLiteral("Verifying an FTDI EEPROM");
    case LongExchange::ScriptRun:
        return QStringLiteral("A script run");
    }
    return {};
}

} // namespace

LinkLease::LinkLease(LinkLease &&other) noexcept
    : m_leases(std::exchange(other.m_leases, nullptr)), m_number(other.m_number)
{
}

LinkLease &LinkLease::operator=(LinkLease &&other) noexcept
{
    if (this != &other) {
        release();
        m_leases = std::exchange(other.m_leases, nullptr);
        m_number = other.m_number;
    }
    return *this;
}

void LinkLease::setBusy()
{
    if (m_leases)
        m_leases->setBusy(m_number, true);
}

void LinkLease::clearBusy()
{
    if (m_leases)
        m_leases->setBusy(m_number, false);
}

void LinkLease::release()
{
    if (LinkLeases *leases = std::exchange(m_leases, nullptr))
        leases->end(m_number, false);
}

void LinkLease::releaseForRun()
{
    if (LinkLeases *leases = std::exchange(m_leases, nullptr))
        leases->end(m_number, true);
}

std::optional<LinkLease> LinkLeases::acquire(LongExchange exchange)
{
    if (conflict(exchange))
        return std::nullopt;
    m_current = exchange;
    return LinkLease(*this, ++m_number);
}

std::optional<LongExchange> LinkLeases::conflict(LongExchange exchange) const
{
    if (!m_current && isFtdi(exchange) && m_session.Script == ScriptState::Running)
        return LongExchange::ScriptRun;
    return m_current;
}

void LinkLeases::beginRun()
{
    m_runBusy = true;
    update();
}

void LinkLeases::endRun()
{
    m_runBusy = false;
    update();
}

void LinkLeases::endConnection()
{
    ++m_number; // what the exchange does with its lease has no effect any more
    m_current.reset();
    m_leaseBusy = false;
    m_runBusy = false;
    update();
}

void LinkLeases::setBusy(quint32 number, bool busy)
{
    if (number != m_number)
        return;
    m_leaseBusy = busy;
    update();
}

void LinkLeases::end(quint32 number, bool leaveBusy)
{
    if (number != m_number)
        return;
    m_current.reset();
    m_leaseBusy = false;
    m_runBusy = m_runBusy || leaveBusy;
    update();
}

void LinkLeases::update()
{
    m_session.ScriptBusy = m_leaseBusy || m_runBusy;
}

Message refusalBox(LongExchange underWay)
{
    return {description(underWay) +
                QStringLiteral(" is under way. Nothing was sent: try again when it has ended."),
            QStringLiteral("Vantrel - Illegal Operation")};
}

} // namespace vantrel
