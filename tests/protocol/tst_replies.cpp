// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Hex.h"
#include "support/ProtocolBench.h"
#include "support/RecordingClient.h"
#include "support/SessionState.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

constexpr int NoSlot = -77;

} // namespace

/// Replies that carry data: device requests, flash scripts, firmware blocks, configuration memory.
class TestReplies : public QObject
{
    Q_OBJECT

private slots:
    void deviceRequest_data();
    void deviceRequest();
    void deviceTransfer_data() { deviceRequest_data(); }
    void deviceTransfer();
    void dumpBreaks_data();
    void dumpBreaks();
    void deviceRequestWithoutAClient();
    void deviceRequestOfAClient();
    void deviceTransferIsNeverHandedOn();
    void flashScript_data();
    void flashScript();
    void flashScriptKeepsTheRest();
    void firmwareBlock_data();
    void firmwareBlock();
    void configRead_data();
    void configRead();
    void scriptLoadError();
};

void TestReplies::deviceRequest_data()
{
    QTest::addColumn<QByteArray>("fields");
    QTest::addColumn<QByteArray>("shown");

    QTest::newRow("no data") << "00"_hex << QByteArray("00\r\n ");
    QTest::newRow("stall") << "0e"_hex << QByteArray("0E\r\n ");
    QTest::newRow("one byte") << "00 0a"_hex << QByteArray("00\r\n 0A ");
    QTest::newRow("device descriptor")
        << "00 12 01 10 01 00 00 00 08 f3 05 07 00 20 03 00 00 00 01"_hex
        << QByteArray("00\r\n 12 01 10 01 00 00 00 08 F3 05 07 00 20 03 00 00 00 01 ");
    QTest::newRow("30 bytes")
        << "00 000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d"_hex
        << QByteArray("00\r\n"
                      " 00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10 11 12 13 14 15 16 \r\n"
                      " 17 18 19 1A 1B 1C 1D ");
    QTest::newRow("high bytes") << "ff 80 9b ff"_hex << QByteArray("FF\r\n 80 9B FF ");
}

void TestReplies::deviceRequest()
{
    QFETCH(QByteArray, fields);
    QFETCH(QByteArray, shown);

    ProtocolBench bench;
    bench.dispatch("81"_hex + fields);
    QCOMPARE(bench.responses(), "-- Device Request Response: Status = " + shown + "\r\n");
    QCOMPARE(bench.commandPane(), QString());
    QCOMPARE(bench.session.StatusSeen, false);
}

void TestReplies::deviceTransfer()
{
    QFETCH(QByteArray, fields);
    QFETCH(QByteArray, shown);

    ProtocolBench bench;
    bench.dispatch("89"_hex + fields);
    QCOMPARE(bench.responses(), "-- Device Transfer Response: Status = " + shown + "\r\n");
    QCOMPARE(bench.commandPane(), QString());
}

void TestReplies::dumpBreaks_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<QByteArray>("dump");

    const QByteArray full =
        " AA AA AA AA AA AA AA AA AA AA AA AA AA AA AA AA AA AA AA AA AA AA AA ";
    QTest::newRow("0") << 0 << QByteArray("\r\n ");
    QTest::newRow("1") << 1 << QByteArray("\r\n AA ");
    QTest::newRow("22") << 22
                        << QByteArray("\r\n AA AA AA AA AA AA AA AA AA AA AA AA AA AA AA AA AA AA "
                                      "AA AA AA AA ");
    QTest::newRow("23") << 23 << "\r\n" + full + "\r\n ";
    QTest::newRow("24") << 24 << "\r\n" + full + "\r\n AA ";
    QTest::newRow("46") << 46 << "\r\n" + full + "\r\n" + full + "\r\n ";
    QTest::newRow("47") << 47 << "\r\n" + full + "\r\n" + full + "\r\n AA ";
    QTest::newRow("69") << 69 << "\r\n" + full + "\r\n" + full + "\r\n" + full + "\r\n ";
}

void TestReplies::dumpBreaks()
{
    QFETCH(int, size);
    QFETCH(QByteArray, dump);

    ProtocolBench bench;
    bench.session.Main.ScriptIdx.setText(QStringLiteral("Running"));
    const QByteArray data(size, '\xAA');

    bench.dispatch("81 00"_hex + data);
    QCOMPARE(bench.takeResponses(), "-- Device Request Response: Status = 00" + dump + "\r\n");
    bench.dispatch("89 00"_hex + data);
    QCOMPARE(bench.takeResponses(), "-- Device Transfer Response: Status = 00" + dump + "\r\n");
    bench.dispatch("92 05 81"_hex + data);
    QCOMPARE(bench.takeResponses(), "*** Data --  Address: 0x05   EndPoint: 0x81" + dump + "\r\n");
    bench.dispatch("a8"_hex + data);
    QCOMPARE(bench.takeResponses(), "*** Message -- " + dump + "\r\n");
    bench.dispatch("b8 01 00"_hex + data);
    QCOMPARE(bench.takeResponses(),
             "-- Block Transfer Status Response: Complete - Status = 00" + dump + "\r\n");
    bench.dispatch("a0 00 07 a8 00 00 00 01"_hex + data);
    QCOMPARE(bench.takeResponses(), "*** Message -- Index:  7  Timer:  1" + dump + "\r\n");
}

void TestReplies::deviceRequestWithoutAClient()
{
    ProtocolBench bench;
    bench.dispatch("81 00 12 01 1b"_hex);
    QCOMPARE(bench.responses(),
             QByteArray("-- Device Request Response: Status = 00\r\n 12 01 1B \r\n"));
}

void TestReplies::deviceRequestOfAClient()
{
    ProtocolBench bench;
    RecordingClient client;
    bench.requests.setHandler(DeviceRequests::Client::Ftdi, &client);
    bench.requests.send(DeviceRequests::Client::Ftdi, "02 c0"_hex);
    QStringList expected = stateOf(bench.session);
    expected.replaceInStrings(QStringLiteral("FtdiActive = 1"), QStringLiteral("FtdiActive = 0"));

    bench.dispatch("81 00 12 01 1b"_hex);
    QCOMPARE(client.replies, QList<QByteArray>{"81 00 12 01 1b"_hex});
    QCOMPARE(stateOf(bench.session), expected);
}

void TestReplies::deviceTransferIsNeverHandedOn()
{
    ProtocolBench bench;
    RecordingClient client;
    bench.requests.setHandler(DeviceRequests::Client::Viewer, &client);
    bench.requests.beginWalk("02 80"_hex);
    bench.dispatch("89 00 12"_hex);
    QCOMPARE(client.replies, QList<QByteArray>());
    QVERIFY(bench.session.DescActive);
    QCOMPARE(bench.responses(), QByteArray("-- Device Transfer Response: Status = 00\r\n 12 \r\n"));
}

void TestReplies::flashScript_data()
{
    QTest::addColumn<QByteArray>("packet");
    QTest::addColumn<int>("slotState");
    QTest::addColumn<QString>("name");

    const QString before = QStringLiteral("before");
    QTest::newRow("code alone") << "b1"_hex << NoSlot << before;
    QTest::newRow("two bytes") << "b1 01"_hex << NoSlot << before;
    QTest::newRow("three bytes") << "b1 01 53"_hex << 1 << QStringLiteral("S");
    QTest::newRow("disabled") << "b1 00 53 63 72 69 70 74 30 20"_hex << 0
                              << QStringLiteral("Script0 ");
    QTest::newRow("enabled") << "b1 01 53 63 72 69 70 74 30 20"_hex << 1
                             << QStringLiteral("Script0 ");
    QTest::newRow("undefined") << "b1 ff ff ff"_hex << 255 << QString::fromLatin1("\xFF\xFF");
    QTest::newRow("long name") << "b1 01 41 42 43 44 45 46 47 48 49 4a"_hex << 1
                               << QStringLiteral("ABCDEFGHIJ");
}

void TestReplies::flashScript()
{
    QFETCH(QByteArray, packet);
    QFETCH(int, slotState);
    QFETCH(QString, name);

    ProtocolBench bench;
    bench.session.FlashSlotState = NoSlot;
    bench.session.FlashScriptName = QStringLiteral("before");
    bench.dispatch(packet);
    QCOMPARE(bench.session.FlashStatus, qint16{1});
    QCOMPARE(bench.session.FlashSlotState, static_cast<qint16>(slotState));
    QCOMPARE(bench.session.FlashScriptName, name);
}

void TestReplies::flashScriptKeepsTheRest()
{
    ProtocolBench expected;
    expected.session.FlashStatus = 1;
    ProtocolBench bench;
    bench.session.FlashStatus = 7;
    bench.dispatch("b1"_hex);
    QCOMPARE(stateOf(bench.session), stateOf(expected.session));
}

void TestReplies::firmwareBlock_data()
{
    QTest::addColumn<QByteArray>("packet");
    QTest::addColumn<QString>("line");

    QTest::newRow("0") << "b3 00 00 00 00"_hex << QStringLiteral("Loading Firmware 00000000");
    QTest::newRow("4096") << "b3 00 00 10 00"_hex << QStringLiteral("Loading Firmware 00001000");
    QTest::newRow("each byte") << "b3 01 23 ab cd"_hex
                               << QStringLiteral("Loading Firmware 0123ABCD");
    QTest::newRow("largest") << "b3 ff ff ff ff"_hex << QStringLiteral("Loading Firmware FFFFFFFF");
}

void TestReplies::firmwareBlock()
{
    QFETCH(QByteArray, packet);
    QFETCH(QString, line);

    ProtocolBench expected;
    expected.session.FwBlockAck = true;
    ShowStatusLine(expected.session, line);
    ProtocolBench bench;
    bench.dispatch(packet);
    QCOMPARE(bench.commandPane(), QLatin1String("\r\n") + line);
    QCOMPARE(stateOf(bench.session), stateOf(expected.session));
}

void TestReplies::configRead_data()
{
    QTest::addColumn<QByteArray>("data");

    QTest::newRow("none") << QByteArray();
    QTest::newRow("one byte") << "1b"_hex;
    QTest::newRow("18 bytes") << "c0a80107 ffffff00 c0a80101 0050c2000001 0000"_hex;
}

void TestReplies::configRead()
{
    QFETCH(QByteArray, data);

    ProtocolBench expected;
    expected.session.ConfigReadDone = true;
    expected.session.ConfigReadData = data;
    ProtocolBench bench;
    bench.session.ConfigReadData = "what was there";
    bench.dispatch("b6"_hex + data);
    QCOMPARE(stateOf(bench.session), stateOf(expected.session));

    bench.dispatch("83"_hex); // the data is a copy of its own
    QCOMPARE(bench.session.ConfigReadData, data);
}

void TestReplies::scriptLoadError()
{
    ProtocolBench expected;
    expected.session.ScriptError = true;
    ProtocolBench bench;
    bench.dispatch("97"_hex);
    QCOMPARE(stateOf(bench.session), stateOf(expected.session));
    bench.dispatch("97 01 02"_hex);
    QCOMPARE(stateOf(bench.session), stateOf(expected.session));
}

VANTREL_TEST(TestReplies)
#include "tst_replies.moc"
