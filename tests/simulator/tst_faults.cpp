// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/Talk.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel::test;
using namespace vantrel::simulator;

class tst_faults : public QObject
{
    Q_OBJECT

private slots:
    void silence();
    void silenceByCommand();
    void refusal();
    void refusalByCommand();
    void refusedAndSilent();
    void wrongStatus();
    void shortReply_data();
    void shortReply();
    void shortReplyLeavesReports();
    void doubleReply();
    void doubleReplyLeavesReports();
    void shortAndDouble();
    void delay();
    void delayKeepsTheOrder();
    void newConversationForgetsDelayed();
    void garbage();
    void fragments_data();
    void fragments();
    void fragmentsWithPauses();
    void dropAfter_data();
    void dropAfter();
    void dropHappensOnce();
    void dropNow();
    void together();
};

void tst_faults::silence()
{
    Talk talk;
    talk.tester().faults().silence.all = true;
    QCOMPARE(talk.ask("0f"_hex), QByteArray());
    QCOMPARE(talk.ask("07 00 01"_hex), QByteArray());
    QCOMPARE(talk.ask("ff"_hex), QByteArray());
    talk.tester().reportTrigger(1);
    talk.tester().reportCommandError();
    QCOMPARE(talk.take(), QByteArray());
    talk.ask("02 00"_hex); // carried out all the same
    talk.tester().faults().silence.all = false;
    QCOMPARE(talk.ask("0b"_hex), packet("8b 00"_hex));
}

void tst_faults::silenceByCommand()
{
    Talk talk;
    talk.tester().faults().silence.codes = {0x0E, 0x36};
    QCOMPARE(talk.ask("0e"_hex), QByteArray());
    QCOMPARE(talk.ask("36 0010 0012"_hex), QByteArray());
    QCOMPARE(talk.ask("36 ffff 0012"_hex), QByteArray()); // nor is an error told
    QCOMPARE(talk.ask("0b"_hex), packet("8b 44"_hex));
    talk.tester().reportTrigger(1);
    QCOMPARE(talk.take(), packet("96 01"_hex));
}

void tst_faults::refusal()
{
    Talk talk;
    talk.tester().faults().refusal.all = true;
    QCOMPARE(talk.ask("0f"_hex), packet("95"_hex));
    QCOMPARE(talk.ask("02 00"_hex), packet("95"_hex));
    QCOMPARE(talk.ask("22 01"_hex), packet("95"_hex));
    talk.tester().faults().refusal.all = false;
    QCOMPARE(talk.ask("0b"_hex), packet("8b 44"_hex)); // not carried out
}

void tst_faults::refusalByCommand()
{
    Talk talk;
    talk.tester().faults().refusal.codes = {0x31};
    QCOMPARE(talk.ask("31 00 03"_hex), packet("95"_hex));
    QCOMPARE(talk.ask("0f"_hex), packet("8f 02 03 0c 0040"_hex));
}

void tst_faults::refusedAndSilent()
{
    Talk talk;
    talk.tester().faults().refusal.codes = {0x0F};
    talk.tester().faults().silence.codes = {0x0F};
    QCOMPARE(talk.ask("0f"_hex), QByteArray());
}

void tst_faults::wrongStatus()
{
    Talk talk;
    talk.tester().faults().deviceStatus = 0x81;
    QCOMPARE(talk.ask("01 02 80 06 0001 0000 1200"_hex), packet("81 81"_hex));
    QCOMPARE(talk.ask("01 02 00 09 0100 0000 0000"_hex), packet("81 81"_hex));
    QCOMPARE(talk.ask("0b"_hex), packet("8b 44"_hex));
    talk.tester().faults().deviceStatus = 0x1B;
    QCOMPARE(talk.ask("01 02 80 06 0001 0000 1200"_hex), packet("81 1b1b"_hex));
    talk.tester().faults().deviceStatus.reset();
    QCOMPARE(talk.ask("01 02 80 08 0000 0000 0100"_hex), packet("81 00 00"_hex)); // not reached
}

void tst_faults::shortReply_data()
{
    QTest::addColumn<int>("bytes");
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("nothing") << 0 << "0f"_hex << QByteArray();
    QTest::newRow("code") << 1 << "0f"_hex
                          << "8f"_hex;
    QTest::newRow("version without RAM") << 4 << "0f"_hex
                                         << "8f 02 03 0c"_hex;
    QTest::newRow("one less") << 5 << "0f"_hex
                              << "8f 02 03 0c 00"_hex;
    QTest::newRow("just whole") << 6 << "0f"_hex
                                << "8f 02 03 0c 0040"_hex;
    QTest::newRow("shorter anyway") << 6 << "0b"_hex
                                    << "8b 44"_hex;
    QTest::newRow("flash slot") << 2 << "31 00 03"_hex
                                << "b1 ff"_hex;
    QTest::newRow("command error") << 0 << "ff"_hex << QByteArray();
    QTest::newRow("command error, whole") << 1 << "ff"_hex
                                          << "95"_hex;
}

void tst_faults::shortReply()
{
    QFETCH(int, bytes);
    QFETCH(QByteArray, command);
    QFETCH(QByteArray, answer);
    Talk talk;
    talk.tester().faults().shortReply = bytes;
    QCOMPARE(talk.ask(command), packet(answer));
}

void tst_faults::shortReplyLeavesReports()
{
    Talk talk;
    talk.tester().faults().shortReply = 1;
    QCOMPARE(talk.ask("07 00 01"_hex), packet("87"_hex) + packet("90 00 02 00 f305 0700"_hex) +
                                           packet("90 00 03 00 ce0f 6601"_hex));
    QCOMPARE(talk.ask("22 01"_hex), QByteArray()); // has no reply to cut
    talk.tester().reportTrigger(1);
    QCOMPARE(talk.take(), packet("96 01"_hex));
}

void tst_faults::doubleReply()
{
    Talk talk;
    talk.tester().faults().doubleReply = true;
    talk.tester().receive(packet("0b"_hex));
    QCOMPARE(talk.writes, (QList<QByteArray>{packet("8b 44"_hex), packet("8b 44"_hex)}));
    talk.take();
    QCOMPARE(talk.ask("ff"_hex), packet("95"_hex) + packet("95"_hex));
    QCOMPARE(talk.ask("22 01"_hex), QByteArray());
    talk.ask("0c"_hex);
    QCOMPARE(talk.ask("0b"_hex), packet("a0 0000 0b"_hex) + packet("a0 0000 0b"_hex));
    QCOMPARE(talk.tester().state().script.steps().size(), 1);
}

void tst_faults::doubleReplyLeavesReports()
{
    Talk talk;
    talk.tester().faults().doubleReply = true;
    QCOMPARE(talk.ask("07 00 01"_hex), packet("87"_hex) + packet("87"_hex) +
                                           packet("90 00 02 00 f305 0700"_hex) +
                                           packet("90 00 03 00 ce0f 6601"_hex));
    talk.tester().reportTrigger(1);
    QCOMPARE(talk.take(), packet("96 01"_hex));
}

void tst_faults::shortAndDouble()
{
    Talk talk;
    talk.tester().faults().shortReply = 2;
    talk.tester().faults().doubleReply = true;
    QCOMPARE(talk.ask("0f"_hex), packet("8f 02"_hex) + packet("8f 02"_hex));
    talk.tester().faults().silence.codes = {0x0F};
    QCOMPARE(talk.ask("0f"_hex), QByteArray());
}

void tst_faults::delay()
{
    Talk talk;
    talk.tester().faults().delay = 200;
    QCOMPARE(talk.ask("0b"_hex), QByteArray());
    talk.tester().clock().advance(150);
    talk.tester().reportTrigger(1);
    QCOMPARE(talk.take(), QByteArray());
    talk.tester().clock().advance(49);
    QCOMPARE(talk.take(), QByteArray());
    talk.tester().clock().advance(1);
    QCOMPARE(talk.take(), packet("8b 44"_hex));
    talk.tester().clock().advance(149);
    QCOMPARE(talk.take(), QByteArray());
    talk.tester().clock().advance(1);
    QCOMPARE(talk.take(), packet("96 01"_hex));
}

void tst_faults::delayKeepsTheOrder()
{
    Talk talk;
    talk.tester().faults().delay = 100;
    talk.ask("0b"_hex);
    talk.tester().faults().delay = 0; // what follows does not overtake
    QCOMPARE(talk.ask("03"_hex), QByteArray());
    talk.tester().clock().advance(100);
    QCOMPARE(talk.writes, (QList<QByteArray>{packet("8b 44"_hex), packet("83"_hex)}));
    talk.take();
    QCOMPARE(talk.ask("04"_hex), packet("84"_hex));
}

void tst_faults::newConversationForgetsDelayed()
{
    Talk talk;
    talk.tester().faults().delay = 100;
    talk.ask("0b"_hex);
    talk.tester().clock().advance(50);
    talk.tester().startConversation();
    talk.ask("03"_hex);
    talk.tester().clock().advance(99);
    QCOMPARE(talk.take(), QByteArray());
    talk.tester().clock().advance(1);
    QCOMPARE(talk.take(), packet("83"_hex));
}

void tst_faults::garbage()
{
    Talk talk;
    talk.tester().faults().garbage = "00ff4553"_hex;
    QCOMPARE(talk.ask("0b"_hex), "00ff4553"_hex + packet("8b 44"_hex));
    talk.tester().reportTrigger(1);
    QCOMPARE(talk.take(), "00ff4553"_hex + packet("96 01"_hex));
    talk.tester().sendRaw("41"_hex);
    QCOMPARE(talk.take(), "41"_hex);
}

void tst_faults::fragments_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<QList<QByteArray>>("writes");
    using Writes = QList<QByteArray>;
    QTest::newRow("whole") << 0 << Writes{"1b538b441b45"_hex};
    QTest::newRow("1") << 1 << Writes{"1b"_hex, "53"_hex, "8b"_hex, "44"_hex, "1b"_hex, "45"_hex};
    QTest::newRow("4") << 4 << Writes{"1b538b44"_hex, "1b45"_hex};
    QTest::newRow("6") << 6 << Writes{"1b538b441b45"_hex};
    QTest::newRow("7") << 7 << Writes{"1b538b441b45"_hex};
}

void tst_faults::fragments()
{
    QFETCH(int, size);
    QFETCH(QList<QByteArray>, writes);
    Talk talk;
    talk.tester().faults().fragment = size;
    talk.tester().receive(packet("0b"_hex));
    QCOMPARE(talk.writes, writes);
}

void tst_faults::fragmentsWithPauses()
{
    Talk talk;
    talk.tester().faults().fragment = 3;
    talk.tester().faults().fragmentPause = 1000;
    QCOMPARE(talk.ask("0b"_hex), "1b538b"_hex);
    QCOMPARE(talk.ask("03"_hex), QByteArray()); // waits for the packet before it
    talk.tester().clock().advance(999);
    QCOMPARE(talk.take(), QByteArray());
    talk.tester().clock().advance(1);
    QCOMPARE(talk.take(), "441b45 1b5383"_hex);
    talk.tester().clock().advance(1000);
    QCOMPARE(talk.take(), "1b45"_hex);
}

void tst_faults::dropAfter_data()
{
    QTest::addColumn<int>("bytes");
    QTest::addColumn<QByteArray>("arrived");
    QTest::addColumn<int>("drops");
    QTest::newRow("at once") << 0 << QByteArray() << 1;
    QTest::newRow("in the start") << 1 << "1b"_hex << 1;
    QTest::newRow("in mid-packet") << 3 << "1b538b"_hex << 1;
    QTest::newRow("in the end") << 5 << "1b538b441b"_hex << 1;
    QTest::newRow("after a packet") << 6 << "1b538b441b45"_hex << 1;
    QTest::newRow("in the next packet") << 8 << "1b538b441b45 1b53"_hex << 1;
    QTest::newRow("not yet") << 99 << "1b538b441b45 1b53831b45"_hex << 0;
}

void tst_faults::dropAfter()
{
    QFETCH(int, bytes);
    QFETCH(QByteArray, arrived);
    QFETCH(int, drops);
    Talk talk;
    talk.tester().faults().dropAfter = bytes;
    // As a real end does, the wire stops listening once the connection is gone.
    QByteArray heard;
    QObject::connect(&talk.tester(), &Tester::bytesReady, [&](const QByteArray &written) {
        if (talk.drops == 0)
            heard += written;
    });
    talk.tester().receive(packet("0b"_hex) + packet("03"_hex));
    QCOMPARE(heard.toHex(), arrived.toHex());
    QCOMPARE(talk.drops, drops);
}

void tst_faults::dropHappensOnce()
{
    Talk talk;
    talk.tester().faults().fragment = 2;
    talk.tester().faults().dropAfter = 3;
    QCOMPARE(talk.ask("0b"_hex), "1b538b"_hex); // the rest of the packet is gone
    QCOMPARE(talk.drops, 1);
    QVERIFY(!talk.tester().faults().dropAfter);
    talk.tester().startConversation();
    QCOMPARE(talk.ask("0b"_hex), packet("8b 44"_hex));
    QCOMPARE(talk.drops, 1);
}

void tst_faults::dropNow()
{
    Talk talk;
    talk.tester().faults().delay = 10;
    talk.ask("0b"_hex);
    talk.tester().dropConnection();
    QCOMPARE(talk.drops, 1);
    talk.tester().clock().advance(10);
    QCOMPARE(talk.take(), QByteArray());
}

void tst_faults::together()
{
    Talk talk;
    Faults &faults = talk.tester().faults();
    faults.garbage = "aa"_hex;
    faults.delay = 10;
    faults.fragment = 5;
    faults.refusal.codes = {0x0B};
    talk.ask("0b"_hex);
    talk.tester().clock().advance(10);
    QCOMPARE(talk.writes, (QList<QByteArray>{"aa1b53951b"_hex, "45"_hex}));
    faults = {};
    talk.take();
    QCOMPARE(talk.ask("0b"_hex), packet("8b 44"_hex));
}

VANTREL_TEST(tst_faults)
#include "tst_faults.moc"
