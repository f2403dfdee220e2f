// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/FileDescriptor.h"
#include "simulator/Talk.h"
#include "support/TestProgram.h"

#include <QFile>
#include <QFileInfo>
#include <QHostAddress>
#include <QProcess>
#include <QRegularExpression>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

#include <array>
#include <csignal>
#include <functional>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace vantrel::test;

namespace {

/// The running program, and a socket to it.
class Program
{
public:
    /// `inChild` is called in the new process before the program is executed.
    explicit Program(const QStringList &arguments, std::function<void()> inChild = {})
    {
        if (inChild)
            m_process.setChildProcessModifier(std::move(inChild));
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.start(QString::fromLatin1(SIMULATOR), arguments);
    }
    ~Program()
    {
        m_process.terminate();
        if (!m_process.waitForFinished())
            m_process.kill();
    }

    bool says(const QString &text)
    {
        return QTest::qWaitFor([&] {
            m_output += QString::fromLocal8Bit(m_process.readAll());
            return m_output.contains(text);
        });
    }
    bool connectSocket()
    {
        const QRegularExpression listening(QStringLiteral("127\\.0\\.0\\.1 port (\\d+)\n"));
        if (!says(QStringLiteral(" port ")))
            return false;
        socket.connectToHost(QHostAddress::LocalHost,
                             listening.match(m_output).captured(1).toUShort());
        return QTest::qWaitFor([&] { return socket.state() == QTcpSocket::ConnectedState; });
    }
    bool answers(const QByteArray &command, const QByteArray &answer)
    {
        socket.write(command);
        return hears(answer);
    }
    bool hears(const QByteArray &bytes)
    {
        const bool heard = QTest::qWaitFor([&] {
            m_heard += socket.readAll();
            return m_heard == bytes;
        });
        if (!heard)
            qWarning("%s", m_heard.toHex(' ').constData());
        m_heard.clear();
        return heard;
    }
    void type(const char *line) { m_process.write(line); }
    void endInput() { m_process.closeWriteChannel(); }
    void raise(int signal) { ::kill(static_cast<pid_t>(m_process.processId()), signal); }
    /// Whether the signal has ended it.
    bool endedBy(int signal)
    {
        return QTest::qWaitFor([&] { return m_process.state() == QProcess::NotRunning; }) &&
               m_process.exitStatus() == QProcess::CrashExit && m_process.exitCode() == signal;
    }
    bool isRunning() const { return m_process.state() == QProcess::Running; }
    /// Exit code once it has ended, -1 if it does not or is killed by a signal.
    int exitCode()
    {
        if (!QTest::qWaitFor([&] { return m_process.state() == QProcess::NotRunning; }))
            return -1;
        return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }

    QTcpSocket socket;

private:
    QProcess m_process;
    QString m_output;
    QByteArray m_heard;
};

/// What becomes of standard output.
enum class Output { ClosedPipe, FullDevice, LimitedFile };

/// Called in the new process.
void replaceOutput(Output output, const char *file)
{
    std::array<int, 2> ends{-1, -1};
    if (output == Output::ClosedPipe && ::pipe(ends.data()) == 0)
        ::close(ends[0]);
    else if (output == Output::FullDevice)
        ends[1] = ::open("/dev/full", O_WRONLY);
    else
        ends[1] = ::open(file, O_WRONLY | O_CREAT, 0600);
    const rlimit limit{10, 10};
    if (output == Output::LimitedFile)
        ::setrlimit(RLIMIT_FSIZE, &limit);
    ::dup2(ends[1], STDOUT_FILENO);
    ::close(ends[1]);
}

QStringList words(const char *text)
{
    return QString::fromLatin1(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

} // namespace

class tst_simulatorprogram : public QObject
{
    Q_OBJECT

private slots:
    void options_data();
    void options();
    void badOptions_data();
    void badOptions();
    void listsItsDevices();
    void typedCommands();
    void verbose();
    void serialDevice();
    void outlivesItsInput();
    void terminatedInGoodOrder_data();
    void terminatedInGoodOrder();
    void outputCannotBeWritten_data();
    void outputCannotBeWritten();
    void takenPort();
    void secondConsole();
    void consoleThatDoesNotRead();
    void endlessCommandLine();
};

void tst_simulatorprogram::options_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("answer");
    const auto row = [](const char *arguments, const QByteArray &command, const QByteArray &body) {
        QTest::newRow(arguments) << QString::fromLatin1(arguments) << packet(command)
                                 << packet(body);
    };
    row("", "0f"_hex, "8f 02 03 0c 0040"_hex);
    row("--model 1", "0f"_hex, "8f 00 02 11 0020"_hex);
    row("--model 1 --firmware 2.8", "0f"_hex, "95"_hex);
    row("--firmware 4.0 --special --ram 300", "0f"_hex, "8f 03 04 00 012c"_hex);
    row("--bootstrap", "02 01"_hex, "95"_hex);
    row("--devices none", "0b"_hex, "8b 04"_hex);
    row("--devices keyboard", "0b"_hex, "8b 05"_hex);
    row("--devices mouse,disk", "01 05 80 06 0001 0000 1200"_hex,
        "81 00 12 01 0002 00 00 00 40 0d2e 4000 0101 01 02 03 02"_hex);
    row("--devices all", "01 2e 80 06 0001 0000 0400"_hex, "81 00 12011001"_hex);
    row("--devices 3,keyboard", "0b"_hex, "8b 44"_hex);
    row("--devices ezusb", "0b"_hex, "8b 06"_hex);
    row("--devices fx2", "01 08 c0a0 00e6 0000 0100"_hex, "81 00 00"_hex);
    row("--devices ftdi --eeprom-read-fails 1", "01 07 c0 90 0000 0100 0200"_hex, "81 0e"_hex);
    row("--firmware 4.1 --firmware-corrupts on", "0f"_hex, "8f 02 04 01 0040"_hex);
    row("--refusal 0x0b", "0b"_hex, "95"_hex);
    row("--status 0x81", "01 02 80 00 0000 0000 0200"_hex, "81 81"_hex);
    row("--delay 20 --fragment 1 --pause 2", "0b"_hex, "8b 44"_hex);
}

void tst_simulatorprogram::options()
{
    QFETCH(QString, arguments);
    QFETCH(QByteArray, command);
    QFETCH(QByteArray, answer);
    Program program(arguments.split(QLatin1Char(' '), Qt::SkipEmptyParts));
    QVERIFY(program.connectSocket());
    QVERIFY(program.answers(command, answer));
}

void tst_simulatorprogram::badOptions_data()
{
    QTest::addColumn<QString>("arguments");
    for (const char *arguments :
         {"--model 3", "--firmware 3", "--firmware 3.256", "--ram 32768", "--devices toaster",
          "--devices phone,all", "--port 65536", "--baud 12345 --pty", "--noise zz",
          "--silence 256", "--delay never", "--unheard-of"})
        QTest::newRow(arguments) << QString::fromLatin1(arguments);
}

void tst_simulatorprogram::badOptions()
{
    QFETCH(QString, arguments);
    Program program(arguments.split(QLatin1Char(' ')));
    QVERIFY(program.exitCode() > 0);
}

void tst_simulatorprogram::listsItsDevices()
{
    Program program(words("--help"));
    QVERIFY(program.says(QStringLiteral("keyboard,phone)"))); // the default; lines may be wrapped
    QVERIFY(program.says(QStringLiteral(
        "  disk              0x05           high-speed disk: two configurations, ")));
    QCOMPARE(program.exitCode(), 0);
}

void tst_simulatorprogram::typedCommands()
{
    Program program({});
    QVERIFY(program.connectSocket());
    QVERIFY(program.answers(packet("0b"_hex), packet("8b 44"_hex)));
    program.type("trigger 3\n");
    QVERIFY(program.hears(packet("96 03"_hex)));
    program.type("detach 3\nfault garbage aa\nerror 2 0x81 14\n");
    QVERIFY(program.hears("aa"_hex + packet("93 02 81 0e"_hex)));
    program.type("fault garbage off\n");
    program.type("nonsense\n");
    QVERIFY(program.says(QStringLiteral("no such command, try help")));
    QVERIFY(program.answers(packet("0b"_hex), packet("8b 05"_hex)));
    program.type("drop\n");
    QVERIFY(
        QTest::qWaitFor([&] { return program.socket.state() == QTcpSocket::UnconnectedState; }));
    program.type("quit\n");
    QCOMPARE(program.exitCode(), 0);
}

void tst_simulatorprogram::verbose()
{
    Program program(words("--verbose"));
    QVERIFY(program.connectSocket());
    program.socket.write(packet("0a 1b1b"_hex));
    QVERIFY(program.says(QStringLiteral("-> 0A 1B\n<- 8A\n")));
}

void tst_simulatorprogram::serialDevice()
{
    const QTemporaryDir directory;
    const QString link = directory.filePath(QStringLiteral("tester"));
    Program program(
        {QStringLiteral("--pty"), link, QStringLiteral("--baud"), QStringLiteral("38400")});
    QVERIFY(
        program.says(QStringLiteral("Serial device ") + link + QStringLiteral(" at 38400 baud")));
    QVERIFY(QFileInfo(link).isSymLink());
    const QString device = QFileInfo(link).symLinkTarget();
    const vantrel::FileDescriptor nearEnd(
        ::open(QFile::encodeName(device).constData(), O_RDWR | O_NOCTTY));
    program.type("drop\n"); // the device that is open has hung up; the link leads to another one
    QTRY_VERIFY(QFileInfo(link).isSymLink() && QFileInfo(link).symLinkTarget() != device);
    program.type("unplug\n");
    QTRY_VERIFY(!QFileInfo(link).isSymLink());
    program.type("plug\n");
    QTRY_VERIFY(QFileInfo(link).isSymLink());
}

void tst_simulatorprogram::outlivesItsInput()
{
    Program program({});
    QVERIFY(program.connectSocket());
    program.endInput();
    QVERIFY(program.answers(packet("0b"_hex), packet("8b 44"_hex)));
    QVERIFY(program.isRunning());
}

void tst_simulatorprogram::terminatedInGoodOrder_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGHUP") << SIGHUP;
}

void tst_simulatorprogram::terminatedInGoodOrder()
{
    QFETCH(int, signal);
    const QTemporaryDir directory;
    const QString link = directory.filePath(QStringLiteral("tester"));
    Program program({QStringLiteral("--pty"), link});
    QVERIFY(program.says(QStringLiteral("Serial device")));
    QVERIFY(QFileInfo(link).isSymLink());
    program.raise(signal);
    QVERIFY(program.endedBy(signal));
    QVERIFY(!QFileInfo(link).isSymLink());
}

void tst_simulatorprogram::outputCannotBeWritten_data()
{
    QTest::addColumn<Output>("output");
    QTest::addColumn<QString>("reason");
    QTest::newRow("closed pipe") << Output::ClosedPipe << QStringLiteral("Broken pipe");
    QTest::newRow("full device") << Output::FullDevice << QStringLiteral("No space left on device");
    QTest::newRow("file at its limit") << Output::LimitedFile << QStringLiteral("File too large");
}

void tst_simulatorprogram::outputCannotBeWritten()
{
    QFETCH(Output, output);
    QFETCH(QString, reason);
    const QTemporaryDir directory;
    const QString link = directory.filePath(QStringLiteral("tester"));
    const QByteArray file = QFile::encodeName(directory.filePath(QStringLiteral("output")));
    Program program({QStringLiteral("--pty"), link},
                    [output, file] { replaceOutput(output, file.constData()); });
    QVERIFY(program.says(QStringLiteral("vantrel-simulator: standard output: ") + reason));
    QCOMPARE(program.exitCode(), 1);
    QVERIFY(!QFileInfo(link).isSymLink());
}

void tst_simulatorprogram::takenPort()
{
    Program first({});
    QVERIFY(first.connectSocket());
    Program second({QStringLiteral("--port"), QString::number(first.socket.peerPort())});
    QVERIFY(second.says(QStringLiteral("vantrel-simulator: port ")));
    QCOMPARE(second.exitCode(), 1);
}

void tst_simulatorprogram::secondConsole()
{
    Program program({});
    QVERIFY(program.connectSocket());
    QVERIFY(program.answers(packet("0b"_hex), packet("8b 44"_hex)));
    QTcpSocket second;
    quint16 port = 0; // the connection may have ended before it is looked at
    connect(&second, &QTcpSocket::connected, this, [&] { port = second.localPort(); });
    second.connectToHost(QHostAddress::LocalHost, program.socket.peerPort());
    QVERIFY(QTest::qWaitFor([&] { return port != 0; }));
    QVERIFY(QTest::qWaitFor([&] { return second.state() == QTcpSocket::UnconnectedState; }));
    QVERIFY(program.says(
        QStringLiteral("vantrel-simulator: 127.0.0.1 port %1 refused: a console is connected\n")
            .arg(port)));
    QCOMPARE(second.readAll(), QByteArray());
    QVERIFY(program.answers(packet("0b"_hex), packet("8b 44"_hex)));
}

void tst_simulatorprogram::consoleThatDoesNotRead()
{
    Program program({});
    QVERIFY(program.connectSocket());
    program.socket.setReadBufferSize(1); // what it does not take stays with the system
    program.socket.blockSignals(true);
    // 10,000 answers of 4 KiB each: 40 MB
    program.socket.write(packet("36 0000 1000"_hex).repeated(10'000));
    QVERIFY(program.says(
        QStringLiteral("vantrel-simulator: the console on TCP does not read, packets are "
                       "dropped\n")));
    QVERIFY(program.isRunning());
}

void tst_simulatorprogram::endlessCommandLine()
{
    Program program({});
    program.type(QByteArray(2'000'000, 'x').constData());
    QVERIFY(
        program.says(QStringLiteral("vantrel-simulator: a command is too long and was ignored\n")));
    program.type("\nquit\n");
    QCOMPARE(program.exitCode(), 0);
}

VANTREL_TEST(tst_simulatorprogram)
#include "tst_simulatorprogram.moc"
