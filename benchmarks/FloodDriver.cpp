// SPDX-License-Identifier: GPL-3.0-or-later
//
// The whole console under a flood: 100 MB of data reports as fast as the socket takes them, the
// window open, the log on. Beside it, socat, which takes the same bytes from the same sender to a
// file.
#include "Streams.h"

#include "console/Console.h"
#include "console/Main.h"
#include "link/SerialTransport.h"
#include "link/TcpTransport.h"
#include "windows/DialogBoxes.h"

#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <thread>
#include <vector>

using namespace vantrel;
using Clock = std::chrono::steady_clock;

namespace {

constexpr qsizetype FloodSize = 100'000'000; // bytes
constexpr int Repetitions = 5;
constexpr double MostTimes = 5;          // of socat's time
constexpr double LongestWait = 50;       // ms
constexpr long MostMemory = 8 * 1024;    // KiB that a flood may add
constexpr qsizetype WriteSize = 1 << 20; // bytes
constexpr const char *Line = "*** Data --  Address: 0x02   EndPoint: 0x81\r\n";

struct Flood
{
    QByteArray bytes;
    int reports = 0;
};

Flood makeFlood()
{
    const QList<QByteArray> bodies = bench::dataReports();
    const QByteArray round = bench::framed(bodies);
    Flood flood;
    while (flood.bytes.size() < FloodSize) {
        flood.bytes += round;
        flood.reports += static_cast<int>(bodies.size());
    }
    return flood;
}

double milliseconds(Clock::duration time)
{
    return std::chrono::duration<double, std::milli>(time).count();
}

double median(std::vector<double> values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

/// Sends the flood to whoever connects, from a thread of its own.
class Sender
{
public:
    enum class Then { WaitForTheOther, Close };

    Sender(const QByteArray &bytes, Then then)
    {
        std::promise<quint16> port;
        m_port = port.get_future();
        m_thread = std::thread([&bytes, then, port = std::move(port)]() mutable {
            QTcpServer server;
            if (!server.listen(QHostAddress::LocalHost))
                std::abort();
            port.set_value(server.serverPort());
            if (!server.waitForNewConnection(Patience))
                std::abort();
            QTcpSocket *const socket = server.nextPendingConnection();
            send(*socket, bytes);
            if (then == Then::Close)
                socket->disconnectFromHost();
            if (socket->state() != QAbstractSocket::UnconnectedState)
                socket->waitForDisconnected(Patience);
        });
    }
    ~Sender() { m_thread.join(); }

    quint16 port() { return m_port.get(); }

private:
    static constexpr int Patience = 60'000; // ms

    static void send(QTcpSocket &socket, QByteArrayView bytes)
    {
        while (!bytes.isEmpty()) {
            const QByteArrayView piece = bytes.first(std::min(WriteSize, bytes.size()));
            socket.write(piece.data(), piece.size());
            while (socket.bytesToWrite() > 0) {
                if (!socket.waitForBytesWritten(Patience))
                    std::abort();
            }
            bytes = bytes.sliced(piece.size());
        }
    }

    std::future<quint16> m_port;
    std::thread m_thread;
};

/// KiB in memory now.
long residentMemory()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        std::abort();
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.simplified().split(' ').at(1).toLong();
    }
    std::abort();
}

const char *verdict(bool reached)
{
    return reached ? "ok" : "NOT";
}

/// Posts an event to the window's thread every few milliseconds and keeps how long the slowest
/// waited for its turn.
class Watch
{
public:
    explicit Watch(QObject &window)
        : m_thread([this, &window] {
              while (!m_stop) {
                  const Clock::time_point posted = Clock::now();
                  QMetaObject::invokeMethod(&window, [this, posted] { answered(posted); });
                  std::this_thread::sleep_for(std::chrono::milliseconds(3));
              }
          })
    {
    }
    ~Watch() { stop(); }

    double stop()
    {
        m_stop = true;
        if (m_thread.joinable())
            m_thread.join();
        QCoreApplication::sendPostedEvents();
        return m_longest;
    }

private:
    void answered(Clock::time_point posted)
    {
        m_longest = std::max(m_longest, milliseconds(Clock::now() - posted));
    }

    std::atomic<bool> m_stop = false;
    double m_longest = 0; // ms, of the window's thread
    std::thread m_thread;
};

struct Result
{
    double time;        // ms
    double longestWait; // ms
    long memory;        // KiB more at the end than after the first tenth
};

void checkLog(const QString &path, const Flood &flood)
{
    QFile log(path);
    if (!log.open(QIODevice::ReadOnly))
        std::abort();
    const auto *const lines = reinterpret_cast<const char *>(log.map(0, log.size()));
    if (QByteArrayView(lines, log.size()).count(Line) != flood.reports) {
        std::fputs("The log does not hold every report.\n", stderr);
        std::exit(EXIT_FAILURE);
    }
}

Result throughTheConsole(const Flood &flood, const QString &directory)
{
    const QString logPath = directory + QStringLiteral("/flood.log");
    QFile names(directory + QStringLiteral("/VLnetNames.dat"));
    if (!names.open(QIODevice::Append))
        std::abort();
    names.close();

    DialogBoxes dialogs;
    Console console(dialogs, std::make_unique<SerialTransport>(), std::make_unique<TcpTransport>());
    Main window(console);
    window.show();
    console.load(names.fileName());
    MainControls &main = console.session().Main;
    main.Comm1.setChecked(false);
    main.CommE.setChecked(true);
    console.names().offer(QStringLiteral("127.0.0.1"));
    console.log().start(logPath);
    const qint32 header = console.session().LogBytes;
    const auto lineLength = static_cast<qint32>(qstrlen(Line)) + 1 + 64 * 3 + 2 * 3 + 2;
    const auto logged = [&](int reports) {
        while (console.session().LogBytes < header + reports * lineLength)
            QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    };

    Sender sender(flood.bytes, Sender::Then::WaitForTheOther);
    console.link().setRemotePort(sender.port());
    Watch watch(window);
    const Clock::time_point begin = Clock::now();
    console.connectClicked();
    logged(flood.reports / 10);
    const long memory = residentMemory();
    logged(flood.reports);
    const double time = milliseconds(Clock::now() - begin);
    const long added = residentMemory() - memory;
    const double longestWait = watch.stop();
    console.connectClicked();
    console.fileCloseClicked();
    checkLog(logPath, flood);
    return {time, longestWait, added};
}

double throughSocat(const Flood &flood, const QString &directory)
{
    Sender sender(flood.bytes, Sender::Then::Close);
    const QString file = directory + QStringLiteral("/socat.bin");
    QProcess socat;
    const Clock::time_point begin = Clock::now();
    socat.start(QStringLiteral("socat"),
                {QStringLiteral("-u"), QStringLiteral("TCP4:127.0.0.1:%1").arg(sender.port()),
                 QStringLiteral("OPEN:%1,creat,trunc").arg(file)});
    if (!socat.waitForFinished(60'000) || QFileInfo(file).size() != flood.bytes.size()) {
        std::fputs("socat did not take the flood.\n", stderr);
        std::exit(EXIT_FAILURE);
    }
    return milliseconds(Clock::now() - begin);
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    const QTemporaryDir directory;
    const Flood flood = makeFlood();

    std::vector<double> ours;
    std::vector<double> yardstick;
    std::vector<double> waits;
    std::vector<long> memory;
    for (int i = 0; i < Repetitions; ++i) {
        const Result result = throughTheConsole(flood, directory.path());
        ours.push_back(result.time);
        waits.push_back(result.longestWait);
        memory.push_back(result.memory);
        yardstick.push_back(throughSocat(flood, directory.path()));
    }

    const double times = median(ours) / median(yardstick);
    const double longest = *std::ranges::max_element(waits);
    const long added = *std::ranges::max_element(memory);
    std::printf("%-36s %8.0f ms  %-28s %8.0f ms %6.2f %9.2f  %s\n", "flood of 100 MB of reports",
                median(ours), "socat, socket to file", median(yardstick), times, MostTimes,
                verdict(times <= MostTimes));
    std::printf("%-36s %8.1f ms  %-28s %11s %6s %9.0f  %s\n", "longest wait of a posted event",
                longest, "(worst of five floods)", "", "", LongestWait,
                verdict(longest <= LongestWait));
    std::printf("%-36s %8ld KB  %-28s %11s %6s %9ld  %s\n", "memory that a flood adds", added,
                "(worst of five floods)", "", "", MostMemory, verdict(added <= MostMemory));
    const bool reached = times <= MostTimes && longest <= LongestWait && added <= MostMemory;
    return reached ? EXIT_SUCCESS : EXIT_FAILURE;
}
