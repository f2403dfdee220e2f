// SPDX-License-Identifier: GPL-3.0-or-later
#include "Saves.h"

#include "Hands.h"
#include "Inspection.h"
#include "Subject.h"

#include "link/Files.h"

#include <QAbstractButton>
#include <QDir>
#include <QFile>
#include <QMessageBox>
#include <QWidget>

namespace vantrel::soak {

namespace {

constexpr qsizetype EepromSize = 128; // bytes

QString text(const char *latin1)
{
    return QString::fromLatin1(latin1);
}

void requireDone(bool done, const char *what)
{
    if (!done)
        throw SoakFailure(text("cannot be done: ") + text(what));
}

void requireContents(bool right, const char *what)
{
    if (!right)
        throw SoakFailure(text("not what was saved: ") + text(what));
}

} // namespace

Saves::Saves(Subject &subject, QString directory)
    : m_subject(subject), m_directory(std::move(directory))
{
}

QString Saves::path(const char *name) const
{
    return QDir(m_directory).filePath(text(name));
}

QCoro::Task<> Saves::answer(QString path)
{
    const auto asked = [] { return hands::fileDialog() != nullptr; };
    co_await require(text("a file dialog"), asked);
    hands::answer(*hands::fileDialog(), path);
}

QCoro::Task<> Saves::saveName()
{
    const QString list = path("VLnetNames.dat");
    const QByteArray before = readWholeFile(list);
    requireDone(hands::pick(text("Main"), text("cbNWName"), text("<New>")), "add a network name");
    const auto open = [] { return hands::window(text("frmNewIP")) != nullptr; };
    co_await require(text("the window of a new network name"), open);
    requireDone(hands::enter(text("frmNewIP"), text("tbName"), text("127.0.0.1")), "enter a name");
    const auto closed = [] { return hands::window(text("frmNewIP")) == nullptr; };
    co_await require(text("the window of a new network name has closed"), closed);
    requireContents(readWholeFile(list) == before + "127.0.0.1\r\n", "the network names");
    ++m_count;
}

QCoro::Task<> Saves::saveFiles()
{
    co_await saveRequest();
    co_await saveReport();
    co_await saveBackup();
}

QCoro::Task<> Saves::saveRequest()
{
    const QString window = text("DevRqstForm");
    const QString file = path("inspected.dr");
    QFile::remove(file);
    requireDone(hands::press(window, text("Save")), "save a device request");
    co_await answer(file);
    const auto saved = [&] {
        return hands::window(window)->windowTitle().endsWith(text("inspected.dr"));
    };
    co_await require(text("the device request is saved"), saved);
    const QByteArray request = QByteArray::fromHex("028006000100001200");
    const QByteArray contents = readWholeFile(file);
    // Data bytes that were counted earlier are written as zeros.
    requireContents(contents.startsWith(request) && contents.size() > request.size() &&
                        contents.count('\0') == contents.size() - request.size() + 4,
                    "a device request");
    hands::escape(window);
    ++m_count;
}

QCoro::Task<> Saves::saveReport()
{
    const QString window = text("GetDescForm");
    const QString file = path("inspected.txt");
    QFile::remove(file);
    requireDone(hands::choose(text("Main"), text("UtilDV")), "open the descriptor viewer");
    requireDone(hands::enter(window, text("DevAddr"), text("2")), "enter an address");
    requireDone(hands::press(window, text("GetDesc")), "read descriptors");
    const Control &report = m_subject.tools.viewer.controls().DescInfo;
    const auto read = [&report] { return report.text().endsWith(text("--- Successful\r\n")); };
    co_await require(text("a descriptor report"), read);
    requireDone(hands::press(window, text("Save")), "save a descriptor report");
    co_await answer(file);
    const auto asked = [] { return hands::messageBox() != nullptr; };
    co_await require(text("the question whether to create the report"), asked);
    hands::messageBox()->button(QMessageBox::Yes)->click();
    const auto saved = [&file] { return QFile(file).size() > 0; };
    co_await require(text("the descriptor report is saved"), saved);
    requireContents(readWholeFile(file) == report.text().toLatin1(), "a descriptor report");
    hands::escape(window);
    ++m_count;
}

QStringList Saves::backups() const
{
    return QDir(m_directory).entryList({text("ftdi-eeprom-*")}, QDir::Files | QDir::Hidden);
}

QCoro::Task<> Saves::saveBackup()
{
    const QString window = text("frmFTDI");
    for (const QString &old : backups())
        QFile::remove(QDir(m_directory).filePath(old));
    requireDone(hands::choose(text("Main"), text("mnuUtilFTDI")), "open the FTDI utility");
    requireDone(hands::enter(window, text("DevAddr"), text("7")), "enter an address");
    requireDone(hands::press(window, text("btRead")), "read an EEPROM");
    const FtdiControls &controls = m_subject.tools.ftdi.controls();
    const auto ready = [&controls] { return controls.btProgram.isEnabled(); };
    co_await require(text("the EEPROM is read"), ready);
    if (controls.cbKeepLayout.isVisible() && !controls.cbKeepLayout.isChecked())
        requireDone(hands::press(window, text("cbKeepLayout")), "keep the layout");
    requireDone(hands::press(window, text("btProgram")), "program an EEPROM");
    co_await require(text("the EEPROM is programmed"), ready);
    const QStringList saved = backups();
    requireContents(saved.size() == 1 &&
                        readWholeFile(QDir(m_directory).filePath(saved.first())).size() ==
                            EepromSize,
                    "the backup of an EEPROM");
    hands::escape(window);
    ++m_count;
}

} // namespace vantrel::soak
