// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "console/NetworkNames.h"
#include "support/FakeDialogs.h"
#include "support/LinkBench.h"
#include "support/Outcome.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace vantrel::test {

inline QByteArray contentsOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
}

inline void write(const QString &path, const QByteArray &contents)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(contents), contents.size());
}

inline QStringList listOf(std::initializer_list<const char *> entries)
{
    QStringList list;
    for (const char *entry : entries)
        list.append(QString::fromLatin1(entry));
    return list;
}

/// The list of names alone, with a file of the user's own.
struct NamesBench : LinkBench
{
    QTemporaryDir directory;
    QString path = directory.filePath(QStringLiteral("VLnetNames.dat"));
    QStringList sharedPaths;
    FakeDialogs dialogs;
    NetworkNames names{session, link, dialogs};
    Control &cbNWName = session.Main.cbNWName;

    explicit NamesBench(const QByteArray &contents = {})
    {
        write(path, contents);
        load();
    }
    QString load() // the error, if any
    {
        QString error;
        [](NamesBench &bench, QString &raised) -> QCoro::Task<> {
            try {
                co_await bench.names.load(bench.path, bench.sharedPaths);
            } catch (const RuntimeError &thrown) {
                raised = thrown.shortName();
            }
        }(*this, error);
        return error;
    }
    /// What `btOK` of `frmNewIP` does.
    Outcome<bool> add(const QString &name) { return outcomeOf(checkAndAdd(name)); }

    QCoro::Task<bool> checkAndAdd(QString name)
    {
        const bool accepted = co_await names.isAccepted(name);
        if (accepted)
            names.add(name);
        co_return accepted;
    }

    /// The user opens the list and takes an entry.
    bool choose(int index)
    {
        cbNWName.adoptIndex(index);
        return names.nameClicked();
    }
};

} // namespace vantrel::test
