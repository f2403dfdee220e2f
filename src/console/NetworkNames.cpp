// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/NetworkNames.h"

#include "link/Dialogs.h"
#include "link/Files.h"
#include "link/RuntimeError.h"
#include "link/VornComm.h"
#include "link/publicvars.h"

#include <QDir>
#include <QFile>
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

void createEmpty(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        throw RuntimeError::file(file.errorString(), path);
}

void appendLine(const QString &path, const QString &line)
{
    QFile file(path);
    const QByteArray bytes = line.toLatin1() + "\r\n";
    const bool written = file.open(QIODevice::WriteOnly | QIODevice::Append) &&
                         file.write(bytes) == bytes.size() && file.flush();
    if (!written)
        throw RuntimeError::file(file.errorString(), path);
}

} // namespace

NetworkNames::NetworkNames(Session &session, VornComm &link, Dialogs &dialogs)
    : m_session(session), m_link(link), m_dialogs(dialogs)
{
}

QString NetworkNames::filePath(const QString &programDirectory, const QString &dataDirectory)
{
    if (canWriteIn(programDirectory))
        return programDirectory + QLatin1Char('/') + FileName;
    QDir().mkpath(dataDirectory);
    return dataDirectory + QLatin1Char('/') + FileName;
}

QStringList NetworkNames::parse(const QByteArray &contents)
{
    QStringList entries;
    for (ListReader reader(contents); !reader.atEnd();)
        entries.append(QString::fromLatin1(reader.next()));
    return entries;
}

QCoro::Task<> NetworkNames::load(QString path)
{
    m_path = path;
    Control &cbNWName = m_session.Main.cbNWName;
    cbNWName.setItems({});

    QStringList entries;
    std::optional<RuntimeError> failure;
    try {
        if (QFile::exists(path)) {
            entries = parse(readWholeFile(path));
        } else {
            const Message notice{QStringLiteral("Creating Network Name File"),
                                 QStringLiteral("Vantrel Initialization")};
            co_await m_dialogs.messageBox(notice);
            createEmpty(path);
        }
    } catch (const RuntimeError &error) {
        failure = error;
    }
    cbNWName.setItems(entries << NewEntry);
    cbNWName.setEnabled(true);
    if (failure)
        throw RuntimeError(*failure);
}

void NetworkNames::offer(const QString &name)
{
    Control &cbNWName = m_session.Main.cbNWName;
    if (!cbNWName.items().contains(name))
        cbNWName.insertItem(static_cast<int>(cbNWName.items().size()) - 1, name);
    choose(static_cast<int>(cbNWName.items().indexOf(name)));
}

void NetworkNames::choose(int index)
{
    m_session.Main.cbNWName.setIndex(index);
    nameClicked();
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

QCoro::Task<bool> NetworkNames::add(QString name)
{
    if (const auto character = firstIllegal(name)) {
        const Message error{QStringLiteral("Illegal Character in Network Name: '") + *character +
                                QLatin1Char('\''),
                            QStringLiteral("Error Adding Network Name")};
        co_await m_dialogs.messageBox(error);
        co_return false;
    }

    appendLine(m_path, name);
    Control &cbNWName = m_session.Main.cbNWName;
    const int position = static_cast<int>(cbNWName.items().size()) - 1;
    cbNWName.insertItem(position, name);
    choose(position);
    co_return true;
}

} // namespace vantrel
