// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Dialogs.h"

#include <QtGlobal>

#include <optional>

namespace vantrel {

class LinkLeases;
struct Session;

/// An exchange with the tester of many packets, which no other one may interrupt.
enum class LongExchange {
    ScriptDownload,
    FlashDownload, ///< a script download for the tester's flash
    EzUsbLoad,
    FirmwareDownload,
    FtdiRead,
    FtdiProgram,
    FtdiVerify,
    ScriptRun, ///< has no lease: the tester runs the script by itself
};

/// The right to a long exchange, until it is destroyed or released, or the connection ends.
class [[nodiscard]] LinkLease
{
public:
    LinkLease(LinkLease &&other) noexcept;
    LinkLease &operator=(LinkLease &&other) noexcept;
    LinkLease(const LinkLease &) = delete;
    LinkLease &operator=(const LinkLease &) = delete;
    ~LinkLease() { release(); }

    /// ScriptBusy is set until `clearBusy()`, or until this lease ends.
    void setBusy();
    void clearBusy();

    /// Ends the lease and leaves ScriptBusy set for the run of the script that it has loaded.
    void releaseForRun();
    void release();

private:
    friend class LinkLeases;

    LinkLease(LinkLeases &leases, quint32 number) : m_leases(&leases), m_number(number) {}

    LinkLeases *m_leases; // null once released
    quint32 m_number;
};

/// Owns the link for long exchanges: at most one has the lease at a time. Owns ScriptBusy, which is
/// set while the exchange with the lease says so or a script runs.
class LinkLeases
{
public:
    explicit LinkLeases(Session &session) : m_session(session) {}
    LinkLeases(const LinkLeases &) = delete;
    LinkLeases &operator=(const LinkLeases &) = delete;

    /// Nothing while conflict() names another exchange.
    std::optional<LinkLease> acquire(LongExchange exchange);

    /// The exchange that prevents `exchange`, if any. A script that runs prevents the exchanges
    /// with an FTDI device, whose replies cannot be distinguished from those to the script's
    /// requests; a download replaces it.
    std::optional<LongExchange> conflict(LongExchange exchange) const;

    /// The exchange that has the lease.
    std::optional<LongExchange> current() const { return m_current; }

    /// A script is started: ScriptBusy is set until endRun().
    void beginRun();
    void endRun();

    /// Ends the lease and the run.
    void endConnection();

private:
    friend class LinkLease;

    void setBusy(quint32 number, bool busy);
    void end(quint32 number, bool leaveBusy);
    void update();

    Session &m_session;
    std::optional<LongExchange> m_current;
    quint32 m_number = 0; // of the lease given last
    bool m_leaseBusy = false;
    bool m_runBusy = false;
};

/// The box that refuses an exchange because `underWay` has not ended.
Message refusalBox(LongExchange underWay);

} // namespace vantrel
