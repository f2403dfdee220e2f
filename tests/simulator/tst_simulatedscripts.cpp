// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/ScriptTalk.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel::test;
using namespace vantrel::simulator;

/// Scripts in the simulated tester: run, stopped, kept in flash.
class tst_simulatedscripts : public QObject
{
    Q_OBJECT

private slots:
    void run();
    void reportsOfAStep();
    void messageStep();
    void oddSteps();
    void emptyScripts_data();
    void emptyScripts();
    void runAgain();
    void runAnewWhileRunning();
    void stop();
    void onlyAutomaticModeOnStops();
    void stopAndRunFromInsideAReport();
    void downloadTakesTheScriptAway();
    void notInBootstrap();
    void newConversationAbandonsARun();
    void flashSlotOutlivesTheConversation();
    void silenceDuringARun();
    void refusalDuringARun();
    void deviceStatusDuringARun();
    void silentDeviceHoldsTheRun();
};

void tst_simulatedscripts::run()
{
    ScriptTalk talk;
    talk.download({"0b"_hex, "01 02 80 06 0001 0000 0800"_hex, "02 00"_hex, "0b"_hex});
    QCOMPARE(talk.ask("0d"_hex), packet("8d"_hex));
    QCOMPARE(talk.after(4), QByteArray());
    QCOMPARE(talk.after(1), packet("a0 0000 8b 44"_hex));
    QCOMPARE(talk.after(4), QByteArray());
    QCOMPARE(talk.after(1), packet("a0 0001 81 00 1201100100000008"_hex));
    QVERIFY(talk.tester().state().port.vbus()); // its step has not come yet
    QCOMPARE(talk.after(5), packet("a0 0002 82"_hex));
    QCOMPARE(talk.ask("0f"_hex),
             packet("8f 02 03 0c 00 40"_hex)); // commands are answered meanwhile
    QCOMPARE(talk.after(5), packet("a0 0003 8b 00"_hex));
    QCOMPARE(talk.after(5), packet("a0 0004 a1 0004"_hex));
    QCOMPARE(talk.after(1000), QByteArray());
}

void tst_simulatedscripts::reportsOfAStep()
{
    ScriptTalk talk;
    talk.ask("07 00 01"_hex);
    talk.download({"02 00"_hex, "02 01"_hex});
    talk.ask("0d"_hex);
    QCOMPARE(talk.after(5), packet("a0 0000 82"_hex) + Disconnects);
    QCOMPARE(talk.after(5), packet("a0 0001 82"_hex) + Connects);
}

void tst_simulatedscripts::messageStep()
{
    ScriptTalk talk;
    talk.after(70'000);
    talk.download({"28 6869 1b1b"_hex, "28"_hex});
    talk.ask("0d"_hex);
    QCOMPARE(talk.after(5), packet("a0 0000 a8 00011175 6869 1b1b"_hex)); // 70005
    QCOMPARE(talk.after(5), packet("a0 0001 a8 0001117a"_hex));
    // Only a script knows it.
    QCOMPARE(talk.ask("28 6869"_hex), packet("95"_hex));
}

void tst_simulatedscripts::oddSteps()
{
    ScriptTalk talk;
    talk.download({"7f"_hex, "01"_hex, {}, "22 01"_hex, "0d"_hex, "0b"_hex});
    talk.ask("0d"_hex);
    QCOMPARE(talk.after(5), packet("a0 0000 95"_hex)); // unknown
    QCOMPARE(talk.after(5), packet("a0 0001 95"_hex)); // too short
    QCOMPARE(talk.after(5), packet("a0 0002 95"_hex)); // nothing at all
    QCOMPARE(talk.after(5), QByteArray());             // has no reply
    QCOMPARE(talk.after(5), packet("a0 0004 8d"_hex)); // a script does not start itself
    QCOMPARE(talk.after(5), packet("a0 0005 8b 44"_hex));
    QCOMPARE(talk.after(5), packet("a0 0006 a1 0006"_hex));
}

void tst_simulatedscripts::emptyScripts_data()
{
    QTest::addColumn<QList<QByteArray>>("download");
    QTest::newRow("never downloaded") << QList<QByteArray>{};
    QTest::newRow("nothing but its end") << QList<QByteArray>{"0c"_hex, "21"_hex};
}

void tst_simulatedscripts::emptyScripts()
{
    QFETCH(QList<QByteArray>, download);
    ScriptTalk talk;
    for (const QByteArray &command : download)
        talk.ask(command);
    QCOMPARE(talk.ask("0d"_hex), packet("8d"_hex));
    QCOMPARE(talk.after(5), packet("a0 0000 a1 0000"_hex));
    QCOMPARE(talk.after(1000), QByteArray());
}

void tst_simulatedscripts::runAgain()
{
    ScriptTalk talk;
    talk.download({"0b"_hex});
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(talk.ask("0d"_hex), packet("8d"_hex));
        QCOMPARE(talk.after(5), packet("a0 0000 8b 44"_hex));
        QCOMPARE(talk.after(5), packet("a0 0001 a1 0001"_hex));
    }
}

void tst_simulatedscripts::runAnewWhileRunning()
{
    ScriptTalk talk;
    talk.download({"0b"_hex, "03"_hex});
    talk.ask("0d"_hex);
    QCOMPARE(talk.after(5), packet("a0 0000 8b 44"_hex));
    talk.after(2);
    QCOMPARE(talk.ask("0d"_hex), packet("8d"_hex));
    QCOMPARE(talk.after(4), QByteArray()); // the step of the first run is not taken
    QCOMPARE(talk.after(1), packet("a0 0000 8b 44"_hex));
    QCOMPARE(talk.after(5), packet("a0 0001 83"_hex));
    QCOMPARE(talk.after(5), packet("a0 0002 a1 0002"_hex));
    QCOMPARE(talk.after(1000), QByteArray());
}

void tst_simulatedscripts::stop()
{
    ScriptTalk talk;
    talk.download({"0b"_hex, "0b"_hex, "02 00"_hex});
    talk.ask("0d"_hex);
    QCOMPARE(talk.after(7), packet("a0 0000 8b 44"_hex));
    QCOMPARE(talk.ask("07 00 01"_hex), packet("87"_hex) + packet("a0 0001 a1 0001"_hex) + Connects);
    QCOMPARE(talk.after(1000), QByteArray());
    QVERIFY(talk.tester().state().port.vbus());
    QCOMPARE(talk.ask("07 00 01"_hex), packet("87"_hex)); // nothing runs: nothing stops

    talk.ask("0d"_hex);
    QCOMPARE(talk.after(5), packet("a0 0000 8b 44"_hex));
}

void tst_simulatedscripts::onlyAutomaticModeOnStops()
{
    ScriptTalk talk;
    talk.ask("07 00 01"_hex);
    talk.download({"07 00 01"_hex, "0b"_hex});
    talk.ask("0d"_hex);
    QCOMPARE(talk.ask("07 00 00"_hex), packet("87"_hex));
    QCOMPARE(talk.ask("07 02 01"_hex), packet("87"_hex));
    QCOMPARE(talk.after(5), packet("a0 0000 87"_hex) + Connects); // a step does not stop its script
    talk.faults().refusal.codes = {0x07};
    QCOMPARE(talk.ask("07 00 01"_hex), packet("95"_hex));
    QCOMPARE(talk.after(5), packet("a0 0001 8b 44"_hex));
    QCOMPARE(talk.after(5), packet("a0 0002 a1 0002"_hex));
}

void tst_simulatedscripts::stopAndRunFromInsideAReport()
{
    ScriptTalk talk;
    talk.download({"0b"_hex, "03"_hex});
    talk.ask("0d"_hex);
    Tester &tester = talk.tester();
    bool once = true;
    connect(&tester, &Tester::bytesReady, this, [&](const QByteArray &bytes) {
        if (bytes == packet("a0 0000 8b 44"_hex) && std::exchange(once, false))
            tester.receive(packet("07 00 01"_hex) + packet("0d"_hex));
    });
    QCOMPARE(talk.after(5), packet("a0 0000 8b 44"_hex) + packet("87"_hex) +
                                packet("a0 0001 a1 0001"_hex) + Connects + packet("8d"_hex));
    QCOMPARE(talk.after(5), packet("a0 0000 8b 44"_hex));
    QCOMPARE(talk.after(5), packet("a0 0001 83"_hex));
    QCOMPARE(talk.after(5), packet("a0 0002 a1 0002"_hex));
}

void tst_simulatedscripts::downloadTakesTheScriptAway()
{
    ScriptTalk talk;
    talk.download({"0b"_hex, "02 00"_hex});
    talk.ask("0d"_hex);
    QCOMPARE(talk.after(5), packet("a0 0000 8b 44"_hex));
    QCOMPARE(talk.ask("0c"_hex), packet("8c"_hex));
    QCOMPARE(talk.ask("03"_hex), packet("a0 0000 03"_hex));
    QCOMPARE(talk.after(1000), QByteArray());
    QCOMPARE(talk.ask("21"_hex), packet("a0 0001 21"_hex));
    const QList<QByteArray> steps{"03"_hex, "21"_hex};
    QCOMPARE(talk.steps(), steps);
    QVERIFY(talk.tester().state().port.vbus());
}

void tst_simulatedscripts::notInBootstrap()
{
    Settings settings;
    settings.bootstrap = true;
    ScriptTalk talk(settings);
    QCOMPARE(talk.ask("0c"_hex), packet("95"_hex));
    QCOMPARE(talk.ask("0d"_hex), packet("95"_hex));
    QCOMPARE(talk.after(1000), QByteArray());
}

void tst_simulatedscripts::newConversationAbandonsARun()
{
    ScriptTalk talk;
    talk.download({"0b"_hex, "02 00"_hex});
    talk.ask("0d"_hex);
    QCOMPARE(talk.after(5), packet("a0 0000 8b 44"_hex));
    talk.tester().startConversation();
    QCOMPARE(talk.after(1000), QByteArray());
    QVERIFY(talk.tester().state().port.vbus());

    talk.ask("0d"_hex); // the script is still there
    QCOMPARE(talk.after(5), packet("a0 0000 8b 44"_hex));
    QCOMPARE(talk.after(5), packet("a0 0001 82"_hex));
    QCOMPARE(talk.after(5), packet("a0 0002 a1 0002"_hex));
}

void tst_simulatedscripts::flashSlotOutlivesTheConversation()
{
    ScriptTalk talk;
    talk.download({"0b"_hex, "03"_hex});
    QCOMPARE(talk.ask("31 00 02 4e69676874202020"_hex), packet("b1"_hex)); // "Night   "
    QCOMPARE(talk.ask("31 00 03"_hex), packet("b1 00 4e69676874202020"_hex));
    QCOMPARE(talk.ask("31 00 01"_hex), packet("b1"_hex));
    talk.tester().startConversation();
    QCOMPARE(talk.ask("31 00 03"_hex), packet("b1 01 4e69676874202020"_hex));

    // The next download is another script: flash keeps what was put there.
    talk.download({"04"_hex});
    talk.tester().startConversation();
    const QList<QByteArray> steps{"0b"_hex, "03"_hex, "21"_hex};
    QCOMPARE(talk.tester().state().flash.slot(0).steps, steps);
}

void tst_simulatedscripts::silenceDuringARun()
{
    ScriptTalk talk;
    talk.download({"0b"_hex, "03"_hex, "0b"_hex});
    talk.ask("0d"_hex);
    talk.faults().silence.all = true;
    QCOMPARE(talk.after(10), QByteArray());
    talk.faults().silence.all = false;
    QCOMPARE(talk.after(5), packet("a0 0002 8b 4c"_hex)); // the lost step was carried out
    QCOMPARE(talk.after(5), packet("a0 0003 a1 0003"_hex));

    talk.faults().silence.codes = {0x0B, 0x0D}; // answers, not reports
    QCOMPARE(talk.ask("0d"_hex), QByteArray());
    QCOMPARE(talk.after(5), packet("a0 0000 8b 4c"_hex));
}

void tst_simulatedscripts::refusalDuringARun()
{
    ScriptTalk talk;
    talk.download({"02 00"_hex, "0b"_hex});
    talk.faults().refusal.codes = {0x02};
    talk.ask("0d"_hex);
    QCOMPARE(talk.after(5), packet("a0 0000 95"_hex));
    QCOMPARE(talk.after(5), packet("a0 0001 8b 44"_hex));

    talk.after(1000);
    talk.faults().refusal.codes = {0x0D};
    QCOMPARE(talk.ask("0d"_hex), packet("95"_hex));
    QCOMPARE(talk.after(1000), QByteArray());
}

void tst_simulatedscripts::deviceStatusDuringARun()
{
    ScriptTalk talk;
    talk.download({"01 02 80 06 0001 0000 0800"_hex, "01 02 80 06 0001 0000 0800"_hex});
    talk.faults().deviceStatus = 0x0E;
    talk.ask("0d"_hex);
    QCOMPARE(talk.after(5), packet("a0 0000 81 0e"_hex));
    talk.faults().deviceStatus.reset();
    QCOMPARE(talk.after(5), packet("a0 0001 81 00 1201100100000008"_hex));
}

void tst_simulatedscripts::silentDeviceHoldsTheRun()
{
    ScriptTalk talk;
    QVERIFY(attachBuiltInDevices(talk.tester(), {QStringLiteral("silent")}));
    talk.download({"0b"_hex, "01 2c 80 06 0001 0000 1200"_hex, "0b"_hex});
    talk.ask("0d"_hex);
    QCOMPARE(talk.after(5), packet("a0 0000 8b 44"_hex));
    QCOMPARE(talk.after(100'000), QByteArray());
    QCOMPARE(talk.ask("0b"_hex), packet("8b 44"_hex)); // commands are answered meanwhile
    const QByteArray stopped = talk.ask("07 00 01"_hex);
    QVERIFY2(stopped.startsWith(packet("87"_hex) + packet("a0 0001 a1 0001"_hex)),
             stopped.toHex(' ').constData());
    QCOMPARE(talk.after(100'000), QByteArray());
}

VANTREL_TEST(tst_simulatedscripts)
#include "tst_simulatedscripts.moc"
