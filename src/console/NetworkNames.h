// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "console/NamesFile.h"

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

    /// The path of the user's own file: in `dataDirectory` for an installed program, otherwise in
    /// the program's directory, or in `dataDirectory` when nothing can be written there.
    static QString filePath(const QString &programDirectory, const QString &dataDirectory);

    /// Where an administrator may provide a list for all users, in the order of search: the
    /// program's directory, then "vantrel" in the system's configuration and data directories
    /// (XDG_CONFIG_DIRS and XDG_DATA_DIRS).
    static QStringList sharedFiles(const QString &programDirectory);

    /// Entries of a names file: fields end at commas and line ends, leading blanks are skipped,
    /// surrounding double quotes removed. One byte a character.
    static QStringList parse(const QByteArray &contents);

    /// Fills the list from the user's own file `path` or, when there is none, from the first of
    /// `sharedPaths` that can be read, which writes nothing. When there is no list at all, creates
    /// the user's own empty after the user has closed a message box. Enables the list, unless a
    /// connection holds it disabled. A file that is created is accessible to its owner only, unless
    /// `path` is one of `sharedPaths`.
    ///
    /// Throws RuntimeError when the user's own file exists but cannot be read, or when only shared
    /// ones exist and none can be read; the list then holds "<New>" alone.
    QCoro::Task<> load(QString path, QStringList sharedPaths = {});

    /// Adds a name at run time only, chosen at once: not written to the file. It stays in the list
    /// and chosen when it is offered while load() waits for the user.
    void offer(const QString &name);

    /// An entry of `cbNWName` was chosen. True when it is "<New>": show the dialog `frmNewIP`.
    bool nameClicked();

    /// `btOK` of `frmNewIP`. False: an illegal character was reported, the dialog stays open.
    QCoro::Task<bool> isAccepted(QString name);

    /// Inserts an accepted name before "<New>", saves it and chooses it. It is appended to the
    /// user's own file. When there is none, that file is created with the entries of the shared
    /// list in use, if any, and the name, or not at all. Throws RuntimeError when the file cannot
    /// be written; the name is then in the list and chosen all the same.
    void add(const QString &name);

    /// `btCancel` of `frmNewIP`: the list shows the entry that it showed before "<New>" was chosen.
    void cancelNew();

private:
    void fill(QStringList entries);
    int insert(const QString &name);
    void choose(int index);
    void setIndex(int index);

    Session &m_session;
    VornComm &m_link;
    Dialogs &m_dialogs;
    NamesFile m_file;
    QStringList m_sharedEntries; ///< of the shared list that was read, if one was
    int m_chosenIndex = -1;
};

} // namespace vantrel
