// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/BuiltInDevices.h"
#include "simulator/Converter.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel::test;
using namespace vantrel::simulator;

/// The descriptors of a serial converter.
class tst_ftdidevice : public QObject
{
    Q_OBJECT

private slots:
    void builtIn();
    void checksum_data();
    void checksum();
    void shippedDescriptors_data();
    void shippedDescriptors();
    void ownDescriptors_data();
    void ownDescriptors();
    void descriptorsWithoutSerial();
    void oddStrings_data();
    void oddStrings();
    void stringOverTheChecksum();
    void plain();
    void blank();
    void wrongChecksum();
    void programmedThenReset();
    void programmedThenPoweredUp();
};

void tst_ftdidevice::builtIn()
{
    const BuiltInDevice *ftdi = findBuiltInDevice(QStringLiteral("ftdi"));
    QVERIFY(ftdi);
    QCOMPARE(int{ftdi->address}, 0x07);
    Talk talk = Talk::withoutDevices(Settings::vorn2());
    talk.tester().attach(ftdi->make(), ftdi->address);
    QCOMPARE(talk.ask("07 00 01"_hex), packet("87"_hex) + packet("90 00 07 00 0304 0160"_hex));
    QCOMPARE(talk.ask("0b"_hex), packet("8b 06"_hex)); // full speed
}

void tst_ftdidevice::checksum_data()
{
    QTest::addColumn<QByteArray>("image");
    QTest::addColumn<int>("sum");
    QTest::newRow("shipped") << Shipped << 0x1309;
    QTest::newRow("programmed") << Programmed << 0xF57E;
    // 0xAAAA and 0x5555 in turn, 63 times
    QTest::newRow("all zero") << QByteArray(128, '\0') << 0x5555;
    // 0xAAAA xor 0xFFFF, rotated, is 0xAAAA again
    QTest::newRow("erased") << QByteArray(128, '\xFF') << 0xAAAA;
    // 0xAAAA xor 0x8000, rotated
    QTest::newRow("top bit of the last word") << QByteArray(125, '\0') + "80 0000"_hex << 0x5554;
    QTest::newRow("its own word does not count") << QByteArray(126, '\0') + "1234"_hex << 0x5555;
}

void tst_ftdidevice::checksum()
{
    QFETCH(QByteArray, image);
    QFETCH(int, sum);
    QCOMPARE(image.size(), 128);
    QCOMPARE(int{FtdiDevice::checksum(image)}, sum);
    QCOMPARE(FtdiDevice::shippedImage(), Shipped);
}

void tst_ftdidevice::shippedDescriptors_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("device") << "0001"_hex
                            << "81 00 1201 0002 00000008 0304 0160 0006 010203 01"_hex;
    QTest::newRow("configuration") << "0002"_hex
                                   << "81 00 0902 2000 010100 a0 32 0904 000002 ffffff00"
                                      "0705 8102 4000 00 0705 0202 4000 00"_hex;
    QTest::newRow("languages") << "0003"_hex
                               << "81 00 0403 0904"_hex;
    QTest::newRow("manufacturer") << "0103"_hex
                                  << "81 00 0a03 4600540044004900"_hex; // FTDI
    QTest::newRow("product") << "0203"_hex
                             << "81 00 2c03 55004d00320033003200520020005500530042002000"
                                "3c002d003e002000530065007200690061006c00"_hex;
    QTest::newRow("serial number") << "0303"_hex
                                   << "81 00 1203 46005400470058005300590057004a00"_hex;
    QTest::newRow("no fourth string") << "0403"_hex
                                      << "81 0e"_hex;
}

void tst_ftdidevice::shippedDescriptors()
{
    QFETCH(QByteArray, value);
    QFETCH(QByteArray, answer);
    Converter talk;
    QCOMPARE(talk.descriptor(value).toHex(' '), packet(answer).toHex(' '));
}

void tst_ftdidevice::ownDescriptors_data()
{
    QTest::addColumn<QByteArray>("image");
    QTest::newRow("erased") << QByteArray(128, '\xFF');
    QTest::newRow("all zero") << QByteArray(128, '\0');
    QTest::newRow("one bit wrong") << QByteArray(Shipped).replace(40, 1, "\x31");
    QTest::newRow("wrong checksum") << QByteArray(Shipped).replace(126, 2, "\x13\x09");
}

void tst_ftdidevice::ownDescriptors()
{
    QFETCH(QByteArray, image);
    Converter talk(image);
    QCOMPARE(talk.descriptor("0001"_hex),
             packet("81 00 1201 0002 00000008 175a 32f0 0001 000000 01"_hex));
    QCOMPARE(talk.ask("01 07 80 06 0002 0000 0900"_hex),
             packet("81 00 0902 2000 010100 80 2d"_hex));
    QCOMPARE(talk.descriptor("0103"_hex), Stall);
}

void tst_ftdidevice::descriptorsWithoutSerial()
{
    Converter talk(sealed(QByteArray(Shipped).replace(10, 1, "\x10")));
    QCOMPARE(talk.descriptor("0001"_hex),
             packet("81 00 1201 0002 00000008 0304 0160 0006 010200 01"_hex));
    QCOMPARE(talk.descriptor("0303"_hex), Stall);
}

void tst_ftdidevice::oddStrings_data()
{
    QTest::addColumn<QByteArray>("entry"); // offset and length of the manufacturer
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("in the last bytes before the checksum") << "fa04"_hex
                                                           << "81 00 0403 0000"_hex;
    QTest::newRow("beyond the end") << "fa07"_hex
                                    << "81 0e"_hex;
    QTest::newRow("far beyond the end") << "94ff"_hex
                                        << "81 0e"_hex;
    QTest::newRow("offset not marked") << "180a"_hex
                                       << "81 0e"_hex;
    QTest::newRow("offset 0") << "800a"_hex
                              << "81 0e"_hex;
    QTest::newRow("shorter than its header") << "9801"_hex
                                             << "81 0e"_hex;
    QTest::newRow("empty") << "9802"_hex
                           << "81 00 0203"_hex;
    QTest::newRow("odd length") << "9805"_hex
                                << "81 00 0403 4600"_hex;
}

void tst_ftdidevice::oddStrings()
{
    QFETCH(QByteArray, entry);
    QFETCH(QByteArray, answer);
    Converter talk(sealed(QByteArray(Shipped).replace(14, 2, entry)));
    QCOMPARE(talk.descriptor("0103"_hex).toHex(' '), packet(answer).toHex(' '));
    QCOMPARE(talk.ask("01 07 80 06 0001 0000 1200"_hex),
             packet("81 00 1201 0002 00000008 0304 0160 0006"_hex +
                    (answer == "81 0e"_hex ? "000203 01"_hex : "010203 01"_hex)));
}

void tst_ftdidevice::stringOverTheChecksum()
{
    const QByteArray image = sealed(QByteArray(Shipped).replace(14, 2, "fa06"_hex));
    Converter talk(image);
    QCOMPARE(talk.descriptor("0103"_hex), packet("81 00 0603 0000"_hex + image.right(2)));
}

void tst_ftdidevice::plain()
{
    Converter talk(FtdiDevice::plainImage());
    QCOMPARE(talk.descriptor("0001"_hex),
             packet("81 00 1201 0002 00000008 0304 0160 0004 010203 01"_hex));
    QCOMPARE(talk.descriptor("0103"_hex), packet("81 00 0a03 56006f0072006e00"_hex)); // Vorn
    QCOMPARE(talk.read(7), packet("81 00 940a"_hex));
    QCOMPARE(talk.read(10), packet("81 00 0a03"_hex));
    QCOMPARE(sealed(FtdiDevice::plainImage()), FtdiDevice::plainImage());
}

void tst_ftdidevice::blank()
{
    Talk talk = Talk::withoutDevices(Settings::vorn2());
    QVERIFY(attachBuiltInDevices(talk.tester(), {QStringLiteral("eeprom-blank")}));
    QCOMPARE(talk.ask("07 00 01"_hex), packet("87"_hex) + packet("90 00 2f 00 175a 32f0"_hex));
    QCOMPARE(talk.ask("01 2f c0 90 0000 0500 0200"_hex), packet("81 00 ffff"_hex));
}

void tst_ftdidevice::wrongChecksum()
{
    Talk talk = Talk::withoutDevices(Settings::vorn2());
    QVERIFY(attachBuiltInDevices(talk.tester(), {QStringLiteral("eeprom-checksum")}));
    QCOMPARE(talk.ask("07 00 01"_hex), packet("87"_hex) + packet("90 00 30 00 175a 32f0"_hex));
    QCOMPARE(talk.ask("01 30 c0 90 0000 0100 0200"_hex), packet("81 00 0304"_hex));
    QCOMPARE(talk.ask("01 30 c0 90 0000 3f00 0200"_hex), packet("81 00 0000"_hex));
}

void tst_ftdidevice::programmedThenReset()
{
    Converter talk;
    talk.program(Programmed);
    QCOMPARE(talk.ask("08"_hex), packet("88"_hex));
    QCOMPARE(talk.descriptor("0001"_hex),
             packet("81 00 1201 1001 00000008 c410 60ea 0502 010200 01"_hex));
    QCOMPARE(talk.ask("01 07 80 06 0002 0000 0900"_hex),
             packet("81 00 0902 2000 010100 80 32"_hex));
    QCOMPARE(talk.descriptor("0103"_hex), packet("81 00 0803 410042004300"_hex));
    QCOMPARE(talk.descriptor("0203"_hex), packet("81 00 0e03 570069006400670065007400"_hex));
    QCOMPARE(talk.descriptor("0303"_hex), Stall);
}

void tst_ftdidevice::programmedThenPoweredUp()
{
    Converter talk;
    talk.ask("07 00 01"_hex);
    talk.program(Programmed);
    QCOMPARE(talk.ask("02 00"_hex), packet("82"_hex) + packet("90 01 07"_hex));
    QCOMPARE(talk.ask("02 01"_hex), packet("82"_hex) + packet("90 00 07 00 c410 60ea"_hex));
}

VANTREL_TEST(tst_ftdidevice)
#include "tst_ftdidevice.moc"
