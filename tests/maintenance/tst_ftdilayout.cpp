// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/FtdiEeprom.h"
#include "maintenance/FtdiLayout.h"
#include "maintenance/RealEeprom.h"
#include "support/Hex.h"
#include "support/TestProgram.h"

#include <QTest>

#include <random>

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

/// Strings "ab", "cdef" and "g" from `offset` on; the string table is `table`, everything else
/// 0x5A.
QByteArray withTable(const QByteArray &table, int offset)
{
    return QByteArray(128, '\x5A')
        .replace(14, 6, table)
        .replace(offset, 20, "0603 61006200 0a03 6300640065006600 0403 6700"_hex);
}

const QByteArray At20 = "9406 9a0a a404"_hex;
const QByteArray At24 = "9806 9e0a a804"_hex;

FtdiTexts texts(const char *manufacturer, const char *product, const char *serial)
{
    return {QString::fromLatin1(manufacturer), QString::fromLatin1(product),
            QString::fromLatin1(serial)};
}

/// Positions at which two images differ.
QString changes(const QByteArray &before, const QByteArray &after)
{
    QList<int> positions;
    for (int i = 0; i < 128; ++i) {
        if (before[i] != after[i])
            positions.append(i);
    }
    return positionRanges(positions);
}

} // namespace

/// Images whose strings are elsewhere than the utility writes them.
class TestFtdiLayout : public QObject
{
    Q_OBJECT

private slots:
    void otherLayout_data();
    void otherLayout();
    void ranges();
    void lost();
    void lostOfTheRealImage();
    void sameTexts();
    void textsInPlace_data();
    void textsInPlace();
    void misfits_data();
    void misfits();
    void shorterText();
    void longerTextTakesRoom();
    void swappedOrder();
    void gapIsKept();
    void serialIsKept();
    void missingStringStaysMissing();
    void anyBytes();
};

void TestFtdiLayout::otherLayout_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("other");

    QTest::newRow("byte 20") << withTable(At20, 20) << false;
    QTest::newRow("byte 24") << withTable(At24, 24) << true;
    QTest::newRow("real") << realEeprom() << true;
    QTest::newRow("zeros") << QByteArray(128, '\0') << false;
    QTest::newRow("erased") << QByteArray(128, '\xFF') << false;
    QTest::newRow("defaults") << FtdiEeprom().bytes() << false;
    const QByteArray zeros(128, '\0');
    QTest::newRow("no strings, and other bytes")
        << QByteArray(zeros).replace(20, 3, "321105"_hex) << true;
    QTest::newRow("no strings, and a third byte")
        << QByteArray(zeros).replace(24, 1, "\x01") << true;
    QTest::newRow("no strings, and bytes behind them")
        << QByteArray(zeros).replace(26, 1, "\x01") << false;
    QTest::newRow("no serial, free")
        << withTable("9406 9a0a 0000"_hex, 20).replace(36, 2, "0000"_hex) << false;
    QTest::newRow("no serial, erased")
        << withTable("9406 9a0a ffff"_hex, 20).replace(36, 2, "ffff"_hex) << false;
    QTest::newRow("no serial, already empty")
        << withTable("9406 9a0a 8000"_hex, 20).replace(36, 2, "0203"_hex) << false;
    QTest::newRow("no serial, occupied") << withTable("9406 9a0a 0000"_hex, 20) << true;
    QTest::newRow("no manufacturer") << withTable("0000 9a0a a404"_hex, 20) << true;
    QTest::newRow("another order") << withTable("9c0a 9406 a604"_hex, 20) << true;
    QTest::newRow("gap") << withTable("9406 9c0a a604"_hex, 20) << true;
    QTest::newRow("overlap") << withTable("9406 980a a204"_hex, 20) << true;
    QTest::newRow("odd length") << withTable("9407 9b0a a504"_hex, 20) << true;
    QTest::newRow("length 0") << withTable("9400 9406 9a04"_hex, 20) << true;
    QTest::newRow("inside the fields") << withTable("8206 9a0a a404"_hex, 20) << true;
    QTest::newRow("beyond the checksum") << withTable("9406 9a0a a45c"_hex, 20) << true;
    QTest::newRow("up to the checksum") << withTable("9406 9a0a a45a"_hex, 20) << false;
    QTest::newRow("no room for an empty serial") << withTable("9406 9a64 0000"_hex, 20) << true;
}

void TestFtdiLayout::otherLayout()
{
    QFETCH(QByteArray, bytes);
    QTEST(hasOtherLayout(image(bytes)), "other");
}

void TestFtdiLayout::ranges()
{
    QCOMPARE(positionRanges({}), QString());
    QCOMPARE(positionRanges({20}), QStringLiteral("20"));
    QCOMPARE(positionRanges({20, 21, 22}), QStringLiteral("20 to 22"));
    QCOMPARE(positionRanges({20, 22, 23, 30}), QStringLiteral("20, 22 to 23, 30"));
}

void TestFtdiLayout::lost()
{
    const FtdiEeprom before = image(withTable(At24, 24));
    FtdiEeprom after = before;
    QCOMPARE(lostBytes(before, after), QList<int>());
    for (const int position : {0, 13, 14, 19, 24, 43, 126, 127}) // fields, strings and checksum
        after.setByte(position, 0);
    QCOMPARE(lostBytes(before, after), QList<int>());
    for (const int position : {20, 23, 44, 125})
        after.setByte(position, 0);
    QCOMPARE(lostBytes(before, after), (QList<int>{20, 23, 44, 125}));
    after = before;
    after.setByte(22, 0);
    QCOMPARE(lostBytes(after, before), QList<int>{22}); // a zero may have a meaning
    QCOMPARE(lostBytes(image(QByteArray(128, '\xFF')), after), QList<int>());
}

void TestFtdiLayout::lostOfTheRealImage()
{
    const FtdiEeprom before = image(realEeprom());
    FtdiEeprom after = before;
    after.setTexts(*before.text(FtdiByte::Manufacturer), *before.text(FtdiByte::Product),
                   *before.text(FtdiByte::Serial));
    QCOMPARE(positionRanges(lostBytes(before, after)), QStringLiteral("20 to 22"));
}

void TestFtdiLayout::sameTexts()
{
    const FtdiEeprom before = image(withTable(At24, 24));
    QCOMPARE(withTextsInPlace(before, texts("ab", "cdef", "g")), before);
    QCOMPARE(withTextsInPlace(before, {}), before);
    const FtdiEeprom real = image(realEeprom());
    QCOMPARE(withTextsInPlace(real, texts("FTDI", "UM232R USB <-> Serial", "FTGXSYWJ")), real);
}

void TestFtdiLayout::textsInPlace_data()
{
    QTest::addColumn<FtdiTexts>("wanted");
    QTest::addColumn<QByteArray>("table");
    QTest::addColumn<QByteArray>("strings"); // from byte 24 on

    QTest::newRow("same length") << texts("xy", "cdef", "g") << At24
                                 << "0603 78007900 0a03 6300640065006600 0403 6700"_hex;
    QTest::newRow("shorter") << texts("x", "cdef", "g") << "9804 9e0a a804"_hex
                             << "0403 7800 6200 0a03 6300640065006600 0403 6700"_hex;
    QTest::newRow("empty") << texts("ab", "cdef", "") << "9806 9e0a a802"_hex
                           << "0603 61006200 0a03 6300640065006600 0203 6700"_hex;
    QTest::newRow("longer and shorter") << texts("abc", "def", "g") << "9808 a008 a804"_hex
                                        << "0803 610062006300 0803 640065006600 0403 6700"_hex;
    QTest::newRow("all three") << texts("", "h", "klmno") << "9802 9a04 9e0c"_hex
                               << "0203 0403 6800 0c03 6b006c006d006e006f00 6700"_hex;
    QTest::newRow("one takes all") << texts("", "", "hijklmn") << "9802 9a02 9c10"_hex
                                   << "0203 0203 1003 680069006a006b006c006d006e00"_hex;
    QTest::newRow("Latin-1") << texts("\xE4\xFF", "cdef", "g") << At24
                             << "0603 e400ff00 0a03 6300640065006600 0403 6700"_hex;
}

void TestFtdiLayout::textsInPlace()
{
    QFETCH(FtdiTexts, wanted);
    QFETCH(QByteArray, table);
    QFETCH(QByteArray, strings);
    const QByteArray before = withTable(At24, 24);
    const std::optional<FtdiEeprom> after = withTextsInPlace(image(before), wanted);
    QVERIFY(after);
    QCOMPARE(after->bytes().sliced(14, 6).toHex(), table.toHex());
    QCOMPARE(after->bytes().sliced(24, 20).toHex(), strings.toHex());
    QCOMPARE(after->bytes().first(14), before.first(14));
    QCOMPARE(after->bytes().sliced(20, 4), before.sliced(20, 4));
    QCOMPARE(after->bytes().sliced(44), before.sliced(44));
    QCOMPARE(after->text(FtdiByte::Manufacturer), wanted[0]);
    QCOMPARE(after->text(FtdiByte::Product), wanted[1]);
    QCOMPARE(after->text(FtdiByte::Serial), wanted[2]);
}

void TestFtdiLayout::misfits_data()
{
    QTest::addColumn<QByteArray>("table");
    QTest::addColumn<FtdiTexts>("wanted");

    QTest::newRow("one character too many") << At24 << texts("ab", "cdef", "gh");
    QTest::newRow("too many in the first") << At24 << texts("abc", "cdef", "g");
    QTest::newRow("by far") << At24 << texts("ab", "cdefghijklmnopqrstuvwxyz", "g");
    QTest::newRow("no manufacturer") << "0000 9e0a a804"_hex << texts("a", "cdef", "g");
    QTest::newRow("manufacturer without offset") << "8006 9e0a a804"_hex << texts("a", "cdef", "g");
    QTest::newRow("erased entry") << "ffff 9e0a a804"_hex << texts("a", "cdef", "g");
    QTest::newRow("beyond the end") << "98ff 9e0a a804"_hex << texts("a", "cdef", "g");
    QTest::newRow("over the checksum") << "fc06 9e0a a804"_hex << texts("a", "cdef", "g");
    QTest::newRow("in the fields") << "8206 9e0a a804"_hex << texts("a", "cdef", "g");
    QTest::newRow("odd length") << "9807 a00a aa04"_hex << texts("a", "cdef", "g");
    QTest::newRow("shorter than its head") << "9801 9e0a a804"_hex << texts("a", "cdef", "g");
    QTest::newRow("overlap") << "9806 9a0a a804"_hex << texts("a", "cdef", "g");
    QTest::newRow("overlap of others") << "9806 9e0a a204"_hex << texts("a", "", "g");
    QTest::newRow("one descriptor for two") << "9806 9806 a804"_hex << texts("x", "ab", "g");
}

void TestFtdiLayout::misfits()
{
    QFETCH(QByteArray, table);
    QFETCH(FtdiTexts, wanted);
    QVERIFY(!withTextsInPlace(image(withTable(table, 24)), wanted));
}

void TestFtdiLayout::shorterText()
{
    const QByteArray before = realEeprom();
    const auto after =
        withTextsInPlace(image(before), texts("FTDI", "Bench cable", "FTGXSYWJ")).value();
    QCOMPARE(changes(before, after.bytes()),
             QStringLiteral("17, 34, 36, 38, 40, 42, 44, 46, 48, 50, 52, 54, 56"));
    QCOMPARE(after.text(FtdiByte::Product), QStringLiteral("Bench cable"));
}

void TestFtdiLayout::longerTextTakesRoom()
{
    const QByteArray before = realEeprom();
    const auto after =
        withTextsInPlace(image(before), texts("Example Works", "Cable", "FTGXSYWJ")).value();
    QCOMPARE(after.bytes().sliced(14, 6), "981c b40c c012"_hex);
    QCOMPARE(after.text(FtdiByte::Manufacturer), QStringLiteral("Example Works"));
    QCOMPARE(after.text(FtdiByte::Product), QStringLiteral("Cable"));
    QCOMPARE(after.text(FtdiByte::Serial), QStringLiteral("FTGXSYWJ"));
    QCOMPARE(after.bytes().sliced(20, 4), before.sliced(20, 4));
    QCOMPARE(after.bytes().sliced(96), before.sliced(96));
}

void TestFtdiLayout::swappedOrder()
{
    // The product comes first.
    const QByteArray before = withTable("9e0a 9806 a804"_hex, 24);
    QCOMPARE(image(before).text(FtdiByte::Manufacturer), QStringLiteral("cdef"));
    const auto after = withTextsInPlace(image(before), texts("cde", "abc", "g")).value();
    QCOMPARE(after.bytes().sliced(14, 6), "a008 9808 a804"_hex);
    QCOMPARE(after.bytes().sliced(24, 20), "0803 610062006300 0803 630064006500 0403 6700"_hex);
}

void TestFtdiLayout::gapIsKept()
{
    QByteArray before = withTable(At24, 24);
    before.replace(18, 2, "b804"_hex).replace(56, 4, "0403 7800"_hex); // the serial at byte 56
    const FtdiEeprom eeprom = image(before);
    QCOMPARE(eeprom.text(FtdiByte::Serial), QStringLiteral("x"));
    // The other two can share their room; the serial has its own.
    const auto after = withTextsInPlace(eeprom, texts("a", "cdefg", "x")).value();
    QCOMPARE(after.bytes().sliced(14, 6), "9804 9c0c b804"_hex);
    QCOMPARE(after.bytes().sliced(40), before.sliced(40));
    QVERIFY(!withTextsInPlace(eeprom, texts("a", "cd", "xy")));
}

void TestFtdiLayout::serialIsKept()
{
    const QByteArray before = withTable(At24, 24);
    const FtdiTexts wanted = {QStringLiteral("x"), QStringLiteral("cdef"), std::nullopt};
    const auto after = withTextsInPlace(image(before), wanted).value();
    QCOMPARE(after.text(FtdiByte::Serial), QStringLiteral("g"));
    QCOMPARE(changes(before, after.bytes()), QStringLiteral("15, 24, 26"));
}

void TestFtdiLayout::missingStringStaysMissing()
{
    const QByteArray before = withTable("0000 9e0a 8000"_hex, 24);
    const auto after = withTextsInPlace(image(before), texts("", "xy", "")).value();
    QCOMPARE(changes(before, after.bytes()), QStringLiteral("17, 30, 32, 34"));
}

/// Whatever the image holds, nothing is read or written outside it, and only bytes of its strings
/// change.
void TestFtdiLayout::anyBytes()
{
    std::mt19937 dice(20261122); // the same images in each run
    const auto below = [&dice](int limit) { return static_cast<int>(dice() % unsigned(limit)); };
    int replaced = 0;
    for (int round = 0; round < 20'000; ++round) {
        QByteArray bytes(128, '\0');
        for (char &byte : bytes)
            byte = static_cast<char>(below(256));
        if (round % 2 == 0) { // plausible entries
            int position = 20 + 2 * below(6);
            for (int field = 14; field < 20; field += 2) {
                const int length = 2 + 2 * below(12);
                bytes[field] = static_cast<char>(0x80 + position + (below(8) == 0 ? 2 : 0));
                bytes[field + 1] = static_cast<char>(length + (below(16) == 0 ? 1 : 0));
                position += length;
            }
        }
        const FtdiEeprom before = image(bytes);
        hasOtherLayout(before);
        QCOMPARE(withTextsInPlace(before, {}), before);
        FtdiTexts wanted;
        for (std::optional<QString> &text : wanted) {
            if (below(3) != 0)
                text = QString(below(14), QLatin1Char('x'));
        }
        const std::optional<FtdiEeprom> after = withTextsInPlace(before, wanted);
        if (!after)
            continue;
        ++replaced;
        QCOMPARE(lostBytes(before, *after), QList<int>());
        QCOMPARE(after->bytes().first(14), bytes.first(14));
        QCOMPARE(after->bytes().sliced(126), bytes.sliced(126));
        for (int i = 0; i < 3; ++i) {
            const auto &text = wanted.at(static_cast<std::size_t>(i));
            const int field = 14 + 2 * i;
            if (before.textOffset(field).value_or(20) < 20)
                continue; // its text includes the string table
            if (!before.isTextInside(field))
                QCOMPARE(after->number(field), before.number(field));
            else if (text)
                QCOMPARE(after->text(field).value_or(QString()), *text);
            else
                QCOMPARE(after->text(field), before.text(field));
        }
    }
    QVERIFY(replaced > 1000);
}

VANTREL_TEST(TestFtdiLayout)
#include "tst_ftdilayout.moc"
