// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Bench.h"
#include "link/TcpClient.h"
#include "support/Hex.h"
#include "support/PseudoTerminal.h"
#include "support/TestProgram.h"
#include "support/TestServer.h"
#include "support/Turns.h"

#include <QFile>
#include <QTest>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

using namespace vantrel;
using namespace vantrel::test;

namespace {

const auto VersionReply = "1b53 8f 02 03 0c 00 40 1b45"_hex;
const auto Acknowledgement = "1b53 83 1b45"_hex; // of a suspend
const auto StatusReply = "1b53 8b 46 1b45"_hex;

/// A console on a real socket or a real pseudo-terminal whose other end is the test. What the test
/// sends is in the buffer of the system when send() returns; the event loop does not run meanwhile.
struct StallBench : Bench
{
    explicit StallBench(bool overNetwork)
        : network(overNetwork),
          cable(::open(QFile::encodeName(line.device()).constData(), O_RDWR | O_NOCTTY))
    {
        if (cable < 0)
            qFatal("no pseudo-terminal");
        if (network)
            selectNetwork(QStringLiteral("127.0.0.1"), server.port());
        else
            console.link().setSerialDevice(1, line.device());
    }
    ~StallBench() { ::close(cable); }
    StallBench(const StallBench &) = delete;
    StallBench &operator=(const StallBench &) = delete;

    bool open()
    {
        console.connectClicked();
        return turnsUntil(
            [this] { return console.link().isConnected() && (!network || server.clients() == 1); });
    }
    void send(const QByteArray &bytes)
    {
        if (network) {
            server.client()->write(bytes);
            if (server.client()->flush() && server.client()->bytesToWrite() == 0)
                return;
        } else if (line.send(bytes) == bytes.size()) {
            // The system hands them to the near end a moment later.
            pollfd state{cable, POLLIN, 0};
            if (::poll(&state, 1, 10'000) == 1)
                return;
        }
        qFatal("the system does not take the bytes");
    }
    /// Sends once the console has asked: ten ticks later.
    void secondWith(const QByteArray &bytes)
    {
        second();
        send(bytes);
    }

    bool network;
    TestServer server;
    PseudoTerminal line;
    int cable; // the near end, opened before the console locks it
};

} // namespace

/// The program is suspended, and resumed by its timer: what the tester has sent meanwhile waits in
/// the system, and the event loop has not reported it when the tick comes.
class tst_stalls : public QObject
{
    Q_OBJECT

private slots:
    void oneSecond_data();
    void oneSecond();
    void deadline_data() { oneSecond_data(); }
    void deadline();
    void lastBytesOfASocket();
    void bytesBeforeAReset();
};

void tst_stalls::oneSecond_data()
{
    QTest::addColumn<bool>("network");
    QTest::newRow("socket") << true;
    QTest::newRow("pseudo-terminal") << false;
}

void tst_stalls::oneSecond()
{
    QFETCH(bool, network);
    StallBench bench(network);
    QVERIFY(bench.open());
    bench.secondWith(VersionReply);
    for (int seconds = 0; seconds < 10; ++seconds)
        bench.secondWith(StatusReply);
    bench.console.Timer1();
    QCOMPARE(bench.session().LinkState, LinkStates::Running);
    QCOMPARE(bench.commandLineCount("Connecting..."), 1);
    QCOMPARE(bench.main().power.text(), QStringLiteral("On"));
    QCOMPARE(bench.console.link().lineSettings(), QByteArray(" 19200,n,8,1"));

    bench.second();
    bench.second();
    QCOMPARE(bench.commandLineCount("Connecting..."), 2); // a silent second
}

void tst_stalls::deadline()
{
    QFETCH(bool, network);
    StallBench bench(network);
    QVERIFY(bench.open());
    bench.secondWith(VersionReply);
    bench.console.Timer1();
    QByteArray buffer = "....";
    std::optional<int> result;
    const auto read = [&]() -> QCoro::Task<> {
        result = co_await bench.console.commands().SendConfigMemoryRead(0x0010, buffer, 4);
    };
    const auto task = read();
    for (int tick = 1; tick < 20; ++tick)
        bench.console.Timer1();
    bench.send("1b53 b6 61 62 63 64 1b45"_hex);
    bench.console.Timer1();
    QCOMPARE(result, std::optional(0));
    QCOMPARE(buffer, QByteArray("abcd"));
}

/// A tester sends its last packets and closes; the console processes all of them, over many turns,
/// before it reports the end.
void tst_stalls::lastBytesOfASocket()
{
    constexpr int Count = 5000;
    constexpr int PacketsPerTurn = 50; // the clock is also read before the first and after the last
    StallBench bench(true);
    std::chrono::nanoseconds time{0};
    bench.console.link().setReceiveClock(
        [&] { return time += std::chrono::nanoseconds(VornComm::TurnLimit) / PacketsPerTurn; });
    QVERIFY(bench.open());
    bench.secondWith(VersionReply);
    QVERIFY(turnsUntil([&] { return bench.session().LinkState == LinkStates::Running; }));
    bool lastBeforeTheBox = false;
    bench.dialogs.onMessage = [&] { lastBeforeTheBox = bench.commandLineSeen("\r\nSuspending"); };
    int turns = 0;
    QTimer counter;
    counter.callOnTimeout([&] { ++turns; });
    counter.start(0);
    const auto report = "1b53 92 02 81 00 1b45"_hex;
    bench.server.client()->write(report.repeated(Count) + Acknowledgement);
    bench.server.client()->disconnectFromHost();
    QVERIFY(turnsUntil([&] { return !bench.dialogs.messages.isEmpty(); }));
    QVERIFY(lastBeforeTheBox);
    QVERIFY2(turns >= Count / PacketsPerTurn, qPrintable(QString::number(turns)));
    QCOMPARE(bench.dialogs.messages.size(), 1);
}

/// A reset does not take away what had arrived before it, even if the console sends first.
void tst_stalls::bytesBeforeAReset()
{
    StallBench bench(true);
    QVERIFY(bench.open());
    bench.secondWith(VersionReply);
    bench.console.Timer1();
    bench.send(Acknowledgement);
    QVERIFY(reset(*bench.server.client()));
    bench.console.act([&] { bench.console.ports().usbResetClicked(); });
    bench.console.act([&] { bench.console.ports().usbResetClicked(); });
    QCOMPARE(bench.commandLineCount("Suspending"), 0);
    QVERIFY(turnsUntil([&] { return !bench.dialogs.messages.isEmpty(); }));
    QCOMPARE(bench.commandLineCount("Suspending"), 1);
    QCOMPARE(bench.session().LinkState, LinkStates::Closed);
}

VANTREL_TEST(tst_stalls)
#include "tst_stalls.moc"
