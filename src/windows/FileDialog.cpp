// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/FileDialog.h"

#include "link/FilePath.h"
#include "link/FileStatus.h"
#include "link/RegularFile.h"
#include "windows/TypedPath.h"
#include "windows/UndecodedNames.h"

#include <QAbstractItemView>
#include <QBoxLayout>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileSystemModel>
#include <QItemSelectionModel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QStackedWidget>
#include <QStyledItemDelegate>

namespace vantrel {

namespace {

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

/// Whether Qt's own checks read the name in another way than typedPath().
bool hasQuoteOrEscape(const QString &name)
{
    return name.contains(QLatin1Char('"')) || name.contains(QLatin1Char('\\'));
}

/// Of "Log Files (*.log)" or "*.log".
QStringList patternsOf(const QString &nameFilter)
{
    QString patterns = nameFilter;
    if (const qsizetype from = nameFilter.lastIndexOf(QLatin1Char('(')); from >= 0)
        patterns = nameFilter.sliced(from + 1).chopped(1);
    return patterns.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

QString nameOf(const QString &path)
{
    return path.sliced(path.lastIndexOf(QLatin1Char('/')) + 1);
}

QString directoryOf(const QString &path)
{
    const qsizetype end = path.lastIndexOf(QLatin1Char('/'));
    return end <= 0 ? QStringLiteral("/") : path.first(end);
}

/// Shows names as shownPath() does, in the views of a file dialog.
class ShownNames : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        if (index.column() == 0)
            option->text = shownPath(index.data().toString()); // of the name itself
    }
};

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
    setItemDelegate(new ShownNames(this));
    if (!directory.isEmpty())
        setDirectory(directory);

    m_button = findChild<QDialogButtonBox *>(QStringLiteral("buttonBox"))
                   ->button(saving ? QDialogButtonBox::Save : QDialogButtonBox::Open);
    m_button->installEventFilter(this);
    connect(&nameField(), &QLineEdit::textChanged, this, &FileDialog::enableButton);
    connect(&nameField(), &QLineEdit::textEdited, this, [this] { m_picked.reset(); });
    m_view = findChild<QAbstractItemView *>(QStringLiteral("listView"));
    auto *const details = findChild<QAbstractItemView *>(QStringLiteral("treeView"));
    // Both views have the same selection model. A click may be on what is selected already.
    connect(m_view->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this](const QItemSelection &selected) {
                if (!selected.isEmpty())
                    pickFromView(selected.indexes().first());
            });
    for (QAbstractItemView *view : {m_view, details})
        connect(view, &QAbstractItemView::clicked, this, &FileDialog::pickFromView);
    addUndecodedNames();

    if (hasWildcard(choice.fileName))
        showPattern(choice.fileName);
    else
        selectFile(choice.fileName);
}

/// Below the views.
void FileDialog::addUndecodedNames()
{
    QWidget *const frame =
        findChild<QStackedWidget *>(QStringLiteral("stackedWidget"))->parentWidget();
    m_undecoded = new UndecodedNames(frame);
    frame->layout()->addWidget(m_undecoded);
    setTabOrder(findChild<QWidget *>(QStringLiteral("treeView")), &m_undecoded->view());

    connect(m_undecoded, &UndecodedNames::picked, this, [this](const QString &path) {
        m_view->selectionModel()->clear();
        pick(path);
    });
    connect(m_undecoded, &UndecodedNames::accepted, this, &FileDialog::accept);
    connect(findChild<QFileSystemModel *>(), &QFileSystemModel::rootPathChanged, this,
            &FileDialog::listUndecodedNames);
    connect(this, &QFileDialog::filterSelected, this, &FileDialog::listUndecodedNames);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this,
            &FileDialog::listUndecodedNames);
    listUndecodedNames();
}

void FileDialog::listUndecodedNames()
{
    const QString shown = directory().absolutePath();
    const QStringList watched = m_watcher.directories();
    if (!watched.contains(shown)) {
        if (!watched.isEmpty())
            m_watcher.removePaths(watched);
        m_watcher.addPath(shown);
    }
    m_undecoded->list(shown, patternsOf(selectedNameFilter()));
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

/// While the field has the focus, Qt selects the file of the name that is being typed. When it has
/// not, Qt writes the selected name into it and selects what that names as a list of quoted names.
void FileDialog::pickFromView(const QModelIndex &index)
{
    if (nameField().hasFocus())
        return;
    const QSignalBlocker quiet(nameField());
    m_view->selectionModel()->select(index, QItemSelectionModel::ClearAndSelect |
                                                QItemSelectionModel::Rows);
    m_undecoded->clearSelection();
    pick(index.data(QFileSystemModel::FilePathRole).toString());
}

/// The field shows the name of a file; that of a directory does not replace what is in the field.
void FileDialog::pick(const QString &path)
{
    const QString shown = directory().absolutePath();
    const QString prefix = shown == QLatin1String("/") ? shown : shown + QLatin1Char('/');
    const QSignalBlocker quiet(nameField());
    if (!fileStatus(path).isDirectory())
        nameField().setText(shownPath(path.startsWith(prefix) ? path.sliced(prefix.size()) : path));
    m_picked = Picked{nameField().text(), path};
    enableButton();
}

/// The path that was picked, if the field has not been changed since; else empty.
QString FileDialog::pickedPath() const
{
    return m_picked && m_picked->text == nameField().text() ? m_picked->path : QString();
}

QString FileDialog::pathOf(const QString &name) const
{
    // Qt resolves "~" and "~user".
    if (name.startsWith(QLatin1Char('~')) && !hasQuoteOrEscape(name)) {
        const QStringList paths = selectedFiles();
        return paths.isEmpty() ? QString() : paths.first();
    }
    const QString shown = directory().absolutePath();
    const QString path = typedPath(name, shown);
    const FileStatus status = fileStatus(path);
    const bool found = acceptMode() == AcceptOpen ? status.exists() : status.isDirectory();
    const bool complete = found || nameOf(path).contains(QLatin1Char('.'));
    const QString &suffix = m_choice.defaultSuffix;
    return complete || suffix.isEmpty() ? path : typedPath(name + QLatin1Char('.') + suffix, shown);
}

bool FileDialog::isPattern(const QString &name) const
{
    return hasWildcard(name) && !fileStatus(typedPath(name, directory().absolutePath())).exists();
}

/// Qt disables the button while it finds no file of the name.
void FileDialog::enableButton()
{
    const QString name = nameField().text();
    const bool saved = acceptMode() == AcceptSave && hasQuoteOrEscape(name);
    if (!pickedPath().isEmpty() || saved || isPattern(name) ||
        (hasQuoteOrEscape(name) && fileStatus(pathOf(name)).exists()))
        m_button->setEnabled(true);
}

bool FileDialog::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_button && event->type() == QEvent::EnabledChange && !m_button->isEnabled())
        enableButton();
    return QFileDialog::eventFilter(watched, event);
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
        refuse(tr("This directory does not exist."), matching.path());
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
    listUndecodedNames();
    showPattern(name);
}

void FileDialog::choose(const QString &path)
{
    m_chosenFile = path;
    done(Accepted);
}

void FileDialog::accept()
{
    const QString name = nameField().text();
    const QString picked = pickedPath();
    const bool isFilePicked = !picked.isEmpty() && !fileStatus(picked).isDirectory();
    if (!isFilePicked && isPattern(name)) {
        filterBy(name);
        return;
    }
    if (picked.isEmpty() && name.isEmpty())
        return;
    const QString path = picked.isEmpty() ? pathOf(name) : picked;
    if (fileStatus(path).isDirectory())
        enterDirectory(path);
    else if (acceptMode() == AcceptSave)
        acceptForSaving(path);
    else
        acceptForOpening(path);
}

void FileDialog::enterDirectory(const QString &path)
{
    const bool isParent = nameField().text() == QLatin1String("..");
    m_picked.reset();
    const QString plain = QDir::cleanPath(path);
    if (!isDecoded(path) || plain == directory().absolutePath())
        m_undecoded->enter(plain);
    else
        setDirectory(plain);
    if (isParent)
        nameField().selectAll();
    else if (acceptMode() == AcceptOpen)
        nameField().clear();
}

void FileDialog::acceptForOpening(const QString &path)
{
    const FileStatus file = fileStatus(path);
    if (file.isRegular())
        choose(path);
    else if (file.exists())
        refuse(tr("This is not a regular file."), path);
    else
        refuse(tr("This file does not exist."), path);
}

void FileDialog::acceptForSaving(const QString &path)
{
    const bool intoExisting = m_choice.kind == FileChoice::Kind::SaveExisting;
    const FileStatus file = fileStatus(path);
    if (!fileStatus(directoryOf(path)).isDirectory())
        refuse(tr("This directory does not exist."), directoryOf(path));
    else if (file.exists() && !file.isRegular())
        refuse(tr("This is not a regular file. Choose another name."), path);
    else if (file.exists() && !file.writable)
        refuse(tr("This file is read-only. Choose another name."), path);
    else if (file.exists() == intoExisting)
        choose(path);
    else if (intoExisting)
        askToCreate(path);
    else
        askToReplace(path);
}

void FileDialog::refuse(const QString &reason, const QString &path)
{
    openBox(QMessageBox::Warning, QMessageBox::Ok,
            QDir::toNativeSeparators(shownPath(path)) + QLatin1Char('\n') + reason, this);
}

void FileDialog::askToReplace(const QString &path)
{
    const QString question =
        m_choice.keepsRest ? tr("%1 exists already.\nReplace it? If it is longer than the new "
                                "contents, the rest of it stays.")
                           : tr("%1 exists already.\nReplace it?");
    QMessageBox *box = openBox(QMessageBox::Question, QMessageBox::Yes | QMessageBox::No,
                               question.arg(shownName(path)), this);
    box->setDefaultButton(QMessageBox::No);
    connect(box, &QMessageBox::finished, this, [this, path](int button) {
        if (button == QMessageBox::Yes)
            choose(path);
    });
}

void FileDialog::askToCreate(const QString &path)
{
    QMessageBox *box = openBox(QMessageBox::Question, QMessageBox::Yes | QMessageBox::No,
                               tr("%1 does not exist.\nCreate it?").arg(shownName(path)), this);
    box->setDefaultButton(QMessageBox::Yes);
    connect(box, &QMessageBox::finished, this, [this, path](int button) {
        if (button == QMessageBox::Yes)
            create(path);
    });
}

void FileDialog::create(const QString &path)
{
    QFile created;
    const auto mode = QIODevice::WriteOnly | QIODevice::NewOnly;
    if (const auto failure = openRegularFile(created, path, mode))
        refuse(tr("This file cannot be created: %1.").arg(*failure), path);
    else
        choose(path);
}

} // namespace vantrel
