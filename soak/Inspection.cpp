// SPDX-License-Identifier: GPL-3.0-or-later
#include "Inspection.h"

#include "Hands.h"
#include "LogCheck.h"
#include "Operator.h"
#include "Reports.h"
#include "Subject.h"
#include "User.h"
#include "Vitals.h"

#include "link/Files.h"
#include "link/Wire.h"

#include <QCoroTimer>
#include <QDir>
#include <QFile>
#include <QWidget>

#include <array>
#include <chrono>
#include <limits>

namespace vantrel::soak {

namespace {

using namespace std::chrono_literals;

constexpr auto Glance = 20ms;
constexpr double AwayTime = 3; // seconds: a tester that is given new firmware is back by then

QString text(const char *latin1)
{
    return QString::fromLatin1(latin1);
}

char replyTo(quint8 command)
{
    return static_cast<char>(command | wire::ReplyFlag);
}

const QString &mainWindow()
{
    static const QString name = text("Main");
    return name;
}

} // namespace

QCoro::Task<bool> comesTrue(std::function<bool()> condition, int milliseconds)
{
    QElapsedTimer time;
    time.start();
    while (!condition()) {
        if (time.hasExpired(milliseconds))
            co_return false;
        co_await QCoro::sleepFor(Glance);
    }
    co_return true;
}

Inspection::Inspection(Subject &subject, User &user, Operator &tester, Reports &reports,
                       Journal &journal, VitalsTable &vitals, QString directory)
    : m_subject(subject), m_user(user), m_tester(tester), m_reports(reports), m_journal(journal),
      m_vitals(vitals), m_directory(std::move(directory)), m_saves(subject, m_directory)
{
}

QCoro::Task<> require(QString what, std::function<bool()> condition, int milliseconds)
{
    const bool came = co_await comesTrue(condition, milliseconds);
    if (!came)
        throw SoakFailure(text("not within %1 s: %2").arg(milliseconds / 1000).arg(what));
}

QCoro::Task<> Inspection::begin()
{
    m_subject.select(nextKind());
    m_journal.note(Journal::Group::Event, m_subject.target->description());
    m_reports.follow();
    co_await startLog();
    co_await m_saves.saveName();
    co_await connectAgain();
    co_await fillCommandPane();
    co_await askDevice();
    co_await m_saves.saveFiles();
    const Session &session = m_subject.console.session();
    if (session.ScriptBusy || session.DescActive || session.FtdiActive || session.RestartExpected)
        throw SoakFailure(text("an exchange is still under way after Connect"));
}

QString Inspection::logPath() const
{
    return QDir(m_directory).filePath(text("soak-%1.log").arg(m_logs + 1));
}

QCoro::Task<> Inspection::startLog()
{
    if (!hands::choose(mainWindow(), text("FileNew")))
        throw SoakFailure(text("no log can be started"));
    const auto asked = [] { return hands::fileDialog() != nullptr; };
    co_await require(text("the file dialog of the log"), asked);
    hands::answer(*hands::fileDialog(), logPath());
    const auto logging = [this] { return m_subject.console.session().Logging; };
    co_await require(text("the log is open"), logging);
}

QCoro::Task<> Inspection::connectAgain()
{
    if (!hands::press(mainWindow(), text("Connect")))
        throw SoakFailure(text("Connect cannot be pressed"));
    const auto known = [this] {
        const Session &session = m_subject.console.session();
        return session.LinkState == LinkStates::Running &&
               session.Main.CmdWin.text().contains(m_subject.target->versionLine());
    };
    co_await require(text("the tester's version in the command pane"), known);
}

/// Both models, both kinds of connection, each searched rate, in turn.
Target::Kind Inspection::nextKind()
{
    constexpr std::array Rates{38'400, 57'600, 115'200, 19'200};
    const std::size_t round = m_rounds++;
    const bool serial = round % 2 != 0;
    const int model = round % 4 < 2 ? 2 : 1;
    return {model, serial ? Rates.at(round / 2 % Rates.size()) : 0};
}

/// The command pane grows until it holds as many lines as it keeps, which takes an hour of use. It
/// is full from the start, so that no growth of memory is due to it.
QCoro::Task<> Inspection::fillCommandPane()
{
    if (m_rounds > 1)
        co_return;
    constexpr int Bunch = 500; // packets at a time, so that no event waits long
    constexpr int Lines = 2 * MainControls::CommandLines;
    const QByteArray resuming(1, replyTo(wire::Command::Resume));
    const QByteArray suspending(1, replyTo(wire::Command::Suspend));
    const Control &pane = m_subject.console.session().Main.CmdWin;
    for (int sent = 0; sent < Lines; sent += Bunch) {
        for (int i = 1; i < Bunch; ++i)
            m_subject.target->tester().sendPacket(suspending);
        m_subject.target->tester().sendPacket(resuming);
        const auto shown = [&pane] { return pane.text().endsWith(text("Resuming")); };
        co_await require(text("%1 lines in the command pane").arg(sent + Bunch), shown);
        m_subject.target->tester().sendPacket(suspending);
        const auto next = [&pane] { return pane.text().endsWith(text("Suspending")); };
        co_await require(text("the next line"), next);
    }
}

/// The keyboard is asked for its device descriptor. Whatever was done to the port is undone first.
QCoro::Task<> Inspection::askDevice()
{
    hands::press(mainWindow(), text("VoltEnable"));
    if (!hands::press(mainWindow(), text("USBReset")) ||
        !hands::choose(mainWindow(), text("UtilDR")))
        throw SoakFailure(text("connected, and the controls cannot be used"));

    struct Field
    {
        const char *name;
        const char *entry;
    };
    const QString window = text("DevRqstForm");
    for (const Field &field :
         {Field{"Address", "2"}, Field{"bmReqType", "0x80"}, Field{"bReq", "6"},
          Field{"wValue", "0x100"}, Field{"windex", "0"}, Field{"wLength", "18"}}) {
        if (!hands::enter(window, text(field.name), text(field.entry)))
            throw SoakFailure(text("no entry in ") + text(field.name));
    }
    if (!hands::press(window, text("Send")))
        throw SoakFailure(text("the request cannot be sent"));
    const auto answered = [this] {
        const QString lines = text("-- Device Request Response: Status = 00\r\n"
                                   " 12 01 10 01 00 00 00 08 F3 05 07 00 20 03 00 00 00 01 \r\n");
        return m_subject.console.session().Main.RespWin.text().contains(lines);
    };
    co_await require(text("the keyboard's device descriptor"), answered);
}

QCoro::Task<> Inspection::end()
{
    m_tester.endFaults();
    m_faultsEnded = m_journal.seconds();
    co_await receiveEverything();
    co_await clearTheDesk();

    const Control &caption = m_subject.console.session().Main.Connect;
    if (caption.text() == text("Disconnect"))
        hands::press(mainWindow(), text("Connect"));
    const auto closed = [this, &caption] {
        return caption.text() == text("Connect") && !m_subject.target->isConsoleConnected();
    };
    co_await require(text("both ends have disconnected"), closed);
    hands::press(mainWindow(), text("ClrResp"));

    const auto back = [this] { return m_journal.seconds() > m_faultsEnded + AwayTime; };
    co_await require(text("the tester is back"), back);
    // A retrieval that went wrong ends with its count-down.
    const auto retrieved = [this] { return !m_subject.console.session().DescActive; };
    co_await require(text("the descriptor viewer has given up"), retrieved);
    requireNothingUnderWay();
    checkLog();
    m_subject.target->restore();
    m_vitals.sampleAtRest(vitalsNow(m_journal));
}

/// The order of packets holds: with a last report everything before it has arrived. A connection
/// that breaks meanwhile, or whose tester restarts, need not deliver everything.
QCoro::Task<> Inspection::receiveEverything()
{
    co_await QCoro::sleepFor(200ms); // what has been closed or dropped is known at both ends
    const int connections = m_reports.connections();
    if (!m_subject.isConnected() || !m_reports.send())
        co_return;
    const QByteArray data = Reports::dataOf(m_reports.sent() - 1).toHex(' ').toUpper();
    const QByteArray start = "\r\n " + data.left(11) + ' ';
    const auto stands = [this, connections] {
        return m_subject.isConnected() && m_reports.connections() == connections;
    };
    const auto arrived = [this, start, stands] {
        return m_subject.console.session().RespText.text().contains(start) || !stands();
    };
    co_await require(text("the last report is in the response pane"), arrived);
    if (stands())
        m_reports.allAreDue();
}

/// Refuses every box, closes every window but the main window, and waits until that can be used.
QCoro::Task<> Inspection::clearTheDesk()
{
    const auto clear = [this] {
        if (m_user.refuse())
            return false;
        bool alone = true;
        for (const QString &window : hands::reachableWindows()) {
            if (window == mainWindow())
                continue;
            hands::escape(window);
            alone = false;
        }
        const Session &session = m_subject.console.session();
        return alone && session.Main.Connect.isEnabled() && session.mainWindowLocks == 0;
    };
    // Twice: what is closed may put a box in its place.
    for (int i = 0; i < 2; ++i) {
        co_await require(text("every window has closed, and Connect can be used"), clear);
        co_await QCoro::sleepFor(150ms);
    }
}

void Inspection::requireNothingUnderWay() const
{
    const Session &session = m_subject.console.session();
    QStringList found;
    if (session.ScriptBusy)
        found.append(text("ScriptBusy"));
    if (session.DescActive)
        found.append(text("DescActive"));
    if (session.FtdiActive)
        found.append(text("FtdiActive"));
    if (session.RestartExpected)
        found.append(text("RestartExpected"));
    if (session.LinkState != LinkStates::Closed)
        found.append(text("LinkState"));
    if (session.waits.pendingCount() != 0)
        found.append(text("%1 waits").arg(session.waits.pendingCount()));
    if (m_subject.console.link().isConnected())
        found.append(text("the socket"));
    if (!found.isEmpty())
        throw SoakFailure(text("still standing at rest: ") + found.join(text(", ")));
}

void Inspection::checkLog()
{
    if (!hands::choose(mainWindow(), text("FileClose")))
        throw SoakFailure(text("the log cannot be closed"));
    const QByteArray file = readWholeFile(logPath(), std::numeric_limits<qint32>::max());
    const LogContents contents = readLog(file, m_subject.console.session().LogBytes);
    compareWithSent(contents.numbers, m_reports.takeConversations());
    QFile::remove(logPath());
    ++m_logs;
    m_lines += contents.lines;
    m_bytes += file.size();
    m_reportsLogged += contents.numbers.size();
}

} // namespace vantrel::soak
