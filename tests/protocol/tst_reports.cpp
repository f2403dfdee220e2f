// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Hex.h"
#include "support/ProtocolBench.h"
#include "support/SessionState.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

/// What the tester reports by itself, letter for letter.
class TestReports : public QObject
{
    Q_OBJECT

private slots:
    void text_data();
    void text();
    void dataWithTimeStamp_data();
    void dataWithTimeStamp();
    void deviceError_data();
    void deviceError();
    void everyDeviceErrorHasAText();
    void commandErrorsDuringTheProbe();
    void commandError_data();
    void commandError();
    void trigger_data();
    void trigger();
    void triggerHoldoff();
    void eachTriggerOnItsOwnTick();
};

void TestReports::text_data()
{
    QTest::addColumn<QByteArray>("packet");
    QTest::addColumn<QByteArray>("shown");

    const auto row = [](const QByteArray &packet, const char *shown) {
        QTest::addRow("%s", packet.toHex(' ').constData()) << packet << QByteArray(shown);
    };
    row("90 00 05 09 34 12 78 56"_hex,
        "*** Connect \r\n     Address: 0x05   DevClass: 0x09   Vendor ID: 0x1234   "
        "Product ID: 0x5678");
    row("90 00 00 00 00 00 00 00"_hex,
        "*** Connect \r\n     Address: 0x00   DevClass: 0x00   Vendor ID: 0x0000   "
        "Product ID: 0x0000");
    row("90 00 7f ff cd ab 0f f0"_hex,
        "*** Connect \r\n     Address: 0x7F   DevClass: 0xFF   Vendor ID: 0xABCD   "
        "Product ID: 0xF00F");
    row("90 01 05"_hex, "*** Disconnect\r\n     Address: 0x5");
    row("90 01 00"_hex, "*** Disconnect\r\n     Address: 0x0");
    row("90 01 0f"_hex, "*** Disconnect\r\n     Address: 0xF");
    row("90 01 10"_hex, "*** Disconnect\r\n     Address: 0x10");
    row("90 02 7f"_hex, "*** Disconnect\r\n     Address: 0x7F");
    row("90 ff ab 01 02 03 04 05"_hex, "*** Disconnect\r\n     Address: 0xAB");

    row("91 01 02 03 04"_hex, "*** Status -- Hub Address: 0x01   Port #: 0x02   Status = 0x0403");
    row("91 7f 0f 00 ab"_hex, "*** Status -- Hub Address: 0x7F   Port #: 0x0F   Status = 0xAB00");

    row("92 05 81"_hex, "*** Data --  Address: 0x05   EndPoint: 0x81\r\n ");
    row("92 05 81 00 1b ff"_hex, "*** Data --  Address: 0x05   EndPoint: 0x81\r\n 00 1B FF ");

    row("94"_hex, "*** Vorn Fail ");
    row("94 01 02"_hex, "*** Vorn Fail ");
    row("95"_hex, "*** Command Error ");
    row("95 0f"_hex, "*** Command Error ");

    row("a8"_hex, "*** Message -- \r\n ");
    row("a8 48 69"_hex, "*** Message -- \r\n 48 69 ");

    row("b8 00"_hex, "-- Block Transfer Status Response: Running\r\n");
    row("b8 00 05 06"_hex, "-- Block Transfer Status Response: Running\r\n");
    row("b8 01 0e"_hex, "-- Block Transfer Status Response: Complete - Status = 0E\r\n ");
    row("b8 ff 00 01 02"_hex,
        "-- Block Transfer Status Response: Complete - Status = 00\r\n 01 02 ");
    row("b9"_hex, "-- Block Transfer Response\r\n");
    row("b9 01"_hex, "-- Block Transfer Response\r\n");
    row("ba"_hex, "-- Stop Block Transfer\r\n");
    row("ba 01"_hex, "-- Stop Block Transfer\r\n");
}

void TestReports::text()
{
    QFETCH(QByteArray, packet);
    QFETCH(QByteArray, shown);

    ProtocolBench expected;
    expected.session.FirmwareMajor = 2;
    ShowResponseLine(expected.session, {shown.constData(), static_cast<std::size_t>(shown.size())});
    ProtocolBench bench;
    bench.session.FirmwareMajor = 2;
    bench.dispatch(packet);

    QCOMPARE(bench.responses(), shown + "\r\n");
    QCOMPARE(stateOf(bench.session), stateOf(expected.session));
}

void TestReports::dataWithTimeStamp_data()
{
    QTest::addColumn<QByteArray>("packet");
    QTest::addColumn<QByteArray>("shown");

    QTest::newRow("no data") << "92 12 34 05 81"_hex
                             << QByteArray("*** Data -- TimeStamp:1234 Address: 0x05   "
                                           "EndPoint: 0x81\r\n \r\n");
    QTest::newRow("small stamp") << "92 00 0a 05 81 01 02"_hex
                                 << QByteArray("*** Data -- TimeStamp:000A Address: 0x05   "
                                               "EndPoint: 0x81\r\n 01 02 \r\n");
    QTest::newRow("large stamp") << "92 ff fe 7f 02 ab"_hex
                                 << QByteArray("*** Data -- TimeStamp:FFFE Address: 0x7F   "
                                               "EndPoint: 0x02\r\n AB \r\n");
}

void TestReports::dataWithTimeStamp()
{
    QFETCH(QByteArray, packet);
    QFETCH(QByteArray, shown);

    ProtocolBench bench;
    bench.session.DataTimeStamps = true;
    bench.dispatch(packet);
    QCOMPARE(bench.responses(), shown);
}

void TestReports::deviceError_data()
{
    QTest::addColumn<QByteArray>("code");
    QTest::addColumn<QByteArray>("text");

    const auto row = [](const QByteArray &code, const char *text) {
        QTest::addRow("0x%s", code.toHex().constData()) << code << QByteArray(text);
    };
    row("0e"_hex, "STALL");
    row("80"_hex, "IGNORE");
    row("81"_hex, "Data CRC Error");
    row("82"_hex, "Data Toggle Error");
    row("83"_hex, "Sync Error");
    row("84"_hex, "Babble");
    row("85"_hex, "PID Error");
    row("86"_hex, "Short Packet Error");
    row("87"_hex, "Configuration Error");
    row("88"_hex, "Scheduling Error");
    row("89"_hex, "Transmit Fail");
    row("00"_hex, "## Unknown Error ##");
    row("0d"_hex, "## Unknown Error ##");
    row("0f"_hex, "## Unknown Error ##");
    row("7f"_hex, "## Unknown Error ##");
    row("8a"_hex, "## Unknown Error ##");
    row("ff"_hex, "## Unknown Error ##");
}

void TestReports::deviceError()
{
    QFETCH(QByteArray, code);
    QFETCH(QByteArray, text);

    ProtocolBench bench;
    bench.dispatch("93 05 81"_hex + code);
    QCOMPARE(bench.responses(), "*** Device Error \r\n     Address: 0x05   EndPoint: 0x81   "
                                "Error = 0x" +
                                    code.toHex().toUpper() + ": " + text + "\r\n");
}

void TestReports::everyDeviceErrorHasAText()
{
    int unknown = 0;
    for (int code = 0; code < 256; ++code) {
        ProtocolBench bench;
        bench.dispatch("93 05 81"_hex + static_cast<char>(code));
        unknown += bench.responses().endsWith(": ## Unknown Error ##\r\n") ? 1 : 0;
    }
    QCOMPARE(unknown, 256 - 11);
}

void TestReports::commandErrorsDuringTheProbe()
{
    const QString notice = QStringLiteral("\r\n** Vorn-1 Firmware Version: 2.8 or Lower **\r\n");
    ProtocolBench bench;
    bench.session.FirmwareMajor = -1;
    bench.session.FirmwareMinor = -2;

    bench.dispatch("95"_hex);
    QCOMPARE(bench.commandPane(), notice);
    QCOMPARE(bench.responses(), QByteArray());
    QCOMPARE(int{bench.session.FirmwareMinor}, -1);

    bench.dispatch("95"_hex);
    QCOMPARE(bench.commandPane(), notice);
    QCOMPARE(bench.responses(), QByteArray());
    QCOMPARE(int{bench.session.FirmwareMinor}, 0);

    bench.dispatch("95"_hex);
    bench.dispatch("95"_hex);
    QCOMPARE(bench.commandPane(), notice);
    QCOMPARE(bench.responses(), QByteArray("*** Command Error \r\n*** Command Error \r\n"));
    QCOMPARE(int{bench.session.FirmwareMinor}, 0);
    QCOMPARE(int{bench.session.FirmwareMajor}, -1);
}

void TestReports::commandError_data()
{
    QTest::addColumn<int>("major");
    QTest::addColumn<int>("minor");
    QTest::addColumn<bool>("shown");

    QTest::newRow("probe, first") << -1 << -2 << false;
    QTest::newRow("probe, second") << -1 << -1 << false;
    QTest::newRow("probe, over") << -1 << 0 << true;
    QTest::newRow("2.17") << 2 << 17 << true;
    QTest::newRow("0.0") << 0 << 0 << true;
    QTest::newRow("major known, minor not yet") << 2 << -2 << true;
}

void TestReports::commandError()
{
    QFETCH(int, major);
    QFETCH(int, minor);
    QFETCH(bool, shown);

    ProtocolBench bench;
    bench.session.FirmwareMajor = static_cast<qint16>(major);
    bench.session.FirmwareMinor = static_cast<qint16>(minor);
    bench.dispatch("95"_hex);
    QCOMPARE(bench.responses(), shown ? QByteArray("*** Command Error \r\n") : QByteArray());
    QCOMPARE(int{bench.session.FirmwareMinor}, shown ? minor : minor + 1);
}

void TestReports::trigger_data()
{
    QTest::addColumn<int>("channel");
    QTest::addColumn<QByteArray>("shown");

    QTest::newRow("0") << 0 << QByteArray("*** Trigger Input Channel 0\r\n");
    QTest::newRow("3") << 3 << QByteArray("*** Trigger Input Channel 3\r\n");
    QTest::newRow("16") << 16 << QByteArray("*** Trigger Input Channel 16\r\n");
    QTest::newRow("255") << 255 << QByteArray("*** Trigger Input Channel 255\r\n");
}

void TestReports::trigger()
{
    QFETCH(int, channel);
    QFETCH(QByteArray, shown);

    ProtocolBench bench;
    bench.dispatch("96"_hex + static_cast<char>(channel));
    QCOMPARE(bench.responses(), shown);
    QCOMPARE(int{bench.session.TriggerHoldoff}, 5);
}

void TestReports::triggerHoldoff()
{
    ProtocolBench bench;
    bench.dispatch("96 01"_hex);
    bench.dispatch("96 01"_hex);
    bench.dispatch("96 02"_hex);
    QCOMPARE(bench.responses(), QByteArray("*** Trigger Input Channel 1\r\n"));
    QCOMPARE(int{bench.session.TriggerHoldoff}, 5);
}

void TestReports::eachTriggerOnItsOwnTick()
{
    ProtocolBench bench;
    bench.dispatch("96 01"_hex);
    for (const qint16 left : {qint16{4}, qint16{3}, qint16{2}, qint16{1}}) {
        bench.session.TriggerHoldoff = left;
        const QStringList before = stateOf(bench.session);
        bench.dispatch("96 01"_hex);
        QCOMPARE(stateOf(bench.session), before);
    }
    bench.session.TriggerHoldoff = 0;
    bench.dispatch("96 02"_hex);
    QCOMPARE(bench.responses(),
             QByteArray("*** Trigger Input Channel 1\r\n*** Trigger Input Channel 2\r\n"));
    QCOMPARE(int{bench.session.TriggerHoldoff}, 5);
}

VANTREL_TEST(TestReports)
#include "tst_reports.moc"
