// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/WindowDialogs.h"
#include "windows/DialogBench.h"
#include "windows/FileDialog.h"

#include <QLineEdit>
#include <QListView>
#include <QMainWindow>
#include <QMessageBox>
#include <QTemporaryDir>

#include <memory>
#include <optional>

namespace vantrel::test {

/// Directories of its own for the time of a test, neither the current one nor Qt's last one.
struct Places
{
    QTemporaryDir root;
    QString home = root.path();
    QString data = root.filePath(QStringLiteral("data/Vantrel"));
    StartDirectories start() const { return {home, data}; }
};

inline QCoro::Task<> ask(Dialogs &dialogs, FileChoice choice, std::optional<QString> &path)
{
    path = co_await dialogs.fileDialog(choice);
}

inline FileChoice saving()
{
    return {FileChoice::Kind::SaveAs, QStringLiteral("Open New Log File"),
            QStringLiteral("Log Files|*.log"), QStringLiteral("log"), QStringLiteral("*.log")};
}

inline FileChoice savingAmongData()
{
    FileChoice choice = saving();
    choice.inDataDirectory = true;
    return choice;
}

inline FileChoice savingInto()
{
    return {FileChoice::Kind::SaveExisting,
            QStringLiteral("Save Descriptors to File"),
            QStringLiteral("Text Files|*.txt"),
            QStringLiteral("txt"),
            {}};
}

inline FileChoice opening()
{
    return {FileChoice::Kind::OpenExisting,
            QStringLiteral("Open Vornscript File"),
            QStringLiteral("VornScript Files | *.vn"),
            QStringLiteral("vn"),
            {}};
}

/// A file dialog over a window of its own, and what was chosen in it.
struct FileDialogBench
{
    explicit FileDialogBench(const FileChoice &choice, const StartDirectories &start = {})
        : boxes(start)
    {
        dialogs.setWindow(window.get());
        window->show();
        waitUntilActive(*window);
        ask(dialogs, choice, chosen);
    }

    FileDialog &dialog() const
    {
        auto *dialog = openWindow<FileDialog>("FileDial1");
        if (!dialog)
            qFatal("no file dialog");
        return *dialog;
    }

    QString file(const char *name) const { return directory.filePath(QString::fromLatin1(name)); }

    QString create(const char *name) const
    {
        QFile created(file(name));
        created.open(QIODevice::WriteOnly);
        created.write("old");
        return created.fileName();
    }

    /// Puts a name into the field and presses Enter.
    void enter(const QString &path) const
    {
        auto &field = child<QLineEdit>(dialog(), "fileNameEdit");
        waitUntilActive(dialog());
        field.setFocus();
        field.setText(path);
        QTest::keyClick(&field, Qt::Key_Return);
    }

    static void write(const QTemporaryDir &directory, std::initializer_list<const char *> names)
    {
        for (const char *name : names)
            QFile(directory.filePath(QString::fromLatin1(name))).open(QIODevice::WriteOnly);
    }

    /// The files that the dialog lists.
    QStringList listed() const
    {
        const auto &list = child<QListView>(dialog(), "listView");
        QStringList names;
        for (int row = 0; row < list.model()->rowCount(list.rootIndex()); ++row)
            names.append(list.model()->index(row, 0, list.rootIndex()).data().toString());
        names.sort();
        return names;
    }

    QMessageBox *box() const { return openWindow<QMessageBox>("MessageBox"); }

    QTemporaryDir directory;
    DialogBoxes boxes;
    WindowDialogs dialogs{boxes};
    std::unique_ptr<QMainWindow> window = std::make_unique<QMainWindow>();
    std::optional<QString> chosen;
};

} // namespace vantrel::test
