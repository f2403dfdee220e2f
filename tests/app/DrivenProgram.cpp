// SPDX-License-Identifier: GPL-3.0-or-later
// The program with its options, driven through its windows by lines on standard input. Each line is
// answered by one line. It ends with its input.
#include "app/RunProgram.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSocketNotifier>

#include <cstdio>
#include <iostream>
#include <string>

#include <unistd.h>

using namespace vantrel;

namespace {

template <typename Type>
Type *find(const QString &name)
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (auto *found = window->findChild<Type *>(name))
            return found;
    }
    qFatal("no %s", qPrintable(name));
}

/// The open dialog of this name, or nothing.
template <typename Type>
Type *openDialog(const char *name)
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (window->isVisible() && window->objectName() == QLatin1String(name))
            return qobject_cast<Type *>(window);
    }
    return nullptr;
}

/// "enabled, 1: tester.lab, 10.0.0.7, <New>": state, chosen index and entries.
QString names()
{
    const auto *const list = find<QComboBox>(QStringLiteral("cbNWName"));
    QStringList entries;
    for (int i = 0; i < list->count(); ++i)
        entries.append(list->itemText(i));
    return QStringLiteral("%1, %2: %3")
        .arg(list->isEnabled() ? QStringLiteral("enabled") : QStringLiteral("disabled"))
        .arg(list->currentIndex())
        .arg(entries.join(QStringLiteral(", ")));
}

QString box()
{
    const auto *const box = openDialog<QMessageBox>("MessageBox");
    return box ? box->windowTitle() + QStringLiteral(": ") + box->text() : QStringLiteral("none");
}

QString closeBox(QMessageBox::StandardButton button)
{
    auto *const box = openDialog<QMessageBox>("MessageBox");
    if (!box)
        return QStringLiteral("none");
    box->button(button)->click();
    return QStringLiteral("closed");
}

QString addName(const QString &name)
{
    auto *const list = find<QComboBox>(QStringLiteral("cbNWName"));
    list->setCurrentIndex(list->count() - 1);
    emit list->activated(list->count() - 1);
    find<QLineEdit>(QStringLiteral("tbName"))->setText(name);
    find<QPushButton>(QStringLiteral("btOK"))->click();
    return names();
}

/// A button or a menu item; one that is disabled does nothing. The text that it shows then.
QString press(const QString &name)
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (auto *const button = window->findChild<QPushButton *>(name)) {
            button->click();
            return button->text();
        }
    }
    auto *const item = find<QAction>(name);
    item->trigger();
    return item->text();
}

/// Of the open file dialog.
QString directory()
{
    const auto *const dialog = openDialog<QFileDialog>("FileDial1");
    return dialog ? dialog->directory().absolutePath() : QStringLiteral("none");
}

QString chooseFile(const QString &path)
{
    auto *const dialog = openDialog<QFileDialog>("FileDial1");
    dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(path);
    const bool saving = dialog->acceptMode() == QFileDialog::AcceptSave;
    dialog->findChild<QDialogButtonBox *>()
        ->button(saving ? QDialogButtonBox::Save : QDialogButtonBox::Open)
        ->click();
    return QStringLiteral("chosen");
}

QString obey(const QString &line)
{
    const QString command = line.section(QLatin1Char(' '), 0, 0);
    const QString argument = line.section(QLatin1Char(' '), 1);
    if (command == QLatin1String("names"))
        return names();
    if (command == QLatin1String("box"))
        return box();
    if (command == QLatin1String("ok"))
        return closeBox(QMessageBox::Ok);
    if (command == QLatin1String("yes"))
        return closeBox(QMessageBox::Yes);
    if (command == QLatin1String("add"))
        return addName(argument);
    if (command == QLatin1String("press"))
        return press(argument);
    if (command == QLatin1String("directory"))
        return directory();
    if (command == QLatin1String("choose"))
        return chooseFile(argument);
    if (command == QLatin1String("hang")) {
        std::cout << "hanging" << std::endl;
        for (;;)
            ::pause();
    }
    if (command == QLatin1String("cancel")) {
        openDialog<QFileDialog>("FileDial1")->reject();
        return QStringLiteral("cancelled");
    }
    return QStringLiteral("unknown: ") + line;
}

} // namespace

int main(int argc, char **argv)
{
    return runProgram(argc, argv, [] {
        // Lines that wait in a buffer of this process would not activate the notifier.
        std::setvbuf(stdin, nullptr, _IONBF, 0);
        const auto *const input = new QSocketNotifier(0, QSocketNotifier::Read, qApp);
        QObject::connect(input, &QSocketNotifier::activated, [] {
            std::string line;
            if (!std::getline(std::cin, line))
                QApplication::quit();
            else
                std::cout << obey(QString::fromStdString(line)).toStdString() << std::endl;
        });
    });
}
