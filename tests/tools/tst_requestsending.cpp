// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Hex.h"
#include "support/TestProgram.h"
#include "tools/BuilderBench.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

const QString Refusal = QStringLiteral(
    "Device Request in Manual Mode is not supported for Vorn-1 Firmware Versions 2.8 or Lower|"
    "Vantrel - Illegal Operation");

/// A request with every field different.
struct SendingBench : BuilderBench
{
    SendingBench() { fill("0x05", "0x40", "0xA0", "0x1234", "0x5678", "0x0002"); }

    void fill(const char *address, const char *type, const char *request, const char *value,
              const char *index, const char *length)
    {
        controls.Address.adoptText(QString::fromLatin1(address));
        controls.bmReqType.adoptText(QString::fromLatin1(type));
        controls.bReq.adoptText(QString::fromLatin1(request));
        controls.wValue.adoptText(QString::fromLatin1(value));
        controls.windex.adoptText(QString::fromLatin1(index));
        controls.wLength.adoptText(QString::fromLatin1(length));
    }
};

} // namespace

/// What the tester gets when the user presses Send, byte by byte.
class TestRequestSending : public QObject
{
    Q_OBJECT

private slots:
    void automaticMode();
    void manualMode_data();
    void manualMode();
    void refusal_data();
    void refusal();
    void dataStage_data();
    void dataStage();
    void deviceToHostHasNoData_data();
    void deviceToHostHasNoData();
    void escapesAreDoubled();
    void textsCountAsTheyStand();
    void doesNotFit_data();
    void doesNotFit();
    void uncountedFieldsDoNotMatter();
    void unreadDataOfDeviceToHost();
    void withoutConnection();
};

void TestRequestSending::automaticMode()
{
    SendingBench bench;
    bench.session.MaxPacketCode = 3;
    bench.session.FullSpeedMode = true; // of no consequence here
    bench.builder.sendClicked();
    QCOMPARE(bench.sent(), "1b53 01 05 40a0 3412 7856 0200 1b45"_hex);
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestRequestSending::manualMode_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<bool>("fullSpeed");
    QTest::addColumn<QByteArray>("mode");
    QTest::newRow("8") << 0 << false << "00"_hex;
    QTest::newRow("16") << 1 << false << "01"_hex;
    QTest::newRow("32") << 2 << false << "02"_hex;
    QTest::newRow("64") << 3 << false << "03"_hex;
    QTest::newRow("8, full speed") << 0 << true << "04"_hex;
    QTest::newRow("64, full speed") << 3 << true << "07"_hex;
}

void TestRequestSending::manualMode()
{
    QFETCH(int, code);
    QFETCH(bool, fullSpeed);
    QFETCH(QByteArray, mode);
    SendingBench bench;
    bench.main.Automode.adoptChecked(false);
    bench.session.MaxPacketCode = static_cast<qint16>(code);
    bench.session.FullSpeedMode = fullSpeed;
    bench.enterData({"0xAA"});
    bench.builder.sendClicked();
    QCOMPARE(bench.sent(), "1b53 01 85"_hex + mode + "40a0 3412 7856 0200 aa 1b45"_hex);
}

void TestRequestSending::refusal_data()
{
    QTest::addColumn<bool>("automatic");
    QTest::addColumn<int>("model");
    QTest::addColumn<int>("major");
    QTest::addColumn<int>("minor");
    QTest::addColumn<bool>("refused");
    QTest::newRow("Vorn 1, 2.8") << false << 1 << 2 << 8 << true;
    QTest::newRow("Vorn 1, 1.0") << false << 1 << 1 << 0 << true;
    QTest::newRow("Vorn 1, 2.9") << false << 1 << 2 << 9 << false;
    QTest::newRow("Vorn 1, 1.9") << false << 1 << 1 << 9 << false;
    QTest::newRow("Vorn 1, 3.0") << false << 1 << 3 << 0 << false;
    QTest::newRow("Vorn 1, 3.8") << false << 1 << 3 << 8 << false;
    QTest::newRow("Vorn 2, 2.8") << false << 2 << 2 << 8 << false;
    QTest::newRow("no tester known") << false << 0 << -1 << -2 << false;
    QTest::newRow("Vorn 1, 2.8, automatic") << true << 1 << 2 << 8 << false;
}

void TestRequestSending::refusal()
{
    QFETCH(bool, automatic);
    QFETCH(int, model);
    QFETCH(int, major);
    QFETCH(int, minor);
    QFETCH(bool, refused);
    SendingBench bench;
    bench.main.Automode.adoptChecked(automatic);
    bench.session.TesterModel = static_cast<qint16>(model);
    bench.session.FirmwareMajor = static_cast<qint16>(major);
    bench.session.FirmwareMinor = static_cast<qint16>(minor);
    bench.builder.sendClicked();
    if (refused) {
        QCOMPARE(bench.takeBox(), Refusal);
        QCOMPARE(bench.sent(), QByteArray());
    } else {
        QVERIFY(bench.dialogs.messages.isEmpty());
        QVERIFY(!bench.sent().isEmpty());
    }
}

void TestRequestSending::dataStage_data()
{
    QTest::addColumn<int>("fields");
    QTest::addColumn<QByteArray>("data");
    QTest::newRow("1") << 1 << "00"_hex;
    QTest::newRow("3") << 3 << "000102"_hex;
    QTest::newRow("31") << 31
                        << "000102030405060708090a0b0c0d0e0f 101112131415161718191a1b1b1c1d1e"_hex;
    QTest::newRow("the last is not counted")
        << 32 << "000102030405060708090a0b0c0d0e0f 101112131415161718191a1b1b1c1d1e"_hex;
}

void TestRequestSending::dataStage()
{
    QFETCH(int, fields);
    QFETCH(QByteArray, data);
    SendingBench bench;
    bench.enterCounted(fields);
    bench.builder.sendClicked();
    QCOMPARE(bench.sent(), "1b53 01 05 40a0 3412 7856 0200"_hex + data + "1b45"_hex);
}

void TestRequestSending::deviceToHostHasNoData_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QByteArray>("sent");
    QTest::newRow("0x7F") << "0x7F"
                          << "1b53 01 05 7fa0 3412 7856 0200 0102 1b45"_hex;
    QTest::newRow("0x80") << "0x80"
                          << "1b53 01 05 80a0 3412 7856 0200 1b45"_hex;
    QTest::newRow("0xFF") << "0xFF"
                          << "1b53 01 05 ffa0 3412 7856 0200 1b45"_hex;
}

void TestRequestSending::deviceToHostHasNoData()
{
    QFETCH(QString, type);
    SendingBench bench;
    bench.enterData({"1", "2"});
    bench.enterRequestType(qPrintable(type));
    bench.builder.sendClicked();
    QTEST(bench.sent(), "sent");
}

void TestRequestSending::escapesAreDoubled()
{
    SendingBench bench;
    bench.fill("0x1B", "0x1B", "0x1B", "0x1B1B", "0x001B", "0x1B00");
    bench.enterData({"0x1B"});
    bench.builder.sendClicked();
    QCOMPARE(bench.sent(), "1b53 01 1b1b 1b1b 1b1b 1b1b1b1b 1b1b00 001b1b 1b1b 1b45"_hex);
}

void TestRequestSending::textsCountAsTheyStand()
{
    SendingBench bench;
    bench.fill("127", " 33 ", "0x9", "512", "&H1", "65535");
    bench.enterData({"1", "2"});
    bench.controls.dataField(1).adoptText(QStringLiteral("77"));
    bench.builder.sendClicked();
    QCOMPARE(bench.sent(), "1b53 01 7f 2109 0002 0100 ffff 014d 1b45"_hex);
    QCOMPARE(bench.controls.Address.text(), QStringLiteral("127"));
    QCOMPARE(bench.controls.bmReqType.text(), QStringLiteral(" 33 "));
}

void TestRequestSending::doesNotFit_data()
{
    QTest::addColumn<QByteArray>("field");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("automatic");
    for (const char *field : {"Address", "bmReqType", "bReq", "Data0_0"}) {
        for (const char *text : {"256", "-1", "0xFFFF", "0x80000000"})
            QTest::addRow("%s: %s", field, text)
                << QByteArray(field) << QString::fromLatin1(text) << true;
    }
    for (const char *field : {"wValue", "windex", "wLength"}) {
        for (const char *text : {"65536", "-1", "0xFFFFFFFF"})
            QTest::addRow("%s: %s", field, text)
                << QByteArray(field) << QString::fromLatin1(text) << true;
    }
    for (const char *text : {"128", "2147483647", "-129"})
        QTest::addRow("Address, manual: %s", text)
            << QByteArray("Address") << QString::fromLatin1(text) << false;
}

void TestRequestSending::doesNotFit()
{
    QFETCH(QByteArray, field);
    QFETCH(QString, text);
    QFETCH(bool, automatic);
    SendingBench bench;
    bench.main.Automode.adoptChecked(automatic);
    bench.enterData({"1"});
    for (Control *control : bench.controls.all) {
        if (control->name() == QLatin1String(field))
            control->adoptText(text);
    }
    bench.builder.sendClicked();
    QCOMPARE(bench.takeBox(), Overflow);
    QCOMPARE(bench.sent(), QByteArray());
}

void TestRequestSending::uncountedFieldsDoNotMatter()
{
    SendingBench bench;
    bench.enterData({"1"});
    bench.controls.dataField(1).adoptText(QStringLiteral("0x80000000"));
    bench.builder.sendClicked();
    QCOMPARE(bench.sent(), "1b53 01 05 40a0 3412 7856 0200 01 1b45"_hex);
}

void TestRequestSending::unreadDataOfDeviceToHost()
{
    SendingBench bench;
    bench.enterData({"1"});
    bench.controls.dataField(0).adoptText(QStringLiteral("0x80000000"));
    bench.enterRequestType("0xC0");
    bench.builder.sendClicked();
    QCOMPARE(bench.sent(), "1b53 01 05 c0a0 3412 7856 0200 1b45"_hex);
}

void TestRequestSending::withoutConnection()
{
    ConsoleBench bench;
    bench.main.Automode.adoptChecked(true);
    RequestBuilder builder(bench.session, bench.console.requests(), bench.dialogs,
                           bench.console.errors());
    builder.sendClicked();
    QVERIFY(
        bench.main.CmdWin.text().endsWith(QLatin1String("\r\nNot connected: nothing was sent")));
    QVERIFY(bench.dialogs.messages.isEmpty());
}

VANTREL_TEST(TestRequestSending)
#include "tst_requestsending.moc"
