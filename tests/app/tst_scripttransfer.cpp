// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ScriptBench.h"
#include "protocol/ScriptFile.h"
#include "support/TestProgram.h"

using namespace vantrel;
using namespace vantrel::test;

namespace {

simulator::Settings withTwoMegabytes()
{
    simulator::Settings settings;
    settings.ramK = 2048;
    return settings;
}

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

/// Script files on their way through the whole program into the tester: whole, empty, refused.
class tst_scripttransfer : public QObject
{
    Q_OBJECT

private slots:
    void arrivesWhole_data();
    void arrivesWhole();
    void refused();
    void emptyFile();
    void refusedAfterTheFirstChunk_data();
    void refusedAfterTheFirstChunk();
    void moreStepsThanThereAreIndices();
};

void tst_scripttransfer::arrivesWhole_data()
{
    QTest::addColumn<qsizetype>("size");
    for (const qsizetype size : {511, 512, 513, 1024, 1025, 1024 * 1024})
        QTest::addRow("%lld", static_cast<long long>(size)) << size;
}

void tst_scripttransfer::arrivesWhole()
{
    QFETCH(qsizetype, size);
    QList<QByteArray> bodies;
    const QByteArray script = bigScript(size, bodies);
    QCOMPARE(script.size(), size);
    QVERIFY(!oddityOfScript(script));

    ScriptBench bench(withTwoMegabytes());
    QVERIFY(bench.ready());
    QVERIFY(bench.load(bench.fileOf(script)));
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

void tst_scripttransfer::refused()
{
    ScriptBench bench;
    QVERIFY(bench.ready());
    bench.tester->faults().refusedStep = 2;
    bench.pressLoad(example("power-cycle-and-enumerate"));
    QTRY_VERIFY(bench.session().ScriptError);
    QVERIFY(!bench.main().ScriptLoad.isEnabled());
    bench.tick(50);
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

void tst_scripttransfer::emptyFile()
{
    ScriptBench bench;
    QVERIFY(bench.ready());
    bench.pressLoad(bench.fileOf({}));
    const QList<QByteArray> opening{"07 00 00"_hex, "0c"_hex};
    QTRY_COMPARE(bench.tester->commandsSeen(), opening);
    QTRY_VERIFY(bench.commandLineSeen("VornScript Download"));
    QVERIFY(bench.commandLineSeen("Warning: "));

    bench.tick(49);
    QVERIFY(bench.session().ScriptBusy);
    QVERIFY(bench.main().ScriptIdx.text() != QLatin1String("Load Error"));
    QCOMPARE(bench.tester->commandsSeen(), opening); // nothing is asked meanwhile
    bench.tick(1);
    QVERIFY(!bench.session().ScriptBusy);
    QCOMPARE(bench.main().ScriptIdx.text(), QStringLiteral("Load Error"));
    QVERIFY(!bench.main().ScriptRun.isEnabled());
    QVERIFY(bench.main().ScriptLoad.isEnabled());

    // The tester gives the download up as well: it takes this for a command, not for a step.
    QTRY_COMPARE(bench.tester->commandsSeen().size(), 3);
    QCOMPARE(bench.tester->commandsSeen().last(), "07 00 01"_hex);
    QTRY_VERIFY(bench.tester->state().automaticMode.isOn());
    QCOMPARE(bench.stepCount(), 0);
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_scripttransfer::refusedAfterTheFirstChunk_data()
{
    QTest::addColumn<QByteArray>("steps"); // two, of 16 bytes on the wire
    QTest::newRow("harmless steps") << "1b53 28 41 42 43 1b45 1b53 28 44 45 46 1b45"_hex;
    QTest::newRow("Vbus off") << "1b53 02 00 00 00 1b45 1b53 03 00 00 00 1b45"_hex;
    QTest::newRow("automatic mode on, then Vbus off")
        << "1b53 07 00 01 1b45 1b53 02 00 00 00 00 1b45"_hex;
}

void tst_scripttransfer::refusedAfterTheFirstChunk()
{
    QFETCH(QByteArray, steps);
    constexpr qint32 Chunk = 512;
    const QByteArray script = steps.repeated(1024 * 1024 / 16) + EndPacket;
    ScriptBench bench;
    QVERIFY(bench.ready());
    bench.tester->faults().refusedStep = 63; // the last of the first chunk
    bench.pressLoad(bench.fileOf(script));
    QTRY_VERIFY(bench.session().ScriptError);

    // It sends no chunk more once it knows.
    const qint32 sent = bench.session().DownloadSent;
    QVERIFY2(sent >= Chunk && sent < 64 * Chunk && sent % Chunk == 0,
             qPrintable(QString::number(sent)));
    QTRY_COMPARE(bench.tester->commandsSeen().size(), 2 + sent / 8);
    bench.tick(49);
    QCOMPARE(bench.session().DownloadSent, sent);
    QVERIFY(bench.session().ScriptBusy);
    QVERIFY(!bench.main().Window.isEnabled());
    bench.tick(1);
    QCOMPARE(bench.main().ScriptIdx.text(), QStringLiteral("Load Error"));
    QVERIFY(bench.main().Window.isEnabled());

    // The tester has carried out nothing of it, but takes what the console says afterwards.
    QTRY_COMPARE(bench.tester->commandsSeen().last(), "07 00 01"_hex);
    QTRY_VERIFY(bench.tester->state().automaticMode.isOn());
    QVERIFY(bench.tester->state().port.vbus());
    QCOMPARE(bench.stepCount(), 0);
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_scripttransfer::moreStepsThanThereAreIndices()
{
    ScriptBench bench(withTwoMegabytes());
    QVERIFY(bench.ready());
    bench.pressLoad(bench.fileOf("1b53 0b 1b45"_hex.repeated(65536) + EndPacket));
    QTRY_VERIFY_WITH_TIMEOUT(bench.session().ScriptError, 60'000);
    bench.tick(50);
    QCOMPARE(bench.main().ScriptIdx.text(), QStringLiteral("Load Error"));
    QCOMPARE(bench.stepCount(), 0);

    QVERIFY(bench.load(bench.fileOf("1b53 0b 1b45"_hex.repeated(65535) + EndPacket)));
    QCOMPARE(bench.main().ScriptIdx.text(), QStringLiteral("VN_End @ 65535"));
    QCOMPARE(bench.stepCount(), 65536);
}

VANTREL_TEST(tst_scripttransfer)
#include "tst_scripttransfer.moc"
