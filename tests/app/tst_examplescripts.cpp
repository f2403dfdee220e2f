// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ScriptBench.h"
#include "link/Files.h"
#include "protocol/ScriptFile.h"
#include "support/TestProgram.h"

using namespace vantrel;
using namespace vantrel::test;

/// Scripts from file to tester and back through the whole program: console, socket, tester.
class tst_examplescripts : public QObject
{
    Q_OBJECT

private slots:
    void everyStepAnswers_data();
    void everyStepAnswers();
    void readsTheDescriptors();
    void suspendsAndResumes();
    void powerCycles();
    void stopsInTheMiddle();
};

void tst_examplescripts::everyStepAnswers_data()
{
    QTest::addColumn<int>("steps"); // without the end
    QTest::newRow("power-cycle-and-enumerate") << 15;
    QTest::newRow("suspend-and-resume") << 13;
    QTest::newRow("read-all-descriptors") << 6;
    QTest::newRow("data-loop") << 48;
}

void tst_examplescripts::everyStepAnswers()
{
    QFETCH(int, steps);
    ScriptBench bench;
    QVERIFY(bench.ready());
    QVERIFY(bench.load(example(QTest::currentDataTag())));
    QCOMPARE(bench.main().ScriptIdx.text(), QStringLiteral("VN_End @ %1").arg(steps));
    QCOMPARE(bench.main().ScriptName.text(),
             QLatin1String(QTest::currentDataTag()) + QLatin1String(".vn"));
    QVERIFY(bench.main().ScriptRun.isEnabled());
    QCOMPARE(bench.commandLineCount("Warning: "), 0);

    for (int run = 1; run <= 2; ++run) { // again, as soon as it has ended
        bench.pressRun();
        QCOMPARE(bench.main().ScriptRun.text(), QStringLiteral("Stop"));
        QVERIFY(bench.runEnds());
        QCOMPARE(bench.commandLineCount("Script Complete"), run);
        QCOMPARE(bench.main().ScriptIdx.text(), QStringLiteral("Stopped @ %1").arg(steps));
        QVERIFY(!bench.session().ScriptBusy);

        qsizetype at = 0;
        const QByteArray shown = bench.script();
        for (int step = 0; step < steps; ++step) {
            const QByteArray index = "-- Index:  " + QByteArray::number(step);
            at = shown.indexOf(index, at);
            QVERIFY2(at >= 0, index + " is not in order in\n" + shown);
        }
        QCOMPARE(shown.count("-- Index: "), steps);
        QCOMPARE(shown.count("Command Error"), 0);
    }
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_examplescripts::readsTheDescriptors()
{
    ScriptBench bench;
    QVERIFY(bench.ready());
    QVERIFY(bench.load(example("read-all-descriptors")));
    bench.pressRun();
    QVERIFY(bench.runEnds());
    const QByteArray shown = bench.script();
    QVERIFY2(shown.contains(" 12 01 10 01 00 00 00 08 F3 05 07 00 20 03 00 00 00 01 \r\n"), shown);
    QVERIFY2(shown.contains(" 09 02 3B 00 02 01 00 A0 20 \r\n"), shown);
    QVERIFY2(shown.contains(" 09 02 3B 00 02 01 00 A0 20 09 04 00 "), shown);
    QVERIFY2(shown.contains("*** Message -- Index:  3  Timer:\r\n 43 6F 6E 66 69 67"), shown);
}

void tst_examplescripts::suspendsAndResumes()
{
    ScriptBench bench;
    QVERIFY(bench.ready());
    QVERIFY(bench.load(example("suspend-and-resume")));

    // The port status that each report carries to the console.
    QList<QByteArray> statuses;
    connect(bench.tester.get(), &simulator::Tester::packetSent, this, [&](const QByteArray &body) {
        if (body.startsWith('\xA0') && body.mid(3).startsWith('\x8B'))
            statuses.append(body.mid(4));
    });
    bench.pressRun();
    QVERIFY(bench.runEnds());
    const QList<QByteArray> expected{"44"_hex, "4c"_hex, "44"_hex};
    QCOMPARE(statuses, expected);
    QVERIFY(bench.commandLineSeen("Suspending"));
    QCOMPARE(bench.main().vornstate.text(), QStringLiteral("Active"));
}

void tst_examplescripts::powerCycles()
{
    ScriptBench bench;
    QVERIFY(bench.ready());
    QVERIFY(bench.load(example("power-cycle-and-enumerate")));
    bench.pressRun();
    bool wasOff = false;
    connect(bench.tester.get(), &simulator::Tester::packetSent, this,
            [&](const QByteArray &) { wasOff = wasOff || !bench.tester->state().port.vbus(); });
    QVERIFY(bench.runEnds());
    QVERIFY(wasOff);
    QCOMPARE(bench.tester->state().port.deviceAt(2)->configuration(), 1);
    QCOMPARE(bench.main().power.text(), QStringLiteral("On"));
}

void tst_examplescripts::stopsInTheMiddle()
{
    // So long that it cannot have ended by itself, however slow the machine.
    QByteArray round = readWholeFile(example("data-loop"));
    QVERIFY(round.endsWith(EndPacket));
    round.chop(EndPacket.size());

    ScriptBench bench;
    QVERIFY(bench.ready());
    QVERIFY(bench.load(bench.fileOf(round.repeated(100) + EndPacket)));
    QCOMPARE(bench.stepCount(), 4801);

    for (int run = 1; run <= 2; ++run) {
        bench.pressRun();
        QTRY_VERIFY(bench.script().contains("-- Index:  2"));
        bench.console.scriptRunClicked();
        QCOMPARE(bench.main().ScriptRun.text(), QStringLiteral("Stop")); // until the tester says so
        QVERIFY(bench.runEnds());
        QCOMPARE(bench.commandLineCount("Script Complete"), run);
        const QString where = bench.main().ScriptIdx.text();
        QVERIFY2(where.startsWith(QLatin1String("Stopped @ ")), qPrintable(where));
        const int index = where.mid(10).toInt();
        QVERIFY2(index >= 3 && index < 4800, qPrintable(where));
        QVERIFY(bench.main().ScriptLoad.isEnabled());
    }
}

VANTREL_TEST(tst_examplescripts)
#include "tst_examplescripts.moc"
