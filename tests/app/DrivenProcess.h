// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <functional>

#include <sys/types.h>

namespace vantrel::test {

inline QProcessEnvironment offscreen()
{
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    variables.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    return variables;
}

/// The program as a process, connected to a simulated Vorn 1 and driven through its windows by
/// lines (see DrivenProgram.cpp).
class DrivenProcess
{
public:
    /// `inChild` is called in the new process before the program is executed.
    explicit DrivenProcess(QProcessEnvironment variables = offscreen(),
                           std::function<void()> inChild = {})
    {
        variables.insert(QStringLiteral("HOME"), directory.path());
        variables.insert(QStringLiteral("XDG_DATA_HOME"), directory.path());
        process.setProcessEnvironment(variables);
        if (inChild)
            process.setChildProcessModifier(std::move(inChild));
        const QString copy = directory.filePath(QStringLiteral("vantrel"));
        if (!QFile::copy(QStringLiteral(DRIVEN_PROGRAM), copy))
            qFatal("no program");
        process.start(copy, {QStringLiteral("--simulator"), QStringLiteral("vorn1"),
                             QStringLiteral("--connect")});
    }
    ~DrivenProcess()
    {
        process.kill();
        process.waitForFinished();
    }
    DrivenProcess(const DrivenProcess &) = delete;
    DrivenProcess &operator=(const DrivenProcess &) = delete;

    QString ask(const QString &command)
    {
        process.write(command.toUtf8() + '\n');
        while (!process.canReadLine() && process.waitForReadyRead(20'000)) {
        }
        return QString::fromUtf8(process.readLine()).trimmed();
    }
    QString ask(const char *command) { return ask(QString::fromLatin1(command)); }

    /// Opens the window of the firmware loader; its menu item names the tester once it is
    /// connected.
    bool openLoader()
    {
        return QTest::qWaitFor(
            [this] {
                return ask("press mnuUtilFW").contains(QLatin1String("Vorn 1")) &&
                       ask("press fileselect") == QString() &&
                       ask("directory") != QLatin1String("none");
            },
            20'000);
    }

    /// Begins to write firmware. The simulated tester takes the blocks in no time and programs for
    /// seconds.
    void writeFirmware()
    {
        QVERIFY(openLoader());
        QCOMPARE(ask(QStringLiteral("choose ") + image()), QStringLiteral("chosen"));
        ask("press btProgram");
        QCOMPARE(ask("box"), QStringLiteral("none"));
    }

    /// Opens a log and waits until its header is in the file.
    void startLog()
    {
        ask("press FileNew");
        QCOMPARE(ask(QStringLiteral("choose ") + logPath()), QStringLiteral("chosen"));
        QTRY_VERIFY(log().contains("%% Log File Started: "));
    }
    QString logPath() const { return directory.filePath(QStringLiteral("session.log")); }
    QByteArray log() const
    {
        QFile file(logPath());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    /// Whether the log begins with its header and ends with one footer.
    bool isLogComplete() const
    {
        static const QRegularExpression wholeLog(
            QStringLiteral("\\A%%%%%\r\n%% Log File Started: [^\r]+\r\n%%%%%\r\n\r\n"
                           "(?:(?!%%).)*"
                           "\r\n%%%%%\r\n%% Log File Ended: [^\r]+\r\n%%%%%\r\n\\z"),
            QRegularExpression::DotMatchesEverythingOption);
        return wholeLog.match(QString::fromLatin1(log())).hasMatch();
    }

    /// False when the program has ended.
    bool send(int signal)
    {
        const auto id = static_cast<pid_t>(process.processId());
        return process.state() == QProcess::Running && id > 0 && ::kill(id, signal) == 0;
    }

    /// Whether the signal has ended the program.
    bool endedBy(int signal)
    {
        return process.waitForFinished(20'000) && process.exitStatus() == QProcess::CrashExit &&
               process.exitCode() == signal;
    }

    /// What the program, and not Qt, has written to standard error.
    QStringList errors()
    {
        const QString all = QString::fromUtf8(process.readAllStandardError());
        return all.split(QLatin1Char('\n'))
            .filter(QRegularExpression(QStringLiteral("^vantrel: ")));
    }

    QString image() const
    {
        QFile file(directory.filePath(QStringLiteral("new.bin")));
        const QByteArray bytes = QByteArray(10'000, '\x5A').replace(6, 2, QByteArray("\x04\0", 2));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("no image");
        return file.fileName();
    }

    QTemporaryDir directory;
    QProcess process;
};

} // namespace vantrel::test
