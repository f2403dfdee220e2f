// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/FaultTable.h"
#include "simulator/ScriptTalk.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel::test;
using namespace vantrel::simulator;

namespace {

Settings withKilobytes(quint16 ramK)
{
    Settings settings;
    settings.ramK = ramK;
    return settings;
}

/// A download that has stored 65535 steps, with memory for more.
struct LongDownload : ScriptTalk
{
    LongDownload() : ScriptTalk(withKilobytes(1024))
    {
        tester().setRecording(false);
        ask("0c"_hex);
        tester().receive(packet("0b"_hex).repeated(65535));
        take();
    }
};

} // namespace

/// Scripts on their way into the simulated tester: taken in, refused, given up.
class tst_simulateddownloads : public QObject
{
    Q_OBJECT

private slots:
    void stepsAreStoredAndReported();
    void indexOfTwoBytes();
    void everyPacketIsAStep();
    void refusedAtAStep();
    void refusedAtItsEnd();
    void nextDownloadEndsTheDropping();
    void automaticModeMayBeAStep();
    void consoleGivesUp();
    void newConversationEndsTheDropping();
    void refusedForLackOfMemory();
    void exactlyFillsTheMemory();
    void endWithTheLastIndex();
    void refusedForLackOfIndices();
    void longestRunWithoutAnEnd();
    void refusalByText();
    void silentDownloadIsOver();
    void silentRefusedDownloadIsOver();
    void deviceStatusDuringADownload();
};

void tst_simulateddownloads::stepsAreStoredAndReported()
{
    ScriptTalk talk;
    QCOMPARE(talk.ask("0c"_hex), packet("8c"_hex));
    QCOMPARE(talk.ask("02 00"_hex), packet("a0 0000 02"_hex));
    QCOMPARE(talk.ask("28 1b1b 41"_hex), packet("a0 0001 28"_hex));
    QCOMPARE(talk.ask("0d"_hex), packet("a0 0002 0d"_hex));
    QCOMPARE(talk.ask("21"_hex), packet("a0 0003 21"_hex));

    const QList<QByteArray> steps{"02 00"_hex, "28 1b 41"_hex, "0d"_hex, "21"_hex};
    QCOMPARE(talk.steps(), steps);
    QVERIFY(talk.tester().state().port.vbus()); // stored, not carried out
    QCOMPARE(talk.after(1000), QByteArray());
    QCOMPARE(talk.ask("0b"_hex), packet("8b 44"_hex));
}

void tst_simulateddownloads::indexOfTwoBytes()
{
    ScriptTalk talk;
    talk.ask("0c"_hex);
    for (int i = 0; i < 0x12B; ++i)
        talk.ask("0b"_hex);
    QCOMPARE(talk.ask("0e"_hex), packet("a0 012b 0e"_hex));
    QCOMPARE(talk.ask("21"_hex), packet("a0 012c 21"_hex));

    talk.ask("0d"_hex);
    talk.after(5 * 0x12B);
    QCOMPARE(talk.after(5), packet("a0 012b 8e 0000991e"_hex));
    QCOMPARE(talk.after(5), packet("a0 012c a1 012c"_hex));
}

void tst_simulateddownloads::everyPacketIsAStep()
{
    ScriptTalk talk;
    talk.ask("0c"_hex);
    QCOMPARE(talk.ask("7f 01"_hex), packet("a0 0000 7f"_hex)); // no such command
    QCOMPARE(talk.ask({}), packet("a0 0001 00"_hex));
    QCOMPARE(talk.ask("07 00 01"_hex), packet("a0 0002 07"_hex));
    QCOMPARE(talk.steps().size(), 3);
}

void tst_simulateddownloads::refusedAtAStep()
{
    ScriptTalk talk;
    talk.faults().refusedStep = 1;
    talk.ask("0c"_hex);
    QCOMPARE(talk.ask("0b"_hex), packet("a0 0000 0b"_hex));
    QCOMPARE(talk.ask("02 00"_hex), packet("97"_hex));

    for (const QByteArray &rest : {"03"_hex, "02 00"_hex, "07 00 00"_hex, "0d"_hex, "21"_hex})
        QCOMPARE(talk.ask(rest), QByteArray());
    QVERIFY(talk.tester().state().port.vbus());
    QVERIFY(!talk.tester().state().port.isSuspended());
    QVERIFY(talk.steps().isEmpty());

    QCOMPARE(talk.ask("0b"_hex), packet("8b 44"_hex)); // the end of the script was the last of it
    talk.faults().refusedStep.reset();
    QCOMPARE(talk.ask("0c"_hex), packet("8c"_hex));
    QCOMPARE(talk.ask("02 00"_hex), packet("a0 0000 02"_hex));
    QCOMPARE(talk.ask("03"_hex), packet("a0 0001 03"_hex));
    QCOMPARE(talk.ask("21"_hex), packet("a0 0002 21"_hex));
}

void tst_simulateddownloads::refusedAtItsEnd()
{
    ScriptTalk talk;
    talk.faults().refusedStep = 1;
    talk.ask("0c"_hex);
    talk.ask("0b"_hex);
    QCOMPARE(talk.ask("21"_hex), packet("97"_hex));
    QVERIFY(talk.steps().isEmpty());
}

void tst_simulateddownloads::nextDownloadEndsTheDropping()
{
    ScriptTalk talk;
    talk.faults().refusedStep = 0;
    talk.ask("0c"_hex);
    QCOMPARE(talk.ask("0b"_hex), packet("97"_hex));
    QCOMPARE(talk.ask("0b"_hex), QByteArray());
    talk.faults().refusedStep = std::nullopt;
    QCOMPARE(talk.ask("0c"_hex), packet("8c"_hex));
    QCOMPARE(talk.ask("0b"_hex), packet("a0 0000 0b"_hex));
}

void tst_simulateddownloads::automaticModeMayBeAStep()
{
    ScriptTalk talk;
    talk.faults().refusedStep = 0;
    talk.ask("0c"_hex);
    QCOMPARE(talk.ask("0b"_hex), packet("97"_hex));
    for (const QByteArray &rest : {"07 00 00"_hex, "07 02 01"_hex, "07 00 01"_hex, "02 00"_hex})
        QCOMPARE(talk.ask(rest), QByteArray());
    QVERIFY(!talk.tester().state().automaticMode.isOn());
    QVERIFY(!talk.tester().state().port.autoRecovery());
    QVERIFY(talk.tester().state().port.vbus());
    QCOMPARE(talk.ask("21"_hex), QByteArray());

    QCOMPARE(talk.ask("07 00 01"_hex), packet("87"_hex) + Connects); // the console's own
    QVERIFY(talk.tester().state().automaticMode.isOn());
}

/// It stops sending in the middle of the script and waits five seconds for its end.
void tst_simulateddownloads::consoleGivesUp()
{
    ScriptTalk talk;
    talk.faults().refusedStep = 0;
    talk.ask("0c"_hex);
    QCOMPARE(talk.ask("0b"_hex), packet("97"_hex));
    QCOMPARE(talk.ask("07 00 01"_hex), QByteArray());
    talk.tester().receive("1b53 02"_hex); // cut at the end of a chunk
    talk.after(5000);
    QCOMPARE(talk.ask("07 00 01"_hex), packet("87"_hex) + Connects);
    QCOMPARE(talk.ask("0b"_hex), packet("8b 44"_hex));
}

void tst_simulateddownloads::newConversationEndsTheDropping()
{
    ScriptTalk talk;
    talk.faults().refusedStep = 0;
    talk.ask("0c"_hex);
    talk.ask("0b"_hex);
    talk.tester().startConversation();
    QCOMPARE(talk.ask("0b"_hex), packet("8b 44"_hex));
}

void tst_simulateddownloads::refusedForLackOfMemory()
{
    ScriptTalk talk(withKilobytes(1));
    talk.ask("0c"_hex);
    QCOMPARE(talk.ask("28"_hex + QByteArray(1022, 'x')), packet("a0 0000 28"_hex));
    QCOMPARE(talk.ask("02 00"_hex), packet("97"_hex)); // the 1024th and 1025th byte
    QCOMPARE(talk.ask("0b"_hex), QByteArray());
    QCOMPARE(talk.ask("21"_hex), QByteArray());
    QVERIFY(talk.steps().isEmpty());

    // All of the memory is free again.
    talk.ask("0c"_hex);
    QCOMPARE(talk.ask("28"_hex + QByteArray(1022, 'x')), packet("a0 0000 28"_hex));
}

void tst_simulateddownloads::exactlyFillsTheMemory()
{
    ScriptTalk talk(withKilobytes(1));
    for (int i = 0; i < 2; ++i) { // what the first one took does not count the second time
        talk.ask("0c"_hex);
        QCOMPARE(talk.ask("28"_hex + QByteArray(1022, 'x')), packet("a0 0000 28"_hex));
        QCOMPARE(talk.ask("21"_hex), packet("a0 0001 21"_hex));
    }
    QCOMPARE(talk.tester().state().script.size(), 1024);
}

void tst_simulateddownloads::endWithTheLastIndex()
{
    LongDownload talk;
    QCOMPARE(talk.ask("21"_hex), packet("a0 ffff 21"_hex));
    QCOMPARE(talk.steps().size(), 65536);
    QCOMPARE(talk.ask("21"_hex), packet("a0 ffff 21"_hex)); // outside a download: the same end
    QCOMPARE(talk.ask("0b"_hex), packet("8b 44"_hex));
}

void tst_simulateddownloads::refusedForLackOfIndices()
{
    LongDownload talk;
    QCOMPARE(talk.ask("0b"_hex), packet("97"_hex));
    QVERIFY(talk.steps().isEmpty());
    QCOMPARE(talk.ask("0b"_hex), QByteArray());
    QCOMPARE(talk.ask("21"_hex), QByteArray());

    QCOMPARE(talk.ask("0c"_hex), packet("8c"_hex));
    QCOMPARE(talk.ask("0b"_hex), packet("a0 0000 0b"_hex));
}

void tst_simulateddownloads::longestRunWithoutAnEnd()
{
    LongDownload talk;
    talk.after(4000); // given up without an end
    talk.ask("0d"_hex);
    talk.tester().clock().advance(5 * 65534);
    talk.take();
    QCOMPARE(talk.after(5), packet("a0 fffe 8b 44"_hex));
    QCOMPARE(talk.after(5), packet("a0 ffff a1 ffff"_hex));
}

void tst_simulateddownloads::refusalByText()
{
    const FaultEntry *fault = findFault(QStringLiteral("refuse-step"));
    QVERIFY(fault);
    Faults faults;
    QVERIFY(fault->set(faults, QStringLiteral("300")));
    QCOMPARE(faults.refusedStep, std::optional(300));
    for (const char *wrong : {"", "-1", "first", "2147483648"})
        QVERIFY2(!fault->set(faults, QString::fromLatin1(wrong)), wrong);
    QCOMPARE(faults.refusedStep, std::optional(300));
    QVERIFY(fault->set(faults, QStringLiteral("off")));
    QVERIFY(!faults.refusedStep);
}

void tst_simulateddownloads::silentDownloadIsOver()
{
    ScriptTalk talk;
    talk.after(10'000); // silence before it does not count
    talk.ask("0c"_hex);
    QCOMPARE(talk.ask("0b"_hex), packet("a0 0000 0b"_hex));
    talk.after(3999);
    QCOMPARE(talk.ask("0b"_hex), packet("a0 0001 0b"_hex));
    talk.after(4000);
    QCOMPARE(talk.ask("0b"_hex), packet("8b 44"_hex));
    QCOMPARE(talk.steps().size(), 2);
}

void tst_simulateddownloads::silentRefusedDownloadIsOver()
{
    ScriptTalk talk;
    talk.faults().refusedStep = 0;
    talk.ask("0c"_hex);
    QCOMPARE(talk.ask("0b"_hex), packet("97"_hex));
    talk.after(3999);
    QCOMPARE(talk.ask("0b"_hex), QByteArray());
    talk.after(4000);
    QCOMPARE(talk.ask("0b"_hex), packet("8b 44"_hex));
}

void tst_simulateddownloads::deviceStatusDuringADownload()
{
    ScriptTalk talk;
    talk.faults().deviceStatus = 0x0E;
    talk.ask("0c"_hex);
    QCOMPARE(talk.ask("01 02 80 06 0001 0000 0800"_hex), packet("a0 0000 01"_hex));
    QCOMPARE(talk.steps().size(), 1);
}

VANTREL_TEST(tst_simulateddownloads)
#include "tst_simulateddownloads.moc"
