// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/ConsoleBench.h"
#include "support/Hex.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

const QByteArray Version = "1b53 0f 1b45"_hex;
const QByteArray Current = "1b53 0e 1b45"_hex;
const QByteArray PortStatus = "1b53 0b 1b45"_hex;

const QByteArray Vorn2Answer = "8f 02 03 0c 00 40"_hex;
const QByteArray BootstrapAnswer = "8f 82 01 00 00 40"_hex;
const QByteArray StatusAnswer = "8b 46"_hex;

/// How often the command pane says "Connecting...".
qsizetype connectingLines(const ConsoleBench &bench)
{
    return bench.main.CmdWin.text().count(QLatin1String("\r\nConnecting..."));
}

} // namespace

/// What the timer does once a second, in each state of the connection.
class TestOneSecond : public QObject
{
    Q_OBJECT

private slots:
    void tenTicksToTheStep();
    void countRunsWhileClosed();
    void closedDoesNothing_data();
    void closedDoesNothing();
    void openedSerial();
    void openedNetwork();
    void networkPending();
    void networkNeverConnects();
    void probingSerialWalksTheRates();
    void probingNetwork();
    void probingNetworkWhileUnconnected();
    void testerAt115200();
    void running();
    void runningKeepsPolling();
    void runningWithoutAnswer();
    void answersStop();
    void anyVersionOrStatusAnswerCounts();
    void otherAnswersDoNotCount();
    void bootstrap();
    void bootstrapWithoutAnswer();
    void answerBringsItBack();
    void probedAgainByAnotherWindow();
    void scriptBusyPauses();
    void scriptBusyKeepsTheCount();
    void scriptBusyInEveryState_data();
    void scriptBusyInEveryState();
};

void TestOneSecond::tenTicksToTheStep()
{
    ConsoleBench bench;
    bench.connect();
    bench.tick(9);
    QCOMPARE(bench.serial->written, QList<QByteArray>());
    bench.tick();
    QCOMPARE(bench.serial->written, QList<QByteArray>{Version});
    bench.tick(9);
    QCOMPARE(bench.serial->written, QList<QByteArray>{Version});
    bench.tick();
    QCOMPARE(bench.serial->written, (QList<QByteArray>{Version, Version}));
}

void TestOneSecond::countRunsWhileClosed()
{
    ConsoleBench bench;
    bench.tick(7);
    bench.connect();
    bench.tick(2);
    QCOMPARE(bench.serial->written, QList<QByteArray>());
    bench.tick();
    QCOMPARE(bench.serial->written, QList<QByteArray>{Version});
}

void TestOneSecond::closedDoesNothing_data()
{
    QTest::addColumn<int>("linkState");
    QTest::newRow("closed") << 0;
    QTest::newRow("5") << 5;
    QTest::newRow("-1") << -1;
}

void TestOneSecond::closedDoesNothing()
{
    QFETCH(int, linkState);

    ConsoleBench bench;
    bench.connect();
    const QString pane = bench.main.CmdWin.text();
    bench.session.LinkState = static_cast<LinkStates>(linkState);
    bench.session.StatusSeen = true;
    bench.tick(100);
    QCOMPARE(bench.serial->written, QList<QByteArray>());
    QCOMPARE(int(bench.session.LinkState), linkState);
    QCOMPARE(bench.session.StatusSeen, true);
    QCOMPARE(bench.main.CmdWin.text(), pane);
}

void TestOneSecond::openedSerial()
{
    ConsoleBench bench;
    bench.connect();
    bench.second();
    QCOMPARE(bench.serial->written, QList<QByteArray>{Version});
    QCOMPARE(bench.serial->settings, QList<QByteArray>{" 19200,n,8,1"});
    QCOMPARE(int(bench.session.LinkState), 2);
    QCOMPARE(bench.main.CmdWin.text(),
             QLatin1String("\r\nInitializing Communications...\r\nConnecting..."));
}

void TestOneSecond::openedNetwork()
{
    ConsoleBench bench;
    bench.connect(true);
    bench.second();
    QCOMPARE(bench.tcp->written, QList<QByteArray>{Version});
    QCOMPARE(int(bench.session.LinkState), 2);
    QCOMPARE(connectingLines(bench), 1);
}

void TestOneSecond::networkPending()
{
    ConsoleBench bench;
    bench.tcp->connectsAtOnce = false;
    bench.connect(true);
    bench.tick(35);
    QCOMPARE(bench.tcp->written, QList<QByteArray>());
    QCOMPARE(int(bench.session.LinkState), 1);
    QCOMPARE(connectingLines(bench), 0);

    bench.tcp->connectNow();
    bench.tick(4);
    QCOMPARE(bench.tcp->written, QList<QByteArray>());
    bench.tick();
    QCOMPARE(bench.tcp->written, QList<QByteArray>{Version});
    QCOMPARE(int(bench.session.LinkState), 2);
    QCOMPARE(connectingLines(bench), 1);
}

void TestOneSecond::networkNeverConnects()
{
    ConsoleBench bench;
    bench.tcp->connectsAtOnce = false;
    bench.connect(true);
    bench.tick(300);
    QCOMPARE(int(bench.session.LinkState), 1);
    QCOMPARE(bench.tcp->written, QList<QByteArray>());
    QCOMPARE(bench.tcp->opened.size(), 1);
    QCOMPARE(bench.main.CmdWin.text(), QLatin1String("\r\nInitializing Communications..."));

    bench.tcp->fail(QStringLiteral("Host unreachable"));
    QCOMPARE(int(bench.session.LinkState), 0);
    QCOMPARE(bench.dialogs.messages.size(), 1);
}

void TestOneSecond::probingSerialWalksTheRates()
{
    ConsoleBench bench;
    QList<QByteArray> ratesProbed;
    bench.serial->onWrite = [&](const QByteArray &bytes) {
        QCOMPARE(bytes, Version);
        ratesProbed.append(bench.serial->settings.last());
    };
    bench.connect();
    for (int seconds = 0; seconds < 6; ++seconds)
        bench.second();
    QCOMPARE(ratesProbed, (QList<QByteArray>{" 19200,n,8,1", " 38400,n,8,1", " 57600,n,8,1",
                                             " 115200,n,8,1", " 19200,n,8,1", " 38400,n,8,1"}));
    QCOMPARE(bench.serial->opened.size(), 1);
    QCOMPARE(int(bench.session.LinkState), 2);
    QCOMPARE(connectingLines(bench), 1);
}

void TestOneSecond::probingNetwork()
{
    ConsoleBench bench;
    bench.connect(true);
    for (int seconds = 0; seconds < 4; ++seconds)
        bench.second();
    QCOMPARE(bench.tcp->written, (QList<QByteArray>{Version, Version, Version, Version}));
    QCOMPARE(int{bench.session.BaudIndex}, 0);
    QCOMPARE(bench.serial->settings, QList<QByteArray>());
    QCOMPARE(connectingLines(bench), 1);
}

void TestOneSecond::probingNetworkWhileUnconnected()
{
    ConsoleBench bench;
    bench.connect(true);
    bench.second();
    bench.tcp->vanish();
    const QString pane = bench.main.CmdWin.text();
    bench.tick(30);
    QCOMPARE(bench.tcp->written, QList<QByteArray>{Version});
    QCOMPARE(bench.tcp->opened.size(), 1);
    QCOMPARE(bench.main.CmdWin.text(), pane);
    QCOMPARE(int(bench.session.LinkState), 2);
}

void TestOneSecond::testerAt115200()
{
    ConsoleBench bench;
    QList<QByteArray> probes;
    bench.serial->onWrite = [&](const QByteArray &bytes) {
        if (bytes == Version)
            probes.append(bench.serial->settings.last());
    };
    bench.connect();
    for (int seconds = 0; seconds < 10 && bench.session.LinkState != LinkStates::Running;
         ++seconds) {
        bench.second();
        if (bench.serial->settings.last() == " 115200,n,8,1")
            bench.answer(Vorn2Answer);
    }
    QCOMPARE(int(bench.session.LinkState), 3);
    QCOMPARE(probes,
             (QList<QByteArray>{" 19200,n,8,1", " 38400,n,8,1", " 57600,n,8,1", " 115200,n,8,1"}));
    bench.second();
    QCOMPARE(bench.serial->settings.last(), QByteArray(" 115200,n,8,1"));
}

void TestOneSecond::running()
{
    ConsoleBench bench;
    bench.run();
    QVERIFY(bench.session.StatusSeen);
    bench.second();
    QCOMPARE(bench.serial->written, (QList<QByteArray>{Current, PortStatus}));
    QCOMPARE(bench.session.StatusSeen, false);
    QCOMPARE(int(bench.session.LinkState), 3);
}

void TestOneSecond::runningKeepsPolling()
{
    ConsoleBench bench;
    bench.run();
    for (int seconds = 0; seconds < 20; ++seconds) {
        bench.second();
        QCOMPARE(bench.serial->takeWritten(), Current + PortStatus);
        bench.answer(StatusAnswer);
    }
    QCOMPARE(int(bench.session.LinkState), 3);
    QCOMPARE(connectingLines(bench), 1);
}

void TestOneSecond::runningWithoutAnswer()
{
    ConsoleBench bench;
    bench.run();
    bench.second();
    bench.serial->takeWritten();
    bench.second(); // nothing came back
    QCOMPARE(bench.serial->written, QList<QByteArray>());
    QCOMPARE(int(bench.session.LinkState), 2);
    QCOMPARE(connectingLines(bench), 2);

    bench.second(); // the next probe goes out at another rate
    QCOMPARE(bench.serial->written, QList<QByteArray>{Version});
    QCOMPARE(bench.serial->settings.last(), QByteArray(" 38400,n,8,1"));
}

void TestOneSecond::answersStop()
{
    for (int lastAnswer = 0; lastAnswer < 10; ++lastAnswer) {
        ConsoleBench bench;
        bench.run();
        bench.second();
        bench.tick(lastAnswer);
        bench.answer(StatusAnswer);
        bench.tick(10 - lastAnswer);
        bench.second();
        QCOMPARE(connectingLines(bench), 2);
        QCOMPARE(int(bench.session.LinkState), 2);
    }
}

void TestOneSecond::anyVersionOrStatusAnswerCounts()
{
    for (const QByteArray &answer : {StatusAnswer, Vorn2Answer, "8b"_hex}) {
        ConsoleBench bench;
        bench.run();
        bench.second();
        bench.answer(answer);
        bench.second();
        QCOMPARE(int(bench.session.LinkState), 3);
    }
}

void TestOneSecond::otherAnswersDoNotCount()
{
    ConsoleBench bench;
    bench.run();
    bench.second();
    bench.answer("8e 00 00 00 00"_hex);
    bench.answer("83"_hex);
    bench.answer("92 05 81 00"_hex);
    bench.answer("95"_hex);
    bench.second();
    QCOMPARE(int(bench.session.LinkState), 2);
}

void TestOneSecond::bootstrap()
{
    ConsoleBench bench;
    bench.connect();
    bench.second();
    bench.answer(BootstrapAnswer);
    QCOMPARE(int(bench.session.LinkState), 4);
    bench.serial->takeWritten();
    for (int seconds = 0; seconds < 5; ++seconds) {
        bench.second();
        QCOMPARE(bench.serial->takeWritten(), PortStatus);
        QCOMPARE(bench.session.StatusSeen, false);
        bench.answer(StatusAnswer);
    }
    QCOMPARE(int(bench.session.LinkState), 4);
}

void TestOneSecond::bootstrapWithoutAnswer()
{
    ConsoleBench bench;
    bench.connect();
    bench.second();
    bench.answer(BootstrapAnswer);
    bench.second();
    bench.serial->takeWritten();
    bench.second();
    QCOMPARE(bench.serial->written, QList<QByteArray>());
    QCOMPARE(int(bench.session.LinkState), 2);
    QCOMPARE(connectingLines(bench), 2);
}

void TestOneSecond::answerBringsItBack()
{
    ConsoleBench bench;
    bench.run(true);
    bench.tick(20);
    QCOMPARE(int(bench.session.LinkState), 2);
    bench.second();
    bench.answer(Vorn2Answer);
    QCOMPARE(int(bench.session.LinkState), 3);
    bench.tcp->takeWritten();
    bench.second();
    QCOMPARE(bench.tcp->takeWritten(), Current + PortStatus);
}

void TestOneSecond::probedAgainByAnotherWindow()
{
    ConsoleBench bench;
    bench.run();
    bench.session.LinkState = LinkStates::Opened; // as after a firmware download
    bench.second();
    QCOMPARE(bench.serial->written, QList<QByteArray>{Version});
    QCOMPARE(bench.serial->settings, QList<QByteArray>{" 19200,n,8,1"});
    QCOMPARE(int(bench.session.LinkState), 2);
    QCOMPARE(connectingLines(bench), 2);
}

void TestOneSecond::scriptBusyPauses()
{
    ConsoleBench bench;
    bench.run();
    bench.session.leases.beginRun();
    bench.session.StatusSeen = false;
    bench.tick(200);
    QCOMPARE(bench.serial->written, QList<QByteArray>());
    QCOMPARE(int(bench.session.LinkState), 3);
    QCOMPARE(bench.session.TickCount, 210);
}

void TestOneSecond::scriptBusyKeepsTheCount()
{
    ConsoleBench bench;
    bench.connect();
    bench.tick(6);
    bench.session.leases.beginRun();
    bench.tick(25);
    bench.session.leases.endRun();
    bench.tick(3);
    QCOMPARE(bench.serial->written, QList<QByteArray>());
    bench.tick();
    QCOMPARE(bench.serial->written, QList<QByteArray>{Version});
}

void TestOneSecond::scriptBusyInEveryState_data()
{
    QTest::addColumn<int>("linkState");
    for (int state = 1; state <= 4; ++state)
        QTest::addRow("%d", state) << state;
}

void TestOneSecond::scriptBusyInEveryState()
{
    QFETCH(int, linkState);

    ConsoleBench bench;
    bench.connect();
    bench.session.LinkState = static_cast<LinkStates>(linkState);
    bench.session.StatusSeen = true;
    bench.session.leases.beginRun();
    bench.tick(50);
    QCOMPARE(bench.serial->written, QList<QByteArray>());
    QCOMPARE(int(bench.session.LinkState), linkState);
    QCOMPARE(bench.session.StatusSeen, true);
}

VANTREL_TEST(TestOneSecond)
#include "tst_onesecond.moc"
