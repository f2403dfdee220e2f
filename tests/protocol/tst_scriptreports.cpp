// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/VornScript.h"
#include "support/Hex.h"
#include "support/ProtocolBench.h"
#include "support/SessionState.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

struct ScriptBench : ProtocolBench
{
    explicit ScriptBench(const char *scriptIdx)
    {
        session.Main.ScriptIdx.setText(QString::fromLatin1(scriptIdx));
        if (qstrcmp(scriptIdx, "Running") == 0)
            session.Steps = StepReports::Executed;
    }
    QString scriptIdx() const { return session.Main.ScriptIdx.text(); }
};

} // namespace

/// Reports of a script: its steps while it is stored, its messages, responses and end as it runs.
class TestScriptReports : public QObject
{
    Q_OBJECT

private slots:
    void stopped_data();
    void stopped();
    void stoppedActions();
    void stoppedWithoutIndex();
    void stoppedOrder();
    void stoppedSendsWhateverTheBoxSays();
    void end_data();
    void end();
    void endTouchesNothingElse();
    void message_data();
    void message();
    void messageTimerBeyondTheContract();
    void progress_data();
    void progress();
    void response_data();
    void response();
    void innerPacketIsLeft();
    void responseInsideAResponse();
    void runEndsInsideAResponse();
    void deepNesting();
    void tooDeepNesting();
    void deepNestingOfNothing();
};

void TestScriptReports::stopped_data()
{
    QTest::addColumn<QByteArray>("packet");
    QTest::addColumn<QString>("scriptIdx");

    QTest::newRow("index from behind the code")
        << "a0 00 07 a1 00 2a"_hex << QStringLiteral("Stopped @ 42");
    QTest::newRow("0") << "a0 ff ff a1 00 00"_hex << QStringLiteral("Stopped @ 0");
    QTest::newRow("high byte") << "a0 00 00 a1 01 02"_hex << QStringLiteral("Stopped @ 258");
    QTest::newRow("largest") << "a0 00 00 a1 ff ff"_hex << QStringLiteral("Stopped @ 65535");
}

void TestScriptReports::stopped()
{
    QFETCH(QByteArray, packet);
    QFETCH(QString, scriptIdx);

    for (const char *before : {"Running", "", " 7"}) {
        ScriptBench bench(before);
        bench.dispatch(packet);
        QCOMPARE(bench.scriptIdx(), scriptIdx);
        QVERIFY(bench.session.ScriptDone);
        QCOMPARE(bench.responses(), QByteArray());
    }
}

void TestScriptReports::stoppedActions()
{
    ScriptBench bench("Running");
    MainControls &main = bench.session.Main;
    bench.session.leases.beginRun();
    setScriptState(bench.session, ScriptState::Running);
    main.ScriptLoad.setEnabled(false);

    bench.dispatch("a0 00 07 a1 00 2a"_hex);

    QCOMPARE(bench.commandPane(), QLatin1String("\r\nScript Complete"));
    QVERIFY(!bench.session.ScriptBusy);
    QCOMPARE(bench.serial->written, QList<QByteArray>{"1b53 07 00 01 1b45"_hex});
    QCOMPARE(main.ScriptRun.text(), QLatin1String("Run"));
    QVERIFY(main.ScriptLoad.isEnabled());
}

void TestScriptReports::stoppedWithoutIndex()
{
    for (const QByteArray &packet : {"a0 00 07 a1"_hex, "a0 00 07 a1 00"_hex}) {
        ScriptBench bench("Running");
        MainControls &main = bench.session.Main;
        bench.session.leases.beginRun();
        setScriptState(bench.session, ScriptState::Running);
        main.ScriptLoad.setEnabled(false);

        bench.dispatch(packet);

        QCOMPARE(bench.scriptIdx(), QLatin1String("Running"));
        QVERIFY(bench.session.ScriptDone);
        QCOMPARE(bench.commandPane(), QLatin1String("\r\nScript Complete"));
        QVERIFY(!bench.session.ScriptBusy);
        QCOMPARE(bench.serial->written, QList<QByteArray>{"1b53 07 00 01 1b45"_hex});
        QCOMPARE(main.ScriptRun.text(), QLatin1String("Run"));
        QVERIFY(main.ScriptLoad.isEnabled());
    }
}

void TestScriptReports::stoppedOrder()
{
    ScriptBench bench("Running");
    bench.link.CloseLink();
    bench.session.leases.beginRun();
    QList<bool> busyAtEachLine;
    QObject::connect(&bench.session.Main.CmdWin, &Control::appended, this,
                     [&] { busyAtEachLine.append(bench.session.ScriptBusy); });
    bench.dispatch("a0 00 07 a1 00 2a"_hex);
    QCOMPARE(bench.commandPane(),
             QLatin1String("\r\nScript Complete\r\nNot connected: nothing was sent"));
    QCOMPARE(busyAtEachLine, (QList<bool>{true, false}));
}

void TestScriptReports::stoppedSendsWhateverTheBoxSays()
{
    for (const bool ticked : {false, true}) {
        ScriptBench bench("Running");
        bench.session.Main.Automode.setChecked(ticked);
        bench.dispatch("a0 00 07 a1 00 2a"_hex);
        QCOMPARE(bench.serial->written, QList<QByteArray>{"1b53 07 00 01 1b45"_hex});
        QCOMPARE(bench.session.Main.Automode.isChecked(), ticked);
    }
}

void TestScriptReports::end_data()
{
    QTest::addColumn<QByteArray>("packet");
    QTest::addColumn<QString>("scriptIdx");

    QTest::newRow("42") << "a0 00 2a 21"_hex << QStringLiteral("VN_End @ 42");
    QTest::newRow("0") << "a0 00 00 21"_hex << QStringLiteral("VN_End @ 0");
    QTest::newRow("256") << "a0 01 00 21 ff ff"_hex << QStringLiteral("VN_End @ 256");
}

void TestScriptReports::end()
{
    QFETCH(QByteArray, packet);
    QFETCH(QString, scriptIdx);

    for (const char *before : {"Running", "", " 41"}) {
        ScriptBench bench(before);
        bench.dispatch(packet);
        QCOMPARE(bench.scriptIdx(), scriptIdx);
        QVERIFY(bench.session.ScriptDone);
    }
}

void TestScriptReports::endTouchesNothingElse()
{
    ScriptBench expected("VN_End @ 42"); // the steps are stored ones again
    expected.session.ScriptDone = true;
    expected.session.leases.beginRun();
    ScriptBench bench("Running");
    bench.session.leases.beginRun();
    bench.dispatch("a0 00 2a 21"_hex);
    QCOMPARE(stateOf(bench.session), stateOf(expected.session));
    QCOMPARE(bench.serial->written, QList<QByteArray>());
}

void TestScriptReports::message_data()
{
    QTest::addColumn<QByteArray>("packet");
    QTest::addColumn<QByteArray>("shown");

    QTest::newRow("no data") << "a0 00 07 a8 00 00 00 00"_hex
                             << QByteArray("*** Message -- Index:  7  Timer:  0\r\n \r\n");
    QTest::newRow("text") << "a0 00 07 a8 00 01 00 00 48 69"_hex
                          << QByteArray("*** Message -- Index:  7  Timer:  65536\r\n 48 69 \r\n");
    QTest::newRow("each byte") << "a0 01 02 a8 01 02 03 04 ff"_hex
                               << QByteArray(
                                      "*** Message -- Index:  258  Timer:  16909060\r\n FF \r\n");
    QTest::newRow("largest timer")
        << "a0 ff ff a8 7f ff ff ff"_hex
        << QByteArray("*** Message -- Index:  65535  Timer:  2147483647\r\n \r\n");
}

void TestScriptReports::message()
{
    QFETCH(QByteArray, packet);
    QFETCH(QByteArray, shown);

    for (const char *scriptIdx : {"Running", "", " 6"}) {
        ScriptBench bench(scriptIdx);
        bench.dispatch(packet);
        QCOMPARE(bench.responses(), shown);
        QCOMPARE(bench.scriptIdx(), QLatin1String(scriptIdx));
        QVERIFY(!bench.session.ScriptDone);
    }
}

void TestScriptReports::messageTimerBeyondTheContract()
{
    ScriptBench bench("Running");
    bench.serial->receive("1b53 a0 00 07 a8 80 00 00 00 41 1b45"_hex);
    bench.serial->receive("1b53 a0 00 07 a8 ff ff ff ff 41 1b45 1b53 83 1b45"_hex);
    QCOMPARE(bench.commandPane(), QLatin1String("\r\nSuspending"));
}

void TestScriptReports::progress_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QByteArray>("packet");
    QTest::addColumn<QString>("after");

    QTest::newRow("first step") << QString() << "a0 00 00 8c"_hex << QStringLiteral(" 0");
    QTest::newRow("next step") << QStringLiteral(" 6") << "a0 00 07 83"_hex << QStringLiteral(" 7");
    QTest::newRow("high byte") << QStringLiteral(" 6") << "a0 01 00 83"_hex
                               << QStringLiteral(" 256");
    QTest::newRow("largest") << QString() << "a0 ff ff 83"_hex << QStringLiteral(" 65535");
    QTest::newRow("after a run") << QStringLiteral("Stopped @ 42") << "a0 00 01 8f"_hex
                                 << QStringLiteral(" 1");
    QTest::newRow("after an error")
        << QStringLiteral("Load Error") << "a0 00 01 01"_hex << QStringLiteral(" 1");
    QTest::newRow("the text does not decide")
        << QStringLiteral("Running") << "a0 00 01 83"_hex << QStringLiteral(" 1");
    QTest::newRow("nested report")
        << QString() << "a0 00 05 a0 00 06 a1 00 07"_hex << QStringLiteral(" 5");
    QTest::newRow("unknown code") << QString() << "a0 00 05 86"_hex << QStringLiteral(" 5");
}

void TestScriptReports::progress()
{
    QFETCH(QString, before);
    QFETCH(QByteArray, packet);
    QFETCH(QString, after);

    ProtocolBench expected;
    expected.session.Main.ScriptIdx.setText(after);
    ProtocolBench bench;
    bench.session.Main.ScriptIdx.setText(before);
    bench.dispatch(packet);
    QCOMPARE(stateOf(bench.session), stateOf(expected.session));
    QCOMPARE(bench.serial->written, QList<QByteArray>());
}

void TestScriptReports::response_data()
{
    QTest::addColumn<QByteArray>("packet");
    QTest::addColumn<QByteArray>("responses");
    QTest::addColumn<QString>("commandPane");

    QTest::newRow("acknowledgement")
        << "a0 00 07 8d"_hex << QByteArray("*** Script Response -- Index:  7\r\n")
        << QStringLiteral("\r\nRunning Script");
    QTest::newRow("data") << "a0 01 00 81 00 12"_hex
                          << QByteArray("*** Script Response -- Index:  256\r\n"
                                        "-- Device Request Response: Status = 00\r\n 12 \r\n")
                          << QString();
    QTest::newRow("report") << "a0 00 07 93 05 81 0e"_hex
                            << QByteArray("*** Script Response -- Index:  7\r\n"
                                          "*** Device Error \r\n     Address: 0x05   "
                                          "EndPoint: 0x81   Error = 0x0E: STALL\r\n")
                            << QString();
    QTest::newRow("block transfer") << "a0 00 07 b9"_hex
                                    << QByteArray("*** Script Response -- Index:  7\r\n"
                                                  "-- Block Transfer Response\r\n\r\n")
                                    << QString();
    QTest::newRow("ignored") << "a0 00 07 82"_hex
                             << QByteArray("*** Script Response -- Index:  7\r\n") << QString();
    QTest::newRow("unknown") << "a0 00 07 86"_hex
                             << QByteArray("*** Script Response -- Index:  7\r\n"
                                           "### Unrecognized Response From Tester ### \r\n")
                             << QString();
}

void TestScriptReports::response()
{
    QFETCH(QByteArray, packet);
    QFETCH(QByteArray, responses);
    QFETCH(QString, commandPane);

    ScriptBench bench("Running");
    bench.dispatch(packet);
    QCOMPARE(bench.responses(), responses);
    QCOMPARE(bench.commandPane(), commandPane);
    QCOMPARE(bench.scriptIdx(), QLatin1String("Running"));
}

void TestScriptReports::innerPacketIsLeft()
{
    ScriptBench bench("Running");
    bench.dispatch("a0 00 07 81 00 12"_hex);
    QCOMPARE(bench.session.RxPacket, "81 00 12"_hex);
    bench.dispatch("a0 00 07 a0 00 08 83"_hex);
    QCOMPARE(bench.session.RxPacket, "83"_hex);
}

void TestScriptReports::responseInsideAResponse()
{
    ScriptBench bench("Running");
    bench.serial->receive("1b53 a0 00 07 a0 00 08 88 1b45 1b53 83 1b45"_hex);
    QCOMPARE(bench.responses(), QByteArray("*** Script Response -- Index:  7\r\n"
                                           "*** Script Response -- Index:  8\r\n"));
    QCOMPARE(bench.commandPane(), QLatin1String("\r\nExecuting USB Reset\r\nSuspending"));
}

void TestScriptReports::runEndsInsideAResponse()
{
    ScriptBench bench("Running");
    bench.dispatch("a0 00 07 a0 00 08 a1 00 2a"_hex);
    QCOMPARE(bench.responses(), QByteArray("*** Script Response -- Index:  7\r\n"));
    QCOMPARE(bench.scriptIdx(), QLatin1String("Stopped @ 42"));
}

void TestScriptReports::deepNesting()
{
    constexpr int Depth = RecvDecode::MostNested - 1;
    ScriptBench bench("Running");
    bench.dispatch("a0 00 07"_hex.repeated(Depth) + "83"_hex);

    QCOMPARE(bench.commandPane(), QLatin1String("\r\nSuspending"));
    QVERIFY(bench.responses().endsWith("*** Script Response -- Index:  7\r\n"));
    QCOMPARE(bench.session.RxPacket, "83"_hex);
    bench.dispatch("84"_hex);
    QCOMPARE(bench.commandPane(), QLatin1String("\r\nSuspending\r\nResuming"));
}

void TestScriptReports::tooDeepNesting()
{
    ScriptBench bench("Running");
    bench.dispatch("a0 00 07"_hex.repeated(5'592'400) + "83"_hex);
    QCOMPARE(bench.commandPane(), QString());
    QVERIFY(bench.responses().endsWith("*** Script Response -- Index:  7\r\n"
                                       "*** Bytes of nested reports not shown: 16477201\r\n"));
    bench.dispatch("84"_hex);
    QCOMPARE(bench.commandPane(), QLatin1String("\r\nResuming"));
}

void TestScriptReports::deepNestingOfNothing()
{
    ScriptBench bench("Running");
    bench.dispatch("a0 00 07"_hex.repeated(1000)); // the innermost has no code
    bench.dispatch("83"_hex);
    QCOMPARE(bench.commandPane(), QLatin1String("\r\nSuspending"));
}

VANTREL_TEST(TestScriptReports)
#include "tst_scriptreports.moc"
