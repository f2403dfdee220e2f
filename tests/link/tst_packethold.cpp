// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Hex.h"
#include "support/LinkBench.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

/// What is sent while a download goes out piece by piece.
class TestPacketHold : public QObject
{
    Q_OBJECT

private slots:
    void othersWait_data();
    void othersWait();
    void holdWithinAHold();
    void heldGoesWithTheLink_data();
    void heldGoesWithTheLink();
    void heldCountsAsUnsent();
};

void TestPacketHold::othersWait_data()
{
    QTest::addColumn<bool>("network");
    QTest::newRow("serial") << false;
    QTest::newRow("network") << true;
}

void TestPacketHold::othersWait()
{
    QFETCH(bool, network);

    LinkBench bench;
    bench.open(network);
    const QList<QByteArray> &written = (network ? bench.tcp : bench.serial)->written;
    {
        PacketHold others(bench.link);
        QVERIFY(others.own([&] { return bench.link.SendPacket("first piece"); }));
        QVERIFY(bench.link.SendPacket("1b53 12 1b45"_hex));
        QVERIFY(bench.link.SendPacket("1b53 0f 1b45"_hex));
        QCOMPARE(written, QList<QByteArray>{"first piece"});
        others.own([&] { bench.link.SendPacket("last piece"); });
        QCOMPARE(written.size(), 2);
        QCOMPARE(written[1], QByteArray("last piece"));
    }
    QCOMPARE(written.size(), 3);
    QCOMPARE(written[2], "1b53 12 1b45 1b53 0f 1b45"_hex);
    bench.link.SendPacket("1b53 12 1b45"_hex);
    QCOMPARE(written.size(), 4);
}

void TestPacketHold::holdWithinAHold()
{
    LinkBench bench;
    bench.open(true);
    PacketHold outer(bench.link);
    {
        PacketHold inner(bench.link);
        bench.link.SendPacket("1b53 12 1b45"_hex);
        inner.own([&] { bench.link.SendPacket("piece"); });
    }
    QCOMPARE(bench.tcp->written, QList<QByteArray>{"piece"}); // the outer one goes on
}

void TestPacketHold::heldGoesWithTheLink_data()
{
    QTest::addColumn<bool>("opensAgain");
    QTest::newRow("closed") << false;
    QTest::newRow("closed and opened again") << true;
}

void TestPacketHold::heldGoesWithTheLink()
{
    QFETCH(bool, opensAgain);

    LinkBench bench;
    bench.open(true);
    {
        const PacketHold others(bench.link);
        bench.link.SendPacket("1b53 12 1b45"_hex);
        bench.link.CloseLink();
        if (opensAgain)
            bench.open(true);
    }
    QCOMPARE(bench.tcp->written, QList<QByteArray>());
}

void TestPacketHold::heldCountsAsUnsent()
{
    LinkBench bench;
    bench.open(true);
    bench.tcp->heldUp = VornComm::UnsentLimit - 4;
    const PacketHold others(bench.link);
    QVERIFY(bench.link.SendPacket("1b53 12 1b45"_hex));
    QVERIFY(!bench.link.SendPacket("1b53 12 1b45"_hex));
    QVERIFY(!bench.link.takesPackets());
}

VANTREL_TEST(TestPacketHold)
#include "tst_packethold.moc"
