// SPDX-License-Identifier: GPL-3.0-or-later
//
// The whole console under a flood: 100,000 data reports as fast as the socket takes them, the
// window open, the log on. Beside it, a bare loop that reads the same bytes from the same sender to
// a file.
#include "Streams.h"

#include "console/Console.h"
#include "console/Main.h"
#include "link/SerialTransport.h"
#include "link/TcpTransport.h"
#include "windows/DialogBoxes.h"

#include <QApplication>
#include <QFile>
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

constexpr int Reports = 100'000;
constexpr int Repetitions = 5;
constexpr double LongestWait = 100; // ms
constexpr const char *Line = "*** Data --  Address: 0x02   EndPoint: 0x81\r\n";

QByteArray flood()
{
    const QList<QByteArray> bodies = bench::dataReports();
    QList<QByteArray> all;
    while (all.size() < Reports)
        all.append(bodies[all.size() % bodies.size()]);
    return bench::framed(all);
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
    explicit Sender(const QByteArray &bytes)
    {
        std::promise<quint16> port;
        m_port = port.get_future();
        m_thread = std::thread([&bytes, port = std::move(port)]() mutable {
            QTcpServer server;
            if (!server.listen(QHostAddress::LocalHost))
                std::abort();
            port.set_value(server.serverPort());
            if (!server.waitForNewConnection(30'000))
                std::abort();
            QTcpSocket *const socket = server.nextPendingConnection();
            socket->write(bytes);
            while (socket->bytesToWrite() > 0 && socket->waitForBytesWritten(30'000)) {
            }
            socket->waitForDisconnected(60'000);
        });
    }
    ~Sender() { m_thread.join(); }

    quint16 port() { return m_port.get(); }

private:
    std::future<quint16> m_port;
    std::thread m_thread;
};

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
};

Result throughTheConsole(const QByteArray &bytes, const QString &directory)
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

    Sender sender(bytes);
    console.link().setRemotePort(sender.port());
    Watch watch(window);
    const Clock::time_point begin = Clock::now();
    console.connectClicked();
    while (console.session().LogBytes < header + Reports * lineLength)
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    const double time = milliseconds(Clock::now() - begin);
    const double longestWait = watch.stop();
    console.connectClicked();
    console.fileCloseClicked();

    QFile log(logPath);
    if (!log.open(QIODevice::ReadOnly) || log.readAll().count(Line) != Reports) {
        std::fputs("The log does not hold every report.\n", stderr);
        std::exit(EXIT_FAILURE);
    }
    return {time, longestWait};
}

double throughABareLoop(const QByteArray &bytes, const QString &directory)
{
    QFile file(directory + QStringLiteral("/bare.bin"));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        std::abort();
    Sender sender(bytes);
    const Clock::time_point begin = Clock::now();
    QTcpSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.1"), sender.port());
    for (qsizetype total = 0; total < bytes.size() && socket.waitForReadyRead(30'000);)
        total += file.write(socket.readAll());
    return milliseconds(Clock::now() - begin);
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    const QTemporaryDir directory;
    const QByteArray bytes = flood();

    std::vector<double> ours;
    std::vector<double> yardstick;
    std::vector<double> waits;
    for (int i = 0; i < Repetitions; ++i) {
        const Result result = throughTheConsole(bytes, directory.path());
        ours.push_back(result.time);
        waits.push_back(result.longestWait);
        yardstick.push_back(throughABareLoop(bytes, directory.path()));
    }

    const double longest = *std::ranges::max_element(waits);
    const bool answering = longest <= LongestWait;
    std::printf("%-36s %8.0f ms  %-28s %8.0f ms %6.2f times\n", "flood of 100,000 data reports",
                median(ours), "bare loop, socket to file", median(yardstick),
                median(ours) / median(yardstick));
    std::printf("%-36s %8.1f ms  %-28s %11s %6s %9.0f  %s\n", "longest wait of a posted event",
                longest, "(worst of five floods)", "", "", LongestWait, answering ? "ok" : "NOT");
    return answering ? EXIT_SUCCESS : EXIT_FAILURE;
}
