// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/FileDialog.h"

#include <QDir>
#include <QMessageBox>

namespace vantrel {

namespace {

bool isReadOnly(const QFileInfo &file)
{
    // A superuser may write anything; a file without a write bit is marked read-only all the same.
    constexpr QFile::Permissions anyWrite =
        QFile::WriteOwner | QFile::WriteGroup | QFile::WriteOther;
    return !file.isWritable() || !(file.permissions() & anyWrite);
}

QMessageBox *openBox(QMessageBox::Icon icon, QMessageBox::StandardButtons buttons,
                     const QString &text, QWidget *parent)
{
    auto *box = new QMessageBox(icon, parent->windowTitle(), {}, buttons, parent);
    box->setObjectName(QStringLiteral("MessageBox"));
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setTextFormat(Qt::PlainText);
    box->setText(text);
    box->open();
    return box;
}

} // namespace

FileDialog::FileDialog(const FileChoice &choice, const QString &directory, QWidget *parent)
    : QFileDialog(parent, choice.title), m_kind(choice.kind)
{
    const bool saving = choice.kind != FileChoice::Kind::OpenExisting;
    setObjectName(QStringLiteral("FileDial1"));
    setAttribute(Qt::WA_DeleteOnClose);
    setOption(DontUseNativeDialog);
    setOption(DontConfirmOverwrite);
    setAcceptMode(saving ? AcceptSave : AcceptOpen);
    setFileMode(saving ? AnyFile : ExistingFile);
    setNameFilter(nameFilter(choice.filter));
    setDefaultSuffix(choice.defaultSuffix);
    if (!directory.isEmpty())
        setDirectory(directory);
    if (!choice.fileName.contains(QLatin1Char('*')))
        selectFile(choice.fileName);
}

QString FileDialog::nameFilter(const QString &labelAndPattern)
{
    const QString label = labelAndPattern.section(QLatin1Char('|'), 0, 0).trimmed();
    const QString pattern = labelAndPattern.section(QLatin1Char('|'), 1, 1).trimmed();
    return QStringLiteral("%1 (%2)").arg(label, pattern);
}

void FileDialog::accept()
{
    const QStringList chosen = selectedFiles();
    if (chosen.isEmpty())
        return;
    const QFileInfo file(chosen.first());
    if (file.isDir())
        QFileDialog::accept(); // shows that directory
    else if (acceptMode() == AcceptSave)
        acceptForSaving(file);
    else
        acceptForOpening(file);
}

void FileDialog::acceptForOpening(const QFileInfo &file)
{
    if (file.exists())
        QFileDialog::accept();
    else
        refuse(tr("This file does not exist."), file);
}

void FileDialog::acceptForSaving(const QFileInfo &file)
{
    const bool intoExisting = m_kind == FileChoice::Kind::SaveExisting;
    if (!file.dir().exists())
        refuse(tr("This directory does not exist."), QFileInfo(file.path()));
    else if (file.exists() && isReadOnly(file))
        refuse(tr("This file is read-only. Choose another name."), file);
    else if (file.exists() == intoExisting)
        QFileDialog::accept();
    else if (intoExisting)
        askToCreate(file);
    else
        askToReplace(file);
}

void FileDialog::refuse(const QString &reason, const QFileInfo &file)
{
    openBox(QMessageBox::Warning, QMessageBox::Ok,
            QDir::toNativeSeparators(file.filePath()) + QLatin1Char('\n') + reason, this);
}

void FileDialog::askToReplace(const QFileInfo &file)
{
    QMessageBox *box = openBox(QMessageBox::Question, QMessageBox::Yes | QMessageBox::No,
                               tr("%1 exists already.\nReplace it?").arg(file.fileName()), this);
    box->setDefaultButton(QMessageBox::No);
    connect(box, &QMessageBox::finished, this, [this](int button) {
        if (button == QMessageBox::Yes)
            QFileDialog::accept();
    });
}

void FileDialog::askToCreate(const QFileInfo &file)
{
    QMessageBox *box = openBox(QMessageBox::Question, QMessageBox::Yes | QMessageBox::No,
                               tr("%1 does not exist.\nCreate it?").arg(file.fileName()), this);
    box->setDefaultButton(QMessageBox::Yes);
    connect(box, &QMessageBox::finished, this, [this, file](int button) {
        if (button == QMessageBox::Yes)
            create(file);
    });
}

void FileDialog::create(const QFileInfo &file)
{
    QFile created(file.filePath());
    if (created.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        QFileDialog::accept();
    else
        refuse(tr("This file cannot be created: %1.").arg(created.errorString()), file);
}

} // namespace vantrel
