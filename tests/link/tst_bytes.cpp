// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/Bytes.h"
#include "support/Hex.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

/// Reading and building byte strings.
class TestBytes : public QObject
{
    Q_OBJECT

private slots:
    void positionsCountFromOne();
    void beyondTheEndIsAbsent();
    void emptyPayload();
    void highBytesAreUnsigned();
    void writer();
};

void TestBytes::positionsCountFromOne()
{
    const QByteArray payload = "81 01 02 03 04"_hex;
    const ByteReader reader(payload);

    QCOMPARE(reader.size(), qsizetype{5});
    QCOMPARE(reader.at(1), std::optional<quint8>(0x81));
    QCOMPARE(reader.at(5), std::optional<quint8>(0x04));
    QCOMPARE(reader.word(2), std::optional<quint16>(0x0102));
    QCOMPARE(reader.word(4), std::optional<quint16>(0x0304));
    QCOMPARE(reader.wordLowFirst(2), std::optional<quint16>(0x0201));
    QCOMPARE(reader.doubleWord(2), std::optional<quint32>(0x01020304));
    QCOMPARE(reader.from(3).toByteArray(), "02 03 04"_hex);
    QCOMPARE(reader.payload().toByteArray(), payload);
}

void TestBytes::beyondTheEndIsAbsent()
{
    const QByteArray payload = "81 01 02 03 04"_hex;
    const ByteReader reader(payload);

    QVERIFY(!reader.at(0));
    QVERIFY(!reader.at(6));
    QVERIFY(!reader.word(0));
    QVERIFY(!reader.word(5));
    QVERIFY(!reader.wordLowFirst(0));
    QVERIFY(!reader.wordLowFirst(5));
    QVERIFY(!reader.doubleWord(3));
    QVERIFY(!reader.doubleWord(0));
    QCOMPARE(reader.from(6).size(), qsizetype{0});
    QCOMPARE(reader.from(100).size(), qsizetype{0});
}

void TestBytes::emptyPayload()
{
    const ByteReader reader{QByteArrayView()};

    QCOMPARE(reader.size(), qsizetype{0});
    QVERIFY(!reader.at(1));
    QVERIFY(!reader.word(1));
    QVERIFY(!reader.doubleWord(1));
    QCOMPARE(reader.from(1).size(), qsizetype{0});
    QCOMPARE(reader.from(2).size(), qsizetype{0});
}

void TestBytes::highBytesAreUnsigned()
{
    const QByteArray payload = "ff fe fd fc"_hex;
    const ByteReader reader(payload);

    QCOMPARE(reader.at(1), std::optional<quint8>(0xFF));
    QCOMPARE(reader.word(1), std::optional<quint16>(0xFFFE));
    QCOMPARE(reader.doubleWord(1), std::optional<quint32>(0xFFFEFDFC));
}

void TestBytes::writer()
{
    ByteWriter writer{0x01, 0xFF};
    writer.byte(0x80).word(0x1234).wordLowFirst(0x1234).doubleWord(0x89ABCDEF).bytes("xy");
    QCOMPARE(writer.take(), "01 ff 80 1234 3412 89abcdef 7879"_hex);
    QCOMPARE(ByteWriter().take(), QByteArray());
}

VANTREL_TEST(TestBytes)
#include "tst_bytes.moc"
