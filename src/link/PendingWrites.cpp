// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/PendingWrites.h"

#include "link/Utils.h"
#include "link/publicvars.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace vantrel {

namespace {

/// The texts of a kind. In a set of kinds without the others of the program, a window is closed and
/// not the program.
struct WriteTexts
{
    WriteKind kind;
    const char *activity;
    const char *unit; ///< of the progress; nullptr without
    const char *loss;
    const char *undone;
};

constexpr std::array Texts{
    WriteTexts{WriteKind::ScriptDownload, "A script download is under way", "bytes sent",
               "The tester will hold an incomplete script.", "Script download was stopped"},
    WriteTexts{WriteKind::FlashDownload, "A script download for the flash memory is under way",
               "bytes sent",
               "The tester will hold an incomplete script, and its flash memory will not be "
               "programmed.",
               "Script download for the flash memory was stopped"},
    WriteTexts{WriteKind::FlashProgram, "The tester is storing a script in its flash memory",
               nullptr, "Whether it succeeds will not be reported.",
               "Storing the script in the flash memory was not confirmed"},
    WriteTexts{WriteKind::FlashState,
               "The tester is changing the state of the script in its flash memory", nullptr,
               "Whether it succeeds will not be reported.",
               "Changing the state of the script in the flash memory was not confirmed"},
    WriteTexts{WriteKind::EzUsbLoad, "An EZ-USB firmware load is under way",
               "bytes of the file converted",
               "The script in the tester will contain only a part of the firmware.",
               "EZ-USB firmware load was stopped"},
    WriteTexts{WriteKind::FirmwareDownload, "A download of tester firmware is under way",
               "blocks acknowledged", "The tester will not receive the rest of its new firmware.",
               "Firmware download was stopped"},
    WriteTexts{WriteKind::FirmwareProgram, "The tester is programming its new firmware", nullptr,
               "The program will not wait until the tester has finished.",
               "Programming of the firmware was not awaited: whether it succeeded is unknown"},
    WriteTexts{WriteKind::FtdiProgram, "The EEPROM of an FTDI device is being programmed",
               "words written",
               "The EEPROM will be incomplete, and the device may not work until it has been "
               "programmed again.",
               "FTDI EEPROM programming was stopped"},
};

/// The download for the flash goes on as a script download when only its window is closed.
constexpr WriteTexts FlashWindowClosed{
    WriteKind::FlashDownload, "A script download for the flash memory is under way", "bytes sent",
    "The download continues, but the script will not be stored in the flash memory.",
    "Script was not stored in the flash memory; its download continues"};

bool isContinued(WriteKind kind, WriteKinds interrupted)
{
    return kind == WriteKind::FlashDownload && !interrupted.testFlag(WriteKind::ScriptDownload);
}

const WriteTexts &textsOf(WriteKind kind, WriteKinds interrupted)
{
    if (isContinued(kind, interrupted))
        return FlashWindowClosed;
    return *std::find_if(Texts.cbegin(), Texts.cend(),
                         [kind](const WriteTexts &texts) { return texts.kind == kind; });
}

} // namespace

PendingWrite::PendingWrite(Session &session, WriteKind kind, qsizetype total)
    : m_session(session), m_token(session), m_kind(kind), m_total(total)
{
    m_session.writes.add(*this);
}

PendingWrite::~PendingWrite()
{
    m_session.writes.remove(*this);
}

/// ": 23 of 64 words written"
QString PendingWrite::progress() const
{
    const char *const unit = textsOf(m_kind, AllWrites).unit;
    if (!unit)
        return {};
    return QStringLiteral(": %1 of %2 %3").arg(m_done).arg(m_total).arg(QLatin1String(unit));
}

bool PendingWrites::areUnderWay(WriteKinds kinds) const
{
    return !underWay(kinds).empty();
}

QString PendingWrites::description(WriteKinds kinds) const
{
    QStringList lines;
    for (const PendingWrite *write : underWay(kinds)) {
        const WriteTexts &texts = textsOf(write->m_kind, kinds);
        lines.append(QLatin1String(texts.activity) + write->progress() + QLatin1Char('.'));
        lines.append(QLatin1String(texts.loss));
    }
    return lines.join(QStringLiteral("\r\n"));
}

QStringList PendingWrites::interrupt(WriteKinds kinds)
{
    QStringList lines;
    for (PendingWrite *write : underWay(kinds)) {
        lines.append(QLatin1String(textsOf(write->m_kind, kinds).undone) + write->progress());
        if (isContinued(write->m_kind, kinds))
            write->m_kind = WriteKind::ScriptDownload;
        else
            remove(*write);
    }
    for (const QString &line : std::as_const(lines))
        ShowStatusLine(m_session, line);
    return lines;
}

/// A connection that has ended has ended its writes; some of them have yet to be resumed.
std::vector<PendingWrite *> PendingWrites::underWay(WriteKinds kinds) const
{
    std::vector<PendingWrite *> found;
    std::copy_if(m_writes.cbegin(), m_writes.cend(), std::back_inserter(found),
                 [kinds](const PendingWrite *write) {
                     return kinds.testFlag(write->m_kind) && write->m_token.isLinkKept();
                 });
    return found;
}

void PendingWrites::add(PendingWrite &write)
{
    m_writes.push_back(&write);
}

void PendingWrites::remove(PendingWrite &write)
{
    if (std::erase(m_writes, &write) > 0)
        emit ended();
}

} // namespace vantrel
