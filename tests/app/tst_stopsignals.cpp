// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestProgram.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStringList>
#include <QTemporaryDir>

#include <csignal>

namespace {

/// The program with a simulated Vorn 1, driven through its windows.
class DrivenProgram
{
public:
    DrivenProgram()
    {
        QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
        variables.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        variables.insert(QStringLiteral("HOME"), directory.path());
        variables.insert(QStringLiteral("XDG_DATA_HOME"), directory.path());
        process.setProcessEnvironment(variables);
        const QString copy = directory.filePath(QStringLiteral("vantrel"));
        if (!QFile::copy(QStringLiteral(DRIVEN_PROGRAM), copy))
            qFatal("no program");
        process.start(copy, {QStringLiteral("--simulator"), QStringLiteral("vorn1"),
                             QStringLiteral("--connect")});
    }
    ~DrivenProgram()
    {
        process.kill();
        process.waitForFinished();
    }
    DrivenProgram(const DrivenProgram &) = delete;
    DrivenProgram &operator=(const DrivenProgram &) = delete;

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

} // namespace

/// Signals that end the program.
class tst_stopsignals : public QObject
{
    Q_OBJECT

private slots:
    void whileFirmwareIsWritten_data();
    void whileFirmwareIsWritten();
    void withoutAWrite();
};

void tst_stopsignals::whileFirmwareIsWritten_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
}

/// The simulated tester takes the blocks in no time and programs for seconds.
void tst_stopsignals::whileFirmwareIsWritten()
{
    QFETCH(int, signal);
    DrivenProgram program;
    program.ask("ok");
    QVERIFY(program.openLoader());
    QCOMPARE(program.ask(QStringLiteral("choose ") + program.image()), QStringLiteral("chosen"));
    program.ask("press btProgram");
    QCOMPARE(program.ask("box"), QStringLiteral("none"));
    QCOMPARE(::kill(static_cast<pid_t>(program.process.processId()), signal), 0);
    QVERIFY(program.process.waitForFinished(20'000));
    QCOMPARE(program.process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.process.exitCode(), 0);
    const QStringList errors = program.errors();
    QCOMPARE(errors.size(), 1);
    QVERIFY2(errors[0] == QLatin1String("vantrel: Programming of the firmware was not awaited: "
                                        "whether it succeeded is unknown") ||
                 errors[0].startsWith(QLatin1String("vantrel: Firmware download was stopped: ")),
             qPrintable(errors[0]));
}

void tst_stopsignals::withoutAWrite()
{
    DrivenProgram program;
    program.ask("ok");
    QCOMPARE(::kill(static_cast<pid_t>(program.process.processId()), SIGTERM), 0);
    QVERIFY(program.process.waitForFinished(20'000));
    QCOMPARE(program.process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.errors(), QStringList());
}

VANTREL_TEST(tst_stopsignals)
#include "tst_stopsignals.moc"
