// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/IntelHex.h"
#include "support/Hex.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

class tst_intelhex : public QObject
{
    Q_OBJECT

private slots:
    void lines_data();
    void lines();
    void positions();
    void everyByteIsACharacter();
    void records_data();
    void records();
    void noRecord_data();
    void noRecord();
};

void tst_intelhex::lines_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QStringList>("lines");
    const QString a = QStringLiteral("a");
    const QString b = QStringLiteral("bc");
    QTest::newRow("empty file") << QByteArray() << QStringList();
    QTest::newRow("no line end") << QByteArray("a") << QStringList{a};
    QTest::newRow("CR LF") << QByteArray("a\r\nbc\r\n") << QStringList{a, b};
    QTest::newRow("LF") << QByteArray("a\nbc\n") << QStringList{a, b};
    QTest::newRow("CR") << QByteArray("a\rbc\r") << QStringList{a, b};
    QTest::newRow("mixed") << QByteArray("a\rbc\na\r\nbc") << QStringList{a, b, a, b};
    QTest::newRow("empty lines") << QByteArray("\r\n\n\ra") << QStringList{{}, {}, {}, a};
    QTest::newRow("LF CR") << QByteArray("a\n\rbc") << QStringList{a, {}, b};
    QTest::newRow("empty line at the end") << QByteArray("a\r\n\r\n") << QStringList{a, {}};
}

void tst_intelhex::lines()
{
    QFETCH(QByteArray, text);
    TextLines file(text);
    QStringList lines;
    while (!file.atEnd())
        lines.append(file.next());
    QTEST(lines, "lines");
    QCOMPARE(file.position(), text.size());
}

void tst_intelhex::positions()
{
    TextLines file("a\r\nbc");
    QCOMPARE(file.size(), 5);
    QCOMPARE(file.position(), 0);
    file.next();
    QCOMPARE(file.position(), 3);
    file.next();
    QCOMPARE(file.position(), 5);
}

void tst_intelhex::everyByteIsACharacter()
{
    TextLines file("00 c3 a4 ff 1a"_hex);
    const QString line = file.next();
    QCOMPARE(line.size(), 5);
    QCOMPARE(line[1], QChar(0xC3));
    QVERIFY(file.atEnd());
}

void tst_intelhex::records_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("address");
    QTest::addColumn<QByteArray>("data");

    QTest::newRow("data") << QByteArray(":03003000023362"
                                        "B6")
                          << 3 << 0x30 << "02 33 62"_hex;
    QTest::newRow("small letters") << QByteArray(":02abcd00deff00") << 2 << 0xABCD << "de ff"_hex;
    QTest::newRow("last") << QByteArray(":00000001FF") << 0 << 0 << QByteArray();
    QTest::newRow("extended address") << QByteArray(":020000040000FA") << 2 << 0 << "00 00"_hex;
    QTest::newRow("highest address") << QByteArray(":01FFFF0042BF") << 1 << 0xFFFF << "42"_hex;
    QTest::newRow("more than the length") << QByteArray(":010010005A1122") << 1 << 0x10 << "5a"_hex;
    QTest::newRow("blank in the length") << QByteArray(": 1001000A5") << 1 << 0x10 << "a5"_hex;
    QTest::newRow("letter in the address") << QByteArray(":0101G20055A8") << 1 << 0x12 << "55"_hex;
    QTest::newRow("no digits in the data")
        << QByteArray(":02001000xy5z") << 2 << 0x10 << "00 05"_hex;
    QTest::newRow("only the mark") << QByteArray(":") << 0 << 0 << QByteArray();
    QTest::newRow("ends in the length") << QByteArray(":2") << 2 << 0 << "00 00"_hex;
    QTest::newRow("ends behind the length") << QByteArray(":02") << 2 << 0 << "00 00"_hex;
    QTest::newRow("ends in the address") << QByteArray(":0212") << 2 << 0x12 << "00 00"_hex;
    QTest::newRow("ends behind the address") << QByteArray(":021234") << 2 << 0x1234 << "00 00"_hex;
    QTest::newRow("ends in the type") << QByteArray(":0212340") << 2 << 0x1234 << "00 00"_hex;
    QTest::newRow("ends behind the type") << QByteArray(":02123400") << 2 << 0x1234 << "00 00"_hex;
    QTest::newRow("ends in a byte") << QByteArray(":03123400AB4") << 3 << 0x1234 << "ab 04 00"_hex;
    QTest::newRow("longest") << QByteArray(":FF0000"
                                           "00") +
                                    QByteArray("5A").repeated(255)
                             << 255 << 0 << QByteArray(255, '\x5A');
}

void tst_intelhex::records()
{
    QFETCH(QByteArray, line);
    const HexRecord record(QString::fromLatin1(line));
    QVERIFY(record.hasMark());
    QTEST(int{record.length()}, "length");
    QTEST(int{record.address()}, "address");
    QTEST(record.data(), "data");
}

void tst_intelhex::noRecord_data()
{
    QTest::addColumn<QString>("line");
    QTest::newRow("empty") << "";
    QTest::newRow("blank before") << " :00000001FF";
    QTest::newRow("without mark") << "00000001FF";
    QTest::newRow("another kind of file") << "S1130000285F245F2212226A000424290008237C2A";
}

void tst_intelhex::noRecord()
{
    QFETCH(QString, line);
    QVERIFY(!HexRecord(line).hasMark());
}

VANTREL_TEST(tst_intelhex)
#include "tst_intelhex.moc"
