// SPDX-License-Identifier: GPL-3.0-or-later
//
// Exchanges of many steps, console and simulated tester over loopback: a descriptor walk, an EEPROM
// read, firmware blocks, an EZ-USB load. Beside each, a bare loop over a blocking socket that
// exchanges the same bytes with the same tester: what the console sends was recorded, with how many
// bytes had come before each write. With a word, only the exchanges that bear it in their name.
#include "RecordingTransport.h"

#include "console/Console.h"
#include "link/Files.h"
#include "link/SerialTransport.h"
#include "maintenance/EzUsbConverter.h"
#include "maintenance/FirmwareLoader.h"
#include "maintenance/FtdiUtility.h"
#include "support/FakeDialogs.h"
#include "tools/DescriptorViewer.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

using namespace vantrel;
using namespace vantrel::bench;

namespace {

constexpr int Repetitions = 9;
constexpr double MostTimes = 1.5;
constexpr int Patience = 30'000; // ms

[[noreturn]] void fail(const char *what)
{
    std::fprintf(stderr, "vantrel_exchanges: %s\n", what);
    std::exit(EXIT_FAILURE);
}

/// What is compared is work, so all of it is done on one core. On two, the time would be that of
/// waking a core that sleeps, which either side pays at one moment and not at the next.
void stayOnOneCore()
{
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(0, &cores);
    if (sched_setaffinity(0, sizeof cores, &cores) != 0)
        fail("cannot stay on one core");
}

/// A tester of its own for every measurement.
class TesterProcess
{
public:
    TesterProcess()
    {
        m_process.start(QStringLiteral(SIMULATOR),
                        {QStringLiteral("--devices"), QStringLiteral("disk,ftdi,fx2")});
        const QByteArray before = "Listening on 127.0.0.1 port ";
        if (!m_process.waitForReadyRead(Patience))
            fail("no tester");
        const QByteArray line = m_process.readLine().trimmed();
        m_port = line.sliced(before.size()).toUShort();
    }
    ~TesterProcess()
    {
        m_process.terminate();
        m_process.waitForFinished(Patience);
    }

    quint16 port() const { return m_port; }

private:
    QProcess m_process;
    quint16 m_port = 0;
};

/// A console connected to the tester, and what its tool windows do.
class Bench
{
public:
    explicit Bench(quint16 port)
        : console(dialogs, std::make_unique<SerialTransport>(),
                  std::unique_ptr<Transport>(transport))
    {
        writeAtStart(path("VLnetNames.dat"), "127.0.0.1\r\n");
        console.load(path("VLnetNames.dat"));
        MainControls &main = console.session().Main;
        main.Comm1.setChecked(false);
        main.CommE.setChecked(true);
        console.names().offer(QStringLiteral("127.0.0.1"));
        console.link().setRemotePort(port);
        QTimer ticks;
        ticks.callOnTimeout(&console, &Console::Timer1);
        ticks.start(100);
        console.connectClicked();
        await([&] { return console.session().StatusSeen && main.UtilDV.isEnabled(); });
        QElapsedTimer settled; // the answers to the set-up
        settled.start();
        await([&] { return settled.hasExpired(300); });
    }

    QString path(const char *name) const { return m_directory.filePath(QString::fromLatin1(name)); }

    template <typename Condition>
    void await(Condition &&condition)
    {
        QElapsedTimer waited;
        waited.start();
        while (!condition()) {
            if (waited.hasExpired(Patience))
                fail("an exchange does not end");
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }

private:
    QTemporaryDir m_directory;

public:
    RecordingTransport *const transport = new RecordingTransport;
    test::FakeDialogs dialogs;
    Console console;
    DescriptorViewer viewer{console.session(), console.requests(), dialogs, console.errors()};
    FtdiUtility ftdi{console.session(), console.requests(), dialogs, console.errors(), path("")};
    FirmwareLoader loader{console.session(), console.link(), console.commands(), dialogs,
                          console.errors()};
    EzUsbConverter converter{console.session(), console.link(), console.commands(), dialogs,
                             console.errors()};
};

struct Operation
{
    const char *name;
    void (*prepare)(Bench &);
    void (*start)(Bench &);
    bool (*ended)(Bench &);
};

void prepareWalk(Bench &bench)
{
    bench.viewer.controls().DevAddr.setText(QStringLiteral("0x05"));
}

void startWalk(Bench &bench)
{
    bench.viewer.getDescClicked();
}

bool walkEnded(Bench &bench)
{
    return !bench.console.session().DescActive;
}

void prepareEepromRead(Bench &bench)
{
    bench.ftdi.opened();
    bench.ftdi.controls().DevAddr.setText(QStringLiteral("0x07"));
    bench.ftdi.controls().tbPID.setText({});
}

void startEepromRead(Bench &bench)
{
    bench.ftdi.readClicked();
}

bool eepromReadEnded(Bench &bench)
{
    return !bench.ftdi.controls().tbPID.text().isEmpty();
}

void prepareFirmware(Bench &bench)
{
    QByteArray image(256 * 1024, '\x5A');
    image.replace(0, 2, "NV");
    writeAtStart(bench.path("image.bin"), image);
    bench.dialogs.paths = {bench.path("image.bin")};
    bench.loader.opened();
    bench.loader.fileSelectClicked();
}

void startFirmware(Bench &bench)
{
    bench.loader.programClicked();
}

/// The last block is acknowledged when the order to program goes out.
bool firmwareEnded(Bench &bench)
{
    return bench.transport->recording().writes.last().bytes.startsWith("\x1BS\x34");
}

void prepareEzUsb(Bench &bench)
{
    QByteArray file;
    for (int address = 0; address < 8 * 1024; address += 16) {
        file += ":10" + QByteArray::number(address, 16).rightJustified(4, '0') + "00" +
                QByteArray(32, 'A') + "00\r\n";
    }
    writeAtStart(bench.path("firmware.hex"), file + ":00000001FF\r\n");
    bench.dialogs.paths = {bench.path("firmware.hex")};
    bench.converter.opened();
    bench.converter.controls().Address.setText(QStringLiteral("0x08"));
}

void startEzUsb(Bench &bench)
{
    bench.converter.loadClicked();
}

bool ezUsbEnded(Bench &bench)
{
    return !bench.console.session().Main.ScriptName.text().isEmpty();
}

/// The bytes of an exchange over a blocking socket.
class BareLoop
{
public:
    explicit BareLoop(quint16 port) : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const int on = 1;
        setsockopt(m_socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        const timeval patience{Patience / 1000, 0};
        setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        if (connect(m_socket, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0)
            fail("the bare loop cannot connect");
    }
    ~BareLoop() { close(m_socket); }
    BareLoop(const BareLoop &) = delete;
    BareLoop &operator=(const BareLoop &) = delete;

    void run(const Recording &recording)
    {
        m_received = 0;
        for (const Recording::Write &write : recording.writes) {
            receive(write.receivedBefore);
            if (send(m_socket, write.bytes.constData(),
                     static_cast<std::size_t>(write.bytes.size()),
                     MSG_NOSIGNAL) != write.bytes.size())
                fail("the bare loop cannot send");
        }
        receive(recording.received);
    }

private:
    void receive(qint64 upTo)
    {
        while (m_received < upTo) {
            const ssize_t count = recv(m_socket, m_buffer.data(), m_buffer.size(), 0);
            if (count <= 0)
                fail("the bare loop gets no answer");
            m_received += count;
        }
    }

    int m_socket;
    qint64 m_received = 0;
    std::array<char, 65536> m_buffer{};
};

struct Recorded
{
    double milliseconds = 0;
    Recording setUp;
    Recording operation;
};

Recorded throughTheConsole(const Operation &operation)
{
    const TesterProcess tester;
    Bench bench(tester.port());
    // So that neither a first time nor a sleeping core is measured
    prepareEepromRead(bench);
    startEepromRead(bench);
    bench.await([&] { return eepromReadEnded(bench); });
    operation.prepare(bench);
    Recorded recorded;
    recorded.setUp = bench.transport->take();
    QElapsedTimer clock;
    clock.start();
    operation.start(bench);
    bench.await([&] { return operation.ended(bench); });
    recorded.milliseconds = static_cast<double>(clock.nsecsElapsed()) / 1e6;
    recorded.operation = bench.transport->take();
    return recorded;
}

double throughTheBareLoop(const Recorded &recorded)
{
    const TesterProcess tester;
    BareLoop loop(tester.port());
    loop.run(recorded.setUp);
    QElapsedTimer clock;
    clock.start();
    loop.run(recorded.operation);
    return static_cast<double>(clock.nsecsElapsed()) / 1e6;
}

double median(std::vector<double> values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

bool compare(const Operation &operation)
{
    std::vector<double> ours;
    std::vector<double> bare;
    for (int i = 0; i < Repetitions; ++i) {
        const Recorded recorded = throughTheConsole(operation);
        ours.push_back(recorded.milliseconds);
        bare.push_back(throughTheBareLoop(recorded));
    }
    const double times = median(ours) / median(bare);
    const bool reached = times <= MostTimes;
    std::printf("%-36s %8.2f ms  %-28s %8.2f ms %6.2f %9.2f  %s\n", operation.name, median(ours),
                "bare blocking socket", median(bare), times, MostTimes, reached ? "ok" : "NOT");
    return reached;
}

constexpr std::array Operations{
    Operation{"descriptor walk", &prepareWalk, &startWalk, &walkEnded},
    Operation{"FTDI read of 64 words", &prepareEepromRead, &startEepromRead, &eepromReadEnded},
    Operation{"firmware blocks of 256 KiB", &prepareFirmware, &startFirmware, &firmwareEnded},
    Operation{"EZ-USB load of 8 KiB", &prepareEzUsb, &startEzUsb, &ezUsbEnded},
};

} // namespace

int main(int argc, char **argv)
{
    stayOnOneCore();
    const QCoreApplication application(argc, argv);
    bool reached = true;
    for (const Operation &operation : Operations) {
        if (QByteArrayView(operation.name).contains(argc > 1 ? argv[1] : ""))
            reached = compare(operation) && reached;
    }
    return reached ? EXIT_SUCCESS : EXIT_FAILURE;
}
