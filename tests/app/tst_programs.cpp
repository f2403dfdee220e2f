// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestProgram.h"

#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

namespace {

struct Run
{
    int exitCode = -1;
    QString output;
    QString errors;
};

/// An environment in which no window can be shown.
QProcessEnvironment withoutDisplay()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char *name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        environment.remove(QString::fromLatin1(name));
    return environment;
}

Run run(const char *program, const QStringList &arguments, const char *locale = "C.UTF-8")
{
    QProcess process;
    QProcessEnvironment environment = withoutDisplay();
    environment.insert(QStringLiteral("LC_ALL"), QString::fromLatin1(locale));
    process.setProcessEnvironment(environment);
    process.start(QString::fromLatin1(program), arguments);
    Run result;
    if (process.waitForFinished(90'000) && process.exitStatus() == QProcess::NormalExit)
        result.exitCode = process.exitCode();
    result.output = QString::fromLocal8Bit(process.readAllStandardOutput());
    result.errors = QString::fromLocal8Bit(process.readAllStandardError());
    return result;
}

/// A running program that is ended with the object.
class Running
{
public:
    Running(const char *program, const QStringList &arguments)
    {
        QProcessEnvironment environment = withoutDisplay();
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.start(QString::fromLatin1(program), arguments);
    }
    ~Running()
    {
        m_process.terminate();
        if (!m_process.waitForFinished(5000)) {
            m_process.kill();
            m_process.waitForFinished(5000);
        }
    }

    /// Waits until the output matches; the first group of the match, or the whole of it.
    QString waitFor(const char *pattern)
    {
        const QRegularExpression expression(QString::fromLatin1(pattern));
        QRegularExpressionMatch match;
        const bool seen = QTest::qWaitFor(
            [&] {
                m_output += QString::fromLocal8Bit(m_process.readAll());
                match = expression.match(m_output);
                return match.hasMatch();
            },
            20'000);
        if (!seen)
            qWarning("%s", qPrintable(m_output));
        return match.captured(match.lastCapturedIndex());
    }
    void say(const char *line) { m_process.write(line); }

private:
    QProcess m_process;
    QString m_output;
};

/// The console asks nobody for leave to make its names file, there being nobody to answer.
void makeNamesFile()
{
    QFile names(QFileInfo(QStringLiteral(VANTREL)).path() + QStringLiteral("/VLnetNames.dat"));
    QVERIFY(names.open(QIODevice::Append));
}

} // namespace

class tst_programs : public QObject
{
    Q_OBJECT

private slots:
    void helpWithoutDisplay_data();
    void helpWithoutDisplay();
    void version();
    void listPorts();
    void wrongOptions_data();
    void wrongOptions();
    void tour();
    void consoleAndSimulatorAsTwoPrograms();
};

void tst_programs::helpWithoutDisplay_data()
{
    QTest::addColumn<QByteArray>("program");
    QTest::addColumn<QStringList>("options");
    QTest::newRow("vantrel") << QByteArray(VANTREL)
                             << QStringList{"--simulator",  "--connect", "--host", "--port",
                                            "--com1",       "--com2",    "--com3", "--com4",
                                            "--list-ports", "--tour",    "--help", "--version"};
    QTest::newRow("vantrel-simulator")
        << QByteArray(SIMULATOR)
        << QStringList{"--port", "--pty", "--baud", "--bootstrap", "--help", "--version"};
}

void tst_programs::helpWithoutDisplay()
{
    QFETCH(QByteArray, program);
    QFETCH(QStringList, options);
    const Run help = run(program, {"--help"});
    QCOMPARE(help.exitCode, 0);
    for (const QString &option : options)
        QVERIFY2(help.output.contains(option), qPrintable(option));
}

void tst_programs::version()
{
    const Run version = run(VANTREL, {"--version"});
    QCOMPARE(version.exitCode, 0);
    QCOMPARE(version.output, QStringLiteral("vantrel " VERSION "\n"));
}

void tst_programs::listPorts()
{
    const Run ports = run(VANTREL, {"--list-ports"});
    QCOMPARE(ports.exitCode, 0);
    for (const QString &line : ports.output.split('\n', Qt::SkipEmptyParts))
        QVERIFY2(line.startsWith('/'), qPrintable(line));
}

void tst_programs::wrongOptions_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("unknown option") << QStringList{"--nonsense"};
    QTest::newRow("unknown model") << QStringList{"--simulator", "vorn3"};
    QTest::newRow("port 0") << QStringList{"--port", "0"};
    QTest::newRow("port too large") << QStringList{"--port", "65536"};
    QTest::newRow("no number") << QStringList{"--port", "seven"};
    QTest::newRow("host beside simulator") << QStringList{"--simulator", "--host", "localhost"};
}

void tst_programs::wrongOptions()
{
    QFETCH(QStringList, arguments);
    const Run wrong = run(VANTREL, arguments);
    QVERIFY(wrong.exitCode > 0);
    QVERIFY(!wrong.errors.isEmpty());
}

void tst_programs::tour()
{
    const QTemporaryDir directory;
    // Times in this locale have characters that do not fit into one byte.
    const Run tour = run(VANTREL, {"--tour", directory.path()}, "ko_KR.UTF-8");
    QVERIFY2(tour.exitCode == 0, qPrintable(tour.output + tour.errors));
    for (const char *line :
         {"** Vorn 2 Firmware Revision  3 . 12", "Setting Vbus Voltage", "Executing USB Reset",
          "Suspending", "Resuming", "*** Connect ", "The tour is complete."})
        QVERIFY2(tour.output.contains(QLatin1String(line)), line);
    for (const char *name :
         {"main", "main-closed", "main-suspended", "frmNewIP", "box-names-file"}) {
        const QImage picture(directory.filePath(QLatin1String(name) + QLatin1String(".png")));
        QVERIFY2(!picture.isNull(), name);
    }
    QFile log(directory.filePath(QStringLiteral("tour.log")));
    QVERIFY(log.open(QIODevice::ReadOnly));
    const QRegularExpression header(QStringLiteral(
        "^%%%%%\r\n%% Log File Started: \\d\\d:\\d\\d:\\d\\d \\d\\d? \\w\\w\\w \\d{4}\r\n"));
    QVERIFY(header.match(QString::fromLatin1(log.readAll())).hasMatch());
}

void tst_programs::consoleAndSimulatorAsTwoPrograms()
{
    makeNamesFile();
    Running tester(SIMULATOR, {"--verbose", "--port", "0"});
    const QString port = tester.waitFor("127\\.0\\.0\\.1\\D+(\\d+)");
    QVERIFY(!port.isEmpty());

    const Running console(VANTREL, {"--host", "127.0.0.1", "--port", port, "--connect"});
    // It asks who is there, sets the tester up, and goes on to poll.
    QVERIFY(!tester
                 .waitFor("\\b0[fF]\\b[\\s\\S]*\\b05 64\\b[\\s\\S]*\\b07 00 01\\b[\\s\\S]*"
                          "\\b0[aA] [fF][fF]\\b[\\s\\S]*\\b07 01 03\\b[\\s\\S]*\\b07 02 00\\b"
                          "[\\s\\S]*\\b0[eE]\\b[\\s\\S]*\\b0[bB]\\b")
                 .isEmpty());
}

VANTREL_TEST(tst_programs)
#include "tst_programs.moc"
