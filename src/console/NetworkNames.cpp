// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/NetworkNames.h"

#include "link/Dialogs.h"
#include "link/Files.h"
#include "link/RuntimeError.h"
#include "link/VornComm.h"
#include "link/publicvars.h"

#include <QFile>
#include <QStandardPaths>
#include <QTemporaryFile>

#include <algorithm>
#include <optional>

namespace vantrel {

namespace {

constexpr QLatin1String FileName("VLnetNames.dat");
constexpr QLatin1String NewEntry("<New>");
constexpr QLatin1String
    LegalCharacters("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz-.");

bool canWriteIn(const QString &directory)
{
    QTemporaryFile trial(directory + QStringLiteral("/.vantrel-XXXXXX"));
    return trial.open();
}

bool isLineEnd(char character)
{
    return character == '\r' || character == '\n';
}

/// Reads the fields of a list: the cursor stands at the start of one between calls.
class ListReader
{
public:
    explicit ListReader(const QByteArray &contents) : m_contents(contents) {}

    bool atEnd() const { return m_at >= m_contents.size(); }

    QByteArray next()
    {
        while (!atEnd() && current() == ' ')
            ++m_at;
        const bool quoted = !atEnd() && current() == '"';
        QByteArray field = quoted ? quotedField() : plainField();
        skipDelimiter();
        return field;
    }

private:
    char current() const { return m_contents.at(m_at); }
    bool atDelimiter() const { return current() == ',' || isLineEnd(current()); }

    QByteArray plainField()
    {
        const qsizetype start = m_at;
        while (!atEnd() && !atDelimiter())
            ++m_at;
        return m_contents.sliced(start, m_at - start);
    }

    QByteArray quotedField()
    {
        const qsizetype start = ++m_at;
        const qsizetype quote = m_contents.indexOf('"', start);
        const qsizetype end = quote < 0 ? m_contents.size() : quote;
        m_at = std::min(end + 1, m_contents.size());
        plainField(); // whatever stands between the quote and the delimiter is not part of it
        return m_contents.sliced(start, end - start);
    }

    void skipDelimiter()
    {
        if (atEnd())
            return;
        const char delimiter = m_contents.at(m_at++);
        if (delimiter == '\r' && !atEnd() && current() == '\n')
            ++m_at;
    }

    const QByteArray &m_contents;
    qsizetype m_at = 0;
};

/// The first character, whole, that no network name may hold.
std::optional<QString> firstIllegal(const QString &name)
{
    for (const char32_t character : name.toStdU32String()) {
        const QString text = QString::fromUcs4(&character, 1);
        if (!LegalCharacters.contains(text))
            return text;
    }
    return std::nullopt;
}

/// The directories of this kind that all users share.
QStringList sharedDirectories(QStandardPaths::StandardLocation location)
{
    QStringList directories = QStandardPaths::standardLocations(location);
    directories.removeOne(QStandardPaths::writableLocation(location)); // the user's own comes first
    return directories;
}

/// The contents of the first file that can be read, nothing when none of them exists. Throws
/// RuntimeError for the first that exists when none can be read.
std::optional<QByteArray> readFirst(const QStringList &paths)
{
    std::optional<RuntimeError> failure;
    for (const QString &path : paths) {
        if (!QFile::exists(path))
            continue;
        try {
            return readWholeFile(path);
        } catch (const RuntimeError &error) {
            if (!failure)
                failure = error;
        }
    }
    if (failure)
        throw RuntimeError(*failure);
    return std::nullopt;
}

/// The line that NetworkNames::parse() reads as this entry. An entry that needs quotes was read
/// from between quotes, so it holds none.
QByteArray lineOf(const QString &entry)
{
    const QByteArray bytes = entry.toLatin1();
    const bool quoted = bytes.startsWith(' ') || bytes.contains(',') || bytes.contains('\r') ||
                        bytes.contains('\n');
    return (quoted ? '"' + bytes + '"' : bytes) + "\r\n";
}

QByteArray linesOf(const QStringList &entries)
{
    QByteArray lines;
    for (const QString &entry : entries)
        lines += lineOf(entry);
    return lines;
}

} // namespace

NetworkNames::NetworkNames(Session &session, VornComm &link, Dialogs &dialogs)
    : m_session(session), m_link(link), m_dialogs(dialogs)
{
}

QString NetworkNames::filePath(const QString &programDirectory, const QString &dataDirectory)
{
    const bool beside = !isInstalled(programDirectory) && canWriteIn(programDirectory);
    return (beside ? programDirectory : dataDirectory) + QLatin1Char('/') + FileName;
}

QStringList NetworkNames::sharedFiles(const QString &programDirectory)
{
    QStringList paths{programDirectory + QLatin1Char('/') + FileName};
    for (const auto location :
         {QStandardPaths::GenericConfigLocation, QStandardPaths::GenericDataLocation}) {
        for (const QString &directory : sharedDirectories(location))
            paths.append(directory + QStringLiteral("/vantrel/") + FileName);
    }
    return paths;
}

QStringList NetworkNames::parse(const QByteArray &contents)
{
    QStringList entries;
    for (ListReader reader(contents); !reader.atEnd();)
        entries.append(QString::fromLatin1(reader.next()));
    return entries;
}

QCoro::Task<> NetworkNames::load(QString path, QStringList sharedPaths)
{
    // A list that all users may read lies where such lists are looked for.
    const bool isShared = sharedPaths.contains(path);
    m_file = NamesFile(path, isShared ? FileAccess::Everybody : FileAccess::OwnerOnly);
    m_sharedEntries.clear();
    m_session.NamesLoading = true;
    m_session.Main.cbNWName.setItems({});
    setIndex(-1);

    QStringList entries;
    std::optional<RuntimeError> failure;
    try {
        if (m_file.exists()) {
            entries = parse(m_file.read());
        } else if (const auto shared = readFirst(sharedPaths)) {
            entries = m_sharedEntries = parse(*shared);
        } else {
            const Message notice{QStringLiteral("Creating Network Name File"),
                                 QStringLiteral("Vantrel Initialization")};
            co_await m_dialogs.messageBox(notice);
            m_file.createEmpty();
            entries = parse(m_file.read());
        }
    } catch (const RuntimeError &error) {
        failure = error;
    }
    m_session.NamesLoading = false;
    fill(entries);
    if (failure)
        throw RuntimeError(*failure);
}

/// Names that were offered while the user was asked follow the entries; the chosen one stays so.
void NetworkNames::fill(QStringList entries)
{
    MainControls &main = m_session.Main;
    const QStringList offered = main.cbNWName.items();
    const QString chosen = offered.value(main.cbNWName.index());
    for (const QString &name : offered) {
        if (!entries.contains(name))
            entries.append(name);
    }
    main.cbNWName.setItems(entries << NewEntry);
    if (!offered.isEmpty())
        setIndex(static_cast<int>(entries.indexOf(chosen)));
    main.cbNWName.setEnabled(main.CommE.isEnabled()); // not while connected
}

void NetworkNames::offer(const QString &name)
{
    Control &cbNWName = m_session.Main.cbNWName;
    if (!cbNWName.items().contains(name))
        insert(name);
    choose(static_cast<int>(cbNWName.items().indexOf(name)));
}

/// Before "<New>", which the list lacks while it is loading. Returns the position.
int NetworkNames::insert(const QString &name)
{
    Control &cbNWName = m_session.Main.cbNWName;
    const int position = std::max(0, static_cast<int>(cbNWName.items().lastIndexOf(NewEntry)));
    cbNWName.insertItem(position, name);
    return position;
}

void NetworkNames::choose(int index)
{
    m_session.Main.cbNWName.setIndex(index);
    nameClicked();
}

void NetworkNames::setIndex(int index)
{
    m_chosenIndex = index;
    m_session.Main.cbNWName.setIndex(index);
}

bool NetworkNames::nameClicked()
{
    const Control &cbNWName = m_session.Main.cbNWName;
    const QString name = cbNWName.items().value(cbNWName.index());
    if (name == NewEntry)
        return true;
    m_chosenIndex = cbNWName.index();
    m_session.RemoteHost = name;
    m_link.setRemoteHost(name);
    return false;
}

void NetworkNames::cancelNew()
{
    m_session.Main.cbNWName.setIndex(m_chosenIndex);
}

QCoro::Task<bool> NetworkNames::isAccepted(QString name)
{
    if (const auto character = firstIllegal(name)) {
        const Message error{QStringLiteral("Illegal Character in Network Name: '") + *character +
                                QLatin1Char('\''),
                            QStringLiteral("Error Adding Network Name")};
        co_await m_dialogs.messageBox(error);
        co_return false;
    }
    co_return true;
}

void NetworkNames::add(const QString &name)
{
    const int position = insert(name);
    std::optional<RuntimeError> failure;
    try {
        // The user's own file, once it exists, is the whole list at the next start.
        m_file.add(lineOf(name), linesOf(m_sharedEntries));
    } catch (const RuntimeError &error) {
        failure = error;
    }
    choose(position);
    if (failure)
        throw RuntimeError(*failure);
}

} // namespace vantrel
