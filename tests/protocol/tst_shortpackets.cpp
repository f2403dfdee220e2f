// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Hex.h"
#include "support/ProtocolBench.h"
#include "support/SessionState.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

using Prepare = std::function<void(Session &)>;

/// Packets cut off anywhere: nothing shown, nothing changed, and the next packet is decoded. Those
/// of which a part is decoded are in tst_version and tst_scriptreports.
class TestShortPackets : public QObject
{
    Q_OBJECT

private slots:
    void cutOff_data();
    void cutOff();
    void trailingBytes_data();
    void trailingBytes();
    void portStatusWithoutItsByte();
    void nestedCutOff();
};

void TestShortPackets::cutOff_data()
{
    QTest::addColumn<QByteArray>("full"); // the shortest packet that the decoder takes
    QTest::addColumn<Prepare>("prepare");
    QTest::addColumn<bool>("dumps"); // bytes beyond the last field are shown

    const Prepare nothing = [](Session &) {};
    const auto row = [&](const char *name, const QByteArray &full, bool dumps = false) {
        QTest::newRow(name) << full << nothing << dumps;
    };
    const auto prepared = [](const char *name, const QByteArray &full, const Prepare &prepare,
                             bool dumps = false) {
        QTest::newRow(name) << full << prepare << dumps;
    };
    const Prepare running = [](Session &session) {
        session.Main.ScriptIdx.setText(QStringLiteral("Running"));
    };

    row("device request reply", "81 00"_hex, true);
    row("device transfer reply", "89 00"_hex, true);
    prepared("current, Vorn 1", "8e 01 00"_hex, [](Session &session) { session.TesterModel = 1; });
    prepared("current, Vorn 2", "8e 00 00 01 52"_hex,
             [](Session &session) { session.TesterModel = 2; });
    row("current, no model yet", "8e 00 00 01 52"_hex);
    row("connect", "90 00 05 09 34 12 78 56"_hex);
    row("disconnect", "90 01 05"_hex);
    row("status", "91 01 02 03 04"_hex);
    row("data", "92 05 81"_hex, true);
    prepared(
        "data with time stamp", "92 12 34 05 81"_hex,
        [](Session &session) { session.DataTimeStamps = true; }, true);
    row("device error", "93 05 81 0e"_hex);
    row("trigger", "96 03"_hex);
    row("script end", "a0 00 2a 21"_hex);
    row("script message", "a0 00 07 a8 00 01 02 03"_hex, true);
    row("download progress", "a0 00 07 8d"_hex);
    prepared("script response", "a0 00 07 8d"_hex, running);
    row("firmware block", "b3 00 01 00 00"_hex);
    row("block transfer runs", "b8 00"_hex);
    row("block transfer complete", "b8 01 00"_hex, true);
}

void TestShortPackets::cutOff()
{
    QFETCH(QByteArray, full);
    QFETCH(Prepare, prepare);

    for (qsizetype length = 1; length < full.size(); ++length) {
        ProtocolBench bench;
        prepare(bench.session);
        const QStringList before = stateOf(bench.session);
        bench.dispatch(full.first(length));
        QCOMPARE(stateOf(bench.session), before);
        QCOMPARE(bench.serial->written, QList<QByteArray>());

        bench.dispatch("83"_hex);
        QCOMPARE(bench.commandPane(), QLatin1String("\r\nSuspending"));
    }

    ProtocolBench bench;
    prepare(bench.session);
    const QStringList before = stateOf(bench.session);
    bench.dispatch(full);
    QVERIFY(stateOf(bench.session) != before);
}

void TestShortPackets::trailingBytes_data()
{
    cutOff_data();
    const Prepare nothing = [](Session &) {};
    QTest::newRow("version") << "8f 02 03 0c 00 40"_hex << nothing << false;
    QTest::newRow("version of another kind") << "8f 07 03 0c 00 40"_hex << nothing << false;
    QTest::newRow("script stopped") << "a0 00 07 a1 00 2a"_hex << nothing << false;
}

void TestShortPackets::trailingBytes()
{
    QFETCH(QByteArray, full);
    QFETCH(Prepare, prepare);
    QFETCH(bool, dumps);

    ProtocolBench exact;
    prepare(exact.session);
    exact.dispatch(full);
    ProtocolBench longer;
    prepare(longer.session);
    longer.dispatch(full + "de ad be ef"_hex);

    // A dump shows every byte to the end; whatever else the packet says is read from its front.
    QCOMPARE(stateOf(longer.session) == stateOf(exact.session), !dumps);
    QCOMPARE(longer.serial->written, exact.serial->written);
}

void TestShortPackets::portStatusWithoutItsByte()
{
    ProtocolBench expected;
    expected.session.StatusSeen = true;
    ProtocolBench bench;
    bench.dispatch("8b"_hex);
    QCOMPARE(stateOf(bench.session), stateOf(expected.session));
}

void TestShortPackets::nestedCutOff()
{
    ProtocolBench bench;
    bench.session.Steps = StepReports::Executed;
    bench.dispatch("a0 00 07 91 01 02 03"_hex); // a status report without its last byte
    QCOMPARE(bench.responses(), QByteArray("*** Script Response -- Index:  7\r\n"));
    bench.dispatch("a0 00 08 a0 00 09"_hex); // a script report without its inner code
    QCOMPARE(bench.responses(), QByteArray("*** Script Response -- Index:  7\r\n"
                                           "*** Script Response -- Index:  8\r\n"));
}

VANTREL_TEST(TestShortPackets)
#include "tst_shortpackets.moc"
