// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/CancelToken.h"

#include <QFlags>
#include <QObject>
#include <QString>
#include <QStringList>

#include <vector>

namespace vantrel {

struct Session;

/// A change of the tester or of a device that remains incomplete when it is interrupted.
enum class WriteKind : quint8 {
    ScriptDownload = 0x01,
    FlashDownload = 0x02, ///< a script download for the tester's flash
    FlashProgram = 0x04,  ///< the tester stores a script in its flash
    FlashState = 0x08,    ///< the tester enables or disables the script in its flash
    EzUsbLoad = 0x10,
    FirmwareDownload = 0x20,
    FirmwareProgram = 0x40, ///< the tester programs the firmware that it has received
    FtdiProgram = 0x80,
};
using WriteKinds = QFlags<WriteKind>;

/// All that the program can write.
inline constexpr WriteKinds AllWrites = WriteKinds::fromInt(0xFF);

/// A write that is under way, until it is destroyed.
class [[nodiscard]] PendingWrite
{
public:
    /// `total`: of the units in which the progress of this kind is counted; 0 without progress.
    PendingWrite(Session &session, WriteKind kind, qsizetype total = 0);
    PendingWrite(const PendingWrite &) = delete;
    PendingWrite &operator=(const PendingWrite &) = delete;
    ~PendingWrite();

    void setDone(qsizetype done) { m_done = done; }

private:
    friend class PendingWrites;

    QString progress() const;

    Session &m_session;
    CancelToken m_token;
    WriteKind m_kind;
    qsizetype m_total;
    qsizetype m_done = 0;
};

/// The writes that are under way on the present connection: what is lost when they are interrupted,
/// and what was left undone then. The texts of all writes are one table.
class PendingWrites : public QObject
{
    Q_OBJECT

public:
    explicit PendingWrites(Session &session) : m_session(session) {}

    bool areUnderWay(WriteKinds kinds) const;

    /// For a question: what is under way and what is lost, one sentence each.
    QString description(WriteKinds kinds) const;

    /// The writes of these kinds are interrupted: they no longer count as under way. Shows a line
    /// for each in the command pane and returns the lines. Interrupting the exchange itself is for
    /// the caller.
    QStringList interrupt(WriteKinds kinds);

signals:
    /// A write has ended, by itself or interrupted.
    void ended();

private:
    friend class PendingWrite;

    std::vector<PendingWrite *> underWay(WriteKinds kinds) const;
    void add(PendingWrite &write);
    void remove(PendingWrite &write);

    Session &m_session;
    std::vector<PendingWrite *> m_writes;
};

} // namespace vantrel
