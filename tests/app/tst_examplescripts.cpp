// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/NetworkBench.h"
#include "link/Files.h"
#include "protocol/ScriptFile.h"
#include "support/Hex.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>
#include <QTestEventLoop>

using namespace vantrel;
using namespace vantrel::test;

namespace {

const QByteArray EndPacket = "1b53 21 1b45"_hex;

QString example(const char *name)
{
    return QStringLiteral("%1/%2.vn").arg(QLatin1String(EXAMPLES), QLatin1String(name));
}

simulator::Settings withTwoMegabytes()
{
    simulator::Settings settings;
    settings.ramK = 2048;
    return settings;
}

/// A console that has set its tester up and is about to be given scripts.
struct ScriptBench : NetworkBench
{
    using NetworkBench::NetworkBench;

    bool ready()
    {
        return connectConsole() && // the phone is the last that the set-up finds
               QTest::qWaitFor([this] { return responses().contains("Product ID: 0x0166"); });
    }

    void pressLoad(const QString &path)
    {
        dialogs.paths.append(path);
        tester->clearCommandsSeen();
        console.scriptLoadClicked();
    }
    /// Loads the script and waits until the tester has all of it. A true event loop: qWaitFor()
    /// naps between two looks, and so between two chunks.
    bool load(const QString &path)
    {
        QTestEventLoop loop;
        QObject::connect(tester.get(), &simulator::Tester::packetSent, &loop,
                         [&loop](const QByteArray &body) {
                             if (body.startsWith('\xA0') && body.mid(3) == "21"_hex)
                                 loop.exitLoop();
                         });
        pressLoad(path);
        loop.enterLoop(60);
        return QTest::qWaitFor([this] { return main().ScriptLoad.isEnabled(); }) &&
               !session().ScriptError;
    }
    bool loadBytes(const QByteArray &script)
    {
        const QString path = directory.filePath(QStringLiteral("script.vn"));
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(script) == script.size() &&
               file.flush() && load(path);
    }

    void pressRun()
    {
        session().RespText.clear();
        console.scriptRunClicked();
    }
    bool runEnds()
    {
        return QTest::qWaitFor([this] { return main().ScriptRun.text() == QLatin1String("Run"); });
    }

    /// What the response pane shows of the run, without the tester's timer, which is real time.
    QByteArray script()
    {
        static const QRegularExpression timer(QStringLiteral("Timer:  ?\\d+"));
        return QString::fromLatin1(responses()).replace(timer, QStringLiteral("Timer:")).toLatin1();
    }
    qsizetype stepCount() const { return tester->state().script.steps().size(); }
};

/// As many packets as fill the bytes exactly, the end of the script included; with every byte value
/// in them. `bodies`: what the tester must see of them.
QByteArray bigScript(qsizetype size, QList<QByteArray> &bodies)
{
    constexpr qsizetype Frame = 4;
    QByteArray script;
    const auto append = [&](const QByteArray &body) {
        QByteArray doubled = body;
        doubled.replace("\x1b", "\x1b\x1b");
        script += "1b53"_hex + doubled + "1b45"_hex;
        bodies.append(body);
    };
    for (int i = 0; size - script.size() > 200; ++i) {
        QByteArray body = "28"_hex + QByteArray::number(i) + ' ';
        for (int at = 0; at < 53; ++at)
            body.append(static_cast<char>(i * 53 + at));
        append(body);
    }
    const qsizetype rest = size - script.size() - EndPacket.size() - Frame;
    append(QByteArray(rest, '\x28'));
    append("21"_hex);
    return script;
}

} // namespace

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
    void arrivesWhole_data();
    void arrivesWhole();
    void refused();
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
    QVERIFY(bench.loadBytes(round.repeated(100) + EndPacket));
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

void tst_examplescripts::arrivesWhole_data()
{
    QTest::addColumn<qsizetype>("size");
    for (const qsizetype size : {511, 512, 1024, 1025, 1024 * 1024})
        QTest::addRow("%lld", static_cast<long long>(size)) << size;
}

void tst_examplescripts::arrivesWhole()
{
    QFETCH(qsizetype, size);
    QList<QByteArray> bodies;
    const QByteArray script = bigScript(size, bodies);
    QCOMPARE(script.size(), size);
    QVERIFY(!oddityOfScript(script));

    ScriptBench bench(withTwoMegabytes());
    QVERIFY(bench.ready());
    QVERIFY(bench.loadBytes(script));
    QCOMPARE(bench.main().ScriptIdx.text(), QStringLiteral("VN_End @ %1").arg(bodies.size() - 1));
    QCOMPARE(bench.tester->state().script.steps(), bodies);

    // Automatic mode goes off, the download starts, and on again when all is done.
    QTRY_COMPARE(bench.tester->commandsSeen().size(), bodies.size() + 3);
    const QList<QByteArray> seen = bench.tester->commandsSeen();
    QCOMPARE(seen[0], "07 00 00"_hex);
    QCOMPARE(seen[1], "0c"_hex);
    QVERIFY(seen.mid(2, bodies.size()) == bodies);
    QCOMPARE(seen.last(), "07 00 01"_hex);
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_examplescripts::refused()
{
    ScriptBench bench;
    QVERIFY(bench.ready());
    bench.tester->faults().refusedStep = 2;
    bench.pressLoad(example("power-cycle-and-enumerate"));
    QTRY_VERIFY(bench.session().ScriptError);
    QVERIFY(!bench.main().ScriptLoad.isEnabled());
    for (int tick = 0; tick < 50; ++tick)
        bench.console.Timer1();
    QCOMPARE(bench.main().ScriptIdx.text(), QStringLiteral("Load Error"));
    QVERIFY(bench.main().ScriptLoad.isEnabled());
    QVERIFY(!bench.main().ScriptRun.isEnabled());
    QVERIFY(!bench.session().ScriptBusy);

    // The refused steps were dropped: nothing has happened to the device.
    QTRY_COMPARE(bench.tester->commandsSeen().last(), "07 00 01"_hex);
    QVERIFY(bench.tester->state().port.vbus());
    QCOMPARE(bench.stepCount(), 0);

    // The console polls as before, and the next script is taken.
    bench.tester->clearCommandsSeen();
    bench.second();
    QTRY_VERIFY(bench.tester->commandsSeen().contains("0b"_hex));
    QTRY_VERIFY(bench.session().StatusSeen);
    QCOMPARE(bench.session().LinkState, LinkStates::Running);
    bench.tester->faults().refusedStep.reset();
    QVERIFY(bench.load(example("read-all-descriptors")));
    bench.pressRun();
    QVERIFY(bench.runEnds());
    QVERIFY(bench.dialogs.messages.isEmpty());
}

QTEST_GUILESS_MAIN(tst_examplescripts)
#include "tst_examplescripts.moc"
