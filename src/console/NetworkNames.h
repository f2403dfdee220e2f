// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QCoroTask>
#include <QString>
#include <QStringList>

namespace vantrel {

struct Session;
class Dialogs;
class VornComm;

/// The network names of testers: the file "VLnetNames.dat" and the drop-down list `cbNWName`.
class NetworkNames
{
public:
    NetworkNames(Session &session, VornComm &link, Dialogs &dialogs);

    /// Where the file lies: in the program's directory, or in `dataDirectory` when nothing can be
    /// written there. Makes `dataDirectory` if it is the one.
    static QString filePath(const QString &programDirectory, const QString &dataDirectory);

    /// Entries of a names file: fields end at commas and line ends, leading blanks are skipped,
    /// surrounding double quotes removed. One byte a character.
    static QStringList parse(const QByteArray &contents);

    /// Fills the list from the file; creates a missing file after telling the user. Throws
    /// RuntimeError when the file exists but cannot be read, the list then holds "<New>" alone.
    QCoro::Task<> load(QString path);

    /// Adds a name at run time only, chosen at once: not written to the file.
    void offer(const QString &name);

    /// An entry of `cbNWName` was chosen. True when it is "<New>": show the dialog `frmNewIP`.
    bool nameClicked();

    /// `btOK` of `frmNewIP`. False: an illegal character was reported, the dialog stays open.
    /// Throws RuntimeError when the file cannot be written.
    QCoro::Task<bool> add(QString name);

    /// `btCancel` of `frmNewIP`: the list shows the entry that it showed before "<New>" was chosen.
    void cancelNew();

private:
    void choose(int index);

    Session &m_session;
    VornComm &m_link;
    Dialogs &m_dialogs;
    QString m_path;
    int m_chosenIndex = -1;
};

} // namespace vantrel
