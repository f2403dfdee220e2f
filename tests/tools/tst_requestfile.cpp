// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/publicvars.h"
#include "support/Hex.h"
#include "support/TestProgram.h"
#include "support/Thrown.h"
#include "tools/RequestFile.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// How many of the six fields can be read, in the order of the file, and what stops it.
struct Reading
{
    int fields = 0;
    QString error;
};

Reading readAll(const RequestFileReader &file)
{
    Reading reading;
    reading.error = thrownBy([&] {
        file.address(), ++reading.fields;
        file.bmRequestType(), ++reading.fields;
        file.bRequest(), ++reading.fields;
        file.wValue(), ++reading.fields;
        file.wIndex(), ++reading.fields;
        file.wLength(), ++reading.fields;
    });
    return reading;
}

} // namespace

/// The bytes of a ".dr" file.
class TestRequestFile : public QObject
{
    Q_OBJECT

private slots:
    void writes_data();
    void writes();
    void reads();
    void shortFiles_data();
    void shortFiles();
    void highWords_data();
    void highWords();
    void data_data();
    void data();
};

void TestRequestFile::writes_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("no data") << QByteArray() << "05 40 a0 3412 7856 bc9a 00"_hex;
    QTest::newRow("3 bytes") << "0a 1b ff"_hex
                             << "05 40 a0 3412 7856 bc9a 0a1bff 00"_hex;
    QTest::newRow("32 bytes") << QByteArray(32, '\x55')
                              << "05 40 a0 3412 7856 bc9a"_hex + QByteArray(32, '\x55') + "00"_hex;
}

void TestRequestFile::writes()
{
    QFETCH(QByteArray, data);
    const RequestFile file{0x05, {0x40, 0xA0, 0x1234, 0x5678, 0x9ABC}, data};
    QTEST(file.toBytes(), "bytes");
}

void TestRequestFile::reads()
{
    const Session session;
    const RequestFileReader file(session, "05 80 06 0201 0403 1200 aa 00"_hex);
    QCOMPARE(file.address(), quint8{0x05});
    QCOMPARE(file.bmRequestType(), quint8{0x80});
    QCOMPARE(file.bRequest(), quint8{0x06});
    QCOMPARE(file.wValue(), quint16{0x0102});
    QCOMPARE(file.wIndex(), quint16{0x0304});
    QCOMPARE(file.wLength(), quint16{0x0012});
    QCOMPARE(file.data(), "aa 00"_hex);
}

void TestRequestFile::shortFiles_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("fields");
    const std::initializer_list<int> fieldsByLength{0, 1, 2, 3, 3, 4, 4, 5, 5};
    int length = 0;
    for (const int fields : fieldsByLength)
        QTest::addRow("%d bytes", length) << length << fields, ++length;
}

void TestRequestFile::shortFiles()
{
    QFETCH(int, length);
    const Session session;
    const RequestFileReader file(session, QByteArray(length, '\x01'));
    const Reading reading = readAll(file);
    QTEST(reading.fields, "fields");
    QCOMPARE(reading.error, QStringLiteral("Subscript out of range"));
    QCOMPARE(file.data(), QByteArray());
}

void TestRequestFile::highWords_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("fields");
    QTest::newRow("wValue") << "00 00 00 0080 0000 0000"_hex << 3;
    QTest::newRow("wIndex") << "00 00 00 0000 0080 0000"_hex << 4;
    QTest::newRow("wLength") << "00 00 00 0000 0000 ffff"_hex << 5;
}

void TestRequestFile::highWords()
{
    QFETCH(QByteArray, bytes);
    Session session;
    const RequestFileReader file(session, bytes);
    const Reading refused = readAll(file);
    QTEST(refused.fields, "fields");
    QCOMPARE(refused.error, QStringLiteral("Overflow"));

    session.UnsignedWords = true;
    const Reading taken = readAll(file);
    QCOMPARE(taken.fields, 6);
    QCOMPARE(taken.error, QString());
}

void TestRequestFile::data_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("dataBytes");
    QTest::newRow("9") << 9 << 0;
    QTest::newRow("10") << 10 << 1;
    QTest::newRow("13") << 13 << 4;
    QTest::newRow("40") << 40 << 31;
    QTest::newRow("41") << 41 << 32;
    QTest::newRow("42") << 42 << 32;
    QTest::newRow("45") << 45 << 32;
    QTest::newRow("4096") << 4096 << 32;
}

void TestRequestFile::data()
{
    QFETCH(int, length);
    QFETCH(int, dataBytes);
    const Session session;
    QByteArray bytes(9, '\0');
    for (int value = 0; bytes.size() < length; ++value)
        bytes.append(static_cast<char>(value));
    const QByteArray data = RequestFileReader(session, bytes).data();
    QCOMPARE(data, bytes.mid(9, dataBytes));
    QCOMPARE(data.size(), dataBytes);
}

VANTREL_TEST(TestRequestFile)
#include "tst_requestfile.moc"
