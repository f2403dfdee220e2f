// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/NetworkRecord.h"
#include "support/Hex.h"
#include "support/TestProgram.h"
#include "support/Thrown.h"

#include <QTest>

#include <algorithm>

using namespace vantrel;
using namespace vantrel::test;

namespace {

NetworkRecord record(const QByteArray &bytes)
{
    NetworkRecord made;
    std::copy(bytes.begin(), bytes.end(), made.bytes.begin());
    return made;
}

} // namespace

class TestNetworkRecord : public QObject
{
    Q_OBJECT

private slots:
    void bytesInOrder();
    void addresses();
    void boxTexts_data();
    void boxTexts();
    void boxBytes_data();
    void boxBytes();
    void boxOverflows_data();
    void boxOverflows();
    void hints_data();
    void hints();
};

void TestNetworkRecord::bytesInOrder()
{
    const QByteArray bytes = "c0a8010a c0a80101 ffffff00 001122aabbcc"_hex;
    QCOMPARE(record(bytes).toBytes(), bytes);
    QCOMPARE(NetworkRecord().toBytes(), QByteArray(18, '\0'));
}

void TestNetworkRecord::addresses()
{
    const NetworkRecord made = record("c0a8010a 0a0b0c0d fffffe00 001122aabbcc"_hex);
    QCOMPARE(made.address(NetworkRecord::Ip), 0xC0A8010AU);
    QCOMPARE(made.address(NetworkRecord::Gateway), 0x0A0B0C0DU);
    QCOMPARE(made.address(NetworkRecord::Mask), 0xFFFFFE00U);
}

void TestNetworkRecord::boxTexts_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<int>("byte");
    QTest::addColumn<QString>("text");

    QTest::newRow("tester, first") << 0 << 0xC0 << "192";
    QTest::newRow("tester, last") << 3 << 7 << "7";
    QTest::newRow("gateway, first") << 4 << 255 << "255";
    QTest::newRow("mask, last") << 11 << 0 << "0";
    QTest::newRow("MAC, first") << 12 << 0 << "00";
    QTest::newRow("MAC, fifth") << 16 << 0x0A << "0A";
    QTest::newRow("MAC, last") << 17 << 0xFE << "FE";
}

void TestNetworkRecord::boxTexts()
{
    QFETCH(int, index);
    QFETCH(int, byte);
    QTEST(networkBoxText(index, static_cast<quint8>(byte)), "text");
}

void TestNetworkRecord::boxBytes_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("byte");

    QTest::newRow("decimal") << 0 << "192" << 192;
    QTest::newRow("largest") << 8 << "255" << 255;
    QTest::newRow("empty") << 4 << "" << 0;
    QTest::newRow("no number") << 4 << "abc" << 0;
    QTest::newRow("leading number") << 8 << "12abc" << 12;
    QTest::newRow("blanks") << 8 << " 1 2 " << 12;
    QTest::newRow("half goes to even, down") << 8 << "2.5" << 2;
    QTest::newRow("half goes to even, up") << 8 << "3.5" << 4;
    QTest::newRow("rounds into the range") << 8 << "255.4" << 255;
    QTest::newRow("rounds to zero") << 8 << "-0.5" << 0;
    QTest::newRow("hexadecimal prefix") << 8 << "&HFF" << 255;
    QTest::newRow("MAC") << 12 << "fe" << 0xFE;
    QTest::newRow("MAC, empty") << 17 << "" << 0;
    QTest::newRow("MAC, other characters are skipped") << 17 << "1G" << 1;
    QTest::newRow("MAC, decimal digits are hexadecimal") << 17 << "10" << 16;
}

void TestNetworkRecord::boxBytes()
{
    QFETCH(int, index);
    QFETCH(QString, text);
    QTEST(int{networkBoxByte(index, text)}, "byte");
}

void TestNetworkRecord::boxOverflows_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("text");

    QTest::newRow("256") << 8 << "256";
    QTest::newRow("rounded up to 256") << 8 << "255.5";
    QTest::newRow("negative") << 8 << "-1";
    QTest::newRow("beyond 32 bits") << 0 << "1e12";
    QTest::newRow("MAC") << 12 << "100";
    QTest::newRow("MAC beyond 32 bits") << 17 << "80000000";
}

void TestNetworkRecord::boxOverflows()
{
    QFETCH(int, index);
    QFETCH(QString, text);
    QCOMPARE(thrownBy([&] { networkBoxByte(index, text); }), QStringLiteral("Overflow"));
}

void TestNetworkRecord::hints_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("hint");

    const QString none;
    const QString noAddress = QStringLiteral("The tester cannot have the address 0.0.0.0");
    const QString holes =
        QStringLiteral("The net mask has holes: all its ones must come before its zeros");
    const QString network =
        QStringLiteral("The tester's address is the network address of its subnet");
    const QString broadcast =
        QStringLiteral("The tester's address is the broadcast address of its subnet");
    const QString gateway = QStringLiteral("The gateway is outside the tester's subnet");
    const QString group =
        QStringLiteral("The MAC address is that of a group: its first byte must be even");

    QTest::newRow("usual") << "c0a8010a c0a80101 ffffff00 001122334455"_hex << none;
    QTest::newRow("no gateway") << "c0a8010a 00000000 ffffff00 001122334455"_hex << none;
    QTest::newRow("wide") << "0a010203 0aff0001 ff000000 001122334455"_hex << none;
    QTest::newRow("everything is one subnet")
        << "c0a8010a 08080808 00000000 001122334455"_hex << none;
    QTest::newRow("locally administered MAC")
        << "c0a8010a c0a80101 ffffff00 021122334455"_hex << none;

    QTest::newRow("nothing at all") << QByteArray(18, '\0') << noAddress;
    QTest::newRow("0.0.0.0") << "00000000 c0a80101 ffffff00 001122334455"_hex << noAddress;
    QTest::newRow("hole") << "c0a8010a c0a80101 ffff00ff 001122334455"_hex << holes;
    QTest::newRow("hole of one bit") << "c0a8010a c0a80101 fffffdff 001122334455"_hex << holes;
    QTest::newRow("mask the wrong way round")
        << "c0a8010a c0a80101 00ffffff 001122334455"_hex << holes;
    QTest::newRow("network address") << "c0a80100 c0a80101 ffffff00 001122334455"_hex << network;
    QTest::newRow("broadcast address")
        << "c0a801ff c0a80101 ffffff00 001122334455"_hex << broadcast;
    QTest::newRow("broadcast address of a wide subnet")
        << "0affffff 0a000001 ff000000 001122334455"_hex << broadcast;
    QTest::newRow("a last byte of 255 within a wide subnet")
        << "0a0000ff 0a000001 ff000000 001122334455"_hex << none;
    QTest::newRow("a last byte of 0 within a wide subnet")
        << "0a000100 0a000001 ff000000 001122334455"_hex << none;
    QTest::newRow("255.255.255.255") << "ffffffff ffffffff ffffffff 001122334455"_hex << broadcast;
    QTest::newRow("two addresses, the lower")
        << "c0a8010a c0a8010b fffffffe 001122334455"_hex << none;
    QTest::newRow("two addresses, the upper")
        << "c0a8010b c0a8010a fffffffe 001122334455"_hex << none;
    QTest::newRow("one address") << "c0a8010b 00000000 ffffffff 001122334455"_hex << none;
    QTest::newRow("one address and a gateway")
        << "c0a8010b c0a8010a ffffffff 001122334455"_hex << gateway;
    QTest::newRow("four addresses, the first")
        << "c0a80108 c0a80109 fffffffc 001122334455"_hex << network;
    QTest::newRow("gateway outside") << "c0a8010a c0a80201 ffffff00 001122334455"_hex << gateway;
    QTest::newRow("gateway outside by one bit")
        << "c0a8010a c0a80181 ffffff80 001122334455"_hex << gateway;
    QTest::newRow("group bit") << "c0a8010a c0a80101 ffffff00 011122334455"_hex << group;
    QTest::newRow("broadcast MAC") << "c0a8010a c0a80101 ffffff00 ffffffffffff"_hex << group;

    QTest::newRow("one hint at a time: the address first")
        << "00000000 08080808 ff00ff00 ffffffffffff"_hex << noAddress;
    QTest::newRow("one hint at a time: the mask before the gateway")
        << "c0a8010a 08080808 ff00ff00 ffffffffffff"_hex << holes;
    QTest::newRow("one hint at a time: the gateway before the MAC")
        << "c0a8010a 08080808 ffffff00 ffffffffffff"_hex << gateway;
}

void TestNetworkRecord::hints()
{
    QFETCH(QByteArray, bytes);
    QTEST(networkHint(record(bytes)), "hint");
}

VANTREL_TEST(TestNetworkRecord)
#include "tst_networkrecord.moc"
