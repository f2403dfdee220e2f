// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QCoroTask>
#include <QString>

namespace vantrel::soak {

struct Subject;

/// Saves a file of every kind but the log by hand, and compares each with what was to be saved.
/// Everything throws SoakFailure when a file is not as it must be.
class Saves
{
public:
    /// Files go to `directory`, in which the console keeps its own.
    Saves(Subject &subject, QString directory);

    /// Adds a network name. Not while connected.
    QCoro::Task<> saveName();

    /// Saves a device request, a descriptor report and the backup of an EEPROM that is programmed.
    /// Connected to a tester without faults, the keyboard at address 2 and the FTDI device at 7;
    /// the device request builder is open, with a request for the keyboard's device descriptor.
    QCoro::Task<> saveFiles();

    /// Files that were compared.
    int count() const { return m_count; }

private:
    QCoro::Task<> saveRequest();
    QCoro::Task<> saveReport();
    QCoro::Task<> saveBackup();
    QCoro::Task<> answer(QString path);
    QString path(const char *name) const;
    QStringList backups() const;

    Subject &m_subject;
    QString m_directory;
    int m_count = 0;
};

} // namespace vantrel::soak
