// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/DialogBoxes.h"

#include "link/OneShot.h"
#include "windows/FileDialog.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QMainWindow>
#include <QMessageBox>

namespace vantrel {

namespace {

Answer closedAnswer(Message::Buttons buttons)
{
    return buttons == Message::Buttons::YesNo ? Answer::No : Answer::Ok;
}

QMessageBox *makeBox(const Message &message, QWidget *parent)
{
    const bool question = message.buttons == Message::Buttons::YesNo;
    auto *box = new QMessageBox(question ? QMessageBox::Question : QMessageBox::NoIcon,
                                message.title, {}, QMessageBox::NoButton, parent);
    box->setObjectName(QStringLiteral("MessageBox"));
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setTextFormat(Qt::PlainText);
    box->setTextInteractionFlags(Qt::TextSelectableByMouse);
    box->setText(message.text);
    box->setStandardButtons(question ? QMessageBox::Yes | QMessageBox::No : QMessageBox::Ok);
    if (question && message.noIsDefault)
        box->setDefaultButton(QMessageBox::No);
    box->setEscapeButton(question ? QMessageBox::No : QMessageBox::Ok);
    return box;
}

QWidget *windowBelow()
{
    if (QWidget *active = QApplication::activeWindow())
        return active;
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (qobject_cast<QMainWindow *>(window))
            return window;
    }
    return nullptr;
}

} // namespace

QCoro::Task<Answer> DialogBoxes::messageBox(Message message)
{
    const Answer ifClosed = closedAnswer(message.buttons);
    QWidget *below = windowBelow();
    if (!below)
        co_return ifClosed;

    QMessageBox *box = makeBox(message, below);
    const OneShot<Answer> answer;
    QObject::connect(box, &QMessageBox::finished, box, [answer, ifClosed](int button) {
        answer.resolve(button == QMessageBox::Yes ? Answer::Yes : ifClosed);
    });
    QObject::connect(box, &QObject::destroyed, [answer, ifClosed] { answer.resolve(ifClosed); });
    box->open();
    co_return co_await answer;
}

QCoro::Task<QString> DialogBoxes::fileDialog(FileChoice choice)
{
    QWidget *below = windowBelow();
    if (!below)
        co_return QString();

    auto *dialog = new FileDialog(choice, directoryFor(choice), below);
    const OneShot<QString> answer;
    QObject::connect(dialog, &QFileDialog::finished, dialog, [dialog, answer](int result) {
        answer.resolve(result == QDialog::Accepted ? dialog->selectedFiles().value(0) : QString());
    });
    QObject::connect(dialog, &QObject::destroyed, [answer] { answer.resolve({}); });
    dialog->open();
    const QString path = co_await answer;
    if (!path.isEmpty())
        m_lastDirectory = QFileInfo(path).path();
    co_return path;
}

/// Empty for Qt's choice.
QString DialogBoxes::directoryFor(const FileChoice &choice) const
{
    if (m_start.general.isEmpty())
        return {};
    if (!m_lastDirectory.isEmpty() && QDir(m_lastDirectory).exists())
        return m_lastDirectory;
    if (choice.inDataDirectory && QDir().mkpath(m_start.data))
        return m_start.data;
    return m_start.general;
}

} // namespace vantrel
