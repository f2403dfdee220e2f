// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/DrivenProcess.h"
#include "support/TestProgram.h"

#include <csignal>

#include <sys/resource.h>

using namespace vantrel::test;

namespace {

void addSignals()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGHUP") << SIGHUP;
}

bool isAboutFirmware(const QString &line)
{
    return line == QLatin1String("vantrel: Programming of the firmware was not awaited: "
                                 "whether it succeeded is unknown") ||
           line.startsWith(QLatin1String("vantrel: Firmware download was stopped: "));
}

} // namespace

/// Signals that end the program, and signals that do not.
class tst_stopsignals : public QObject
{
    Q_OBJECT

private slots:
    void whileFirmwareIsWritten_data() { addSignals(); }
    void whileFirmwareIsWritten();
    void withOpenLog_data() { addSignals(); }
    void withOpenLog();
    void twoSignalsAtOnce();
    void withoutAWrite();
    void whileDialogIsOpen_data();
    void whileDialogIsOpen();
    void secondSignalEndsProgramThatHangs();
    void hangUpIgnoredAtStart();
    void otherEndsWriteNoFooter();
    void fullLog();
    void fullLogAtTheEnd();
};

void tst_stopsignals::whileFirmwareIsWritten()
{
    QFETCH(int, signal);
    DrivenProcess program;
    program.ask("ok");
    program.writeFirmware();
    QVERIFY(program.send(signal));
    QVERIFY(program.endedBy(signal));
    const QStringList errors = program.errors();
    QCOMPARE(errors.size(), 1);
    QVERIFY2(isAboutFirmware(errors[0]), qPrintable(errors[0]));
}

void tst_stopsignals::withOpenLog()
{
    QFETCH(int, signal);
    DrivenProcess program;
    program.ask("ok");
    program.startLog();
    QVERIFY(!program.isLogComplete());
    QVERIFY(program.send(signal));
    QVERIFY(program.endedBy(signal));
    QVERIFY2(program.isLogComplete(), program.log().constData());
    QCOMPARE(program.errors(), QStringList());
}

/// One event may send several: a session that ends sends SIGTERM and SIGHUP.
void tst_stopsignals::twoSignalsAtOnce()
{
    DrivenProcess program;
    program.ask("ok");
    program.startLog();
    QVERIFY(program.send(SIGSTOP)); // both are pending before one is handled
    QVERIFY(program.send(SIGHUP));
    QVERIFY(program.send(SIGTERM));
    QVERIFY(program.send(SIGCONT));
    QVERIFY(program.process.waitForFinished(20'000));
    QCOMPARE(program.process.exitStatus(), QProcess::CrashExit);
    QVERIFY2(program.isLogComplete(), program.log().constData());
}

void tst_stopsignals::withoutAWrite()
{
    DrivenProcess program;
    program.ask("ok");
    QVERIFY(program.send(SIGTERM));
    QVERIFY(program.endedBy(SIGTERM));
    QCOMPARE(program.errors(), QStringList());
}

void tst_stopsignals::whileDialogIsOpen_data()
{
    QTest::addColumn<QStringList>("commands");
    QTest::addColumn<QString>("box");
    QTest::newRow("box about the names file")
        << QStringList() << QStringLiteral("Vantrel Initialization: Creating Network Name File");
    QTest::newRow("file dialog") << QStringList{QStringLiteral("ok"),
                                                QStringLiteral("press FileNew")}
                                 << QStringLiteral("none");
    QTest::newRow("file dialog of a tool window")
        << QStringList{QStringLiteral("ok"), QStringLiteral("loader")} << QStringLiteral("none");
    QTest::newRow("question") << QStringList{QStringLiteral("ok"), QStringLiteral("write"),
                                             QStringLiteral("press Exit")}
                              << QStringLiteral("Vantrel - Warning: ");
}

/// No box, question or file dialog keeps the program running.
void tst_stopsignals::whileDialogIsOpen()
{
    QFETCH(QStringList, commands);
    QFETCH(QString, box);
    DrivenProcess program;
    for (const QString &command : commands) {
        if (command == QLatin1String("loader"))
            QVERIFY(program.openLoader());
        else if (command == QLatin1String("write"))
            program.writeFirmware();
        else
            program.ask(command);
    }
    const QString shown = program.ask("box");
    QVERIFY2(shown.startsWith(box), qPrintable(shown));
    if (box == QLatin1String("none"))
        QVERIFY(program.ask("directory") != QLatin1String("none"));
    QVERIFY(program.send(SIGTERM));
    QVERIFY(program.endedBy(SIGTERM));
}

/// The event loop does not run, so the first signal is never handled.
void tst_stopsignals::secondSignalEndsProgramThatHangs()
{
    DrivenProcess program;
    program.ask("ok");
    QCOMPARE(program.ask("hang"), QStringLiteral("hanging"));
    QVERIFY(QTest::qWaitFor(
        [&program] {
            program.send(SIGINT);
            return program.process.state() == QProcess::NotRunning;
        },
        20'000));
    QCOMPARE(program.process.exitStatus(), QProcess::CrashExit);
    QCOMPARE(program.process.exitCode(), SIGINT);
}

/// As under nohup(1).
void tst_stopsignals::hangUpIgnoredAtStart()
{
    DrivenProcess program(offscreen(), [] { ::signal(SIGHUP, SIG_IGN); });
    QCOMPARE(program.ask("ok"), QStringLiteral("closed"));
    QVERIFY(program.send(SIGHUP));
    for (int turn = 0; turn < 3; ++turn) // a program that stops may answer once
        QCOMPARE(program.ask("box"), QStringLiteral("none"));
    QVERIFY(program.send(SIGTERM));
    QVERIFY(program.endedBy(SIGTERM));
}

void tst_stopsignals::otherEndsWriteNoFooter()
{
    DrivenProcess program;
    program.ask("ok");
    program.startLog();
    program.process.closeWriteChannel();
    QVERIFY(program.process.waitForFinished(20'000));
    QCOMPARE(program.process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.process.exitCode(), 0);
    QVERIFY(program.log().startsWith("%%%%%\r\n%% Log File Started: "));
    QVERIFY(!program.log().contains("%% Log File Ended: "));
}

/// The limit of a file's size is an error that the user sees, and not the end of the program.
void tst_stopsignals::fullLog()
{
    DrivenProcess program(offscreen(), [] {
        const rlimit limit{20, 20};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    });
    program.ask("ok");
    program.ask("press FileNew");
    QCOMPARE(program.ask(QStringLiteral("choose ") + program.logPath()), QStringLiteral("chosen"));
    QTRY_COMPARE(program.ask("box"),
                 QStringLiteral("Vantrel - Error: File too large: ") + program.logPath());
    QCOMPARE(program.log().size(), 20);
}

/// A log that cannot be completed is reported where it can be read.
void tst_stopsignals::fullLogAtTheEnd()
{
    DrivenProcess program(offscreen(), [] {
        const rlimit limit{90, 90}; // the header fits, the footer does not
        ::setrlimit(RLIMIT_FSIZE, &limit);
    });
    program.ask("ok");
    program.startLog();
    QVERIFY(program.send(SIGTERM));
    QVERIFY(program.endedBy(SIGTERM));
    QCOMPARE(program.errors(),
             QStringList(QStringLiteral("vantrel: File too large: ") + program.logPath()));
}

VANTREL_TEST(tst_stopsignals)
#include "tst_stopsignals.moc"
