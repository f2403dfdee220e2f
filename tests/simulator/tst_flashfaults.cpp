// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/ScriptTalk.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel::test;
using namespace vantrel::simulator;

/// What can go wrong with the scripts in the simulated tester's flash.
class tst_flashfaults : public QObject
{
    Q_OBJECT

private slots:
    void refusedOperation_data();
    void refusedOperation();
    void failsToProgram();
    void leavesOtherCommands();
    void reportedState_data();
    void reportedState();
    void duringADownload();
    void duringARun();
};

void tst_flashfaults::refusedOperation_data()
{
    QTest::addColumn<QSet<quint8>>("failing");
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QByteArray>("slot"); // as read afterwards, without the fault
    const QByteArray enabled = "b1 01 4e69676874202020"_hex;
    const QByteArray disabled = "b1 00 4e69676874202020"_hex;
    QTest::newRow("disable") << QSet<quint8>{0} << "31 00 00"_hex
                             << "95"_hex << enabled;
    QTest::newRow("enable") << QSet<quint8>{1} << "31 00 01"_hex
                            << "95"_hex << enabled;
    QTest::newRow("program") << QSet<quint8>{2} << "31 00 02 4142434445464748"_hex
                             << "95"_hex
                             << "b1 ff 2020202020202020"_hex;
    QTest::newRow("read") << QSet<quint8>{3} << "31 00 03"_hex
                          << "95"_hex << enabled;
    QTest::newRow("another") << QSet<quint8>{1, 2, 3} << "31 00 00"_hex
                             << "b1"_hex << disabled;
    QTest::newRow("other slot") << QSet<quint8>{2} << "31 01 02 4142434445464748"_hex
                                << "95"_hex << enabled;
}

void tst_flashfaults::refusedOperation()
{
    QFETCH(QSet<quint8>, failing);
    QFETCH(QByteArray, command);
    ScriptTalk talk;
    talk.download({"0b"_hex});
    talk.ask("31 00 02 4e69676874202020"_hex); // "Night   "
    talk.ask("31 00 01"_hex);
    talk.faults().flashFailure.codes = failing;
    QFETCH(QByteArray, answer);
    QCOMPARE(talk.ask(command), packet(answer));
    talk.faults() = {};
    QFETCH(QByteArray, slot);
    QCOMPARE(talk.ask("31 00 03"_hex), packet(slot));
}

void tst_flashfaults::failsToProgram()
{
    ScriptTalk talk;
    talk.download({"0b"_hex});
    talk.ask("31 00 02 4e69676874202020"_hex);
    talk.faults().flashFailure.all = true;
    QCOMPARE(talk.ask("31 00 02 4142434445464748"_hex), packet("95"_hex));
    QCOMPARE(talk.ask("31 00 03"_hex), packet("95"_hex));
    talk.faults() = {};
    QCOMPARE(talk.ask("31 00 01"_hex), packet("b1"_hex)); // nothing there to enable
    QCOMPARE(talk.ask("31 00 03"_hex), packet("b1 ff 2020202020202020"_hex));
    QVERIFY(talk.tester().state().flash.slot(0).steps.isEmpty());

    // The working script is untouched: the next try can succeed.
    QCOMPARE(talk.ask("31 00 02 4142434445464748"_hex), packet("b1"_hex));
    QCOMPARE(talk.ask("31 00 03"_hex), packet("b1 00 4142434445464748"_hex));
    const QList<QByteArray> steps{"0b"_hex, "21"_hex};
    QCOMPARE(talk.tester().state().flash.slot(0).steps, steps);
}

void tst_flashfaults::leavesOtherCommands()
{
    ScriptTalk talk;
    talk.faults().flashFailure.all = true;
    QCOMPARE(talk.ask("0b"_hex), packet("8b 44"_hex));
    QCOMPARE(talk.ask("07 02 01"_hex), packet("87"_hex));
    QCOMPARE(talk.ask("31 00"_hex), packet("95"_hex)); // no operation at all
}

void tst_flashfaults::reportedState_data()
{
    QTest::addColumn<quint8>("state");
    QTest::addColumn<QByteArray>("empty");
    QTest::addColumn<QByteArray>("programmed");
    const auto row = [](const char *name, quint8 state, const QByteArray &byte) {
        QTest::newRow(name) << state << "b1"_hex + byte + "2020202020202020"_hex
                            << "b1"_hex + byte + "4e69676874202020"_hex;
    };
    row("disabled", 0, "00"_hex);
    row("enabled", 1, "01"_hex);
    row("undefined", 255, "ff"_hex);
    row("odd", 7, "07"_hex);
    row("ESC", 27, "1b1b"_hex);
}

void tst_flashfaults::reportedState()
{
    QFETCH(quint8, state);
    ScriptTalk talk;
    talk.faults().flashState = state;
    QFETCH(QByteArray, empty);
    QCOMPARE(talk.ask("31 00 03"_hex), packet(empty));
    QCOMPARE(talk.ask("31 00 02 4e69676874202020"_hex), packet("b1"_hex));
    QFETCH(QByteArray, programmed);
    QCOMPARE(talk.ask("31 00 03"_hex), packet(programmed));
    QCOMPARE(talk.ask("31 00 00"_hex), packet("b1"_hex));
    talk.faults().flashState.reset();
    QCOMPARE(talk.ask("31 00 03"_hex), packet("b1 00 4e69676874202020"_hex));
}

void tst_flashfaults::duringADownload()
{
    ScriptTalk talk;
    talk.faults().flashFailure.all = true;
    talk.faults().flashState = 7;
    talk.ask("0c"_hex);
    QCOMPARE(talk.ask("31 00 03"_hex), packet("a0 0000 31"_hex)); // stored, whatever it asks for
    QCOMPARE(talk.ask("31 00 02 4142434445464748"_hex), packet("a0 0001 31"_hex));
}

void tst_flashfaults::duringARun()
{
    ScriptTalk talk;
    for (const QByteArray &command : {"0c"_hex, "31 00 03"_hex, "31 00 03"_hex, "21"_hex, "0d"_hex})
        talk.ask(command);
    talk.faults().flashFailure.codes = {3};
    talk.tester().clock().advance(5);
    QCOMPARE(talk.take(), packet("a0 0000 95"_hex));
    talk.faults() = {};
    talk.faults().flashState = 7;
    talk.tester().clock().advance(5);
    QCOMPARE(talk.take(), packet("a0 0001 b1 07 2020202020202020"_hex));
}

VANTREL_TEST(tst_flashfaults)
#include "tst_flashfaults.moc"
