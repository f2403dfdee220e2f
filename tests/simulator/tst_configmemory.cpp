// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/Talk.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel::test;
using namespace vantrel::simulator;

/// The configuration memory: 64 KiB with the network record in it.
class tst_configmemory : public QObject
{
    Q_OBJECT

private slots:
    void networkRecord();
    void networkRecordIsReplaced();
    void bothModels();
    void ranges_data();
    void ranges();
    void refusedWriteChangesNothing();
    void escapes();
    void outlivesTheConversation();
    void silence();
    void refusal();
};

void tst_configmemory::networkRecord()
{
    Talk talk;
    // 192.0.2.10, gateway 192.0.2.1, mask 255.255.255.0, a MAC address nobody has been given
    QCOMPARE(talk.ask("36 0010 0012"_hex),
             packet("b6 c000020a c0000201 ffffff00 02564f524e02"_hex));
    QCOMPARE(talk.ask("36 000e 0004"_hex), packet("b6 ffff c000"_hex));
    QCOMPARE(talk.ask("36 0020 0004"_hex), packet("b6 4e02 ffff"_hex));
}

void tst_configmemory::networkRecordIsReplaced()
{
    Talk talk;
    QCOMPARE(talk.ask("35 0010 c6336407 c6336401 ffffff80 020000000005"_hex), packet("b5"_hex));
    QCOMPARE(talk.ask("36 0010 0012"_hex),
             packet("b6 c6336407 c6336401 ffffff80 020000000005"_hex));
    QCOMPARE(talk.ask("36 000f 0014"_hex),
             packet("b6 ff c6336407 c6336401 ffffff80 020000000005 ff"_hex));
    QCOMPARE(talk.ask("35 0018 ffff0000"_hex), packet("b5"_hex)); // the mask alone
    QCOMPARE(talk.ask("36 0010 0012"_hex),
             packet("b6 c6336407 c6336401 ffff0000 020000000005"_hex));
}

void tst_configmemory::bothModels()
{
    Talk talk(Settings::vorn1());
    QCOMPARE(talk.ask("36 0010 0004"_hex), packet("b6 c000020a"_hex));
    QCOMPARE(talk.ask("35 0010 0a000001"_hex), packet("b5"_hex));
    QCOMPARE(talk.ask("36 0010 0004"_hex), packet("b6 0a000001"_hex));
}

void tst_configmemory::ranges_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("read of none") << "36 0010 0000"_hex
                                  << "b6"_hex;
    QTest::newRow("read the first byte") << "36 0000 0001"_hex
                                         << "b6 ff"_hex;
    QTest::newRow("read the last byte") << "36 ffff 0001"_hex
                                        << "b6 ff"_hex;
    QTest::newRow("read none at the last byte") << "36 ffff 0000"_hex
                                                << "b6"_hex;
    QTest::newRow("read past the end") << "36 ffff 0002"_hex
                                       << "95"_hex;
    QTest::newRow("read all but the last byte")
        << "36 0000 ffff"_hex
        << "b6"_hex + QByteArray(16, '\xFF') + "c000020a c0000201 ffffff00 02564f524e02"_hex +
               QByteArray(0xFFFF - 34, '\xFF');
    QTest::newRow("read from 1, as many")
        << "36 0001 ffff"_hex
        << "b6"_hex + QByteArray(15, '\xFF') + "c000020a c0000201 ffffff00 02564f524e02"_hex +
               QByteArray(0xFFFF - 33, '\xFF');
    QTest::newRow("read from 2, as many") << "36 0002 ffff"_hex
                                          << "95"_hex;
    QTest::newRow("read without count") << "36 0010"_hex
                                        << "95"_hex;
    QTest::newRow("read with half a count") << "36 0010 00"_hex
                                            << "95"_hex;
    QTest::newRow("write the last byte") << "35 ffff 00"_hex
                                         << "b5"_hex;
    QTest::newRow("write past the end") << "35 ffff 0000"_hex
                                        << "95"_hex;
    QTest::newRow("write of none") << "35 0010"_hex
                                   << "95"_hex;
    QTest::newRow("write without address") << "35 00"_hex
                                           << "95"_hex;
}

void tst_configmemory::ranges()
{
    QFETCH(QByteArray, command);
    QFETCH(QByteArray, answer);
    Talk talk;
    QCOMPARE(talk.ask(command), packet(answer));
}

void tst_configmemory::refusedWriteChangesNothing()
{
    Talk talk;
    QCOMPARE(talk.ask("35 fffe 111213"_hex), packet("95"_hex));
    QCOMPARE(talk.ask("36 fffe 0002"_hex), packet("b6 ffff"_hex));
}

void tst_configmemory::escapes()
{
    Talk talk;
    QCOMPARE(talk.ask("35 1b1b1b1b 1b1b 00 1b1b"_hex), packet("b5"_hex)); // at 0x1B1B
    QCOMPARE(talk.ask("36 1b1b1b1b 0003"_hex), packet("b6 1b1b 00 1b1b"_hex));
    QCOMPARE(talk.ask("36 1b1b00 001b1b"_hex).size(), packet("b6"_hex).size() + 27); // at 0x1B00
}

void tst_configmemory::outlivesTheConversation()
{
    Talk talk;
    talk.ask("35 0010 0a000001"_hex);
    talk.tester().startConversation();
    QCOMPARE(talk.ask("36 0010 0004"_hex), packet("b6 0a000001"_hex));
}

void tst_configmemory::silence()
{
    Talk talk;
    talk.tester().faults().silence.codes = {0x35, 0x36};
    QCOMPARE(talk.ask("36 0010 0012"_hex), QByteArray());
    QCOMPARE(talk.ask("35 0010 0a000001"_hex), QByteArray());
    talk.tester().faults().silence = {};
    QCOMPARE(talk.ask("36 0010 0004"_hex), packet("b6 0a000001"_hex)); // written all the same
}

void tst_configmemory::refusal()
{
    Talk talk;
    talk.tester().faults().refusal.codes = {0x35};
    QCOMPARE(talk.ask("35 0010 0a000001"_hex), packet("95"_hex));
    QCOMPARE(talk.ask("36 0010 0004"_hex), packet("b6 c000020a"_hex));
    talk.tester().faults().refusal.codes = {0x36};
    QCOMPARE(talk.ask("36 0010 0012"_hex), packet("95"_hex));
}

VANTREL_TEST(tst_configmemory)
#include "tst_configmemory.moc"
