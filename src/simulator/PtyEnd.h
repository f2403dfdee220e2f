// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/FileDescriptor.h"
#include "simulator/SendLimit.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTimer>

class QSocketNotifier;

namespace vantrel::simulator {

class Tester;

/// The tester's serial port: a pseudo-terminal whose other side a console opens like a serial
/// device. Bytes pass only while the line speed set there is the tester's; at any other they are
/// lost, as on a real line. What the console does not read is bounded by SendLimit. The tester's
/// clock follows real time from here on.
class PtyEnd : public QObject
{
    Q_OBJECT

public:
    /// `tester` must outlive the end; `baud` is one of the usual rates from 1200 to 921600.
    PtyEnd(Tester &tester, int baud);
    ~PtyEnd() override;

    /// Makes the serial device and, unless empty, a symbolic link to it. A symbolic link that is
    /// there already is replaced, anything else of that name is not. False when that failed;
    /// errorString() says why.
    bool open(const QString &symlink = {});
    /// The symbolic link, or else the device itself; empty while unplugged.
    QString path() const;
    QString errorString() const { return m_error; }

    /// The device vanishes, and its symbolic link with it, as a pulled adapter does.
    void unplug();
    /// It is back, under the same symbolic link. Returns as open() does.
    bool plug();
    /// The console's connection ends. The device is gone and back at once, under the same symbolic
    /// link, as when an adapter restarts.
    void dropConnection();
    bool isPlugged() const { return m_master.isOpen(); }
    bool isConsoleConnected() const { return isPlugged() && !m_hangUpPoll.isActive(); }
    /// The console that has the device open has set the rate of the tester.
    bool consoleRateMatches() const;
    /// Writes of the tester that no console received, because none was connected or it had set
    /// another rate.
    quint64 lostWrites() const { return m_lostWrites; }

    /// What a console at another rate gets to read for each write, in either direction. Empty, the
    /// default: nothing.
    void setNoise(const QByteArray &noise) { m_noise = noise; }

signals:
    /// A console has opened the device.
    void consoleConnected();
    /// A packet was dropped for the first time since the console opened the device.
    void packetsDropped();

private:
    bool failed(const char *what);
    bool openMaster();
    bool resetLine();
    bool makeLink();
    void removeLink();
    void readWaiting();
    void take(QByteArrayView bytes);
    void write(const QByteArray &bytes);
    void writeRaw(const QByteArray &bytes, bool startsPacket);
    void writeWaiting();
    void lookForConsole();
    void consoleLeft();

    Tester &m_tester;
    int m_baud;
    FileDescriptor m_master;
    QString m_device;
    QString m_link;
    QString m_error;
    QByteArray m_noise;
    QByteArray m_unsent;
    quint64 m_lostWrites = 0;
    SendLimit m_limit; // of m_unsent
    // Both live for as long as m_master is open.
    QSocketNotifier *m_readable = nullptr;
    QSocketNotifier *m_writable = nullptr;
    QTimer m_replug;     // runs from a dropped connection to the return of the device
    QTimer m_hangUpPoll; // runs while no console has the device open
};

} // namespace vantrel::simulator
