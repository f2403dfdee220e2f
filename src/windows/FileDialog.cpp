// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/FileDialog.h"

#include <QDialogButtonBox>
#include <QDir>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>

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

/// QFileDialog reads and writes its state in the user's settings, and has no option against that.
/// No settings are used elsewhere in the program, so that those of the user are redirected to a
/// directory that cannot exist. On Windows and macOS the call has no effect.
QWidget *withoutUserSettings(QWidget *parent)
{
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("/dev/null"));
    return parent;
}

bool hasWildcard(const QString &name)
{
    return name.contains(QLatin1Char('*')) || name.contains(QLatin1Char('?'));
}

} // namespace

FileDialog::FileDialog(const FileChoice &choice, const QString &directory, QWidget *parent)
    : QFileDialog(withoutUserSettings(parent), choice.title), m_choice(choice)
{
    const bool saving = choice.kind != FileChoice::Kind::OpenExisting;
    setObjectName(QStringLiteral("FileDial1"));
    setAttribute(Qt::WA_DeleteOnClose);
    setOption(DontUseNativeDialog);
    setOption(DontConfirmOverwrite);
    setAcceptMode(saving ? AcceptSave : AcceptOpen);
    setFileMode(saving ? AnyFile : ExistingFile);
    setNameFilter(nameFilter(choice.filter));
    if (saving) // for opening, see acceptForOpening()
        setDefaultSuffix(choice.defaultSuffix);
    if (!directory.isEmpty())
        setDirectory(directory);

    // Qt disables the button while there is no file of the name.
    auto *const button = findChild<QDialogButtonBox *>(QStringLiteral("buttonBox"))
                             ->button(saving ? QDialogButtonBox::Save : QDialogButtonBox::Open);
    connect(&nameField(), &QLineEdit::textChanged, button, [this, button](const QString &name) {
        if (isPattern(name))
            button->setEnabled(true);
    });
    if (hasWildcard(choice.fileName))
        showPattern(choice.fileName);
    else
        selectFile(choice.fileName);
}

QString FileDialog::nameFilter(const QString &labelAndPattern)
{
    const QString label = labelAndPattern.section(QLatin1Char('|'), 0, 0).trimmed();
    const QString pattern = labelAndPattern.section(QLatin1Char('|'), 1, 1).trimmed();
    return QStringLiteral("%1 (%2)").arg(label, pattern);
}

QLineEdit &FileDialog::nameField() const
{
    return *findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
}

bool FileDialog::isPattern(const QString &name) const
{
    return hasWildcard(name) && !directory().exists(name);
}

void FileDialog::showPattern(const QString &pattern)
{
    nameField().setText(pattern);
    nameField().selectAll();
}

void FileDialog::filterBy(const QString &pattern)
{
    const QFileInfo matching(directory(), pattern);
    if (!matching.dir().exists()) {
        refuse(tr("This directory does not exist."), QFileInfo(matching.path()));
        return;
    }
    setDirectory(matching.path());

    const QString given = nameFilter(m_choice.filter);
    const QString name = matching.fileName();
    if (given.endsWith(QStringLiteral("(%1)").arg(name))) {
        setNameFilter(given);
    } else {
        // A blank would separate two patterns.
        const QString added = QString(name).replace(QLatin1Char(' '), QLatin1Char('?'));
        setNameFilters({given, added});
        selectNameFilter(added);
    }
    showPattern(name);
}

void FileDialog::choose(const QFileInfo &file)
{
    m_chosenFile = file.filePath();
    done(Accepted);
}

void FileDialog::accept()
{
    if (const QString name = nameField().text(); isPattern(name)) {
        filterBy(name);
        return;
    }
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
    const QString &suffix = m_choice.defaultSuffix;
    const bool hasSuffix = suffix.isEmpty() || file.fileName().contains(QLatin1Char('.'));
    const QFileInfo completed(hasSuffix ? file.filePath()
                                        : file.filePath() + QLatin1Char('.') + suffix);
    if (file.exists())
        choose(file);
    else if (completed.isFile())
        choose(completed);
    else
        refuse(tr("This file does not exist."), completed);
}

void FileDialog::acceptForSaving(const QFileInfo &file)
{
    const bool intoExisting = m_choice.kind == FileChoice::Kind::SaveExisting;
    if (!file.dir().exists())
        refuse(tr("This directory does not exist."), QFileInfo(file.path()));
    else if (file.exists() && isReadOnly(file))
        refuse(tr("This file is read-only. Choose another name."), file);
    else if (file.exists() == intoExisting)
        choose(file);
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
    const QString question =
        m_choice.keepsRest ? tr("%1 exists already.\nReplace it? If it is longer than the new "
                                "contents, the rest of it stays.")
                           : tr("%1 exists already.\nReplace it?");
    QMessageBox *box = openBox(QMessageBox::Question, QMessageBox::Yes | QMessageBox::No,
                               question.arg(file.fileName()), this);
    box->setDefaultButton(QMessageBox::No);
    connect(box, &QMessageBox::finished, this, [this, file](int button) {
        if (button == QMessageBox::Yes)
            choose(file);
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
        choose(file);
    else
        refuse(tr("This file cannot be created: %1.").arg(created.errorString()), file);
}

} // namespace vantrel
