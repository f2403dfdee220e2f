// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/FilePath.h"
#include "windows/FileDialogBench.h"

#include <QDialogButtonBox>
#include <QListWidget>
#include <QPushButton>
#include <QTreeView>

#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

namespace vantrel::test {

/// A file dialog in a directory of its own, which has files of any names.
struct NameBench
{
    NameBench(const FileChoice &choice, const QList<QByteArray> &names)
    {
        for (const QByteArray &name : names)
            create(name);
        bench = std::make_unique<FileDialogBench>(choice, StartDirectories{directory.path(), {}});
    }

    ~NameBench() // QTemporaryDir removes only names that are UTF-8
    {
        std::error_code failure;
        std::filesystem::remove_all(directory.path().toStdString(), failure);
    }
    NameBench(const NameBench &) = delete;
    NameBench &operator=(const NameBench &) = delete;

    QByteArray path(const QByteArray &name) const
    {
        return QFile::encodeName(directory.path()) + '/' + name;
    }
    void create(const QByteArray &name) const
    {
        const int file = ::open(path(name).constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        if (file < 0 || ::write(file, "old", 3) != 3)
            qFatal("no file");
        ::close(file);
    }

    QLineEdit &field() const { return child<QLineEdit>(bench->dialog(), "fileNameEdit"); }
    QListWidget &undecoded() const { return child<QListWidget>(bench->dialog(), "undecodedList"); }
    QStringList undecodedNames() const
    {
        QStringList names;
        for (int row = 0; row < undecoded().count(); ++row)
            names.append(undecoded().item(row)->text());
        return undecoded().isVisible() ? names : QStringList{QStringLiteral("not visible")};
    }
    QPushButton &button() const
    {
        const bool saving = bench->dialog().acceptMode() == QFileDialog::AcceptSave;
        return *child<QDialogButtonBox>(bench->dialog(), "buttonBox")
                    .button(saving ? QDialogButtonBox::Save : QDialogButtonBox::Open);
    }
    void type(const QString &text) const
    {
        waitUntilActive(bench->dialog());
        QTest::mouseClick(&field(), Qt::LeftButton);
        field().selectAll();
        QTest::keyClicks(&field(), text);
    }
    /// Types a name and presses Enter.
    void enter(const QString &text) const
    {
        type(text);
        QTest::keyClick(&field(), Qt::Key_Return);
    }
    /// The index of a file in the view, once the view has it.
    QModelIndex indexOf(const QString &name) const
    {
        const auto &view = child<QListView>(bench->dialog(), "listView");
        QModelIndex found;
        const bool listed = QTest::qWaitFor([&] {
            for (int row = 0; row < view.model()->rowCount(view.rootIndex()); ++row) {
                const QModelIndex index = view.model()->index(row, 0, view.rootIndex());
                if (index.data().toString() == name)
                    found = index;
            }
            return found.isValid();
        });
        if (!listed)
            qFatal("the view has no %s", qPrintable(name));
        return found;
    }
    void clickInView(const QString &name) const
    {
        auto &view = child<QTreeView>(bench->dialog(), "treeView");
        view.setFocus();
        const QModelIndex index = indexOf(name);
        view.scrollTo(index);
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, view.visualRect(index).center());
    }
    void clickInList(int row, bool twice = false) const
    {
        const QPoint spot = undecoded().visualItemRect(undecoded().item(row)).center();
        QTest::mouseClick(undecoded().viewport(), Qt::LeftButton, {}, spot);
        if (twice)
            QTest::mouseDClick(undecoded().viewport(), Qt::LeftButton, {}, spot);
    }
    QByteArray chosen() const { return pathBytes(bench->chosen.value_or(QStringLiteral("none"))); }
    QString boxText() const { return bench->box() ? bench->box()->text() : QString(); }

    QTemporaryDir directory;
    std::unique_ptr<FileDialogBench> bench;
};

} // namespace vantrel::test
