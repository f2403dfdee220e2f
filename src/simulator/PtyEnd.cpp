// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/PtyEnd.h"

#include "simulator/Tester.h"

#include <QFile>
#include <QFileInfo>
#include <QSocketNotifier>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>

#include <fcntl.h>
#include <poll.h>
#include <termios.h>

namespace vantrel::simulator {

namespace {

constexpr int HangUpPollInterval = 50; // ms
constexpr int ReadsPerTurn = 16;       // so that no console keeps the event loop from its turn

struct Rate
{
    int baud;
    speed_t speed;
};

constexpr std::array<Rate, 11> Rates = {{
    {1200, B1200},
    {2400, B2400},
    {4800, B4800},
    {9600, B9600},
    {19200, B19200},
    {38400, B38400},
    {57600, B57600},
    {115200, B115200},
    {230400, B230400},
    {460800, B460800},
    {921600, B921600},
}};

std::optional<speed_t> speedOf(int baud)
{
    const auto *const rate =
        std::find_if(Rates.begin(), Rates.end(), [baud](const Rate &r) { return r.baud == baud; });
    return rate == Rates.end() ? std::nullopt : std::optional(rate->speed);
}

} // namespace

PtyEnd::PtyEnd(Tester &tester, int baud) : m_tester(tester), m_baud(baud)
{
    tester.clock().followRealTime();
    m_hangUpPoll.setInterval(HangUpPollInterval);
    connect(&m_hangUpPoll, &QTimer::timeout, this, &PtyEnd::lookForConsole);
    connect(&tester, &Tester::bytesReady, this, &PtyEnd::write);
    m_replug.setSingleShot(true);
    connect(&m_replug, &QTimer::timeout, this, &PtyEnd::plug);
    connect(&tester, &Tester::connectionDropped, this, &PtyEnd::dropConnection);
}

PtyEnd::~PtyEnd()
{
    unplug();
}

bool PtyEnd::failed(const char *what)
{
    m_error = QString::fromLatin1(what) + QStringLiteral(": ") +
              QString::fromLocal8Bit(std::strerror(errno));
    m_master.close();
    return false;
}

bool PtyEnd::open(const QString &symlink)
{
    m_link = symlink;
    return plug();
}

bool PtyEnd::plug()
{
    unplug();
    if (!speedOf(m_baud)) {
        m_error = QStringLiteral("no such baud rate");
        return false;
    }
    if (!openMaster() || !makeLink())
        return false;

    m_readable = new QSocketNotifier(m_master.get(), QSocketNotifier::Read, this);
    m_writable = new QSocketNotifier(m_master.get(), QSocketNotifier::Write, this);
    m_readable->setEnabled(false);
    m_writable->setEnabled(false);
    connect(m_readable, &QSocketNotifier::activated, this, &PtyEnd::readWaiting);
    connect(m_writable, &QSocketNotifier::activated, this, &PtyEnd::writeWaiting);
    m_hangUpPoll.start();
    return true;
}

bool PtyEnd::openMaster()
{
    m_master = FileDescriptor(::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    if (!m_master.isOpen())
        return failed("cannot open a pseudo-terminal");
    std::array<char, 128> name{};
    if (::grantpt(m_master.get()) != 0 || ::unlockpt(m_master.get()) != 0 ||
        ::ptsname_r(m_master.get(), name.data(), name.size()) != 0)
        return failed("cannot set up the pseudo-terminal");
    m_device = QFile::decodeName(name.data());
    return resetLine() || failed("cannot set up the serial device");
}

// Opens and closes the device: bytes nobody has read are gone, and the terminal tells from then on
// that nobody has it open, which it does not before its first use.
bool PtyEnd::resetLine()
{
    const FileDescriptor line(
        ::open(QFile::encodeName(m_device).constData(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    termios settings{};
    if (!line.isOpen() || ::tcgetattr(line.get(), &settings) != 0)
        return false;
    ::cfmakeraw(&settings);
    return ::tcsetattr(line.get(), TCSANOW, &settings) == 0 &&
           ::tcflush(line.get(), TCIOFLUSH) == 0;
}

bool PtyEnd::makeLink()
{
    if (m_link.isEmpty())
        return true;
    removeLink();
    if (QFile::link(m_device, m_link))
        return true;
    m_error = QStringLiteral("cannot make the symbolic link ") + m_link;
    m_master.close();
    return false;
}

void PtyEnd::removeLink()
{
    if (!m_link.isEmpty() && QFileInfo(m_link).isSymLink())
        QFile::remove(m_link);
}

QString PtyEnd::path() const
{
    if (!isPlugged())
        return {};
    return m_link.isEmpty() ? m_device : m_link;
}

/// The event loop plugs in again: this function may have been called while the device is in use.
void PtyEnd::dropConnection()
{
    if (!isPlugged())
        return;
    unplug();
    m_replug.start();
}

void PtyEnd::unplug()
{
    m_replug.stop();
    if (!isPlugged())
        return;
    m_hangUpPoll.stop();
    for (QSocketNotifier *notifier : {m_readable, m_writable}) {
        notifier->setEnabled(false);
        notifier->deleteLater(); // one of them may be what has called here
    }
    m_unsent.clear();
    removeLink();
    m_master.close();
    m_tester.startConversation();
}

void PtyEnd::lookForConsole()
{
    pollfd state{m_master.get(), POLLIN, 0};
    if (::poll(&state, 1, 0) < 0)
        return;
    // A console may have come, written and gone again since the last look.
    if ((state.revents & POLLHUP) != 0 && (state.revents & POLLIN) == 0)
        return;
    m_hangUpPoll.stop();
    m_limit.reset();
    m_readable->setEnabled(true);
    emit consoleConnected();
}

void PtyEnd::readWaiting()
{
    std::array<char, 4096> buffer{};
    for (int reads = 0; isPlugged() && reads < ReadsPerTurn; ++reads) {
        const ssize_t count = ::read(m_master.get(), buffer.data(), buffer.size());
        if (count > 0) {
            take(QByteArrayView(buffer.data(), count));
        } else if (count < 0 && errno == EAGAIN) {
            return;
        } else if (count == 0 || errno != EINTR) {
            consoleLeft();
            return;
        }
    }
}

void PtyEnd::take(QByteArrayView bytes)
{
    if (consoleRateMatches())
        m_tester.receive(bytes);
    else
        writeRaw(m_noise, true);
}

void PtyEnd::consoleLeft()
{
    m_readable->setEnabled(false);
    m_writable->setEnabled(false);
    m_unsent.clear();
    m_tester.startConversation();
    // A console that was killed may have left the device locked: then there is a new one.
    if (resetLine())
        m_hangUpPoll.start();
    else
        plug();
}

bool PtyEnd::consoleRateMatches() const
{
    // The terminal shows the settings of its other side here.
    termios settings{};
    return ::tcgetattr(m_master.get(), &settings) == 0 &&
           ::cfgetospeed(&settings) == speedOf(m_baud);
}

void PtyEnd::write(const QByteArray &bytes)
{
    const bool received = isConsoleConnected() && consoleRateMatches();
    if (!received)
        ++m_lostWrites;
    if (isConsoleConnected())
        writeRaw(received ? bytes : m_noise, m_tester.isAtPacketStart());
}

void PtyEnd::writeRaw(const QByteArray &bytes, bool startsPacket)
{
    if (!m_limit.accepts(startsPacket, m_unsent.size(), bytes.size())) {
        if (m_limit.isFirstDrop())
            emit packetsDropped();
        return;
    }
    const bool blocked = !m_unsent.isEmpty();
    m_unsent += bytes;
    if (!blocked)
        writeWaiting();
}

void PtyEnd::writeWaiting()
{
    while (!m_unsent.isEmpty()) {
        const ssize_t count =
            ::write(m_master.get(), m_unsent.constData(), static_cast<size_t>(m_unsent.size()));
        if (count >= 0) {
            m_unsent.remove(0, count);
        } else if (errno == EAGAIN) {
            break;
        } else if (errno != EINTR) {
            m_unsent.clear();
        }
    }
    m_writable->setEnabled(!m_unsent.isEmpty());
}

} // namespace vantrel::simulator
