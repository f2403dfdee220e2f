// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/DialogBoxes.h"

#include "link/FilePath.h"
#include "link/OneShot.h"
#include "windows/FileDialog.h"

#include <QDialog>
#include <QDir>
#include <QFileInfo>
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

/// The dialog that was opened last over the window, or the window itself.
QWidget *topmost(QWidget *window)
{
    QWidget *last = nullptr;
    for (QDialog *dialog : window->findChildren<QDialog *>(QString(), Qt::FindDirectChildrenOnly)) {
        if (dialog->isVisible() && dialog->isModal())
            last = dialog;
    }
    return last ? topmost(last) : window;
}

/// The parent of a dialog that belongs to the window. Null when nothing of the program is open.
QWidget *parentFor(QObject *window)
{
    auto *parent = qobject_cast<QWidget *>(window);
    while (parent && !parent->isVisible())
        parent = parent->parentWidget();
    return parent ? topmost(parent) : nullptr;
}

/// A window manager that has not yet moved the focus away from a dialog just closed may leave it
/// with the parent, or with none.
void openActive(QDialog &dialog)
{
    dialog.open();
    dialog.raise();
    dialog.activateWindow();
}

} // namespace

QCoro::Task<Answer> DialogBoxes::messageBox(Message message)
{
    const Answer ifClosed = closedAnswer(message.buttons);
    QWidget *parent = parentFor(message.window);
    if (!parent)
        co_return ifClosed;

    QMessageBox *box = makeBox(message, parent);
    const OneShot<Answer> answer;
    QObject::connect(box, &QMessageBox::finished, box, [answer, ifClosed](int button) {
        answer.resolve(button == QMessageBox::Yes ? Answer::Yes : ifClosed);
    });
    QObject::connect(box, &QObject::destroyed, [answer, ifClosed] { answer.resolve(ifClosed); });
    if (message.closedWith)
        QObject::connect(message.closedWith, &QObject::destroyed, box, &QDialog::reject);
    openActive(*box);
    co_return co_await answer;
}

QCoro::Task<QString> DialogBoxes::fileDialog(FileChoice choice)
{
    QWidget *parent = parentFor(choice.window);
    if (!parent)
        co_return QString();

    auto *dialog = new FileDialog(choice, directoryFor(choice), parent);
    const OneShot<QString> answer;
    QObject::connect(dialog, &QFileDialog::finished, dialog, [dialog, answer](int result) {
        answer.resolve(result == QDialog::Accepted ? dialog->chosenFile() : QString());
    });
    QObject::connect(dialog, &QObject::destroyed, [answer] { answer.resolve({}); });
    openActive(*dialog);
    const QString path = co_await answer;
    if (!path.isEmpty() && isDecoded(path))
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
