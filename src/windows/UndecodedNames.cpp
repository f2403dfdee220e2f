// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows/UndecodedNames.h"

#include "link/FilePath.h"
#include "link/FileStatus.h"

#include <QDir>
#include <QLabel>
#include <QListWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

#ifdef Q_OS_UNIX
#include <dirent.h>
#endif

namespace vantrel {

namespace {

constexpr int EntriesPerTurn = 1000;
constexpr int VisibleRows = 4;
constexpr int PathRole = Qt::UserRole;

QString parentOf(const QString &path)
{
    return path.first(path.lastIndexOf(QLatin1Char('/')));
}

} // namespace

#ifdef Q_OS_UNIX

struct UndecodedNames::Reader
{
    explicit Reader(const QString &directory)
        : m_directory(::opendir(pathBytes(directory + QLatin1Char('/')).constData()))
    {
    }
    ~Reader()
    {
        if (m_directory)
            ::closedir(m_directory);
    }
    Reader(const Reader &) = delete;
    Reader &operator=(const Reader &) = delete;

    /// Empty at the end.
    QByteArray next()
    {
        const dirent *entry = m_directory ? ::readdir(m_directory) : nullptr;
        return entry ? QByteArray(entry->d_name) : QByteArray();
    }

    QStringList paths;

private:
    DIR *m_directory;
};

#else

/// Names of files are UTF-16 there.
struct UndecodedNames::Reader
{
    explicit Reader(const QString & /*directory*/) {}
    static QByteArray next() { return {}; }
    QStringList paths;
};

#endif

UndecodedNames::UndecodedNames(QWidget *parent)
    : QWidget(parent), m_label(*new QLabel(this)), m_list(*new QListWidget(this))
{
    setObjectName(QStringLiteral("UndecodedNames"));
    m_label.setObjectName(QStringLiteral("undecodedLabel"));
    m_label.setTextFormat(Qt::PlainText);
    m_label.setBuddy(&m_list);
    m_label.setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred); // a name may be long
    m_list.setObjectName(QStringLiteral("undecodedList"));
    m_list.setUniformItemSizes(true);
    m_list.setFixedHeight(VisibleRows * m_list.fontMetrics().lineSpacing() +
                          2 * m_list.frameWidth() + m_list.fontMetrics().descent());
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->addWidget(&m_label);
    column->addWidget(&m_list);
    hide();

    connect(&m_list, &QListWidget::itemSelectionChanged, this, &UndecodedNames::pick);
    connect(&m_list, &QListWidget::itemClicked, this, &UndecodedNames::pick);
    connect(&m_list, &QListWidget::itemDoubleClicked, this, &UndecodedNames::accepted);
    m_turn.setSingleShot(true);
    m_turn.callOnTimeout(this, &UndecodedNames::readOn);
}

UndecodedNames::~UndecodedNames() = default;

void UndecodedNames::list(const QString &directory, const QStringList &patterns)
{
    if (m_reader && directory == m_directory && patterns == m_patterns) {
        m_changed = true;
        return;
    }
    const bool stays = isEntered() && directory == m_directory;
    m_directory = directory;
    m_patterns = patterns;
    enter(stays ? m_listed : directory);
}

void UndecodedNames::enter(const QString &directory)
{
    m_listed = directory;
    m_changed = false;
    m_reader = std::make_unique<Reader>(directory);
    m_turn.start();
}

void UndecodedNames::clearSelection()
{
    m_list.clearSelection();
    m_list.setCurrentItem(nullptr);
}

QWidget &UndecodedNames::view() const
{
    return m_list;
}

void UndecodedNames::readOn()
{
    for (int count = 0; count < EntriesPerTurn; ++count) {
        const bool full = m_reader->paths.size() > MostNames;
        const QByteArray entry = full ? QByteArray() : m_reader->next();
        if (entry.isEmpty()) {
            show(std::exchange(m_reader, nullptr)->paths);
            if (m_changed)
                enter(m_listed);
            return;
        }
        const QString name = pathFromBytes(entry);
        if (entry.startsWith('.') || (!isEntered() && isDecoded(name)))
            continue;
        const QString path = m_listed + QLatin1Char('/') + name;
        if (matches(name) || fileStatus(path).isDirectory())
            m_reader->paths.append(path);
    }
    m_turn.start();
}

void UndecodedNames::show(QStringList paths)
{
    paths.sort();
    const bool all = paths.size() <= MostNames;
    const QString name = shownName(m_listed).replace(QLatin1Char('&'), QLatin1String("&&"));
    QString title = isEntered() ? tr("Files of the director&y %1:").arg(name)
                                : tr("Names that are not &UTF-8:");
    if (!all)
        title += tr(" (the first %1)").arg(MostNames);
    m_label.setText(title);

    m_list.clear();
    paths = paths.first(std::min<qsizetype>(paths.size(), MostNames));
    if (isEntered())
        paths.prepend(parentOf(m_listed));
    for (const QString &path : paths) {
        const bool isParent = m_listed.startsWith(path + QLatin1Char('/'));
        const QString mark = fileStatus(path).isDirectory() ? QStringLiteral("/") : QString();
        auto *const item =
            new QListWidgetItem(isParent ? QStringLiteral("../") : shownName(path) + mark, &m_list);
        item->setData(PathRole, path);
    }
    setVisible(m_list.count() > 0);
}

void UndecodedNames::pick()
{
    const auto items = m_list.selectedItems();
    if (!items.isEmpty())
        emit picked(items.first()->data(PathRole).toString());
}

/// A byte that is not UTF-8 counts as one character.
bool UndecodedNames::matches(const QString &name) const
{
    return QDir::match(m_patterns, QString::fromUtf8(pathBytes(name)));
}

} // namespace vantrel
