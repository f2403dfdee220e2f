// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/FtdiEeprom.h"
#include "maintenance/RealEeprom.h"
#include "support/Hex.h"
#include "support/TestProgram.h"
#include "support/Thrown.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

FtdiEeprom image(const QByteArray &bytes)
{
    FtdiEeprom made;
    for (int i = 0; i < bytes.size(); ++i)
        made.setByte(i, static_cast<quint8>(bytes[i]));
    return made;
}

FtdiEeprom zeros()
{
    return image(QByteArray(FtdiEeprom::Size, '\0'));
}

QString letters(int count)
{
    return QString(count, QLatin1Char('x'));
}

} // namespace

class TestFtdiEeprom : public QObject
{
    Q_OBJECT

private slots:
    void defaults();
    void wordsAreLowByteFirst();
    void bitsLeaveTheOthersAlone();
    void outsideTheImage();
    void threeTexts();
    void emptyTexts();
    void latin1Texts();
    void tailIsKept();
    void asManyCharactersAsFit_data();
    void asManyCharactersAsFit();
    void tooManyCharacters_data();
    void tooManyCharacters();
    void storable();
    void readingTexts_data();
    void readingTexts();
    void textsBeyondTheEnd_data();
    void textsBeyondTheEnd();
    void realImage();
    void checksumOfZeros();
    void checksumByHand();
    void checksumOfARealImage();
    void checksumCoversWords0To62();
};

void TestFtdiEeprom::defaults()
{
    QCOMPARE(FtdiEeprom().bytes(),
             "00000000000000 00 a02d180000020000"_hex + QByteArray(112, '\0'));
}

void TestFtdiEeprom::wordsAreLowByteFirst()
{
    FtdiEeprom eeprom = zeros();
    eeprom.setNumber(FtdiByte::VendorId, 0x0403);
    QCOMPARE(eeprom.bytes().first(6), "0000 0304 0000"_hex);
    QCOMPARE(eeprom.number(FtdiByte::VendorId), quint16{0x0403});
    QCOMPARE(eeprom.word(1), quint16{0x0403});
    eeprom.setByte(126, 0xFE);
    eeprom.setByte(127, 0xFF);
    QCOMPARE(eeprom.word(63), quint16{0xFFFE});
}

void TestFtdiEeprom::bitsLeaveTheOthersAlone()
{
    FtdiEeprom eeprom = zeros();
    eeprom.setByte(FtdiByte::Attributes, 0x9F);
    QVERIFY(!eeprom.bit(FtdiByte::Attributes, FtdiBit::RemoteWakeup));
    eeprom.setBit(FtdiByte::Attributes, FtdiBit::RemoteWakeup, true);
    QCOMPARE(eeprom.byte(FtdiByte::Attributes), quint8{0xBF});
    QVERIFY(eeprom.bit(FtdiByte::Attributes, FtdiBit::RemoteWakeup));
    eeprom.setBit(FtdiByte::Attributes, FtdiBit::SelfPowered, true);
    QCOMPARE(eeprom.byte(FtdiByte::Attributes), quint8{0xFF});
    eeprom.setBit(FtdiByte::Attributes, FtdiBit::RemoteWakeup, false);
    QCOMPARE(eeprom.byte(FtdiByte::Attributes), quint8{0xDF});
    eeprom.setBit(FtdiByte::Options, FtdiBit::SerialEnable, true);
    QCOMPARE(eeprom.byte(FtdiByte::Options), quint8{0x08});
}

void TestFtdiEeprom::outsideTheImage()
{
    const QString subscript = QStringLiteral("Subscript out of range");
    FtdiEeprom eeprom;
    QCOMPARE(thrownBy([&] { eeprom.byte(-1); }), subscript);
    QCOMPARE(thrownBy([&] { eeprom.byte(128); }), subscript);
    QCOMPARE(thrownBy([&] { eeprom.setByte(128, 0); }), subscript);
    QCOMPARE(thrownBy([&] { eeprom.number(127); }), subscript);
    QCOMPARE(thrownBy([&] { eeprom.byte(127); }), QString());
}

void TestFtdiEeprom::threeTexts()
{
    FtdiEeprom eeprom = zeros();
    eeprom.setTexts(QStringLiteral("ABC"), QStringLiteral("Widget"), {});
    QCOMPARE(eeprom.bytes().sliced(14, 6), "94 08 9c 0e aa 02"_hex);
    QCOMPARE(eeprom.bytes().sliced(20, 8), "08 03 41 00 42 00 43 00"_hex);
    QCOMPARE(eeprom.bytes().sliced(28, 14), "0e 03 57006900640067006500 7400"_hex);
    QCOMPARE(eeprom.bytes().sliced(42), "02 03"_hex + QByteArray(84, '\0'));
    QCOMPARE(eeprom.bytes().first(14), QByteArray(14, '\0'));
    QCOMPARE(eeprom.text(FtdiByte::Manufacturer), QStringLiteral("ABC"));
    QCOMPARE(eeprom.text(FtdiByte::Product), QStringLiteral("Widget"));
    QCOMPARE(eeprom.text(FtdiByte::Serial), QString());
}

void TestFtdiEeprom::emptyTexts()
{
    FtdiEeprom eeprom = zeros();
    eeprom.setTexts({}, {}, {});
    QCOMPARE(eeprom.bytes().sliced(14, 14), "9402 9602 9802 0203 0203 0203 0000"_hex);
}

void TestFtdiEeprom::latin1Texts()
{
    FtdiEeprom eeprom = zeros();
    eeprom.setTexts(QStringLiteral("\u00E9\u00FF\u0080"), {}, {});
    QCOMPARE(eeprom.bytes().sliced(20, 8), "08 03 e900 ff00 8000"_hex);
    QCOMPARE(eeprom.text(FtdiByte::Manufacturer), QStringLiteral("\u00E9\u00FF\u0080"));
}

void TestFtdiEeprom::tailIsKept()
{
    FtdiEeprom eeprom = image(QByteArray(FtdiEeprom::Size, '\x5A'));
    eeprom.setTexts(QStringLiteral("A"), {}, {});
    QCOMPARE(eeprom.bytes().sliced(14, 14), "9404 9802 9a02 0403 4100 0203 0203"_hex);
    QCOMPARE(eeprom.bytes().sliced(28), QByteArray(100, '\x5A'));
    QCOMPARE(eeprom.bytes().first(14), QByteArray(14, '\x5A'));
}

void TestFtdiEeprom::asManyCharactersAsFit_data()
{
    QTest::addColumn<int>("manufacturer");
    QTest::addColumn<int>("product");
    QTest::addColumn<int>("serial");

    QTest::newRow("all in the first") << 50 << 0 << 0;
    QTest::newRow("all in the last") << 0 << 0 << 50;
    QTest::newRow("spread") << 16 << 17 << 17;
}

void TestFtdiEeprom::asManyCharactersAsFit()
{
    QFETCH(int, manufacturer);
    QFETCH(int, product);
    QFETCH(int, serial);
    FtdiEeprom eeprom = image(QByteArray(FtdiEeprom::Size, '\x5A'));
    eeprom.setTexts(letters(manufacturer), letters(product), letters(serial));
    QCOMPARE(eeprom.text(FtdiByte::Manufacturer), letters(manufacturer));
    QCOMPARE(eeprom.text(FtdiByte::Product), letters(product));
    QCOMPARE(eeprom.text(FtdiByte::Serial), letters(serial));
    QCOMPARE(eeprom.bytes().sliced(126), "5a5a"_hex); // the last descriptor ends before these
    QCOMPARE(int{eeprom.byte(125)}, serial > 0 ? 0x00 : 0x03);
}

void TestFtdiEeprom::tooManyCharacters_data()
{
    QTest::addColumn<int>("manufacturer");
    QTest::addColumn<int>("product");
    QTest::addColumn<int>("serial");

    QTest::newRow("first") << 51 << 0 << 0;
    QTest::newRow("together") << 17 << 17 << 17;
    QTest::newRow("by far") << 1000 << 1000 << 1000;
}

void TestFtdiEeprom::tooManyCharacters()
{
    QFETCH(int, manufacturer);
    QFETCH(int, product);
    QFETCH(int, serial);
    FtdiEeprom eeprom;
    QCOMPARE(thrownBy([&] {
                 eeprom.setTexts(letters(manufacturer), letters(product), letters(serial));
             }),
             QStringLiteral("Subscript out of range"));
    QCOMPARE(eeprom, FtdiEeprom());
}

void TestFtdiEeprom::storable()
{
    QVERIFY(FtdiEeprom::isStorable(QLatin1Char('A')));
    QVERIFY(FtdiEeprom::isStorable(QChar(0xFF)));
    QVERIFY(!FtdiEeprom::isStorable(QChar(0x100)));
    QVERIFY(!FtdiEeprom::isStorable(QChar(0x20AC)));
}

void TestFtdiEeprom::readingTexts_data()
{
    QTest::addColumn<int>("offset");
    QTest::addColumn<int>("length");
    QTest::addColumn<std::optional<QString>>("text");

    // The bytes from 20 on are 02 03, then "a", 0, "b", 0, "c", 0 and so on.
    const auto text = [](const char *letters) {
        return std::optional(QString::fromLatin1(letters));
    };
    const std::optional<QString> none;
    QTest::newRow("no offset") << 0 << 8 << none;
    QTest::newRow("offset without its mark") << 20 << 8 << none;
    QTest::newRow("offset 0") << 0x80 << 8 << none;
    QTest::newRow("three characters") << 0x94 << 8 << text("abc");
    QTest::newRow("one further") << 0x96 << 6 << text("bc");
    QTest::newRow("length of an empty one") << 0x94 << 2 << text("");
    QTest::newRow("length 0") << 0x94 << 0 << text("");
    QTest::newRow("length 1") << 0x94 << 1 << text("");
    QTest::newRow("half a character goes to even, none") << 0x94 << 3 << text("");
    QTest::newRow("half a character goes to even, two") << 0x94 << 5 << text("ab");
    QTest::newRow("half a character goes to even, two again") << 0x94 << 7 << text("ab");
    QTest::newRow("the last byte of all") << 0xFD << 4 << text("z");
    QTest::newRow("empty at the end") << 0xFF << 2 << text("");
}

void TestFtdiEeprom::readingTexts()
{
    QFETCH(int, offset);
    QFETCH(int, length);
    FtdiEeprom eeprom = zeros();
    eeprom.setByte(20, 2);
    eeprom.setByte(21, 3);
    for (int i = 0; i < 10; ++i)
        eeprom.setByte(22 + 2 * i, static_cast<quint8>('a' + i));
    eeprom.setByte(127, 'z');
    eeprom.setByte(FtdiByte::Product, static_cast<quint8>(offset));
    eeprom.setByte(FtdiByte::Product + 1, static_cast<quint8>(length));
    QTEST(eeprom.text(FtdiByte::Product), "text");
}

void TestFtdiEeprom::textsBeyondTheEnd_data()
{
    QTest::addColumn<int>("offset");
    QTest::addColumn<int>("length");

    QTest::newRow("offset") << 0xFE << 4;
    QTest::newRow("length") << 0x94 << 0xFF;
    QTest::newRow("length, by one character") << 0xFD << 6;
}

void TestFtdiEeprom::textsBeyondTheEnd()
{
    QFETCH(int, offset);
    QFETCH(int, length);
    FtdiEeprom eeprom;
    eeprom.setByte(FtdiByte::Serial, static_cast<quint8>(offset));
    eeprom.setByte(FtdiByte::Serial + 1, static_cast<quint8>(length));
    QCOMPARE(thrownBy([&] { eeprom.text(FtdiByte::Serial); }),
             QStringLiteral("Subscript out of range"));
}

void TestFtdiEeprom::realImage()
{
    const FtdiEeprom eeprom = image(realEeprom());
    QCOMPARE(eeprom.number(FtdiByte::VendorId), quint16{0x0403});
    QCOMPARE(eeprom.number(FtdiByte::ProductId), quint16{0x6001});
    QCOMPARE(eeprom.text(FtdiByte::Manufacturer), QStringLiteral("FTDI"));
    QCOMPARE(eeprom.text(FtdiByte::Product), QStringLiteral("UM232R USB <-> Serial"));
    QCOMPARE(eeprom.text(FtdiByte::Serial), QStringLiteral("FTGXSYWJ"));
    QCOMPARE(eeprom.bytes(), realEeprom());
}

/// Each of the 63 words only turns the sum by one bit: AAAA, 5555, AAAA ... An odd number of turns
/// leaves 5555.
void TestFtdiEeprom::checksumOfZeros()
{
    QCOMPARE(zeros().checksum(), quint16{0x5555});
}

/// Up to word 60 there are 61 turns of AAAA: 5555. Word 61 is 8001: 5555 XOR 8001 = D554, doubled
/// 1AAA8, less FFFF = AAA9. Word 62 is 00F3: AAA9 XOR 00F3 = AA5A, doubled 154B4, less FFFF = 54B5.
void TestFtdiEeprom::checksumByHand()
{
    FtdiEeprom eeprom = zeros();
    eeprom.setNumber(122, 0x8001);
    eeprom.setNumber(124, 0x00F3);
    QCOMPARE(eeprom.checksum(), quint16{0x54B5});
    eeprom.sign();
    QCOMPARE(eeprom.bytes().sliced(122), "0180 f300 b554"_hex);
}

void TestFtdiEeprom::checksumOfARealImage()
{
    FtdiEeprom eeprom = image(realEeprom());
    QCOMPARE(eeprom.checksum(), quint16{0x1309});
    eeprom.setNumber(FtdiByte::Checksum, 0);
    eeprom.sign();
    QCOMPARE(eeprom.bytes(), realEeprom());
}

void TestFtdiEeprom::checksumCoversWords0To62()
{
    FtdiEeprom eeprom = zeros();
    eeprom.setNumber(126, 0x1234);
    QCOMPARE(eeprom.checksum(), quint16{0x5555});
    eeprom.setByte(0, 1); // turned 63 times: 15 bits to the left
    QCOMPARE(eeprom.checksum(), quint16{0xD555});
}

VANTREL_TEST(TestFtdiEeprom)
#include "tst_ftdieeprom.moc"
